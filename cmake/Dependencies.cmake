# Ninja before 1.12 misreads some characters in the compiler's dependency lists and then rebuilds
# everything each time. If the path has one of them, make the lists' paths relative to the build folder.
if(CMAKE_GENERATOR STREQUAL "Ninja" AND
    "${PROJECT_SOURCE_DIR}${PROJECT_BINARY_DIR}" MATCHES "[]['\"&?*;<>|^`\\]")
  file(RELATIVE_PATH source "${PROJECT_BINARY_DIR}" "${PROJECT_SOURCE_DIR}")
  set(script "")
  foreach(folder "${PROJECT_BINARY_DIR}" "${PROJECT_SOURCE_DIR}")
    string(REPLACE "$" "$$" written "${folder}")  # as the compiler writes it
    string(REGEX REPLACE "([ #])" "\\\\\\1" written "${written}")
    string(REGEX REPLACE "([][\\.*^$|])" "\\\\\\1" pattern "${written}")  # as sed reads that
    file(RELATIVE_PATH relative "${PROJECT_BINARY_DIR}" "${folder}/.")
    string(APPEND script "s|${pattern}/|${relative}|g\n")
  endforeach()
  file(WRITE "${PROJECT_BINARY_DIR}/dependencies.sed" "${script}")
  file(WRITE "${PROJECT_BINARY_DIR}/compile.sh"
    "list=$1\nshift\n\"$@\" && sed -i -f dependencies.sed \"$list\"\n")
  set_property(GLOBAL PROPERTY RULE_LAUNCH_COMPILE "sh compile.sh <DEP_FILE>")
endif()
