# CPack reads this file when it begins. The packages of one commit have the same bytes wherever and
# whenever they are made, so they bear the date of the commit. SOURCE_DATE_EPOCH overrides it.
get_filename_component(source ${CMAKE_CURRENT_LIST_DIR}/../.. ABSOLUTE)
if(NOT DEFINED ENV{SOURCE_DATE_EPOCH})
  file(STRINGS ${CMAKE_CURRENT_LIST_DIR}/commit-date date)
  if(NOT date MATCHES "^[0-9]+$" AND EXISTS ${source}/.git)
    execute_process(COMMAND git log -1 --format=%ct WORKING_DIRECTORY ${source}
      OUTPUT_VARIABLE date OUTPUT_STRIP_TRAILING_WHITESPACE)
  endif()
  if(NOT date MATCHES "^[0-9]+$")
    message(FATAL_ERROR "The date of the sources is unknown: they are neither in git nor from "
      "\"git archive\". Set SOURCE_DATE_EPOCH.")
  endif()
  set(ENV{SOURCE_DATE_EPOCH} ${date})
endif()

# A package made before the release comes before the package of the release.
file(STRINGS ${source}/CHANGELOG.md version REGEX "^## " LIMIT_COUNT 1)
if(NOT version MATCHES "^## ([0-9.]+) - (.*)$")
  message(FATAL_ERROR "CHANGELOG.md: no version in '${version}'")
endif()
set(CPACK_PACKAGE_VERSION ${CMAKE_MATCH_1})
if(CMAKE_MATCH_2 STREQUAL "unreleased")
  string(TIMESTAMP date "%Y%m%d.%H%M%S" UTC)
  string(APPEND CPACK_PACKAGE_VERSION "~${date}")
endif()
set(ENV{MECHRUN_PACKAGE_VERSION} ${CPACK_PACKAGE_VERSION})
