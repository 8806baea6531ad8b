#ifndef INC_LUMIVEXLOG_H_
#define INC_LUMIVEXLOG_H_

#include <dlog.h>

// Every log line begins with the base name of the source file, the function and the source line:
//   LUMIVEX_DEBUG("msec: %d", msec);
// It goes to the main buffer with the tag kLogTag, which the source sets. The message is a literal;
// up to six values follow it.
//
// The macros are expressions of the value false, so that a failure is logged where it is found:
//   return m_pZunoPlayer->Seek(msec) || LUMIVEX_ERROR("Seek() returned false.");

// A helper that logs for its caller takes the caller's place as its last argument, so that the line
// speaks of the operation that was called and not of the helper:
//   bool HasPlayer(LogSite site = LogSite::Caller());
struct LogSite {
  const char* file;
  const char* function;
  int line;

  static LogSite Caller(const char* path = __builtin_FILE(),
                        const char* function = __builtin_FUNCTION(),
                        int line = __builtin_LINE()) {
    const char* const slash = __builtin_strrchr(path, '/');
    return {slash == nullptr ? path : slash + 1, function, line};
  }

  // The value of the macros, whatever the log returned.
  static constexpr bool Logged(int /*answer*/) { return false; }
};

#define LUMIVEX_DEBUG(...) LUMIVEX_DEBUG_AT(LogSite::Caller(), __VA_ARGS__)
#define LUMIVEX_ERROR(...) LUMIVEX_ERROR_AT(LogSite::Caller(), __VA_ARGS__)
#define LUMIVEX_DEBUG_AT(site, ...) LUMIVEX_LOG(LOG_ID_MAIN, DLOG_DEBUG, kLogTag, site, __VA_ARGS__)
#define LUMIVEX_ERROR_AT(site, ...) LUMIVEX_LOG(LOG_ID_MAIN, DLOG_ERROR, kLogTag, site, __VA_ARGS__)
#define LUMIVEX_LOG(buffer, priority, tag, site, ...) \
  LogSite::Logged(__dlog_print(buffer, priority, tag, LUMIVEX_LOG_LINE(site, __VA_ARGS__)))

// A format and its arguments. C++17 cannot leave out the comma before values that are none: the
// number of arguments picks the form.
#define LUMIVEX_LOG_LINE(...) LUMIVEX_LOG_PICK(__VA_ARGS__, N, N, N, N, N, N, 0, )(__VA_ARGS__)
#define LUMIVEX_LOG_PICK(site, message, a, b, c, d, e, f, values, ...) LUMIVEX_LOG_LINE_##values
#define LUMIVEX_LOG_LINE_0(site, message) \
  "%s: %s(%d) > " message, (site).file, (site).function, (site).line
#define LUMIVEX_LOG_LINE_N(site, message, ...) LUMIVEX_LOG_LINE_0(site, message), __VA_ARGS__

#endif  // INC_LUMIVEXLOG_H_
