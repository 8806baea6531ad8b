# Every target is built with the same warnings, and a warning is an error.
add_compile_options(
  -Wall -Wextra -Wpedantic -Werror
  -Wshadow -Wnon-virtual-dtor -Woverloaded-virtual -Wold-style-cast
  -Wcast-qual -Wformat=2 -Wno-format-nonliteral -Wnull-dereference -Wundef)
# Files name themselves by their place in the project, never by a path of the build machine.
add_compile_options("-ffile-prefix-map=${PROJECT_SOURCE_DIR}/=" "-ffile-prefix-map=${PROJECT_BINARY_DIR}=build")
if(LUMIVEX_PLATFORM_ROOT)
  add_compile_options("-ffile-prefix-map=${LUMIVEX_PLATFORM_ROOT}=sdk")
endif()
