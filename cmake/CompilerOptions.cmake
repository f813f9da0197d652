# Warnings, sanitizers and coverage, for every target of the project.
add_library(norvane_options INTERFACE)

file(RELATIVE_PATH relative_source_dir ${CMAKE_BINARY_DIR} ${CMAKE_SOURCE_DIR})
string(REGEX REPLACE "/$" "" relative_source_dir "${relative_source_dir}")

target_compile_options(norvane_options INTERFACE
  -Wall -Wextra -Wshadow -Wconversion
  $<$<BOOL:${NORVANE_WERROR}>:-Werror>
  # __FILE__ ends up in failure texts: the same ones wherever the tree was built, also with a compiler
  # cache that makes paths relative to the build directory.
  -fmacro-prefix-map=${CMAKE_SOURCE_DIR}/=
  -fmacro-prefix-map=${relative_source_dir}/=
  # A throw of the base library jumps over frames; keep the unwinding tables and frame pointers
  # that make such a place readable in a debugger.
  -fno-omit-frame-pointer)

# A library's calls of its own exported functions are bound when it is linked: nobody may put others in
# their place, and neither the calls nor the start of a program pay for the possibility.
target_compile_options(norvane_options INTERFACE -fno-semantic-interposition)
target_link_options(norvane_options INTERFACE -Wl,-Bsymbolic-functions)

# g++ 12 takes joined strings for overlapping copies.
target_compile_options(norvane_options INTERFACE $<$<CXX_COMPILER_ID:GNU>:-Wno-restrict>)

if(NORVANE_SANITIZE)
  set(sanitizers -fsanitize=address,undefined -fno-sanitize-recover=all)
  target_compile_options(norvane_options INTERFACE ${sanitizers})
  target_link_options(norvane_options INTERFACE ${sanitizers})
endif()

if(NORVANE_FUZZ)
  set(sanitizers -fsanitize=fuzzer-no-link,undefined -fno-sanitize-recover=all)
  if(NORVANE_FUZZ_ADDRESS)
    list(APPEND sanitizers -fsanitize=address)
  else()
    # Checks at nearly every access, each of which the fuzzer would note as a branch of its own; and
    # calls at each comparison, which is what the dictionaries are for.
    list(APPEND sanitizers -fno-sanitize=null,alignment -fno-sanitize-coverage=trace-cmp)
  endif()
  target_compile_options(norvane_options INTERFACE ${sanitizers})
  target_link_options(norvane_options INTERFACE ${sanitizers})
endif()

# What stands in front of a program of ours that a test runs. Leaks are left to the sanitizers, whose
# tests tell what a throw may leave behind.
set(norvane_launcher "")
if(NORVANE_VALGRIND)
  find_program(NORVANE_VALGRIND_PROGRAM valgrind REQUIRED)
  set(norvane_launcher ${NORVANE_VALGRIND_PROGRAM} --quiet --vgdb=no --error-exitcode=99
      --leak-check=no --read-inline-info=no --num-callers=30)
endif()

if(NORVANE_COVERAGE)
  target_compile_options(norvane_options INTERFACE --coverage)
  # What counts is no part of what the libraries export.
  target_link_options(norvane_options INTERFACE --coverage -Wl,--exclude-libs,libgcov.a)
endif()

# Source that flex and bison wrote is not held to our warnings.
function(norvane_generated_source)
  set_source_files_properties(${ARGN} PROPERTIES COMPILE_OPTIONS "-w")
endfunction()
