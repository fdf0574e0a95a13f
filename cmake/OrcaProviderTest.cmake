# orca_add_provider_test(NAME SESSION file)
# orca_add_provider_test(NAME CHECK arguments of fihost check ...)
#
# Adds a test NAME to CTest that drives a provider with fihost: it performs a session file, or runs
# the check. The test begins in an empty folder of its own, NAME.test in the binary folder, which
# holds its state and is its install root; without CATALOG and SETTINGS only where ORCA_INSTALL_ROOT
# is not set.
#
#   PLUGIN target      the provider; default: the target NAME, where there is one, else the plug-in
#                      that the session file or the arguments name
#   FILES files...     copied into the folder first: nodes and the like, which the file names from
#                      there
#   CATALOG target     put into the install root: a catalog of orca_add_message_catalog
#   SETTINGS files...  the same: configuration files
set(ORCA_PROVIDER_TEST_SCRIPT "${CMAKE_CURRENT_LIST_DIR}/orca_provider_test.sh")

function(orca_add_provider_test name)
  cmake_parse_arguments(arg "" "PLUGIN;SESSION;CATALOG" "CHECK;FILES;SETTINGS" ${ARGN})
  if(NOT TARGET orca::fihost)
    message(FATAL_ERROR "orca_add_provider_test needs fihost, which this installation is without")
  endif()
  if(arg_UNPARSED_ARGUMENTS OR NOT (arg_SESSION OR arg_CHECK) OR (arg_SESSION AND arg_CHECK))
    message(FATAL_ERROR "orca_add_provider_test(NAME SESSION file) or (NAME CHECK arguments ...)")
  endif()
  if(arg_SESSION)
    get_filename_component(session "${arg_SESSION}" ABSOLUTE)
    set(words run "${session}")
  else()
    set(words check ${arg_CHECK})
  endif()
  if(NOT arg_PLUGIN AND TARGET ${name})
    set(arg_PLUGIN ${name})
  endif()
  if(arg_PLUGIN)
    list(APPEND words --plugin "$<TARGET_FILE:${arg_PLUGIN}>")
  endif()
  set(files)
  foreach(file IN LISTS arg_FILES)
    get_filename_component(path "${file}" ABSOLUTE)
    list(APPEND files "${path}")
  endforeach()
  if(arg_CATALOG)
    list(APPEND files --catalog "$<TARGET_PROPERTY:${arg_CATALOG},ORCA_CATALOG_DIR>")
  endif()
  foreach(file IN LISTS arg_SETTINGS)
    get_filename_component(path "${file}" ABSOLUTE)
    list(APPEND files --settings "${path}")
  endforeach()
  add_test(NAME ${name}
    COMMAND sh "${ORCA_PROVIDER_TEST_SCRIPT}" "${CMAKE_CURRENT_BINARY_DIR}/${name}.test" ${files}
            -- $<TARGET_FILE:orca::fihost> ${words})
endfunction()
