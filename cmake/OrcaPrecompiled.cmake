# Headers of others, which take longer to read than most sources that include them: read once a target.
# A source includes what it uses all the same; the presets dev and bench and clang-tidy do without:
# with -O3, g++ warns of what is in them, which it does not where they are read.
function(orca_precompile target)
  target_precompile_headers(${target} PRIVATE
    <ace/Configuration.h> <unicode/fmtable.h> ${ARGN}
    <algorithm> <filesystem> <functional> <map> <memory> <sstream> <string> <vector>)
endfunction()
