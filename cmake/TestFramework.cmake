# GTest and GMock: the installed ones, or built from source for another processor.
set(LUMIVEX_GOOGLETEST "" CACHE PATH
    "Source of the test framework. When set, it is built for the target; else the installed one is used.")
if(CMAKE_CROSSCOMPILING AND NOT CMAKE_CROSSCOMPILING_EMULATOR)
  message(FATAL_ERROR "tests built for another processor need an emulator (qemu-user)")
endif()

if(NOT LUMIVEX_GOOGLETEST)
  find_package(GTest REQUIRED)
  return()
endif()
if(NOT EXISTS "${LUMIVEX_GOOGLETEST}/CMakeLists.txt")
  message(FATAL_ERROR "LUMIVEX_GOOGLETEST: no test framework in \"${LUMIVEX_GOOGLETEST}\"")
endif()
set(INSTALL_GTEST OFF)
add_subdirectory("${LUMIVEX_GOOGLETEST}" "${PROJECT_BINARY_DIR}/googletest" EXCLUDE_FROM_ALL SYSTEM)
# Without our warnings, and quick to compile.
set_property(TARGET gtest gtest_main gmock gmock_main PROPERTY COMPILE_OPTIONS -O0)
