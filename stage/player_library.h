#ifndef STAGE_PLAYER_LIBRARY_H_
#define STAGE_PLAYER_LIBRARY_H_

// The player library as the plug-in finds it. dlopen, dlclose and dlerror replace libc's for the
// whole program, but treat only the library's path and handle differently; its entry point is the
// program's own "Create". The program has to export its symbols.

#include <string>

namespace lumivex::test {

// Defined by the program.
void* CreatePlayer();
// "dlopen path mode", "dlerror", "dlclose", and "dlsym" for whether there is an entry point.
// False: the call fails.
bool OnLibraryCall(const std::string& call);

}  // namespace lumivex::test

#endif  // STAGE_PLAYER_LIBRARY_H_
