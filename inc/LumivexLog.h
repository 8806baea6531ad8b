#ifndef INC_LUMIVEXLOG_H_
#define INC_LUMIVEXLOG_H_

#include <dlog.h>

// Every log line begins with the base name of the source file, the function and the source line.
// A helper that logs for its caller takes the caller's place as a LogSite, so that the line speaks
// of the operation that was called and not of the helper.

#ifdef __FILE_NAME__
#define LUMIVEX_LOG_FILE __FILE_NAME__
#else
#define LUMIVEX_LOG_FILE (__builtin_strrchr("/" __FILE__, '/') + 1)
#endif

struct LogSite {
  const char* file;
  const char* function;
  int line;
};
#define LUMIVEX_LOG_SITE (LogSite{LUMIVEX_LOG_FILE, __func__, __LINE__})

// The format of a line from its message, a string literal.
#define LUMIVEX_LOG_FORMAT(message) "%s: %s(%d) > " message

// The format and its first three arguments, to be followed by the message's own:
//   __dlog_print(buffer, priority, tag, LUMIVEX_LOG_LINE("msec: %d"), msec);
#define LUMIVEX_LOG_LINE(message) LUMIVEX_LOG_FORMAT(message), LUMIVEX_LOG_FILE, __func__, __LINE__
#define LUMIVEX_LOG_LINE_AT(site, message) \
  LUMIVEX_LOG_FORMAT(message), (site).file, (site).function, (site).line

#endif  // INC_LUMIVEXLOG_H_
