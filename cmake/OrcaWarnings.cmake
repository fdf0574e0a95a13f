# Compile options of everything in this tree; nothing here is exported to users of the package.
function(orca_strict target)
  target_compile_options(${target} PRIVATE
    -Wall -Wextra -Wshadow -Wformat=2 -Wundef -Werror
    $<$<COMPILE_LANGUAGE:CXX>:-Wnon-virtual-dtor -Woverloaded-virtual>
    # g++ 12 sees an overlap in "text" + std::string that cannot happen.
    $<$<COMPILE_LANG_AND_ID:CXX,GNU>:-Wno-restrict>
    -ffile-prefix-map=${PROJECT_SOURCE_DIR}/=)
endfunction()

# A shared library in which nothing is undefined. clang's sanitizers leave their calls to the program.
set(ORCA_NO_UNDEFINED -Wl,--no-undefined)
if(CMAKE_CXX_COMPILER_ID MATCHES "Clang" AND (ORCA_SANITIZE OR ORCA_BUILD_FUZZ))
  set(ORCA_NO_UNDEFINED)
endif()

if(ORCA_SANITIZE)
  add_compile_options(-fsanitize=address,undefined -fno-sanitize-recover=undefined)
  add_link_options(-fsanitize=address,undefined)
  # The checks that the sanitizers put in mislead g++ about what is initialised, as its manual warns.
  add_compile_options($<$<CXX_COMPILER_ID:GNU>:-Wno-maybe-uninitialized>)
endif()
if(ORCA_BUILD_FUZZ)
  add_compile_options(-fsanitize=fuzzer-no-link,address,undefined -fno-sanitize-recover=undefined)
  add_link_options(-fsanitize=address,undefined)
endif()
