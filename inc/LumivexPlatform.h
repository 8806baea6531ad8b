#ifndef INC_LUMIVEXPLATFORM_H_
#define INC_LUMIVEXPLATFORM_H_

// The platform's C++ headers, seen with default visibility: their types are shared with the
// platform's libraries, whatever visibility this library gives its own.

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#pragma GCC visibility push(default)
#include <CRFManager.h>
#include <ppapi/cpp/instance.h>
#include <ppapi/cpp/instance_handle.h>
#include <ppapi/cpp/message_loop.h>
#include <ppapi/cpp/module.h>
#include <ppapi/cpp/var.h>
#include <ppapi/cpp/var_dictionary.h>
#include <ppapi/quorvel/pp_base_message_handler.h>
#include <ppapi/quorvel/simple_thread_await_loop.h>
#pragma GCC visibility pop

#endif  // INC_LUMIVEXPLATFORM_H_
