# LUMIVEX_SANITIZE=address builds with AddressSanitizer and UBSan, =thread with ThreadSanitizer.
if(LUMIVEX_SANITIZE STREQUAL "address")
  # The player library's object need not have our type information, so dynamic types are not checked.
  set(flags -fsanitize=address,undefined -fno-sanitize=vptr -fno-sanitize-recover=all)
elseif(LUMIVEX_SANITIZE STREQUAL "thread")
  set(flags -fsanitize=thread)
elseif(LUMIVEX_SANITIZE)
  message(FATAL_ERROR "unknown sanitizer \"${LUMIVEX_SANITIZE}\" in LUMIVEX_SANITIZE; expected address, thread or nothing")
endif()
if(LUMIVEX_SANITIZE)
  add_compile_options(${flags} -fno-omit-frame-pointer)
  add_link_options(${flags})
endif()
