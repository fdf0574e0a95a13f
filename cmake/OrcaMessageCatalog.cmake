# orca_add_message_catalog(TARGET NAME name SOURCES root.txt en.txt ...)
#
# Builds the message catalog of a provider with genrb: one ICU resource bundle a source, in the
# folder <output>/lib<name> that the kit's catalogs open. Sources are UTF-8 and named after their
# locale; one of them must be root.txt. The target property ORCA_CATALOG_DIR names the folder.
#
#   OUTPUT dir       folder that receives lib<name>; default: resources/ in the binary folder
#   DESTINATION dir  when given, lib<name> is installed there
find_program(ORCA_GENRB genrb)

function(orca_add_message_catalog target)
  cmake_parse_arguments(arg "" "NAME;OUTPUT;DESTINATION" "SOURCES" ${ARGN})
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
  endforeach()
  add_custom_target(${target} ALL DEPENDS ${bundles})
  set_target_properties(${target} PROPERTIES ORCA_CATALOG_DIR "${folder}")
  if(arg_DESTINATION)
    install(FILES ${bundles} DESTINATION "${arg_DESTINATION}/lib${arg_NAME}")
  endif()
endfunction()
