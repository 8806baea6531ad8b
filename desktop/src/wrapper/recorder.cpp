#include "recorder.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <mutex>
#include <nlohmann/json.hpp>
#include <string>
#include <utility>

#include "../channel.h"
#include "ppapi/c/pp_errors.h"
#include "ppapi/c/ppb_var.h"
#include "ppapi/c/ppb_var_array.h"
#include "ppapi/c/ppb_var_dictionary.h"
#include "ppapi/c/ppp_message_handler.h"

namespace lumivex::desktop {
namespace {

using Json = nlohmann::json;

struct Engine {
  const PPB_Messaging* messaging = nullptr;
  const PPB_Var* vars = nullptr;
  const PPB_VarArray* arrays = nullptr;
  const PPB_VarDictionary* dictionaries = nullptr;
};
Engine engine;  // filled before the plug-in starts, then read-only

Json ToJson(const PP_Var& var);

Json TakeJson(const PP_Var& var) {
  Json json = ToJson(var);
  engine.vars->Release(var);
  return json;
}

Json ToJson(const PP_Var& var) {
  switch (var.type) {
    case PP_VARTYPE_BOOL:
      return var.value.as_bool != PP_FALSE;
    case PP_VARTYPE_INT32:
      return var.value.as_int;
    case PP_VARTYPE_DOUBLE:
      // JSON knows no infinity; for every command the largest number is as large.
      return std::clamp(var.value.as_double, std::numeric_limits<double>::lowest(),
                        std::numeric_limits<double>::max());
    case PP_VARTYPE_STRING: {
      uint32_t length = 0;
      const char* const text = engine.vars->VarToUtf8(var, &length);
      return text == nullptr ? std::string() : std::string(text, length);
    }
    case PP_VARTYPE_ARRAY: {
      Json json = Json::array();
      for (uint32_t i = 0; i < engine.arrays->GetLength(var); ++i) {
        json.push_back(TakeJson(engine.arrays->Get(var, i)));
      }
      return json;
    }
    case PP_VARTYPE_DICTIONARY: {
      Json json = Json::object();
      const PP_Var keys = engine.dictionaries->GetKeys(var);
      for (uint32_t i = 0; i < engine.arrays->GetLength(keys); ++i) {
        const PP_Var key = engine.arrays->Get(keys, i);
        const PP_Var value = engine.dictionaries->Get(var, key);
        json[TakeJson(key).get<std::string>()] = TakeJson(value);
      }
      engine.vars->Release(keys);
      return json;
    }
    default:
      return nullptr;
  }
}

// The recorded script. Any thread may call. Each call writes whole lines at once, so that the file
// is always a valid script.
class Script {
 public:
  explicit Script(const char* path)
      : path_(path), file_(open(path, O_WRONLY | O_APPEND | O_CLOEXEC)) {
    struct stat status {};
    // A later process finds the lines of an earlier one.
    is_first_process_ = fstat(file_, &status) == 0 &&
                        static_cast<std::size_t>(status.st_size) < sizeof kRecordHeader;
  }

  void AddElement(PP_Instance instance) {
    const std::lock_guard<std::mutex> lock(mutex_);
    if (element_ == 0 && is_first_process_) {
      element_ = instance;
    }
  }

  void AddPosted(PP_Instance instance, const Json& message) {
    const std::lock_guard<std::mutex> lock(mutex_);
    Write(Wait(instance) + Line(instance, {{"$post", message}}));
  }

  void AddRequest(PP_Instance instance, const Json& message) {
    const std::lock_guard<std::mutex> lock(mutex_);
    Write(Wait(instance) + (IsDirective(message) ? "# not for a script: " : "") +
          Line(instance, message));
    awaits_reply_ = awaits_reply_ || instance == element_;
  }

  void AddReply(PP_Instance instance, const Json& message, Json reply) {
    const std::lock_guard<std::mutex> lock(mutex_);
    std::string lines;
    if (reply.is_object() && !IsDirective(message)) {
      if (message.is_object() && message.value("command", Json()) == "GetCurrentPosition") {
        reply.erase("value");  // never the same twice
      }
      lines = Line(instance, {{"$expect", std::move(reply)}});
    }
    if (instance == element_) {
      awaits_reply_ = false;
      lines += std::exchange(after_reply_, "");
      last_ = Clock::now();
    }
    Write(lines);
  }

  // The script waits for the events that the page may have waited for, except those that only
  // depend on time, for which it pauses.
  void AddEvent(PP_Instance instance, const Json& event) {
    const std::lock_guard<std::mutex> lock(mutex_);
    if (instance != element_ || !event.is_object()) {
      return;
    }
    const Json name = event.value("event", Json());
    if (name == "PLAYBACK_INFO_EVENT" || name == "PLAYBACK_TIMEDTEXT_EVENT") {
      return;
    }
    const std::string line =
        Line(instance, {{"$waitFor", event}, {"timeout", SinceLast() + kMarginMs}});
    if (awaits_reply_) {  // the page sees it after the reply
      after_reply_ += line;
    } else {
      last_ = Clock::now();
      Write(line);
    }
  }

