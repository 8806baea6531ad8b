// The library that is staged as the device's player library: it asks the test program for its
// player, and tells it when it is loaded and unloaded.

extern "C" {
void* LumivexTestCreatePlayer();
void LumivexTestPlayerLibrary(const char* what);

__attribute__((visibility("default"))) void* Create() {
  return LumivexTestCreatePlayer();
}
}

namespace {

__attribute__((constructor)) void Loaded() {
  LumivexTestPlayerLibrary("loaded");
}

__attribute__((destructor)) void Unloaded() {
  LumivexTestPlayerLibrary("unloaded");
}

}  // namespace
