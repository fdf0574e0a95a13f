# samples_add_keeper(NAME SOURCES a.cpp ...)
#
# Builds a provider of the sources and those of this folder, and its catalog of messages/root.txt and
# messages/de.txt.
function(samples_add_keeper name)
  cmake_parse_arguments(arg "" "" "SOURCES" ${ARGN})
  set(common "${CMAKE_CURRENT_FUNCTION_LIST_DIR}")
  orca_add_provider(${name} SOURCES
    ${common}/failure.cpp
    ${common}/files.cpp
    ${common}/keeper.cpp
    ${common}/keeping.cpp
    ${common}/names.cpp
    ${common}/trust.cpp
    ${arg_SOURCES})
  target_include_directories(${name} PRIVATE "${common}/..")
  orca_add_message_catalog(${name}_catalog NAME ${name}
    SOURCES messages/root.txt messages/de.txt
    DESTINATION resources)
  install(TARGETS ${name} LIBRARY DESTINATION "${ORCA_PLUGIN_DIR}")
  if(COMMAND orca_strict)
    orca_strict(${name})
    orca_join(${name})
  endif()
endfunction()
