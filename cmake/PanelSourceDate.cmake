# The same source gives the same bytes, wherever, whenever and by whomever it is built.
#
# PANEL_SOURCE_DATE, in seconds since 1970, is the time that files carry inside the library and the
# packages: that of the last commit, which everybody with the same source has. An environment with
# SOURCE_DATE_EPOCH decides otherwise; a source without its history has the date of its release.
file(STRINGS CHANGELOG.md releases REGEX "^## [0-9.]+ \\([0-9-]+\\)$")
list(GET releases 0 newest)
if(NOT newest MATCHES "^## ${PROJECT_VERSION} \\((.*)\\)$")
  message(FATAL_ERROR "CHANGELOG.md begins with '${newest}', the project is ${PROJECT_VERSION}")
endif()
set(PANEL_RELEASE_DATE ${CMAKE_MATCH_1})
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/CHANGELOG.md)

# git refuses the folder of another user, which a checkout is when root builds in it.
set(git git -c safe.directory=* -C ${PROJECT_SOURCE_DIR})
set(last_commit "")
if(EXISTS ${PROJECT_SOURCE_DIR}/.git)
  execute_process(COMMAND ${git} log -1 --format=%ct
                  OUTPUT_VARIABLE last_commit OUTPUT_STRIP_TRAILING_WHITESPACE ERROR_QUIET)
  execute_process(COMMAND ${git} rev-parse --path-format=absolute --git-path logs/HEAD
                  OUTPUT_VARIABLE commits OUTPUT_STRIP_TRAILING_WHITESPACE ERROR_QUIET)
  if(EXISTS "${commits}") # the next commit has another time
    set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${commits})
  endif()
endif()
if(DEFINED ENV{SOURCE_DATE_EPOCH})
  set(PANEL_SOURCE_DATE $ENV{SOURCE_DATE_EPOCH})
elseif(last_commit MATCHES "^[0-9]+$")
  set(PANEL_SOURCE_DATE ${last_commit})
else()
  execute_process(COMMAND date --utc --date ${PANEL_RELEASE_DATE} +%s
                  OUTPUT_VARIABLE PANEL_SOURCE_DATE OUTPUT_STRIP_TRAILING_WHITESPACE
                  COMMAND_ERROR_IS_FATAL ANY)
endif()
