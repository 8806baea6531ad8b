# Archives and Debian packages: the library (component plugin), its debug information by build id
# (component debug), and lumivex-host (component bringup).
include(SourceDate)
set(CPACK_GENERATOR TGZ DEB)
set(CPACK_PACKAGE_NAME "lumivex-pplugin")
set(CPACK_PACKAGE_FILE_NAME "lumivex-pplugin-${PROJECT_VERSION}-${CMAKE_SYSTEM_PROCESSOR}")
set(CPACK_PACKAGE_VENDOR "Lumivex maintainers")
set(CPACK_PACKAGE_CONTACT "Lumivex maintainers <maintainers@lumivex.invalid>")
set(CPACK_PACKAGING_INSTALL_PREFIX "/usr")
set(CPACK_STRIP_FILES ON)
set(components plugin debug)
if(LUMIVEX_BRINGUP)
  list(APPEND components bringup)
  set(bringup_depends "set_depends(BRINGUP \"$<TARGET_FILE:lumivex-host>\")")
endif()
set(CPACK_COMPONENTS_ALL ${components})
set(CPACK_COMPONENTS_GROUPING IGNORE)
set(CPACK_ARCHIVE_COMPONENT_INSTALL ON)
set(CPACK_ARCHIVE_PLUGIN_FILE_NAME "${CPACK_PACKAGE_FILE_NAME}")
set(CPACK_ARCHIVE_DEBUG_FILE_NAME "${CPACK_PACKAGE_FILE_NAME}-debug")
set(CPACK_ARCHIVE_BRINGUP_FILE_NAME "${CPACK_PACKAGE_FILE_NAME}-bringup")
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_RELEASE "${LUMIVEX_REVISION}")
set(CPACK_DEBIAN_PLUGIN_PACKAGE_NAME "${CPACK_PACKAGE_NAME}")
set(CPACK_DEBIAN_PLUGIN_PACKAGE_SECTION "libs")
set(CPACK_DEBIAN_PLUGIN_DESCRIPTION
"plug-in for streams and broadcast in a television's web runtime
A web runtime loads this library through the Pepper interface. A page then
plays streams and tunes broadcast channels by posting messages to it.
.
The media player library, the tuner library, the log and the Pepper library
come with the device's image.")
set(CPACK_DEBIAN_DEBUG_PACKAGE_NAME "${CPACK_PACKAGE_NAME}-dbgsym")
set(CPACK_DEBIAN_DEBUG_PACKAGE_SECTION "debug")
set(CPACK_DEBIAN_DEBUG_DESCRIPTION
"debug symbols for lumivex-pplugin
Debuggers find them by the library's build id.")
set(CPACK_DEBIAN_BRINGUP_PACKAGE_NAME "${CPACK_PACKAGE_NAME}-bringup")
set(CPACK_DEBIAN_BRINGUP_PACKAGE_SECTION "utils")
set(CPACK_DEBIAN_BRINGUP_DESCRIPTION
"bring-up check of lumivex-pplugin on a device
/usr/libexec/lumivex/lumivex-host --check reports on the plug-in and on each
library below it. It also plays scripts through them.")
if(CMAKE_CROSSCOMPILING AND NOT CPACK_DEBIAN_PACKAGE_ARCHITECTURE)
  message(FATAL_ERROR "set CPACK_DEBIAN_PACKAGE_ARCHITECTURE to Debian's name of the device's architecture")
endif()

# Extracts the debug information from the library.
string(CONFIGURE [[
  set(library "$<TARGET_FILE:lumivex-pplugin>")
  execute_process(COMMAND "@CMAKE_READELF@" -n "${library}" OUTPUT_VARIABLE notes)
  if(NOT notes MATCHES "Build ID: (..)([0-9a-f]+)")
    message(FATAL_ERROR "${library} has no build id")
  endif()
  set(folder "$ENV{DESTDIR}${CMAKE_INSTALL_PREFIX}/lib/debug/.build-id/${CMAKE_MATCH_1}")
  file(MAKE_DIRECTORY "${folder}")
  execute_process(COMMAND_ERROR_IS_FATAL ANY COMMAND
    "@CMAKE_OBJCOPY@" --only-keep-debug --compress-debug-sections "${library}" "${folder}/${CMAKE_MATCH_2}.debug")
  file(CHMOD "${folder}/${CMAKE_MATCH_2}.debug" PERMISSIONS OWNER_READ OWNER_WRITE GROUP_READ WORLD_READ)
]] cut_out @ONLY)
install(CODE "${cut_out}" COMPONENT debug EXCLUDE_FROM_ALL)

# Debian's documentation of a package. The changelog is this version's section of CHANGELOG.md.
file(STRINGS "${PROJECT_SOURCE_DIR}/CHANGELOG.md" lines)
set(within FALSE)
foreach(line IN LISTS lines)
  if(line MATCHES "^## ")
    string(COMPARE EQUAL "${line}" "## ${PROJECT_VERSION}" within)
  elseif(within AND NOT line STREQUAL "")
    string(REGEX REPLACE "^- " "* " line "${line}")
    string(APPEND changes "  ${line}\n")
  endif()
endforeach()
if(NOT changes)
  message(FATAL_ERROR "CHANGELOG.md lacks the section \"## ${PROJECT_VERSION}\": describe there what is new")
endif()
string(TIMESTAMP date "%a, %d %b %Y %H:%M:%S +0000" UTC)
file(WRITE "${PROJECT_BINARY_DIR}/doc/changelog.Debian"
  "${CPACK_PACKAGE_NAME} (${PROJECT_VERSION}-${LUMIVEX_REVISION}) unstable; urgency=medium\n\n"
  "${changes}\n -- ${CPACK_PACKAGE_CONTACT}  ${date}\n")
execute_process(COMMAND gzip -9nf "${PROJECT_BINARY_DIR}/doc/changelog.Debian" COMMAND_ERROR_IS_FATAL ANY)
foreach(component IN LISTS components)
  string(TOUPPER "CPACK_DEBIAN_${component}_PACKAGE_NAME" name)
  install(FILES "${PROJECT_BINARY_DIR}/doc/changelog.Debian.gz" "${PROJECT_SOURCE_DIR}/cmake/debian/copyright"
    DESTINATION "share/doc/${${name}}" COMPONENT ${component} EXCLUDE_FROM_ALL)
endforeach()
install(FILES "${PROJECT_SOURCE_DIR}/cmake/debian/lintian-overrides" RENAME lumivex-pplugin
  DESTINATION share/lintian/overrides COMPONENT plugin EXCLUDE_FROM_ALL)
set(CPACK_DEBIAN_PLUGIN_PACKAGE_CONTROL_EXTRA "${PROJECT_SOURCE_DIR}/cmake/debian/triggers")
set(CPACK_DEBIAN_PLUGIN_PACKAGE_CONTROL_STRICT_PERMISSION ON)

# Runs when the packages are made: sets the date and the oldest libc that has the required symbols.
file(GENERATE OUTPUT "${PROJECT_BINARY_DIR}/package.cmake" CONTENT "
set(ENV{SOURCE_DATE_EPOCH} ${LUMIVEX_SOURCE_DATE})
function(set_depends component file)
  execute_process(COMMAND \"${CMAKE_READELF}\" -V \"\${file}\" OUTPUT_VARIABLE versions)
  string(REGEX MATCHALL \"GLIBC_[0-9.]+\" versions \"\${versions}\")
  list(SORT versions COMPARE NATURAL ORDER DESCENDING)
  list(GET versions 0 libc)
  string(REPLACE GLIBC_ \"\" libc \"\${libc}\")
  # libstdc++6 depends on libgcc_s, which the library needs on ARM.
  set(CPACK_DEBIAN_\${component}_PACKAGE_DEPENDS \"libc6 (>= \${libc}), libstdc++6\" PARENT_SCOPE)
endfunction()
set_depends(PLUGIN \"$<TARGET_FILE:lumivex-pplugin>\")
${bringup_depends}
set(CPACK_DEBIAN_DEBUG_PACKAGE_DEPENDS \"lumivex-pplugin (= ${PROJECT_VERSION}-${LUMIVEX_REVISION})\")
")
# The same folder modes under any umask, in archives too.
file(WRITE "${PROJECT_BINARY_DIR}/modes.cmake" [[
file(CHMOD_RECURSE "${CPACK_TEMPORARY_DIRECTORY}" DIRECTORY_PERMISSIONS OWNER_READ OWNER_WRITE
  OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
]])
set(CPACK_PRE_BUILD_SCRIPTS "${PROJECT_BINARY_DIR}/modes.cmake")
# cpack counts what folders take on the build machine's file system into Debian's Installed-Size.
file(WRITE "${PROJECT_BINARY_DIR}/sizes.cmake" [[
list(FILTER CPACK_PACKAGE_FILES INCLUDE REGEX "[.]deb$")
foreach(package IN LISTS CPACK_PACKAGE_FILES)
  set(folder "${CPACK_TEMPORARY_DIRECTORY}/deb")
  file(REMOVE_RECURSE "${folder}")
  execute_process(COMMAND dpkg-deb -R "${package}" "${folder}" COMMAND_ERROR_IS_FATAL ANY)
  execute_process(COMMAND sed -i "/^Installed-Size:/d" "${folder}/DEBIAN/control" COMMAND_ERROR_IS_FATAL ANY)
  execute_process(COMMAND touch -d "@$ENV{SOURCE_DATE_EPOCH}" "${folder}" "${folder}/DEBIAN" "${folder}/DEBIAN/control")
  execute_process(COMMAND dpkg-deb --root-owner-group -Zgzip -b "${folder}" "${package}"
    OUTPUT_QUIET COMMAND_ERROR_IS_FATAL ANY)
endforeach()
]])
set(CPACK_POST_BUILD_SCRIPTS "${PROJECT_BINARY_DIR}/sizes.cmake")
set(CPACK_PROJECT_CONFIG_FILE "${PROJECT_BINARY_DIR}/package.cmake")
include(CPack)
