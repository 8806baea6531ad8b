#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <string>
#include <vector>

namespace {

// Each defined dynamic symbol of the library, with its type before it.
std::vector<std::string> DefinedSymbols() {
  std::vector<std::string> symbols;
  FILE* nm = popen(NM " -DC --defined-only '" RF_MANAGER_LIBRARY "'", "r");
  std::array<char, 1024> line{};
  while (nm != nullptr && std::fgets(line.data(), line.size(), nm) != nullptr) {
    std::string symbol(line.data());
    symbol.pop_back();
    symbols.push_back(symbol.substr(symbol.find(' ') + 1));
  }
  EXPECT_TRUE(nm != nullptr && pclose(nm) == 0);
  return symbols;
}

TEST(Exports, AreTheBinaryContractAndNothingElse) {
  const std::string mode = "CTVSHandler::LUMIVEX_SUBTITLE_MODE";
  const std::string text =
      "std::__cxx11::basic_string<char, std::char_traits<char>, "
      "std::allocator<char> >*";
  EXPECT_THAT(
      DefinedSymbols(),
      testing::UnorderedElementsAre(
          "T CAppUtil::GetKelvoAppIDByPID(int, char*, int)",
          "T CRFManager::GetInstance(char const*, bool, _Eo_Opaque*)",
          "T CRFManager::ReleaseInstance()",
          "T CRFManager::RegisterRFEventHandler(IEventListener*)",
          "T CRFManager::SetSubtitleWindowSubsurface(unsigned int)",
          "T CRFManager::ShowSubtitleWindow()",
          "T CRFManager::SetChType(CRFManager::LUMIVEX_CHANNEL_TYPE)",
          "T CRFManager::TuneRFChannel(int, int, int, int)",
          "T CRFManager::GetNumOfMultiAudio(unsigned int*)",
          "T CRFManager::GetNumOfSubtitle(unsigned int*)",
          "T CRFManager::GetCurrentAudioIndex(int*)", "T CRFManager::GetCurrentSubtitleIndex(int*)",
          "T CRFManager::ChangeAudioByIndex(unsigned int)",
          "T CRFManager::ChangeSubtitleByIndex(int)",
          "T CRFManager::GetSubtitleMode(" + mode + "*)",
          "T CRFManager::SetSubtitleMode(" + mode + ")", "T CRFManager::GetSubtitleStatus(bool*)",
          "T CRFManager::SetSubtitleStatus(bool)",
          "T CRFManager::GetMultiAudioLanguageByIndex(unsigned int, " + text + ")",
          "T CRFManager::GetSubtitleLanguageByIndex(unsigned int, " + text + ")"));
}

}  // namespace
