# The two kinds of targets of this project and the flags they share.

# Flags of every target of ours; never exported to a host.
add_library(panel_flags INTERFACE)
target_compile_features(panel_flags INTERFACE cxx_std_17)
target_compile_options(panel_flags INTERFACE
  -Wall -Wextra -Wpedantic -Wconversion -Wformat=2 -Wtype-limits -Waddress-of-packed-member -Werror
  # clang calls these otherwise or has none.
  $<$<CXX_COMPILER_ID:GNU>:-Wcast-align=strict>
  $<$<CXX_COMPILER_ID:GNU>:-Wformat-signedness>
  # Qt's template statics would be emitted as unique symbols, which pin a library in
  # memory: a host could then never unload the plugin.
  # The other compiler makes none of those.
  $<$<CXX_COMPILER_ID:GNU>:-fno-gnu-unique>)
# No file of ours names the folder it was built in: the packages are the same from everywhere. A
# debugger is to find the sources, though. The later one counts for a build below the sources.
target_compile_options(panel_flags INTERFACE
  $<$<NOT:$<CONFIG:Debug>>:-ffile-prefix-map=${PROJECT_SOURCE_DIR}=.>
  $<$<NOT:$<CONFIG:Debug>>:-ffile-prefix-map=${PROJECT_BINARY_DIR}=./build>)
# Files dated after January 2038, and those of more than 2 GiB, on 32 bits as well.
set(PANEL_NARROW_DEFINITIONS _FILE_OFFSET_BITS=64 _TIME_BITS=64)
if(CMAKE_SIZEOF_VOID_P EQUAL 4)
  target_compile_definitions(panel_flags INTERFACE ${PANEL_NARROW_DEFINITIONS})
endif()
target_compile_definitions(panel_flags INTERFACE QT_NO_CAST_TO_ASCII QT_DEPRECATED_WARNINGS)
if(PANEL_SANITIZE)
  target_compile_options(panel_flags INTERFACE
    -fsanitize=address,undefined -fno-sanitize-recover=undefined -fno-omit-frame-pointer)
  target_link_options(panel_flags INTERFACE -fsanitize=address,undefined)
endif()
if(PANEL_FUZZ)
  target_compile_options(panel_flags INTERFACE -fsanitize=fuzzer-no-link,address,undefined
    -fno-sanitize-recover=undefined -fno-omit-frame-pointer)
  target_link_options(panel_flags INTERFACE -fsanitize=address,undefined)
endif()
if(PANEL_COVERAGE)
  target_compile_options(panel_flags INTERFACE --coverage -fprofile-update=atomic)
  target_link_options(panel_flags INTERFACE --coverage)
  # In a panel a build is read-only but for this folder, see simulator/sandbox.
  file(MAKE_DIRECTORY ${PROJECT_BINARY_DIR}/counters)
endif()

# Of everything but tests: a text becomes a QString where it is said how its bytes are meant, and
# nowhere by chance; no iterator detaches a list unseen.
add_library(panel_strict_qt INTERFACE)
target_compile_definitions(panel_strict_qt INTERFACE
  QT_NO_CAST_FROM_ASCII QT_NO_CAST_FROM_BYTEARRAY QT_STRICT_ITERATORS)

# panel_room(NAME SOURCES file... [LIBS target...])
# The static library of one room. LIBS are its public requirements.
function(panel_room name)
  cmake_parse_arguments(ARG "" "" "SOURCES;LIBS" ${ARGN})
  add_library(${name} STATIC ${ARG_SOURCES})
  # A room may be called like a keyword of target_link_libraries; its alias never is.
  add_library(panel::${name} ALIAS ${name})
  set_target_properties(${name} PROPERTIES
    POSITION_INDEPENDENT_CODE ON CXX_EXTENSIONS OFF AUTOMOC ON AUTOUIC ON
    CXX_VISIBILITY_PRESET hidden VISIBILITY_INLINES_HIDDEN ON)
  # Headers are included from the repository root: #include "device/EEInfoHandle.h"
  target_include_directories(${name} PUBLIC ${PROJECT_SOURCE_DIR})
  target_link_libraries(${name} PUBLIC ${ARG_LIBS} PRIVATE panel_flags panel_strict_qt)
