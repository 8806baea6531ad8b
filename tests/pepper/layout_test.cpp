// The memory layout of the Pepper structures on 32-bit and 64-bit machines. Both sides are compiled
// from the same headers here, so no other test would notice a change.

#include <gtest/gtest.h>

#include <cstddef>
#include <typeinfo>
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

using Numbers = std::vector<std::size_t>;

TEST(Layout, OfValues) {
  const struct {
    const char* what;
    Numbers found, expected, with_32_bits;  // empty: the same
  } kRows[] = {
      {"sizes",
       {sizeof(PP_Bool), sizeof(PP_Instance), sizeof(PP_Resource), sizeof(PP_VarType)},
       {4, 4, 4, 4},
       {}},
      {"types",
       {PP_VARTYPE_UNDEFINED, PP_VARTYPE_NULL, PP_VARTYPE_BOOL, PP_VARTYPE_INT32, PP_VARTYPE_DOUBLE,
        PP_VARTYPE_STRING, PP_VARTYPE_ARRAY, PP_VARTYPE_DICTIONARY},
       {0, 1, 2, 3, 4, 5, 7, 8},
       {}},
      {"PP_Var",
       {offsetof(PP_Var, type), offsetof(PP_Var, padding), offsetof(PP_Var, value), sizeof(PP_Var),
        alignof(PP_Var)},
       {0, 4, 8, 16, 8},
       {}},
      {"PP_CompletionCallback",
       {offsetof(PP_CompletionCallback, func), offsetof(PP_CompletionCallback, user_data),
        offsetof(PP_CompletionCallback, flags), sizeof(PP_CompletionCallback)},
       {0, 8, 16, 24},
       {0, 4, 8, 12}},
      {"PP_Rect", {offsetof(PP_Rect, size), sizeof(PP_Rect)}, {8, 16}, {}},
  };
  for (const auto& row : kRows) {
    const bool differs = sizeof(void*) == 4 && !row.with_32_bits.empty();
    EXPECT_EQ(row.found, differs ? row.with_32_bits : row.expected) << row.what;
  }
}

// The table consists of these functions, in this order.
template <class Table, class... Functions>
void ExpectOrder(Functions Table::*... functions) {
  const Table table{};
  const auto place = [&table](const auto& function) {
    return static_cast<std::size_t>(reinterpret_cast<const char*>(&function) -
                                    reinterpret_cast<const char*>(&table));
  };
  Numbers expected;
  while (expected.size() < sizeof...(functions)) {
    expected.push_back(expected.size() * sizeof(void*));
  }
  EXPECT_EQ(Numbers{place(table.*functions)...}, expected) << typeid(Table).name();
  EXPECT_EQ(sizeof(Table), sizeof...(functions) * sizeof(void*)) << typeid(Table).name();
}

TEST(Layout, OfTables) {
  ExpectOrder(&PPP_Instance::DidCreate, &PPP_Instance::DidDestroy, &PPP_Instance::DidChangeView,
              &PPP_Instance::DidChangeFocus, &PPP_Instance::HandleDocumentLoad);
  ExpectOrder(&PPP_Messaging::HandleMessage);
  ExpectOrder(&PPP_MessageHandler::HandleMessage, &PPP_MessageHandler::HandleBlockingMessage,
              &PPP_MessageHandler::Destroy);
  ExpectOrder(&PPB_Var::AddRef, &PPB_Var::Release, &PPB_Var::VarFromUtf8, &PPB_Var::VarToUtf8);
  ExpectOrder(&PPB_VarDictionary::Create, &PPB_VarDictionary::Get, &PPB_VarDictionary::Set,
              &PPB_VarDictionary::Delete, &PPB_VarDictionary::HasKey, &PPB_VarDictionary::GetKeys);
  ExpectOrder(&PPB_VarArray::Create, &PPB_VarArray::Get, &PPB_VarArray::Set,
              &PPB_VarArray::GetLength, &PPB_VarArray::SetLength);
  ExpectOrder(&PPB_Messaging::PostMessage, &PPB_Messaging::RegisterMessageHandler,
              &PPB_Messaging::UnregisterMessageHandler);
  ExpectOrder(&PPB_MessageLoop::Create, &PPB_MessageLoop::GetForMainThread,
              &PPB_MessageLoop::GetCurrent, &PPB_MessageLoop::AttachToCurrentThread,
              &PPB_MessageLoop::Run, &PPB_MessageLoop::PostWork, &PPB_MessageLoop::PostQuit);
  ExpectOrder(&PPB_Core::AddRefResource, &PPB_Core::ReleaseResource, &PPB_Core::GetTime,
              &PPB_Core::GetTimeTicks, &PPB_Core::CallOnMainThread, &PPB_Core::IsMainThread);
  using Private = PPB_ExtensionSystem_Quorvel_0_1;
  ExpectOrder(&Private::GetEmbedderName, &Private::GetCurrentExtensionInfo,
              &Private::GenericSyncCall);
}

}  // namespace
