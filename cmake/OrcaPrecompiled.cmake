# Headers of others, which take longer to read than most sources that include them: read once a target.
# A source includes what it uses all the same; the preset dev and clang-tidy do without.
function(orca_precompile target)
  target_precompile_headers(${target} PRIVATE
    <ace/Configuration.h> <unicode/fmtable.h> ${ARGN}
    <algorithm> <filesystem> <functional> <map> <memory> <sstream> <string> <vector>)
endfunction()
