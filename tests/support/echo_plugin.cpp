// A plug-in that answers with what it gets. The element's attribute "mode" is "refuse" or "throw"
// (creation fails), "early" (an event is posted while it is created) or "bare" (it registers no
// message handler).
//
// A blocking message is answered with itself, unless it is a dictionary with a string "do":
//   "post"       posts "value" as an event before it answers
//   "sleep"      sleeps "ms" milliseconds first
//   "privilege"  answers whether the browser grants the privilege "value"
//   "window"     answers the window id, or null
//   "leak"       forgets to release a string
//   "twice"      releases a string twice
//   "reply"      answers a success as commands do, with "value"
//   "throw"      throws
// A message without an answer is posted back as {"got": message}; "sleep" and "throw" work as
// above, and "respond" posts an error about "value" as commands do.

#include <chrono>
#include <new>
#include <stdexcept>
#include <string>
#include <thread>

#include "ppapi/c/ppb_messaging.h"
#include "ppapi/c/quorvel/ppb_extension_system_quorvel.h"
#include "ppapi/cpp/instance.h"
#include "ppapi/cpp/instance_handle.h"
#include "ppapi/cpp/message_loop.h"
#include "ppapi/cpp/module.h"
#include "ppapi/cpp/var_dictionary.h"
#include "ppapi/quorvel/pp_base_message_handler.h"
#include "ppapi/quorvel/simple_thread_await_loop.h"

namespace {

class Handler : public PPBaseMessageHandler {
 public:
  void WasUnregistered(pp::InstanceHandle instance) override {
    pp::Instance(instance.pp_instance()).PostMessage("unregistered");
  }

 protected:
  void HandleMessageImpl(pp::InstanceHandle handle, const pp::Var& message) override {
    pp::Instance instance(handle.pp_instance());
    const pp::VarDictionary request(message);
    const std::string action = Action(request);
    if (action == "respond") {
      responseData(instance, "name", 26, request.Get("value"), "Error", "text");
    } else {
      pp::VarDictionary event;
      event.Set("got", message);
      instance.PostMessage(event);
    }
  }

  pp::Var HandleBlockingMessageImpl(pp::InstanceHandle instance, const pp::Var& message) override {
    const pp::VarDictionary request(message);
    const std::string action = Action(request);
    const pp::Var value = request.Get("value");
    if (action == "post") {
      pp::Instance(instance.pp_instance()).PostMessage(value);
    } else if (action == "privilege" || action == "window") {
      return Ask(instance, action == "window" ? "get_window_id" : "check_ace_privilege", value);
    } else if (action == "leak") {
      pp::Var("forgotten").Detach();
    } else if (action == "twice") {
      const PP_Var text = pp::Var("released twice").Detach();
      { const pp::Var once(pp::PASS_REF, text); }
      const pp::Var twice(pp::PASS_REF, text);
    } else if (action == "reply") {
      return createMessage(0, value, "", "");
    }
    return message;
  }

 private:
  // What a message asks for; throws or sleeps if that is it.
  static std::string Action(const pp::VarDictionary& request) {
    const std::string action = request.Get("do").AsString();
    if (action == "throw") {
      throw std::runtime_error("thrown");
    }
    if (action == "sleep") {
      std::this_thread::sleep_for(std::chrono::milliseconds(request.Get("ms").AsInt()));
    }
    return action;
  }

  static pp::Var Ask(pp::InstanceHandle instance, const pp::Var& operation, const pp::Var& data) {
    const auto* const extension = static_cast<const PPB_ExtensionSystem_Quorvel_0_1*>(
        pp::Module::Get()->GetBrowserInterface(PPB_EXTENSIONSYSTEM_QUORVEL_INTERFACE_0_1));
    PP_Var answer = pp::Var(pp::Var::Null()).pp_var();
    if (extension != nullptr) {
      extension->GenericSyncCall(instance.pp_instance(), operation.pp_var(), data.pp_var(),
                                 &answer);
    }
    return pp::Var(pp::PASS_REF, answer);
  }
};

class Element : public pp::Instance {
 public:
  explicit Element(PP_Instance instance)
      : pp::Instance(instance), thread_(pp::InstanceHandle(this)) {}

  bool Init(uint32_t argc, const char* argn[], const char* argv[]) override {
    std::string mode;
    for (uint32_t i = 0; i < argc; ++i) {
      mode = std::string("mode") == argn[i] ? argv[i] : mode;
    }
    if (mode == "throw") {
      throw std::bad_alloc();
    }
    if (mode == "early") {
      PostMessage("early");
    }
    return mode == "bare" || (mode != "refuse" && thread_.Start() &&
                              RegisterMessageHandler(&handler_, thread_.message_loop()) == 0);
  }
  void DidChangeFocus(bool has_focus) override { PostMessage(has_focus ? "focus" : "no focus"); }
  void HandleMessage(const pp::Var& message) override { PostMessage("got " + message.AsString()); }

 private:
  Handler handler_;
  pp::SimpleThreadAwaitLoop thread_;  // ends before its handler does
};

class EchoModule : public pp::Module {
 public:
  EchoModule() = default;
  EchoModule(const EchoModule&) = delete;
  EchoModule& operator=(const EchoModule&) = delete;
  ~EchoModule() override { pp::Instance(1).PostMessage("shut down"); }

  bool Init() override { return GetBrowserInterface(PPB_MESSAGING_INTERFACE) != nullptr; }
  pp::Instance* CreateInstance(PP_Instance instance) override { return new Element(instance); }
};

}  // namespace

pp::Module* pp::CreateModule() {
  return new EchoModule;
}
