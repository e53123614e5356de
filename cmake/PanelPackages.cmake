# Two Debian packages, made by `cpack` in the build folder: panel-settings for the panel,
# panel-settings-dev for whoever compiles a host.
set(PANEL_MAINTAINER "The panel-settings authors <panel-settings@example.com>"
    CACHE STRING "Whom the packages name as their maintainer")

# Debian wants its own kind of changelog beside ours; it has one entry, with the date of the release.
execute_process(
  COMMAND ${CMAKE_COMMAND} -E env LC_ALL=C date --utc --rfc-email --date ${PANEL_RELEASE_DATE}
  OUTPUT_VARIABLE release_date OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
configure_file(cmake/debian-changelog.in debian/changelog @ONLY)
execute_process(
  COMMAND gzip --best --no-name --stdout ${PROJECT_BINARY_DIR}/debian/changelog
  OUTPUT_FILE ${PROJECT_BINARY_DIR}/debian/changelog.gz COMMAND_ERROR_IS_FATAL ANY)

# panel_install_documents(COMPONENT FOLDER): what either package says about itself.
function(panel_install_documents component folder)
  install(FILES ${PROJECT_BINARY_DIR}/debian/changelog.gz CHANGELOG.md
          COMPONENT ${component} DESTINATION ${folder})
  install(FILES LICENSE RENAME copyright COMPONENT ${component} DESTINATION ${folder})
endfunction()
panel_install_documents(plugin ${CMAKE_INSTALL_DATADIR}/doc/panel-settings)
panel_install_documents(dev ${CMAKE_INSTALL_DATADIR}/doc/panel-settings-dev)
install(FILES docs/host-guide.md COMPONENT dev
        DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/panel-settings-dev)
install(DIRECTORY docs/example-host COMPONENT dev
        DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/panel-settings-dev)

set(CPACK_GENERATOR DEB)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_ALL plugin dev)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_PRE_BUILD_SCRIPTS ${PROJECT_SOURCE_DIR}/cmake/PanelPackagePermissions.cmake)
configure_file(cmake/PanelPackageEnvironment.cmake.in PanelPackageEnvironment.cmake @ONLY)
set(CPACK_POST_BUILD_SCRIPTS ${PROJECT_SOURCE_DIR}/cmake/PanelPackageFrame.cmake)
set(CPACK_PROJECT_CONFIG_FILE ${PROJECT_BINARY_DIR}/PanelPackageEnvironment.cmake)
set(CPACK_PACKAGE_CONTACT ${PANEL_MAINTAINER})
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "") # each package has its own, the first line below
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)

# For another architecture, see arm/package.
if(PANEL_DEBIAN_ARCHITECTURE)
  set(CPACK_DEBIAN_PACKAGE_ARCHITECTURE ${PANEL_DEBIAN_ARCHITECTURE})
  set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${PANEL_SYSROOT}/usr/lib/${PANEL_TARGET})
endif()

set(CPACK_DEBIAN_PLUGIN_PACKAGE_NAME panel-settings)
set(CPACK_DEBIAN_PLUGIN_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_PLUGIN_PACKAGE_SHLIBDEPS ON)
# A panel usually brings these as applets of busybox.
set(CPACK_DEBIAN_PLUGIN_PACKAGE_SUGGESTS "iputils-ping, net-tools, psmisc, udhcpc")
set(CPACK_DEBIAN_PLUGIN_DESCRIPTION
"system settings of an operator panel
A Qt 5 plugin that the runtime of an industrial touch panel loads to show
the panel's settings: brightness, clock, key click, network and language.
With it comes panelctl, which reads and changes the same registers, device
records and files from a command line.")

set(CPACK_DEBIAN_DEV_PACKAGE_NAME panel-settings-dev)
set(CPACK_DEBIAN_DEV_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEV_PACKAGE_DEPENDS
    "panel-settings (= ${PROJECT_VERSION}), qtbase5-dev (>= 5.15)")
set(CPACK_DEBIAN_DEV_DESCRIPTION
"system settings of an operator panel (development files)
The interface through which a panel's runtime asks the settings plugin for
its dialog, its CMake package, and the guide for hosts with an example; the
library's headers of files, registers, device records and flash.
.
Whatever shows the dialog sets the network of the machine it runs on, the
example too: run it as root on a panel only.")
include(CPack)
