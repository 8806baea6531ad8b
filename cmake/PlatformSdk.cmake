# The platform's libraries from a device SDK, as imported targets with the stand-ins' names. Nothing
# outside the root is used.
if(NOT IS_DIRECTORY "${LUMIVEX_PLATFORM_ROOT}")
  message(FATAL_ERROR "LUMIVEX_PLATFORM_ROOT: \"${LUMIVEX_PLATFORM_ROOT}\" is not a folder")
endif()

# lumivex_elf_kind(<file> <variable>): word size, byte order and processor, from its ELF header.
function(lumivex_elf_kind file variable)
  file(READ "${file}" header LIMIT 20 HEX)
  set(kind "not an ELF file")
  if(header MATCHES "^7f454c46")
    string(SUBSTRING "${header}" 8 4 kind)
    string(SUBSTRING "${header}" 36 4 processor)
    string(APPEND kind "-${processor}")
  endif()
  set(${variable} "${kind}" PARENT_SCOPE)
endfunction()
lumivex_elf_kind("${CMAKE_PLATFORM_INFO_DIR}/CMakeDetermineCompilerABI_CXX.bin" LUMIVEX_ELF_KIND)

# Selects the fitting library of an SDK for two word sizes.
function(lumivex_fits result file)
  lumivex_elf_kind("${file}" kind)
  if(NOT kind STREQUAL LUMIVEX_ELF_KIND)
    set(${result} FALSE PARENT_SCOPE)
  endif()
endfunction()

# lumivex_platform_library(<target> <header that its include folder holds> <library name>...)
# Not cached, so that the root of a build folder can change.
function(lumivex_platform_library target header)
  set(where PATHS "${LUMIVEX_PLATFORM_ROOT}/usr" "${LUMIVEX_PLATFORM_ROOT}"
    NO_CACHE NO_DEFAULT_PATH NO_CMAKE_FIND_ROOT_PATH)
  find_path(include NAMES "${header}" ${where}
    PATH_SUFFIXES include include/dlog include/rf-manager include/pepper)
  set(libraries NAMES ${ARGN} ${where} PATH_SUFFIXES lib lib64 "lib/${CMAKE_LIBRARY_ARCHITECTURE}")
  find_library(library ${libraries} VALIDATOR lumivex_fits)
  find_library(unfit ${libraries})
  list(GET ARGN 0 name)
  if(NOT include)
    message(FATAL_ERROR "The SDK in \"${LUMIVEX_PLATFORM_ROOT}\" lacks the header ${header}; expected in usr/include")
  elseif(NOT unfit)
    message(FATAL_ERROR "The SDK in \"${LUMIVEX_PLATFORM_ROOT}\" lacks the library ${name}; expected in usr/lib")
  elseif(NOT library)
    message(FATAL_ERROR "${unfit} is not a library for ${CMAKE_SYSTEM_PROCESSOR}, which the compiler targets: use the SDK's own toolchain file, or a complete SDK")
  endif()
  add_library(lumivex::${target} SHARED IMPORTED)
  set_target_properties(lumivex::${target} PROPERTIES
    IMPORTED_LOCATION "${library}"
    INTERFACE_INCLUDE_DIRECTORIES "${include}")
endfunction()

lumivex_platform_library(pepper ppapi/cpp/module.h pepperplugin)
lumivex_platform_library(rf-manager CRFManager.h rf-manager)
lumivex_platform_library(dlog dlog.h dlog libdlog.so.0)
