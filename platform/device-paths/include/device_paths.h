#ifndef DEVICE_PATHS_H_
#define DEVICE_PATHS_H_

#ifdef __cplusplus
extern "C" {
#endif

/* Opens absolute library paths of the device in a staged tree: dlopen("/usr/lib/libx.so") opens
 * "<root>/usr/lib/libx.so" if that file exists, and otherwise the path itself.
 *
 * Sets the root; null or "" disables the mapping. The default is the environment variable
 * LUMIVEX_SYSROOT. The text is copied. Any thread may call it. */
__attribute__((visibility("default"))) void device_paths_set_root(const char* root);

#ifdef __cplusplus
}
#endif

#endif /* DEVICE_PATHS_H_ */