 private:
  using Clock = std::chrono::steady_clock;
  static constexpr std::int64_t kMarginMs = 10000;
  static constexpr std::int64_t kMaxWaitMs =
      86400000 - kMarginMs;  // a script waits one day at most

  static bool IsDirective(const Json& message) {
    return message.is_object() &&
           std::any_of(message.items().begin(), message.items().end(),
                       [](const auto& item) { return item.key().rfind('$', 0) == 0; });
  }

  std::int64_t SinceLast() const {
    const auto time =
        std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - last_).count();
    return std::min<std::int64_t>(time, kMaxWaitMs);
  }

  std::string Wait(PP_Instance instance) {
    if (instance != element_ || SinceLast() == 0) {
      return "";
    }
    std::string line = Line(instance, {{"$wait", SinceLast()}});
    last_ = Clock::now();
    return line;
  }

  std::string Line(PP_Instance instance, const Json& json) const {
    return (instance == element_ ? "" : "# another element: ") +
           json.dump(-1, ' ', false, Json::error_handler_t::replace) + "\n";
  }

  void Write(const std::string& lines) {
    if (!failed_ && !lines.empty() && write(file_, lines.data(), lines.size()) < 0) {
      failed_ = true;
      std::fprintf(stderr, "lumivex-desktop: %s: %s\n", path_.c_str(), std::strerror(errno));
    }
  }

  const std::string path_;
  const int file_;
  bool is_first_process_ = false;
  std::mutex mutex_;
  // Guarded by mutex_.
  PP_Instance element_ = 0;  // the recorded one
  Clock::time_point last_ = Clock::now();
  bool awaits_reply_ = false;
  std::string after_reply_;
  bool failed_ = false;
};

Script* script = nullptr;  // like engine; never deleted

// The plug-in's handler, behind the one registered with the engine.
struct Handler {
  const PPP_MessageHandler* table;
  void* data;
};

void HandleMessage(PP_Instance instance, void* data, const PP_Var* message) {
  script->AddPosted(instance, ToJson(*message));
  const auto* const handler = static_cast<const Handler*>(data);
  handler->table->HandleMessage(instance, handler->data, message);
}

void HandleBlockingMessage(PP_Instance instance,
                           void* data,
                           const PP_Var* message,
                           PP_Var* response) {
  const Json request = ToJson(*message);
  script->AddRequest(instance, request);
  const auto* const handler = static_cast<const Handler*>(data);
  handler->table->HandleBlockingMessage(instance, handler->data, message, response);
  script->AddReply(instance, request, ToJson(*response));
}

void Destroy(PP_Instance instance, void* data) {
  const auto* const handler = static_cast<const Handler*>(data);
  handler->table->Destroy(instance, handler->data);
  delete handler;
}

constexpr PPP_MessageHandler kHandler = {HandleMessage, HandleBlockingMessage, Destroy};

int32_t RegisterMessageHandler(PP_Instance instance,
                               void* data,
                               const PPP_MessageHandler* table,
                               PP_Resource message_loop) {
  auto* const handler = new Handler{table, data};
  script->AddElement(instance);
  const int32_t result =
      engine.messaging->RegisterMessageHandler(instance, handler, &kHandler, message_loop);
  if (result != PP_OK) {
    delete handler;
  }
  return result;
}

void PostMessage(PP_Instance instance, PP_Var message) {
  script->AddEvent(instance, ToJson(message));
  engine.messaging->PostMessage(instance, message);
}

}  // namespace

const PPB_Messaging* MakeRecorder(PPB_GetInterface get_browser_interface) {
  const char* const path = std::getenv(kRecordVariable);
  if (path == nullptr) {
    return nullptr;
  }
  engine.messaging =
      static_cast<const PPB_Messaging*>(get_browser_interface(PPB_MESSAGING_INTERFACE));
  engine.vars = static_cast<const PPB_Var*>(get_browser_interface(PPB_VAR_INTERFACE));
  engine.arrays = static_cast<const PPB_VarArray*>(get_browser_interface(PPB_VAR_ARRAY_INTERFACE));
  engine.dictionaries =
      static_cast<const PPB_VarDictionary*>(get_browser_interface(PPB_VAR_DICTIONARY_INTERFACE));
  if (engine.messaging == nullptr || engine.vars == nullptr || engine.arrays == nullptr ||
      engine.dictionaries == nullptr) {
    return nullptr;
  }
  script = new Script(path);
  static PPB_Messaging table;
  table = {PostMessage, RegisterMessageHandler, engine.messaging->UnregisterMessageHandler};
  return &table;
}

}  // namespace lumivex::desktop
