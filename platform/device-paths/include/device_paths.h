#ifndef DEVICE_PATHS_H_
#define DEVICE_PATHS_H_

#ifdef __cplusplus
extern "C" {
#endif

/* Opens absolute library paths of the device from a staged tree: dlopen("/usr/lib/libx.so") opens
 * "<root>/usr/lib/libx.so" when that file exists, and is passed on unchanged otherwise.
 *
 * Sets the root; null or an empty text switches the mapping off. Until it is called the root is
 * what the environment variable LUMIVEX_SYSROOT says. The text is copied. Any thread may call it;
 * a dlopen that is under way keeps the root it started with. */
__attribute__((visibility("default"))) void device_paths_set_root(const char* root);

#ifdef __cplusplus
}
#endif

#endif /* DEVICE_PATHS_H_ */
