#ifndef PPAPI_CPP_INSTANCE_H_
#define PPAPI_CPP_INSTANCE_H_

#include <cstdint>

#include "ppapi/c/pp_instance.h"
#include "ppapi/cpp/instance_handle.h"
#include "ppapi/cpp/message_handler.h"
#include "ppapi/cpp/var.h"

#pragma GCC visibility push(default)

namespace pp {

class InputEvent;
class MessageLoop;
class Rect;
class URLLoader;
class View;

// One plug-in element of a page. Created by Module::CreateInstance and deleted by the module, both
// on the plug-in's main thread. A temporary Instance made from an id, or a copy, only names the
// element; its destructor does nothing.
class Instance {
 public:
  explicit Instance(PP_Instance instance);
  Instance(const Instance&) = default;
  Instance& operator=(const Instance&) = default;
  virtual ~Instance();

  // Called on the plug-in's main thread. Init is called right after construction; false refuses
  // the element. HandleMessage gets the page's messages while no message handler is registered.
  virtual bool Init(uint32_t argc, const char* argn[], const char* argv[]);
  virtual void DidChangeView(const View& view);
  virtual void DidChangeView(const Rect& position, const Rect& clip);
  virtual void DidChangeFocus(bool has_focus);
  virtual bool HandleInputEvent(const InputEvent& event);
  virtual bool HandleDocumentLoad(const URLLoader& loader);
  virtual void HandleMessage(const Var& message);

  PP_Instance pp_instance() const { return pp_instance_; }

  // Copies the message; the page receives it later. Any thread may call it.
  void PostMessage(const Var& message);
  // PP_OK, or a PP_ERROR_ value. The caller owns the handler, which must live until it is
  // unregistered or the thread that runs the loop has ended.
  int32_t RegisterMessageHandler(MessageHandler* handler, const MessageLoop& loop);
  void UnregisterMessageHandler();

 private:
  PP_Instance pp_instance_;
};

}  // namespace pp

#pragma GCC visibility pop

#endif  // PPAPI_CPP_INSTANCE_H_