endfunction()

# Where every panel has the checkout and the build, see simulator/sandbox: what is compiled into a
# program that runs in a panel names files there.
set(PANEL_SOURCE_INSIDE /panel-source)
set(PANEL_BUILD_INSIDE /panel-build)
# A program finds the build's libraries beside itself, wherever the build is seen.
set(CMAKE_BUILD_RPATH_USE_ORIGIN ON)

# panel_test(NAME SOURCES file... [LIBS target...] [MODE recorded|live] [SCREEN WxH] [ENV k=v...])
# A test program, started in a fresh simulated panel of its own.
#   recorded  every shell tool only writes its call down (the default)
#   live      the real tools
#   SCREEN    the size of the panel's screen; without it the program has Qt's offscreen one
function(panel_test name)
  cmake_parse_arguments(ARG "" "MODE;SCREEN" "SOURCES;LIBS;ENV" ${ARGN})
  if(NOT ARG_MODE)
    set(ARG_MODE recorded)
  endif()
  find_package(Qt5 5.15 REQUIRED COMPONENTS Test)
  add_executable(${name} ${ARG_SOURCES})
  set_target_properties(${name} PROPERTIES CXX_EXTENSIONS OFF AUTOMOC ON)
  # Empty, since a test includes what is generated for it.
  set_source_files_properties(${CMAKE_CURRENT_BINARY_DIR}/${name}_autogen/mocs_compilation.cpp
                              PROPERTIES SKIP_PRECOMPILE_HEADERS ON)
  target_link_libraries(${name} PRIVATE ${ARG_LIBS} panel_test_support Qt5::Test panel_flags)
  panel_add_sandboxed_test(${name} MODE "${ARG_MODE}" SCREEN "${ARG_SCREEN}"
                           ENV ${ARG_ENV} COMMAND $<TARGET_FILE:${name}>)
endfunction()

# panel_takes_long(SECONDS test...): these begin before others, so that none is left alone at the
# end. Those that a variant does not have are passed over.
function(panel_takes_long seconds)
  foreach(name IN LISTS ARGN)
    if(TEST ${name})
      set_tests_properties(${name} PROPERTIES COST ${seconds})
    endif()
  endforeach()
endfunction()

# panel_add_sandboxed_test(NAME MODE recorded|live [SCREEN WxH] [ENV k=v...] COMMAND words...)
# Registers a test whose command runs in a fresh simulated panel. Its words name files of the
# checkout and the build by their absolute paths; the sandbox turns those into the panel's.
include(${PROJECT_SOURCE_DIR}/arm/Emulation.cmake)
function(panel_add_sandboxed_test name)
  cmake_parse_arguments(ARG "" "MODE;SCREEN" "COMMAND;ENV" ${ARGN})
  set(options --mode ${ARG_MODE})
  if(ARG_SCREEN)
    list(APPEND options --screen ${ARG_SCREEN})
  endif()
  if(PANEL_EMULATION)
    list(APPEND options --emulator ${PANEL_EMULATION})
  endif()
  # One limit holds for all of a test, that of ctest. QtTest's own, five minutes for a function, counts
  # many short ones as one where its thread is woken too late to see one end and the next begin. It
  # comes a minute before the other here, and names the function.
  math(EXPR milliseconds "(${PANEL_TEST_SECONDS} - 60) * 1000")
  foreach(setting IN LISTS ARG_ENV ITEMS QTEST_FUNCTION_TIMEOUT=${milliseconds})
    list(APPEND options --env ${setting})
  endforeach()
  add_test(NAME ${name}
    COMMAND ${PROJECT_SOURCE_DIR}/simulator/sandbox --build ${PROJECT_BINARY_DIR} ${options}
            -- ${ARG_COMMAND})
  set_tests_properties(${name} PROPERTIES TIMEOUT ${PANEL_TEST_SECONDS})
  if(CMAKE_CROSSCOMPILING AND NOT PANEL_EMULATION)
    set_tests_properties(${name} PROPERTIES DISABLED TRUE)
  endif()
endfunction()
