# lumivex_startable(<target> <variable>): a path by which a test can start the program of a target,
# in emulation too. That path is then a script that becomes the emulator.
function(lumivex_startable target variable)
  set(path "$<TARGET_FILE:${target}>")
  if(CMAKE_CROSSCOMPILING_EMULATOR)
    list(JOIN CMAKE_CROSSCOMPILING_EMULATOR "' '" emulator)
    set(script "${CMAKE_CURRENT_BINARY_DIR}/start-${target}")
    file(GENERATE OUTPUT "${script}" CONTENT "#!/bin/sh\nexec '${emulator}' '${path}' \"$@\"\n"
      FILE_PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE)
    set(path "${script}")
  endif()
  set(${variable} "${path}" PARENT_SCOPE)
endfunction()
