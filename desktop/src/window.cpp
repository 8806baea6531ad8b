#include "window.h"

#include <QGuiApplication>
#include <QLabel>
#include <QScreen>
#include <QShortcut>
#include <QUrl>
#include <QVBoxLayout>
#include <QWebEnginePage>
#include <QWebEngineSettings>
#include <QWindow>
#include <cstdio>
#include <utility>

namespace lumivex::desktop {
namespace {

// A page that closes its window or loads another before it is complete has not failed; what it
// wants is known a moment later.
constexpr int kFailureDelayMs = 200;

class Page : public QWebEnginePage {
 public:
  using QWebEnginePage::QWebEnginePage;

 protected:
  void javaScriptConsoleMessage(JavaScriptConsoleMessageLevel /*level*/,
                                const QString& message,
                                int /*line*/,
                                const QString& /*source*/) override {
    std::printf("%s\n", message.toUtf8().constData());
    std::fflush(stdout);
  }
};

}  // namespace

Window::Window(int width, int height) : failure_(new QLabel(this)) {
  setWindowTitle("Lumivex");
  failure_->setStyleSheet("background: #8c1d18; color: white; padding: 8px; font-size: 15px;");
  failure_->hide();
  auto* column = new QVBoxLayout(this);
  column->setContentsMargins(0, 0, 0, 0);
  column->setSpacing(0);
  column->addWidget(failure_);
  resize(width, height);
  failure_timer_.setSingleShot(true);
  failure_timer_.setInterval(kFailureDelayMs);
  AddShortcut("F5", [this] {
    failure_->hide();
    view_->reload();
  });
  AddShortcut("F11", [this] { setWindowState(windowState() ^ Qt::WindowFullScreen); });
  AddShortcut("Ctrl+Q", [this] { close(); });
}

Window::~Window() {
  ClosePage();
}

void Window::AddShortcut(const char* keys, std::function<void()> action) {
  auto* shortcut = new QShortcut(QKeySequence(keys), this);
  QObject::connect(shortcut, &QShortcut::activated, this, std::move(action));
}

void Window::Open(const std::string& page, const std::function<void(bool ok)>& on_loaded) {
  // Without a name the profile leaves nothing on the disk.
  profile_ = std::make_unique<QWebEngineProfile>();
  view_ = std::make_unique<QWebEngineView>(this);
  auto* web_page = new Page(profile_.get(), view_.get());
  view_->setPage(web_page);
  view_->setContextMenuPolicy(Qt::NoContextMenu);
  web_page->settings()->setAttribute(QWebEngineSettings::PluginsEnabled, true);
  web_page->setBackgroundColor(Qt::black);
  QObject::connect(web_page, &QWebEnginePage::windowCloseRequested, this, &QWidget::close);
  QObject::connect(web_page, &QWebEnginePage::loadStarted, &failure_timer_, &QTimer::stop);
  QObject::connect(web_page, &QWebEnginePage::loadFinished, this, [this, on_loaded](bool ok) {
    if (ok) {
      on_loaded(true);
    } else {
      failure_timer_.start();
    }
  });
  QObject::connect(&failure_timer_, &QTimer::timeout, this, [this, on_loaded] {
    if (isVisible()) {
      on_loaded(false);
    }
  });
  layout()->addWidget(view_.get());
  const QString name = QString::fromStdString(page);
  view_->setUrl(page[0] == '/' ? QUrl::fromLocalFile(name) : QUrl(name));
  view_->setFocus();
}

void Window::ClosePage() {
  view_.reset();
  profile_.reset();
}

void Window::ShowFailure(const std::string& sentence) {
  failure_->setText(QString::fromStdString("Sorry: " + sentence + ". F5 loads the page again."));
  failure_->show();
}

bool Window::SaveScreenshot(const std::string& file) {
  const QPixmap shown = windowHandle()->screen()->grabWindow(winId());
  return !shown.isNull() && shown.save(QString::fromStdString(file), "PNG");
}

}  // namespace lumivex::desktop
