// The memory layout of the Pepper structures on 32-bit and 64-bit machines. Both sides are compiled
// from the same headers here, so no other test would notice a change.

#include <gtest/gtest.h>

#include <cstddef>
#include <iterator>
#include <typeinfo>

#include "ppapi/c/pp_rect.h"
#include "tables.h"

namespace {

static_assert(sizeof(PP_Bool) == 4 && sizeof(PP_Instance) == 4 && sizeof(PP_Resource) == 4);
static_assert(PP_VARTYPE_UNDEFINED == 0 && PP_VARTYPE_NULL == 1 && PP_VARTYPE_BOOL == 2 &&
              PP_VARTYPE_INT32 == 3 && PP_VARTYPE_DOUBLE == 4 && PP_VARTYPE_STRING == 5 &&
              PP_VARTYPE_ARRAY == 7 && PP_VARTYPE_DICTIONARY == 8);
static_assert(offsetof(PP_Var, type) == 0 && sizeof(PP_VarType) == 4 &&
              offsetof(PP_Var, padding) == 4 && offsetof(PP_Var, value) == 8 &&
              sizeof(PP_Var) == 16 && alignof(PP_Var) == 8);
static_assert(offsetof(PP_CompletionCallback, func) == 0 &&
              offsetof(PP_CompletionCallback, user_data) == sizeof(void*) &&
              offsetof(PP_CompletionCallback, flags) == 2 * sizeof(void*) &&
              sizeof(PP_CompletionCallback) == 3 * sizeof(void*));
static_assert(offsetof(PP_Rect, size) == 8 && sizeof(PP_Rect) == 16);

// The table consists of these functions, in this order.
template <class Table, class... Functions>
void ExpectOrder(Functions Table::*... functions) {
  const Table table{};
  const void* const places[] = {&(table.*functions)...};
  EXPECT_EQ(sizeof table, sizeof places) << typeid(Table).name();
  for (std::size_t i = 0; i < std::size(places); ++i) {
    EXPECT_EQ(places[i], reinterpret_cast<void* const*>(&table) + i) << typeid(Table).name();
  }
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
