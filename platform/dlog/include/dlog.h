#ifndef DLOG_H_
#define DLOG_H_

#ifdef __cplusplus
extern "C" {
#endif

/* Buffers of the platform log. */
enum { LOG_ID_MAIN = 0, LOG_ID_SYSTEM = 2 };

/* Priorities of the platform log that this project uses; a higher number is more severe. */
enum { DLOG_DEBUG = 3, DLOG_ERROR = 6 };

/* Writes one line to a buffer of the platform log. Any thread may call it. Returns the number of
 * bytes written, 0 if the line was filtered out, or a negative number on failure. */
__attribute__((visibility("default"), format(printf, 4, 5))) int __dlog_print(
    int buffer, int priority, const char* tag, const char* format, ...);

#ifdef __cplusplus
}
#endif

#endif /* DLOG_H_ */
