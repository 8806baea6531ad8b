// What the Pepper structures look like in memory, by number, on 32-bit and on 64-bit machines. Both
// sides are compiled from the same headers here, so nothing else would notice a change.

#include <gtest/gtest.h>

#include <cstddef>

#include "ppapi/c/pp_completion_callback.h"
#include "ppapi/c/pp_rect.h"
#include "ppapi/c/pp_var.h"
#include "ppapi/c/ppb_core.h"
#include "ppapi/c/ppb_message_loop.h"
#include "ppapi/c/ppb_messaging.h"
#include "ppapi/c/ppb_var.h"
#include "ppapi/c/ppb_var_array.h"
#include "ppapi/c/ppb_var_dictionary.h"
#include "ppapi/c/ppp_instance.h"
#include "ppapi/c/ppp_message_handler.h"
#include "ppapi/c/ppp_messaging.h"
#include "ppapi/c/quorvel/ppb_extension_system_quorvel.h"

namespace {

constexpr bool kIs32Bit = sizeof(void*) == 4;

TEST(Layout, OfValues) {
  const struct {
    const char* what;
    std::size_t found, with_32_bits, with_64_bits;
  } kRows[] = {
      {"PP_Bool", sizeof(PP_Bool), 4, 4},
      {"PP_Instance", sizeof(PP_Instance), 4, 4},
      {"PP_Resource", sizeof(PP_Resource), 4, 4},
      {"PP_Var", sizeof(PP_Var), 16, 16},
      {"PP_Var, alignment", alignof(PP_Var), 8, 8},
      {"PP_Var::type", offsetof(PP_Var, type), 0, 0},
      {"PP_VarType", sizeof(PP_Var::type), 4, 4},
      {"PP_Var::padding", offsetof(PP_Var, padding), 4, 4},
      {"PP_Var::value", offsetof(PP_Var, value), 8, 8},
      {"PP_VarValue", sizeof(PP_VarValue), 8, 8},
      {"PP_CompletionCallback", sizeof(PP_CompletionCallback), 12, 24},
      {"PP_CompletionCallback::func", offsetof(PP_CompletionCallback, func), 0, 0},
      {"PP_CompletionCallback::user_data", offsetof(PP_CompletionCallback, user_data), 4, 8},
      {"PP_CompletionCallback::flags", offsetof(PP_CompletionCallback, flags), 8, 16},
      {"PP_Rect", sizeof(PP_Rect), 16, 16},
      {"PP_Rect::size", offsetof(PP_Rect, size), 8, 8},
  };
  for (const auto& row : kRows) {
    EXPECT_EQ(row.found, kIs32Bit ? row.with_32_bits : row.with_64_bits) << row.what;
  }
}

#define SLOT(table, function, position) \
  { #table "::" #function, offsetof(table, function), position }
#define SLOTS(table, count) \
  { #table, sizeof(table), count }

// Each function's position in its table, and how many a table has.
TEST(Layout, OfTables) {
  const struct {
    const char* what;
    std::size_t found, position;
  } kRows[] = {
      SLOT(PPP_Instance, DidCreate, 0),
      SLOT(PPP_Instance, DidDestroy, 1),
      SLOT(PPP_Instance, DidChangeView, 2),
      SLOT(PPP_Instance, DidChangeFocus, 3),
      SLOT(PPP_Instance, HandleDocumentLoad, 4),
      SLOTS(PPP_Instance, 5),
      SLOT(PPP_Messaging, HandleMessage, 0),
      SLOTS(PPP_Messaging, 1),
      SLOT(PPP_MessageHandler, HandleMessage, 0),
      SLOT(PPP_MessageHandler, HandleBlockingMessage, 1),
      SLOT(PPP_MessageHandler, Destroy, 2),
      SLOTS(PPP_MessageHandler, 3),
      SLOT(PPB_Var, AddRef, 0),
      SLOT(PPB_Var, Release, 1),
      SLOT(PPB_Var, VarFromUtf8, 2),
      SLOT(PPB_Var, VarToUtf8, 3),
      SLOTS(PPB_Var, 4),
      SLOT(PPB_VarDictionary, Create, 0),
      SLOT(PPB_VarDictionary, Get, 1),
      SLOT(PPB_VarDictionary, Set, 2),
      SLOT(PPB_VarDictionary, Delete, 3),
      SLOT(PPB_VarDictionary, HasKey, 4),
      SLOT(PPB_VarDictionary, GetKeys, 5),
      SLOTS(PPB_VarDictionary, 6),
      SLOT(PPB_VarArray, Create, 0),
      SLOT(PPB_VarArray, Get, 1),
      SLOT(PPB_VarArray, Set, 2),
      SLOT(PPB_VarArray, GetLength, 3),
      SLOT(PPB_VarArray, SetLength, 4),
      SLOTS(PPB_VarArray, 5),
      SLOT(PPB_Messaging, PostMessage, 0),
      SLOT(PPB_Messaging, RegisterMessageHandler, 1),
      SLOT(PPB_Messaging, UnregisterMessageHandler, 2),
      SLOTS(PPB_Messaging, 3),
      SLOT(PPB_MessageLoop, Create, 0),
      SLOT(PPB_MessageLoop, GetForMainThread, 1),
      SLOT(PPB_MessageLoop, GetCurrent, 2),
      SLOT(PPB_MessageLoop, AttachToCurrentThread, 3),
      SLOT(PPB_MessageLoop, Run, 4),
      SLOT(PPB_MessageLoop, PostWork, 5),
      SLOT(PPB_MessageLoop, PostQuit, 6),
      SLOTS(PPB_MessageLoop, 7),
      SLOT(PPB_Core, AddRefResource, 0),
      SLOT(PPB_Core, ReleaseResource, 1),
      SLOT(PPB_Core, GetTime, 2),
      SLOT(PPB_Core, GetTimeTicks, 3),
      SLOT(PPB_Core, CallOnMainThread, 4),
      SLOT(PPB_Core, IsMainThread, 5),
      SLOTS(PPB_Core, 6),
      SLOT(PPB_ExtensionSystem_Quorvel_0_1, GetEmbedderName, 0),
      SLOT(PPB_ExtensionSystem_Quorvel_0_1, GetCurrentExtensionInfo, 1),
      SLOT(PPB_ExtensionSystem_Quorvel_0_1, GenericSyncCall, 2),
      SLOTS(PPB_ExtensionSystem_Quorvel_0_1, 3),
  };
  for (const auto& row : kRows) {
    EXPECT_EQ(row.found, row.position * (kIs32Bit ? 4 : 8)) << row.what;
  }
}

}  // namespace
