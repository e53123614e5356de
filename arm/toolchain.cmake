# CMake toolchain file: builds for another architecture with a GNU cross compiler and a sysroot.
#
#   PANEL_TARGET    what the compiler calls the architecture, for example arm-linux-gnueabihf; the
#                   compiler is PANEL_TARGET-g++
#   PANEL_SYSROOT   folder with the headers and libraries of the panel: usr/include, usr/lib
#
# Both are given on the command line or by a preset. HostTools.cmake, which belongs to it, takes
# Qt's build tools from the machine that builds.
list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES PANEL_TARGET PANEL_SYSROOT)
foreach(name IN ITEMS PANEL_TARGET PANEL_SYSROOT)
  if(NOT ${name})
    message(FATAL_ERROR "${name} is not set; see ${CMAKE_CURRENT_LIST_FILE}")
  endif()
endforeach()
if(NOT IS_DIRECTORY ${PANEL_SYSROOT}/usr/include)
  message(FATAL_ERROR "${PANEL_SYSROOT} is no sysroot: there is no usr/include")
endif()

set(CMAKE_SYSTEM_NAME Linux)
string(REGEX REPLACE "-.*" "" CMAKE_SYSTEM_PROCESSOR ${PANEL_TARGET})
set(CMAKE_C_COMPILER ${PANEL_TARGET}-gcc)
set(CMAKE_CXX_COMPILER ${PANEL_TARGET}-g++)
set(CMAKE_CXX_FLAGS_INIT -Wno-psabi) # no remarks about compilers older than C++17
set(CMAKE_LIBRARY_ARCHITECTURE ${PANEL_TARGET}) # where Debian keeps libraries and Qt's CMake files

set(CMAKE_SYSROOT ${PANEL_SYSROOT})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

set(CMAKE_PROJECT_INCLUDE ${CMAKE_CURRENT_LIST_DIR}/HostTools.cmake)
