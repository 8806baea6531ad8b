#include "answering_player.h"

#include <array>
#include <cstring>

#include "answers.h"
#include "check.h"

namespace lumivex::test {

namespace {

constexpr std::array<int, 12> kMessages = {131, 132, 181, 185, 177, 186, 32, 999, 0, 35, 96, 68};

}  // namespace

AnsweringPlayer::Callbacks AnsweringPlayer::callbacks() const {
  const std::lock_guard<std::mutex> lock(mutex_);
  return callbacks_;
}

std::optional<int> AnsweringPlayer::ReportMessage() {
  const Callbacks to = callbacks();
  if (to.message == nullptr) {
    return std::nullopt;
  }
  const std::string data = Say().Text();
  const int id = kMessages[Say().Byte() % kMessages.size()];
  ZunoMessageParam record{};
  record.data = Say().Success() ? data.c_str() : nullptr;
  record.percent = Say().Byte() % 101;
  record.value = id == 177 ? tag_ : static_cast<int>(data.size());
  return to.message(id, Say().Success() ? &record : nullptr, to.message_user);
}

bool AnsweringPlayer::Call(const char* text) {
  Check(text == nullptr || std::strlen(text) < 1U << 20, "texts end");
  OnCall();
  return Say().Success();
}

bool AnsweringPlayer::Fill(int* output) {
  *output = Say().Number();
  return Call();
}

int AnsweringPlayer::SetDrmInfo(
    const char* name, int name_length, const char* data, int data_length, int) {
  Check(name_length == static_cast<int>(std::strlen(name)), "a property's name has its length");
  Check(data_length >= 0 && data[data_length] == '\0', "a property's data has its length");
  return Call() ? 0 : Say().Number();
}

bool AnsweringPlayer::GetResolution(int* width, int* height) {
  *width = Say().Number();
  *height = Say().Number();
  return Say().Success();
}

bool AnsweringPlayer::GetAvailableBitrates(std::vector<unsigned int>* bitrates) {
  for (unsigned int count = Say().Byte() % 5; count > 0; --count) {
    bitrates->push_back(static_cast<unsigned int>(Say().Number()));
  }
  return Call();
}

bool AnsweringPlayer::GetStreamLanguageCode(int, int, std::string* language, std::string* further) {
  *language = Say().Text();
  *further = "further";
  return Call();
}

bool AnsweringPlayer::SetCurrentPositionCallback(PositionCallback callback, void* user) {
  const bool success = Say().Success();
  const std::lock_guard<std::mutex> lock(mutex_);
  callbacks_.position = success ? callback : nullptr;
  callbacks_.position_user = user;
  return success;
}

bool AnsweringPlayer::SetMessageCallback(MessageCallback callback, void* user) {
  const bool success = Say().Success();
  const std::lock_guard<std::mutex> lock(mutex_);
  callbacks_.message = success ? callback : nullptr;
  callbacks_.message_user = user;
  return success;
}

}  // namespace lumivex::test
