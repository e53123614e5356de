# Included by project() in a build for another architecture, before Qt is looked for: Qt's tools run
# during the build, so they are those of this machine. Qt's own configuration leaves alone a target
# that exists.
#
#   PANEL_HOST_QT   folder of these tools, of the same 5.15 as the panel's Qt: a later one may write
#                   what the panel's headers do not know
foreach(tool IN ITEMS qmake moc rcc uic)
  if(NOT TARGET Qt5::${tool})
    find_program(panel_${tool} ${tool} HINTS ${PANEL_HOST_QT} PATHS /usr/lib/qt5/bin
                 NO_CACHE REQUIRED)
    add_executable(Qt5::${tool} IMPORTED)
    set_target_properties(Qt5::${tool} PROPERTIES IMPORTED_LOCATION ${panel_${tool}})
  endif()
endforeach()
