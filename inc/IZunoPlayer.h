#ifndef INC_IZUNOPLAYER_H_
#define INC_IZUNOPLAYER_H_

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

// The binary interface of the platform's media player library, libzuno-player.so, as this plug-in
// uses it. The library is opened at run time and ships no header: what counts is the position of
// each operation in the object's table and the layout of the message record, both taken from the
// library. Positions count from 0; the virtual destructor takes 0 and 1. An operation is only ever
// reached through its position, so nothing may be inserted, removed or reordered here.
//
// Threads: the plug-in calls the operations from one thread at a time, except GetResolution, which
// it also calls from inside the message callback. The library calls the two callbacks on its own
// threads, and never after the destructor has returned.

// Message ids of the library.
enum _MsgType : int {};

// The record that comes with a message. It belongs to the library and is valid only during the
// callback. The fields stand at the same offsets on 32-bit and 64-bit machines.
struct ZunoMessageParam {
  const char* data;  // text of a timed-text cue (message 132), start of DRM data (message 181)
#if UINTPTR_MAX == UINT32_MAX
  unsigned char pad_after_data[4];
#endif
  std::uint32_t percent;  // buffering percentage (message 131), 100 when complete
  unsigned char pad_after_percent[420];
  std::int32_t value;  // value of message 177; length of the DRM data in bytes (message 181)
};

static_assert(offsetof(ZunoMessageParam, data) == 0, "fixed by the player library");
static_assert(offsetof(ZunoMessageParam, percent) == 8, "fixed by the player library");
static_assert(offsetof(ZunoMessageParam, value) == 432, "fixed by the player library");

class IZunoPlayer {
 public:
  // param points to a ZunoMessageParam or is null, depending on the message. The result is the
  // listener's answer, or -1 when the message was ignored.
  using MessageCallback = int (*)(int id, void* param, void* userData);
  // position in milliseconds.
  using PositionCallback = void (*)(unsigned long position, void* userData);

  virtual ~IZunoPlayer() = default;  // 0 and 1

  virtual void Unused2() {}
  virtual void Unnamed3(int) {}
  virtual void Unused4() {}
  virtual void Unused5() {}
  virtual bool InitPlayer(const char* url, unsigned int timeOffset) = 0;  // 6
  virtual void Unused7() {}
  virtual void Unused8() {}
  virtual void Unused9() {}
  virtual bool Play(int) = 0;  // 10
  virtual bool Stop() = 0;     // 11
  virtual void Unused12() {}
  virtual void Unused13() {}
  // Lengths in bytes, without a terminator. 0 is success, anything else failure.
  virtual int SetDrmInfo(const char* name,
                         int nameLength,
                         const char* data,
                         int dataLength,
                         int) = 0;                          // 14
  virtual bool GetResolution(int* width, int* height) = 0;  // 15
  virtual void Unused16() {}
  virtual bool Pause() = 0;   // 17
  virtual bool Resume() = 0;  // 18
  virtual void Unused19() {}
  virtual bool Seek(int msec) = 0;  // 20
  virtual void Unused21() {}
  virtual void Unused22() {}
  virtual void Unnamed23(int) {}
  virtual void Unnamed24(int) {}
  virtual bool SetPlaySpeed(float speed) = 0;  // 25
  virtual void Unused26() {}
  virtual bool GetCurrentPosition(int* msec) = 0;  // 27
  virtual bool GetDuration(int* msec) = 0;         // 28
  virtual void Unused29() {}
  // Fills the vector with bits per second.
  virtual bool GetAvailableBitrates(std::vector<unsigned int>* bitrates) = 0;  // 30
  virtual void Unused31() {}
  virtual bool GetTotalNumOfStreamID(int streamType, int* count) = 0;  // 32
  virtual bool GetCurrentStreamID(int streamType, int* index) = 0;     // 33
  virtual void Unused34() {}
  virtual void Unused35() {}
  virtual bool GetStreamLanguageCode(int streamType,
                                     int index,
                                     std::string* languageCode,
                                     std::string* furtherText) = 0;  // 36
  virtual void Unused37() {}
  virtual void Unused38() {}
  virtual void Unused39() {}
  virtual void Unused40() {}
  virtual void Unused41() {}
  virtual void Unused42() {}
  virtual void Unused43() {}
  virtual void Unused44() {}
  virtual void Unused45() {}
  virtual bool StartSubtitle(const char* filePath, int) = 0;  // 46
  virtual void Unused47() {}
  virtual void Unused48() {}
  virtual void Unused49() {}
  virtual void Unused50() {}
  virtual void Unused51() {}
  virtual bool SetCurrentPositionCallback(PositionCallback callback, void* userData) = 0;  // 52
  virtual bool SetMessageCallback(MessageCallback callback, void* userData) = 0;           // 53
  virtual void Unused54() {}
  virtual void Unused55() {}
  virtual void Unused56() {}
  virtual void Unused57() {}
  virtual void Unused58() {}
  virtual void Unused59() {}
  virtual void Unused60() {}
  virtual void Unused61() {}
  virtual void Unused62() {}
  virtual void Unused63() {}
  virtual void Unused64() {}
  virtual void Unused65() {}
  virtual void Unused66() {}
  virtual void Unused67() {}
  virtual void Unused68() {}
  virtual void Unused69() {}
  virtual void Unused70() {}
  virtual void Unused71() {}
  virtual void Unused72() {}
  virtual void Unused73() {}
  virtual void Unused74() {}
  // Triples (const char* name, const void* value, int size in bytes), then a null const char*.
  virtual bool SetAttribute(int, ...) = 0;  // 75
  virtual void Unused76() {}
  virtual bool SetStreamID(int streamType, int index) = 0;  // 77
};

// The library's one entry point, exported under the name "Create": a new player, or null. The
// caller owns it and deletes it through its virtual destructor.
using ZunoPlayerCreate = IZunoPlayer* (*)();

#endif  // INC_IZUNOPLAYER_H_
