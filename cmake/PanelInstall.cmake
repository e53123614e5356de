# What is installed, in two components: "plugin" is what a panel needs, "dev" what it takes to
# compile a host. The rooms themselves are linked into the plugin and are installed nowhere.
include(CMakePackageConfigHelpers)
include(GNUInstallDirs)

# Nothing else lies in this folder, so that a host can look for the plugin by its identifier.
set(PANEL_PLUGIN_DIR ${CMAKE_INSTALL_LIBDIR}/panel-settings/plugins)
set(PANEL_CONFIG_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/PanelSettings)

install(TARGETS SettingsPlugin COMPONENT plugin DESTINATION ${PANEL_PLUGIN_DIR})
install(TARGETS panelctl COMPONENT plugin DESTINATION ${CMAKE_INSTALL_BINDIR})
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/panelctl/panelctl.1)
execute_process(
  COMMAND gzip --best --no-name --stdout ${PROJECT_SOURCE_DIR}/panelctl/panelctl.1
  OUTPUT_FILE ${PROJECT_BINARY_DIR}/panelctl/panelctl.1.gz COMMAND_ERROR_IS_FATAL ANY)
install(FILES ${PROJECT_BINARY_DIR}/panelctl/panelctl.1.gz COMPONENT plugin
        DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)

install(FILES panelctl/completion/panelctl.bash COMPONENT plugin RENAME panelctl
        DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions)
# Where Debian's zsh looks; elsewhere the folder is added to its fpath.
install(FILES panelctl/completion/_panelctl COMPONENT plugin
        DESTINATION ${CMAKE_INSTALL_DATADIR}/zsh/vendor-completions)

set(PANEL_INCLUDE_DIR ${CMAKE_INSTALL_INCLUDEDIR}/panel-settings)
install(FILES plugin/SettingsInterface.h COMPONENT dev DESTINATION ${PANEL_INCLUDE_DIR}/plugin)
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
