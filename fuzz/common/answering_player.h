#ifndef FUZZ_COMMON_ANSWERING_PLAYER_H_
#define FUZZ_COMMON_ANSWERING_PLAYER_H_

#include <mutex>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "IZunoPlayer.h"

namespace lumivex::test {

// A player whose operations answer what Say() says. Any thread.
class AnsweringPlayer : public IZunoPlayer {
 public:
  struct Callbacks {
    MessageCallback message = nullptr;
    void* message_user = nullptr;
    PositionCallback position = nullptr;
    void* position_user = nullptr;
  };

  // The tag is the value of every message 177.
  explicit AnsweringPlayer(int tag) : tag_(tag) {}
  AnsweringPlayer(const AnsweringPlayer&) = delete;
  AnsweringPlayer& operator=(const AnsweringPlayer&) = delete;

  Callbacks callbacks() const;
  // Any message with any record, on the calling thread; the callback's result. None: there is no
  // callback.
  std::optional<int> ReportMessage();

  bool InitPlayer(const char* url, unsigned int) override { return Call(url); }
  bool Play(int) override { return Call(); }
  bool Stop() override { return Call(); }
  int SetDrmInfo(
      const char* name, int name_length, const char* data, int data_length, int) override;
  bool GetResolution(int* width, int* height) override;
  bool Pause() override { return Call(); }
  bool Resume() override { return Call(); }
  bool Seek(int) override { return Call(); }
  bool SetPlaySpeed(float) override { return Call(); }
  bool GetCurrentPosition(int* msec) override { return Fill(msec); }
  bool GetDuration(int* msec) override { return Fill(msec); }
  bool GetAvailableBitrates(std::vector<unsigned int>* bitrates) override;
  bool GetTotalNumOfStreamID(int, int* count) override { return Fill(count); }
  bool GetCurrentStreamID(int, int* index) override { return Fill(index); }
  bool GetStreamLanguageCode(int, int, std::string* language, std::string* further) override;
  bool StartSubtitle(const char* path, int) override { return Call(path); }
  bool SetCurrentPositionCallback(PositionCallback callback, void* user) override;
  bool SetMessageCallback(MessageCallback callback, void* user) override;
  bool SetAttribute(int, ...) override { return Call(); }
  bool SetStreamID(int, int) override { return Call(); }

 protected:
  const int tag_;

 private:
  virtual void OnCall() {}  // inside each operation, on its thread

  bool Call(const char* text = nullptr);
  bool Fill(int* output);

  mutable std::mutex mutex_;
  Callbacks callbacks_;  // guarded by mutex_
};

}  // namespace lumivex::test

#endif  // FUZZ_COMMON_ANSWERING_PLAYER_H_
