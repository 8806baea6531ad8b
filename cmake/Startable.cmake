# lumivex_startable(<target> <variable>): the path by which a test starts a target's program. In
# emulation it is a script that runs the emulator.
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
