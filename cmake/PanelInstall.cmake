# What is installed, in two components: "plugin" is what a panel needs, "dev" what it takes to
# compile a host or another user of the library. The rooms themselves are linked into the plugin
# and are installed nowhere.
include(CMakePackageConfigHelpers)
include(GNUInstallDirs)

# Nothing else lies in this folder, so that a host can look for the plugin by its identifier.
set(PANEL_PLUGIN_DIR ${CMAKE_INSTALL_LIBDIR}/panel-settings/plugins)
set(PANEL_INCLUDE_DIR ${CMAKE_INSTALL_INCLUDEDIR}/panel-settings)
set(PANEL_CONFIG_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/PanelSettings)

install(TARGETS SettingsPlugin EXPORT PanelSettingsTargets
        COMPONENT plugin DESTINATION ${PANEL_PLUGIN_DIR}
        INCLUDES DESTINATION ${PANEL_INCLUDE_DIR})
install(TARGETS panelctl COMPONENT plugin DESTINATION ${CMAKE_INSTALL_BINDIR})
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/panelctl/panelctl.1)
execute_process(
  COMMAND gzip --best --no-name --stdout ${PROJECT_SOURCE_DIR}/panelctl/panelctl.1
  OUTPUT_FILE ${PROJECT_BINARY_DIR}/panelctl/panelctl.1.gz COMMAND_ERROR_IS_FATAL ANY)
install(FILES ${PROJECT_BINARY_DIR}/panelctl/panelctl.1.gz COMPONENT plugin
        DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)

install(FILES panelctl/settings.schema.json COMPONENT plugin
        DESTINATION ${CMAKE_INSTALL_DATADIR}/panel-settings)
install(FILES panelctl/completion/panelctl.bash COMPONENT plugin RENAME panelctl
        DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions)
# Where Debian's zsh looks; elsewhere the folder is added to its fpath.
install(FILES panelctl/completion/_panelctl COMPONENT plugin
        DESTINATION ${CMAKE_INSTALL_DATADIR}/zsh/vendor-completions)

# The host's, then the headers of what the library exports and what those include.
set(PANEL_HEADERS
    plugin/SettingsInterface.h
    fileio/Export.h fileio/File.h fileio/DFifo.h fileio/DFileStdio.h fileio/DFileSystem.h
    regstore/RegisterArea.h regstore/RegisterTable.h regstore/SysReg.h
    device/EEInfoDetail.h device/EEInfoHandle.h device/PlateformInterface.h
    mtd/MtdWRInterface.h mtd/CommonDevMtdWR.h mtd/FutureMtdWR.h)
foreach(header IN LISTS PANEL_HEADERS)
  cmake_path(GET header PARENT_PATH room)
  install(FILES ${header} COMPONENT dev DESTINATION ${PANEL_INCLUDE_DIR}/${room})
endforeach()
install(TARGETS settings_interface EXPORT PanelSettingsTargets
        INCLUDES DESTINATION ${PANEL_INCLUDE_DIR})
install(EXPORT PanelSettingsTargets COMPONENT dev
        NAMESPACE PanelSettings:: DESTINATION ${PANEL_CONFIG_DIR})
configure_package_config_file(
  cmake/PanelSettingsConfig.cmake.in PanelSettingsConfig.cmake
  INSTALL_DESTINATION ${PANEL_CONFIG_DIR} PATH_VARS PANEL_PLUGIN_DIR)
write_basic_package_version_file(PanelSettingsConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/PanelSettingsConfig.cmake
              ${PROJECT_BINARY_DIR}/PanelSettingsConfigVersion.cmake
        COMPONENT dev DESTINATION ${PANEL_CONFIG_DIR})
