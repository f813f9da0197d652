# Installs into a folder of its own, and builds and runs two programs against what lies there: the
# first program of the README, in C by pkg-config, and one in C++ by find_package.
set(prefix ${BUILD_DIR}/consumer/prefix)
set(work ${BUILD_DIR}/consumer/work)
set(model ${SOURCE_DIR}/examples/bicycle.pm)

function(run output)
  execute_process(COMMAND ${ARGN} RESULT_VARIABLE status OUTPUT_VARIABLE text ERROR_VARIABLE error)
  if(NOT status EQUAL 0)
    message(FATAL_ERROR "${ARGN}\nended with ${status}\n${text}${error}")
  endif()
  set(${output} "${text}" PARENT_SCOPE)
endfunction()

file(REMOVE_RECURSE ${prefix} ${work})
file(MAKE_DIRECTORY ${work})
run(ignored ${CMAKE_COMMAND} --install ${BUILD_DIR} --prefix ${prefix})
file(GLOB_RECURSE pc_file ${prefix}/norvane_proj.pc)
get_filename_component(pc_folder ${pc_file} DIRECTORY)
get_filename_component(library_folder ${pc_folder} DIRECTORY)
set(ENV{PKG_CONFIG_PATH} ${pc_folder})
set(ENV{LD_LIBRARY_PATH} ${library_folder})

# What the driver that was installed says is what the programs are to say.
run(expected ${prefix}/bin/norvane-pm rules ${model})

run(flags pkg-config --cflags --libs norvane_proj)
separate_arguments(flags UNIX_COMMAND "${flags}")
run(ignored ${C_COMPILER} -std=c11 -Wall -Wextra -pedantic -Werror ${FLAGS} -o ${work}/first
    ${SOURCE_DIR}/examples/first.c ${flags})
run(actual ${work}/first ${model})
if(NOT actual STREQUAL expected)
  message(FATAL_ERROR "examples/first.c prints\n${actual}\nand not\n${expected}")
endif()

run(ignored ${CMAKE_COMMAND} -S ${SOURCE_DIR}/tests/contract/consumer -B ${work}/cxx -G Ninja
    -DCMAKE_PREFIX_PATH=${prefix} -DCMAKE_CXX_COMPILER=${CXX_COMPILER} "-DCMAKE_CXX_FLAGS=${FLAGS}")
run(ignored ${CMAKE_COMMAND} --build ${work}/cxx)
run(actual ${work}/cxx/consumer)

file(READ ${SOURCE_DIR}/examples/first.c program)
file(READ ${SOURCE_DIR}/README.md readme)
string(FIND "${readme}" "${program}" place)
if(place EQUAL -1)
  message(FATAL_ERROR "README.md does not show examples/first.c as it is")
endif()
