add_compile_options(
  -Wall -Wextra -Wpedantic -Werror
  -Wshadow -Wnon-virtual-dtor -Woverloaded-virtual -Wold-style-cast
  -Wcast-qual -Wformat=2 -Wno-format-nonliteral -Wnull-dereference -Wundef)
# __FILE__ and debug information have paths relative to the project.
add_compile_options("-ffile-prefix-map=${PROJECT_SOURCE_DIR}/=" "-ffile-prefix-map=${PROJECT_BINARY_DIR}=build")
if(LUMIVEX_PLATFORM_ROOT)
  add_compile_options("-ffile-prefix-map=${LUMIVEX_PLATFORM_ROOT}=sdk")
endif()
