// What the Pepper structures look like in memory, by number, on 32-bit and on 64-bit machines. Both
// sides are compiled from the same headers here, so nothing else would notice a change.

#include <gtest/gtest.h>

#include <cstddef>
#include <vector>

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

// Each function stands at its position in its table, and there are no others.
template <class Table, class... Functions>
void ExpectOrder(const char* name, Functions Table::*... functions) {
  const Table table{};
  std::vector<std::ptrdiff_t> found, expected;
  const auto place = [&](const auto& function) {
    expected.push_back(static_cast<std::ptrdiff_t>(found.size() * sizeof(void*)));
    found.push_back(reinterpret_cast<const char*>(&function) -
                    reinterpret_cast<const char*>(&table));
  };
  (place(table.*functions), ...);
  EXPECT_EQ(found, expected) << name;
  EXPECT_EQ(sizeof(Table), found.size() * sizeof(void*)) << name;
}

TEST(Layout, OfTables) {
  using Private = PPB_ExtensionSystem_Quorvel_0_1;
  ExpectOrder("PPP_Instance", &PPP_Instance::DidCreate, &PPP_Instance::DidDestroy,
              &PPP_Instance::DidChangeView, &PPP_Instance::DidChangeFocus,
              &PPP_Instance::HandleDocumentLoad);
  ExpectOrder("PPP_Messaging", &PPP_Messaging::HandleMessage);
  ExpectOrder("PPP_MessageHandler", &PPP_MessageHandler::HandleMessage,
              &PPP_MessageHandler::HandleBlockingMessage, &PPP_MessageHandler::Destroy);
  ExpectOrder("PPB_Var", &PPB_Var::AddRef, &PPB_Var::Release, &PPB_Var::VarFromUtf8,
              &PPB_Var::VarToUtf8);
  using Dictionary = PPB_VarDictionary;
  ExpectOrder("PPB_VarDictionary", &Dictionary::Create, &Dictionary::Get, &Dictionary::Set,
              &Dictionary::Delete, &Dictionary::HasKey, &Dictionary::GetKeys);
  using Array = PPB_VarArray;
  ExpectOrder("PPB_VarArray", &Array::Create, &Array::Get, &Array::Set, &Array::GetLength,
              &Array::SetLength);
  using Messaging = PPB_Messaging;
  ExpectOrder("PPB_Messaging", &Messaging::PostMessage, &Messaging::RegisterMessageHandler,
              &Messaging::UnregisterMessageHandler);
  using Loop = PPB_MessageLoop;
  ExpectOrder("PPB_MessageLoop", &Loop::Create, &Loop::GetForMainThread, &Loop::GetCurrent,
              &Loop::AttachToCurrentThread, &Loop::Run, &Loop::PostWork, &Loop::PostQuit);
  using Core = PPB_Core;
  ExpectOrder("PPB_Core", &Core::AddRefResource, &Core::ReleaseResource, &Core::GetTime,
              &Core::GetTimeTicks, &Core::CallOnMainThread, &Core::IsMainThread);
  ExpectOrder("PPB_ExtensionSystem_Quorvel", &Private::GetEmbedderName,
              &Private::GetCurrentExtensionInfo, &Private::GenericSyncCall);
}

}  // namespace
