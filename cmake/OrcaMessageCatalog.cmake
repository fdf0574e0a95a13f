# orca_add_message_catalog(TARGET NAME name SOURCES root.txt de.txt ...)
#
# Builds the message catalog of a provider with genrb: one ICU resource bundle a source, in the
# folder <output>/lib<name> that the kit's catalogs open. Sources are UTF-8 and named after their
# locale; one of them must be root.txt, which stands in for languages and texts that are missing. The
# target property ORCA_CATALOG_DIR names the folder. Where fihost is there it checks the sources.
#
#   OUTPUT dir       folder that receives lib<name>; default: resources/ in the binary folder
#   DESTINATION dir  when given, lib<name> is installed there
#   UNCHECKED        fihost does not look at the sources
find_program(ORCA_GENRB genrb)

function(orca_add_message_catalog target)
  cmake_parse_arguments(arg "UNCHECKED" "NAME;OUTPUT;DESTINATION" "SOURCES" ${ARGN})
  if(NOT ORCA_GENRB)
    message(FATAL_ERROR "genrb was not found; it comes with ICU's development tools")
  endif()
  if(NOT arg_NAME OR NOT arg_SOURCES)
    message(FATAL_ERROR "orca_add_message_catalog needs NAME and SOURCES")
  endif()
  if(NOT arg_OUTPUT)
    set(arg_OUTPUT "${CMAKE_CURRENT_BINARY_DIR}/resources")
  endif()
  set(folder "${arg_OUTPUT}/lib${arg_NAME}")
  set(bundles)
  set(paths)
  foreach(source IN LISTS arg_SOURCES)
    get_filename_component(locale "${source}" NAME_WE)
    get_filename_component(path "${source}" ABSOLUTE)
    add_custom_command(
      OUTPUT "${folder}/${locale}.res"
      COMMAND ${CMAKE_COMMAND} -E make_directory "${folder}"
      COMMAND ${ORCA_GENRB} -q -e UTF-8 -d "${folder}" "${path}"
      DEPENDS "${path}"
      VERBATIM)
    list(APPEND bundles "${folder}/${locale}.res")
    list(APPEND paths "${path}")
  endforeach()
  set(checked)
  if(TARGET orca::fihost AND NOT arg_UNCHECKED)
    set(checked "${CMAKE_CURRENT_BINARY_DIR}/${target}.checked")
    add_custom_command(
      OUTPUT "${checked}"
      COMMAND orca::fihost catalog ${paths}
      COMMAND ${CMAKE_COMMAND} -E touch "${checked}"
      DEPENDS ${paths}
      VERBATIM)
  endif()
  add_custom_target(${target} ALL DEPENDS ${bundles} ${checked})
  set_target_properties(${target} PROPERTIES ORCA_CATALOG_DIR "${folder}")
  if(arg_DESTINATION)
    install(FILES ${bundles} DESTINATION "${arg_DESTINATION}/lib${arg_NAME}")
  endif()
endfunction()
