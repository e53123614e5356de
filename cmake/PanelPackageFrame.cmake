# Run by cpack on the finished packages: their outer archive holds the umask and the ids of whoever
# makes them. Packed again without.
foreach(package IN LISTS CPACK_PACKAGE_FILES)
  set(parts ${package}.parts)
  file(MAKE_DIRECTORY ${parts})
  execute_process(COMMAND ar x ${package} WORKING_DIRECTORY ${parts} COMMAND_ERROR_IS_FATAL ANY)
  file(REMOVE ${package})
  execute_process(COMMAND ar qcD ${package} debian-binary control.tar.gz data.tar.gz
                  WORKING_DIRECTORY ${parts} COMMAND_ERROR_IS_FATAL ANY)
  file(REMOVE_RECURSE ${parts})
endforeach()
