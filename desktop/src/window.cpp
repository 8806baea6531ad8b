#include "window.h"

#include <QGuiApplication>
#include <QLabel>
#include <QScreen>
#include <QShortcut>
#include <QVBoxLayout>
#include <QWebEngineCertificateError>
#include <QWebEnginePage>
#include <QWebEngineSettings>
#include <QWindow>
#include <cstdio>
#include <utility>

#include "plugin_watch.h"
#include "printable.h"

namespace lumivex::desktop {
namespace {

// A load also "fails" when the page closes its window or loads another page; that is known a moment
// later.
constexpr int kFailureDelayMs = 200;

class Page : public QWebEnginePage {
 public:
  Page(QWebEngineProfile* profile, QObject* parent, bool insecure)
      : QWebEnginePage(profile, parent), insecure_(insecure) {}

 protected:
  void javaScriptConsoleMessage(JavaScriptConsoleMessageLevel level,
                                const QString& message,
                                int line,
                                const QString& source) override {
    constexpr const char* kLevels[] = {"info", "warning", "error"};
    const QUrl place = source.isEmpty() ? url() : QUrl(source);
    const QString name = place.isLocalFile()        ? place.toLocalFile()
                         : place.scheme() == "data" ? "data"
                                                    : place.toString();
    std::FILE* const stream = level == InfoMessageLevel ? stdout : stderr;
    for (const QString& part : message.split('\n')) {
      std::fprintf(stream, "%s:%d: %s: %s\n", Printable(name.toStdString()).c_str(), line,
                   kLevels[level], Printable(part.toStdString()).c_str());
    }
    std::fflush(stream);
  }

  bool certificateError(const QWebEngineCertificateError& error) override {
    if (!insecure_) {
      std::fprintf(stderr, "lumivex-desktop: %s: %s Use --insecure to accept it.\n",
                   qPrintable(error.url().toDisplayString()), qPrintable(error.errorDescription()));
    }
    return insecure_;
  }

 private:
  const bool insecure_;
};

}  // namespace

Window::Window(int width, int height) : failure_(new QLabel(this)) {
  setWindowTitle("Lumivex");
  failure_->setStyleSheet("background: #8c1d18; color: white; padding: 4px; font-size: 15px;");
  failure_->setTextFormat(Qt::PlainText);
  failure_->hide();
  auto* column = new QVBoxLayout(this);
  column->setContentsMargins(0, 0, 0, 0);
  column->setSpacing(0);
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

void Window::Open(const QUrl& page, bool insecure, const std::function<void(bool ok)>& on_loaded) {
  // Without a name the profile leaves nothing on the disk.
  profile_ = std::make_unique<QWebEngineProfile>();
  view_ = std::make_unique<QWebEngineView>(this);
  auto* web_page = new Page(profile_.get(), view_.get(), insecure);
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
  QObject::connect(web_page, &QWebEnginePage::renderProcessTerminated, this,
                   [this](QWebEnginePage::RenderProcessTerminationStatus status, int signal) {
                     if (status != QWebEnginePage::NormalTerminationStatus) {
                       on_crash("the page's process " + DescribeEnd(signal));
                     }
                   });
  layout()->addWidget(view_.get());
  view_->setUrl(page);
  view_->setFocus();
}

void Window::ClosePage() {
  view_.reset();
  profile_.reset();
}

void Window::ShowFailure(const std::string& sentence) {
  failure_text_ = QString::fromStdString(sentence + ". Press F5 to reload the page.");
  PlaceFailure();
  failure_->show();
}

void Window::resizeEvent(QResizeEvent* event) {
  QWidget::resizeEvent(event);
  PlaceFailure();
}

void Window::PlaceFailure() {
  failure_->ensurePolished();
  failure_->setText(
      failure_->fontMetrics().elidedText(failure_text_, Qt::ElideMiddle, width() - 16));
  const int high = failure_->sizeHint().height();
  failure_->setGeometry(0, height() - high, width(), high);
  failure_->raise();
}

bool Window::SaveScreenshot(const std::string& file) {
  const QPixmap shown = windowHandle()->screen()->grabWindow(winId());
  return !shown.isNull() && shown.save(QString::fromStdString(file), "PNG");
}

}  // namespace lumivex::desktop
