# Warnings, sanitizers and coverage, for every target of the project.
add_library(norvane_options INTERFACE)

file(RELATIVE_PATH relative_source_dir ${CMAKE_BINARY_DIR} ${CMAKE_SOURCE_DIR})
string(REGEX REPLACE "/$" "" relative_source_dir "${relative_source_dir}")

target_compile_options(norvane_options INTERFACE
  -Wall -Wextra -Wshadow -Wconversion
  $<$<BOOL:${NORVANE_WERROR}>:-Werror>
  # Failure texts contain __FILE__; this keeps them independent of the build directory, also with a
  # compiler cache that makes paths relative to the build directory.
  -fmacro-prefix-map=${CMAKE_SOURCE_DIR}/=
  -fmacro-prefix-map=${relative_source_dir}/=
  # A throw of the base library is a longjmp; with frame pointers a debugger can show where it came
  # from.
  -fno-omit-frame-pointer)

# Bind a library's calls of its own exported functions at link time. Programs cannot interpose these
# functions, so the calls need not go through the procedure linkage table.
target_compile_options(norvane_options INTERFACE -fno-semantic-interposition)
target_link_options(norvane_options INTERFACE -Wl,-Bsymbolic-functions)

# g++ 12 falsely reports string concatenation as an overlapping copy.
target_compile_options(norvane_options INTERFACE $<$<CXX_COMPILER_ID:GNU>:-Wno-restrict>)

# Two types of one name compile as long as no file includes both; link-time optimisation sees them.
target_link_options(norvane_options INTERFACE
  $<$<AND:$<CONFIG:Release>,$<CXX_COMPILER_ID:GNU>>:-Werror=odr>)

if(NORVANE_SANITIZE)
  set(sanitizers -fsanitize=address,undefined -fno-sanitize-recover=all)
  # g++ 12 takes values that its own checks keep apart for uninitialised ones.
  target_compile_options(norvane_options INTERFACE ${sanitizers}
    $<$<CXX_COMPILER_ID:GNU>:-Wno-maybe-uninitialized>)
  target_link_options(norvane_options INTERFACE ${sanitizers})
endif()

if(NORVANE_FUZZ)
  set(sanitizers -fsanitize=fuzzer-no-link,undefined -fno-sanitize-recover=all)
  if(NORVANE_FUZZ_ADDRESS)
    list(APPEND sanitizers -fsanitize=address)
  else()
    # Null and alignment checks add a branch at nearly every access, which the fuzzer would count as
    # coverage; tracing of comparisons is slow, and the dictionaries replace it.
    list(APPEND sanitizers -fno-sanitize=null,alignment -fno-sanitize-coverage=trace-cmp)
  endif()
  target_compile_options(norvane_options INTERFACE ${sanitizers})
  target_link_options(norvane_options INTERFACE ${sanitizers})
endif()

# The prefix of the commands that tests run. Leaks are left to the sanitizers: only those tests know
# which memory a throw may lose.
set(norvane_launcher "")
if(NORVANE_VALGRIND)
  find_program(NORVANE_VALGRIND_PROGRAM valgrind REQUIRED)
  set(norvane_launcher ${NORVANE_VALGRIND_PROGRAM} --quiet --vgdb=no --error-exitcode=99
      --leak-check=no --read-inline-info=no --num-callers=30)
endif()

if(NORVANE_COVERAGE)
  target_compile_options(norvane_options INTERFACE --coverage)
  # Keep the coverage runtime out of the exported symbols.
  target_link_options(norvane_options INTERFACE --coverage -Wl,--exclude-libs,libgcov.a)
endif()

# Switches warnings off for sources that flex and bison generate.
function(norvane_generated_source)
  set_source_files_properties(${ARGN} PROPERTIES COMPILE_OPTIONS "-w")
endfunction()
