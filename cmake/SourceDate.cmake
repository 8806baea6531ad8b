# SOURCE_DATE_EPOCH: the date of everything built from these sources, and of the packages' revision. Set
# in the environment, or else the commit's: git writes it here in a source archive, and reports it in a
# checkout.
set(LUMIVEX_SOURCE_DATE "$ENV{SOURCE_DATE_EPOCH}")
if(LUMIVEX_SOURCE_DATE STREQUAL "")
  set(LUMIVEX_SOURCE_DATE "$Format:%ct$")
endif()
if(LUMIVEX_SOURCE_DATE MATCHES "Format")
  execute_process(COMMAND git -C "${PROJECT_SOURCE_DIR}" log -1 --format=%ct
    OUTPUT_VARIABLE LUMIVEX_SOURCE_DATE OUTPUT_STRIP_TRAILING_WHITESPACE ERROR_QUIET)
endif()
if(NOT LUMIVEX_SOURCE_DATE MATCHES "^[0-9]+$")
  message(FATAL_ERROR "SOURCE_DATE_EPOCH must be seconds since 1970, not \"${LUMIVEX_SOURCE_DATE}\"")
endif()
set(ENV{SOURCE_DATE_EPOCH} "${LUMIVEX_SOURCE_DATE}")
string(TIMESTAMP LUMIVEX_REVISION "%Y%m%d.%H%M%S" UTC)
