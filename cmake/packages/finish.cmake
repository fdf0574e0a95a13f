# Makes what was installed for the packages fit for /usr: manual pages and changelogs are compressed,
# libraries are found without a path, and modes do not depend on who builds.
file(GLOB_RECURSE files LIST_DIRECTORIES true "${CPACK_TEMPORARY_DIRECTORY}/*/usr/*")
foreach(file IN LISTS files)
  if(file MATCHES "/share/man/.*/[^/]+[.][0-9]$|/share/doc/.*/changelog$")
    execute_process(COMMAND gzip -9n "${file}" COMMAND_ERROR_IS_FATAL ANY)
  elseif(file MATCHES "/bin/[^/]+$|[.]so[^/]*$" AND NOT IS_SYMLINK "${file}" AND NOT IS_DIRECTORY "${file}")
    file(RPATH_REMOVE FILE "${file}")
  endif()
endforeach()
