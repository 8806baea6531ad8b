// The library's allocations, counted by an operator new of the program's own, without a sanitizer.

#include <dlfcn.h>
#include <link.h>

#include <atomic>
#include <cstddef>
#include <cstdlib>
#include <cstring>

#include "plugin_test.h"

namespace {

std::atomic<int> blocks_of_library{0};  // allocated by its code and not freed yet

// Precedes each block that operator new returns.
struct alignas(std::max_align_t) BlockHead {
  bool of_library;
};

bool IsInLibrary(void* code) {
  dl_find_object found;
  return _dl_find_object(code, &found) == 0 &&
         std::strcmp(found.dlfo_link_map->l_name, LUMIVEX_TEST_PLUGIN) == 0;
}

void Free(void* block) {
  if (block != nullptr) {
    BlockHead* const head = static_cast<BlockHead*>(block) - 1;
    blocks_of_library -= head->of_library ? 1 : 0;
    std::free(head);
  }
}

}  // namespace

// The whole process allocates with these, the library included.
void* operator new(std::size_t size) {
  auto* const head = static_cast<BlockHead*>(std::malloc(sizeof(BlockHead) + size));
  if (head == nullptr) {
    std::abort();
  }
  head->of_library = IsInLibrary(__builtin_return_address(0));
  blocks_of_library += head->of_library ? 1 : 0;
  return head + 1;
}

void operator delete(void* block) noexcept {
  Free(block);
}

void operator delete(void* block, std::size_t) noexcept {
  Free(block);
}

namespace lumivex::test {
namespace {

using PageHeap = PluginTest;

TEST_F(PageHeap, TheLibraryFreesEverything) {
  Open();
  EXPECT_EQ(Send(Request(kTuner, "SetChannelType", R"({"channelType": 0})")), Ok("true"));
  EXPECT_GT(blocks_of_library, 0);
  Close();
  EXPECT_EQ(blocks_of_library, 0);
}

}  // namespace
}  // namespace lumivex::test
