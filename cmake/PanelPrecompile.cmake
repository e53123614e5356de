# Included last. With PANEL_PRECOMPILE the headers of Qt that most files include are parsed once for
# each set of flags instead of once for each file, where most of the time of a build goes.
#
# A header that is precompiled is there for every file, also for one that forgot to include it, and
# a few bytes of the tables for exceptions come out otherwise. So what ships is built without; other
# variants may have it.

# What is included most; more of it makes each file slower. None may look at a macro that some
# targets define and others do not, as Qt's own headers for tests do: the compiler would refuse it.
set(PANEL_PRECOMPILED_HEADERS
  <algorithm> <array> <functional> <memory> <string> <vector>
  <QApplication> <QDialog> <QDir> <QFile> <QLabel> <QLineEdit> <QMessageBox> <QPushButton>
  <QSettings> <QTimer> <QVBoxLayout>)

# panel_all_targets(RESULT FOLDER): the targets of a folder and of those below.
function(panel_all_targets result folder)
  get_property(targets DIRECTORY ${folder} PROPERTY BUILDSYSTEM_TARGETS)
  get_property(subfolders DIRECTORY ${folder} PROPERTY SUBDIRECTORIES)
  foreach(subfolder IN LISTS subfolders)
    panel_all_targets(below ${subfolder})
    list(APPEND targets ${below})
  endforeach()
  set(${result} ${targets} PARENT_SCOPE)
endfunction()

# panel_libraries_of(RESULT TARGET): whatever gives a target its flags.
function(panel_libraries_of result target)
  set(found)
  get_target_property(next ${target} LINK_LIBRARIES)
  while(NOT "${next}" STREQUAL "")
    list(POP_FRONT next name)
    if(TARGET ${name} AND NOT name IN_LIST found)
      list(APPEND found ${name})
      get_target_property(further ${name} INTERFACE_LINK_LIBRARIES)
      list(APPEND next ${further})
    endif()
  endwhile()
  set(${result} ${found} PARENT_SCOPE)
endfunction()

# panel_precompiled_headers(RESULT TARGET): the target whose headers have the flags of this one. It
# is made for the first that asks.
function(panel_precompiled_headers result target)
  get_target_property(strict ${target} LINK_LIBRARIES)
  list(FILTER strict INCLUDE REGEX "^panel_strict_qt$")
  get_target_property(visibility ${target} CXX_VISIBILITY_PRESET)
  set(name panel_headers)
  if(strict)
    string(APPEND name _strict)
  endif()
  if(visibility)
    string(APPEND name _${visibility})
  endif()
  set(${result} ${name} PARENT_SCOPE)
  if(TARGET ${name})
    return()
  endif()
  file(CONFIGURE OUTPUT ${PROJECT_BINARY_DIR}/precompiled.cpp CONTENT "")
  add_library(${name} OBJECT ${PROJECT_BINARY_DIR}/precompiled.cpp)
  get_target_property(inlines ${target} VISIBILITY_INLINES_HIDDEN)
  set_target_properties(${name} PROPERTIES CXX_EXTENSIONS OFF POSITION_INDEPENDENT_CODE ON)
  if(visibility)
    set_target_properties(${name} PROPERTIES
      CXX_VISIBILITY_PRESET ${visibility} VISIBILITY_INLINES_HIDDEN ${inlines})
  endif()
  target_link_libraries(${name} PRIVATE Qt5::Core panel_flags ${strict})
  # The folders of the widgets without their macros: some targets have no widgets.
  foreach(module IN ITEMS Gui Widgets)
    target_include_directories(${name} SYSTEM PRIVATE
      $<TARGET_PROPERTY:Qt5::${module},INTERFACE_INCLUDE_DIRECTORIES>)
  endforeach()
  target_precompile_headers(${name} PRIVATE ${PANEL_PRECOMPILED_HEADERS})
endfunction()

panel_all_targets(targets ${PROJECT_SOURCE_DIR})
foreach(target IN LISTS targets)
  get_target_property(type ${target} TYPE)
  get_target_property(without ${target} DISABLE_PRECOMPILE_HEADERS)
  if(type STREQUAL "INTERFACE_LIBRARY" OR type STREQUAL "UTILITY" OR without)
    continue()
  endif()
  panel_libraries_of(libraries ${target})
  if(Qt5::Core IN_LIST libraries AND panel_flags IN_LIST libraries)
    panel_precompiled_headers(headers ${target})
    target_precompile_headers(${target} REUSE_FROM ${headers})
  endif()
endforeach()
