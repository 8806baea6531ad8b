// The library file itself.

#include <dlfcn.h>

#include <cstdio>
#include <sstream>

#include "plugin_test.h"

namespace lumivex::test {
namespace {

// The last words of the lines of a command's output that contain the text.
std::vector<std::string> LastWords(const std::string& command, const std::string& text) {
  std::string output;
  FILE* const pipe = popen(command.c_str(), "r");
  char part[4096];
  while (const std::size_t length = std::fread(part, 1, sizeof part, pipe)) {
    output.append(part, length);
  }
  EXPECT_EQ(pclose(pipe), 0) << command;
  std::vector<std::string> words;
  std::istringstream lines(output);
  for (std::string line; std::getline(lines, line);) {
    if (line.find(text) != std::string::npos) {
      words.push_back(line.substr(line.rfind(' ') + 1));
    }
  }
  return words;
}

using Library = PluginTest;

TEST_F(Library, ExportsItsTwoEntryPointsAlone) {
  EXPECT_THAT(LastWords(LUMIVEX_TEST_NM " -D --defined-only " LUMIVEX_TEST_PLUGIN, " "),
              testing::UnorderedElementsAre("_ZN2pp12CreateModuleEv", "GetLumivexPlayer"));
}

TEST_F(Library, NeedsThePlatformAlone) {
  Lines needed = {"[libpepperplugin.so]", "[librf-manager.so]", "[libdlog.so.0]",
                  "[libstdc++.so.6]", "[libc.so.6]"};
#ifdef __arm__
  needed.emplace_back("[libgcc_s.so.1]");  // named by the tables by which exceptions pass
#endif
  EXPECT_THAT(LastWords(LUMIVEX_TEST_READELF " -d " LUMIVEX_TEST_PLUGIN, "(NEEDED)"),
              testing::UnorderedElementsAreArray(needed));
}

TEST_F(Library, GivesAPlayerToWhoeverFindsTheFactory) {
  void* const library = dlopen(LUMIVEX_TEST_PLUGIN, RTLD_LAZY);
  ASSERT_NE(library, nullptr) << dlerror();
  const auto factory = reinterpret_cast<void* (*)(void*)>(dlsym(library, "GetLumivexPlayer"));
  ASSERT_NE(factory, nullptr);
  EXPECT_EQ(factory(nullptr), nullptr);
  EXPECT_THAT(journal_.Take(),
              ElementsAre(AE("GetLumivexPlayer", "IPlaybackEventListener instance is NULL.")));
  dlclose(library);
}

}  // namespace
}  // namespace lumivex::test
