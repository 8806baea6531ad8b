# 32-bit ARM with hardware floating point, by Debian's cross compiler. The build's programs run in
# user-mode emulation, if installed.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR armv7l)
set(CMAKE_LIBRARY_ARCHITECTURE arm-linux-gnueabihf)
set(CPACK_DEBIAN_PACKAGE_ARCHITECTURE armhf)
set(CMAKE_C_COMPILER arm-linux-gnueabihf-gcc)
set(CMAKE_CXX_COMPILER arm-linux-gnueabihf-g++)
# No notes about calls that GCC 6 and 7 pass differently.
set(CMAKE_CXX_FLAGS_INIT -Wno-psabi)

# Libraries, headers and packages are the target's, programs the build machine's.
set(CMAKE_FIND_ROOT_PATH /usr/arm-linux-gnueabihf)
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

find_program(LUMIVEX_QEMU_ARM qemu-arm)
if(LUMIVEX_QEMU_ARM)
  set(CMAKE_CROSSCOMPILING_EMULATOR "${LUMIVEX_QEMU_ARM};-L;${CMAKE_FIND_ROOT_PATH}")
endif()
