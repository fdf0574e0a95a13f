# orca_add_provider(NAME SOURCES a.cpp ...)
#
# Builds a provider plug-in NAME.so: C++20, everything hidden but the two symbols of ORCA_PROVIDER,
# linked against the kit with every symbol resolved at build time.
function(orca_add_provider name)
  cmake_parse_arguments(arg "" "" "SOURCES" ${ARGN})
  add_library(${name} MODULE ${arg_SOURCES})
  target_link_libraries(${name} PRIVATE orca::pdk orca::fiutil)
  target_compile_features(${name} PRIVATE cxx_std_20)
  set_target_properties(${name} PROPERTIES
    PREFIX ""
    CXX_EXTENSIONS OFF
    CXX_VISIBILITY_PRESET hidden
    VISIBILITY_INLINES_HIDDEN ON
    POSITION_INDEPENDENT_CODE ON)
  # A sanitizer's calls are left to the host.
  set(sanitizers "$<FILTER:$<TARGET_PROPERTY:${name},COMPILE_OPTIONS>,INCLUDE,-fsanitize>")
  if(NOT CMAKE_CXX_FLAGS MATCHES "-fsanitize")
    target_link_options(${name} PRIVATE "$<$<NOT:$<BOOL:${sanitizers}>>:-Wl,--no-undefined>")
  endif()
endfunction()
