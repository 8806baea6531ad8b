# The platform's libraries from a device SDK, as imported targets of the names that the stand-ins
# have. Nothing outside the root is looked at.
if(NOT IS_DIRECTORY "${LUMIVEX_PLATFORM_ROOT}")
  message(FATAL_ERROR "LUMIVEX_PLATFORM_ROOT is \"${LUMIVEX_PLATFORM_ROOT}\", which is no folder")
endif()

# lumivex_platform_library(<target> <header that its include folder holds> <library name>...)
function(lumivex_platform_library target header)
  set(roots "${LUMIVEX_PLATFORM_ROOT}/usr" "${LUMIVEX_PLATFORM_ROOT}")
  string(MAKE_C_IDENTIFIER "LUMIVEX_${target}" variable)
  find_path(${variable}_INCLUDE NAMES "${header}" PATHS ${roots}
    PATH_SUFFIXES include include/dlog include/rf-manager include/pepper NO_DEFAULT_PATH REQUIRED)
  find_library(${variable}_LIBRARY NAMES ${ARGN} PATHS ${roots}
    PATH_SUFFIXES lib lib64 "lib/${CMAKE_LIBRARY_ARCHITECTURE}" NO_DEFAULT_PATH REQUIRED)
  add_library(lumivex::${target} SHARED IMPORTED)
  set_target_properties(lumivex::${target} PROPERTIES
    IMPORTED_LOCATION "${${variable}_LIBRARY}"
    INTERFACE_INCLUDE_DIRECTORIES "${${variable}_INCLUDE}")
endfunction()

lumivex_platform_library(pepper ppapi/cpp/module.h pepperplugin)
lumivex_platform_library(rf-manager CRFManager.h rf-manager)
lumivex_platform_library(dlog dlog.h dlog libdlog.so.0)
