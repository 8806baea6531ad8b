# lumivex_harden(<library> <its objects>): enables the toolchain's protections, as far as the compiler
# supports them, and refuses undefined symbols.
include(CheckCXXCompilerFlag)
set(CMAKE_REQUIRED_FLAGS -Werror)  # clang takes another processor's option and warns
foreach(option -fstack-protector-strong -fstack-clash-protection -fcf-protection=full
        -mbranch-protection=standard)
  string(MAKE_C_IDENTIFIER "LUMIVEX_CXX${option}" known)
  check_cxx_compiler_flag("${option}" ${known})
  if(${known})
    list(APPEND LUMIVEX_HARDENING "${option}")
  endif()
endforeach()
unset(CMAKE_REQUIRED_FLAGS)

function(lumivex_harden library objects)
  target_compile_options(${objects} PRIVATE ${LUMIVEX_HARDENING})
  target_link_options(${library} PRIVATE LINKER:-z,relro LINKER:-z,now LINKER:-z,noexecstack)
  if(NOT LUMIVEX_SANITIZE)  # sanitizers check more, and their symbols come with the program
    target_compile_options(${objects} PRIVATE
      "$<$<NOT:$<CONFIG:Debug>>:-U_FORTIFY_SOURCE;-D_FORTIFY_SOURCE=2>")
    target_link_options(${library} PRIVATE LINKER:-z,defs)
  endif()
endfunction()
