#ifndef PLATFORM_ZUNO_PLAYER_SRC_MESSAGES_H_
#define PLATFORM_ZUNO_PLAYER_SRC_MESSAGES_H_

// The messages that this player sends. The plug-in relays the numbers to the page as event types
// (right column); which happening has which number is this player's own choice, except for the
// messages that come with a record, whose meaning the plug-in knows.
//
//   id   sent when                                                        page sees
//   131  a network stream's buffer fills or runs empty                    info 1, 2, 3
//   132  a cue begins; or one ends and the rest, if any, remain            timed text
//   181  a DRM challenge was requested; a placeholder (see drm.h)         DRM info 0
//   185  the picture's size became known or changed                       info 8
//    97  playback reached the end of the medium, once each time           info 5
//
// An error ends playback, and nothing but InitPlayer works afterwards. When InitPlayer answers
// false because of the medium, it has sent exactly one of these as well.
//
//   186  the file does not exist or cannot be read                        error 1
//   134  the server cannot be reached or has no such file, nothing is     error 2
//        ready 10 s after InitPlayer, or a buffering period makes no
//        progress for 10 s
//   182  the data is no medium that can be read, or is damaged; also      error 4
//        when opening a local file comes to a standstill
//   183  no decoder is installed for the medium                           error 5
//   184  a decoder failed                                                 error 6
//    68  the medium is encrypted                                          error 8
//    37  anything else, for example no audio output                       error 0
//
// The player never sends 32, 35, 96 and 177, nor the remaining errors (0, 64 to 67, 98, 187).
//
// A buffering period is a run of 131 that begins below 100 and ends with one 100; playback is held
// in between. It ends with 100 also when Stop, InitPlayer or an error cuts it short, so that a
// listener which follows the periods is never left inside one.
namespace zuno {

enum Message : int {
  kMessageBuffering = 131,   // record: percent
  kMessageTimedText = 132,   // record: data, NUL-terminated
  kMessageDrmData = 181,     // record: data, length in value
  kMessageResolution = 185,  // no record; ask GetResolution
  kMessageEndOfStream = 97,  // no record
  kMessageSourceError = 186,
  kMessageNetworkError = 134,
  kMessageFormatError = 182,
  kMessageCodecError = 183,
  kMessageDecodeError = 184,
  kMessageEncryptedError = 68,
  kMessageOtherError = 37,
};

}  // namespace zuno

#endif  // PLATFORM_ZUNO_PLAYER_SRC_MESSAGES_H_
