# orca_embed(SOURCE header folder)
#
# Writes a C++ source that defines allTemplates() of a header: every file of the folder whose name
# ends in ".in", by its path there without that ending. The list is made anew when CMake runs, and
# CMake runs when a file has changed; for a new one it must be run.
function(orca_embed source header folder)
  file(GLOB_RECURSE files LIST_DIRECTORIES false RELATIVE "${folder}" "${folder}/*.in")
  list(SORT files)
  set(entries "")
  foreach(file IN LISTS files)
    file(READ "${folder}/${file}" text)
    string(REGEX REPLACE "\\.in$" "" path "${file}")
    string(APPEND entries "      {\"${path}\",\n       R\"template(${text})template\"},\n")
    set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS "${folder}/${file}")
  endforeach()
  set(content "// Made from the files of host/templates.
#include \"${header}\"

namespace fihost::project {

const std::vector<Template>& allTemplates() {
  static const std::vector<Template> kAll = {
${entries}  };
  return kAll;
}

}  // namespace fihost::project
")
  set(before "")
  if(EXISTS "${source}")
    file(READ "${source}" before)
  endif()
  if(NOT content STREQUAL before)
    file(WRITE "${source}" "${content}")
  endif()
endfunction()
