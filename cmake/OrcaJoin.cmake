option(ORCA_JOIN "Compile the sources of a folder as one, which takes half the time" OFF)

# orca_join(TARGET [APART SOURCES...]): where ORCA_JOIN is set, the sources of each of the target's
# folders are compiled as one, those apart left out, for most of the time goes into headers of others.
# Hence a name that is a source's own is unique in its folder, and a source still includes what it
# uses: the presets dev and clang do not join.
function(orca_join target)
  cmake_parse_arguments(arg "" "" "APART" ${ARGN})
  get_target_property(sources ${target} SOURCES)
  foreach(source IN LISTS sources)
    cmake_path(GET source PARENT_PATH folder)
    cmake_path(GET folder FILENAME folder)
    set_source_files_properties(${source} PROPERTIES UNITY_GROUP "${folder}_folder")
  endforeach()
  set_source_files_properties(${arg_APART} PROPERTIES SKIP_UNITY_BUILD_INCLUSION ON)
  set_target_properties(${target} PROPERTIES UNITY_BUILD ${ORCA_JOIN} UNITY_BUILD_MODE GROUP)
endfunction()
