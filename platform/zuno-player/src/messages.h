#ifndef PLATFORM_ZUNO_PLAYER_SRC_MESSAGES_H_
#define PLATFORM_ZUNO_PLAYER_SRC_MESSAGES_H_

namespace zuno {

// The messages that this player sends, and what the plug-in makes of them. Which happening has
// which number is this player's own choice, except for the messages that come with a record, whose
// meaning the plug-in knows. Never sent are 32, 35, 96 and 177, and the errors 0, 64 to 67, 98,
// 187.
//
// A buffering period is a run of kMessageBuffering that begins below 100 and ends with one 100;
// playback is held in between. It ends with 100 also when Stop, InitPlayer or an error cuts it
// short, so that a listener which follows the periods is never left inside one.
//
// An error ends playback until InitPlayer, or Stop and then Play, opens a medium again. When
// InitPlayer answers false because of the medium, it has sent exactly one as well.
enum Message : int {
  kMessageBuffering = 131,     // info 1, 2, 3; record: percent
  kMessageTimedText = 132,     // a cue begins, or ends; record: data, NUL-terminated
  kMessageDrmData = 181,       // DRM info 0; record: data, length in value
  kMessageResolution = 185,    // info 8: the picture's size became known or changed
  kMessageEndOfStream = 97,    // info 5: playback reached the end of the medium, once each time
  kMessageSourceError = 186,   // error 1: the file does not exist or cannot be read
  kMessageNetworkError = 134,  // error 2: the server fails, nothing is ready 10 s after InitPlayer,
                               // or buffering makes no progress for 10 s
  kMessageFormatError = 182,   // error 4: no medium that can be read, or a damaged one
  kMessageCodecError = 183,    // error 5: no decoder is installed for it
  kMessageDecodeError = 184,   // error 6: a decoder failed
  kMessageEncryptedError = 68,  // error 8: the medium is encrypted
  kMessageOtherError = 37,      // error 0: anything else, for example no audio output
};

}  // namespace zuno

#endif  // PLATFORM_ZUNO_PLAYER_SRC_MESSAGES_H_
