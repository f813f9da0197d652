# Installs into a directory of its own, and builds and runs programs against what is there: the first
# program of the README, in C by pkg-config and in C++, and a consumer in C++ by find_package.
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
get_filename_component(pc_directory ${pc_file} DIRECTORY)
get_filename_component(library_directory ${pc_directory} DIRECTORY)
set(ENV{PKG_CONFIG_PATH} ${pc_directory})
set(ENV{LD_LIBRARY_PATH} ${library_directory})

run(flags pkg-config --cflags --libs norvane_proj)
separate_arguments(flags UNIX_COMMAND "${flags}")
function(build_c program source)
  run(ignored ${C_COMPILER} -std=c99 -Wall -Wextra -pedantic -Werror ${FLAGS} -o ${program} ${source}
      ${flags})
endfunction()

# What the driver that was installed says is what the first programs say.
run(expected ${prefix}/bin/norvane-pm rules ${model})
build_c(${work}/first_c ${SOURCE_DIR}/examples/first.c)
foreach(program first variables)
  run(ignored ${CXX_COMPILER} -std=c++17 -Wall -Wextra -pedantic -Werror ${FLAGS}
      -o ${work}/${program}_cpp ${SOURCE_DIR}/examples/${program}.cpp ${flags})
endforeach()
foreach(language c cpp)
  run(actual ${work}/first_${language} ${model})
  if(NOT actual STREQUAL expected)
    message(FATAL_ERROR "examples/first.${language} prints\n${actual}\nand not\n${expected}")
  endif()
endforeach()

# So does what the other one says of variables, with blanks between columns.
run(listed ${prefix}/bin/norvane-pm variables ${SOURCE_DIR}/examples/rack.pm)
run(actual ${work}/variables_cpp ${SOURCE_DIR}/examples/rack.pm)
string(REGEX REPLACE "  +" "  " listed "${listed}")
if(NOT actual STREQUAL listed)
  message(FATAL_ERROR "examples/variables.cpp prints\n${actual}\nand not\n${listed}")
endif()

# A program finds all faults of a model, with their columns, by the static library.
run(fault_flags pkg-config --cflags --libs norvane_faults)
separate_arguments(fault_flags UNIX_COMMAND "${fault_flags}")
run(ignored ${CXX_COMPILER} -std=c++17 -Wall -Wextra -pedantic -Werror ${FLAGS}
    -o ${work}/faults_cpp ${SOURCE_DIR}/examples/faults.cpp ${fault_flags})
file(WRITE ${work}/wrong.pm "variable a : boolean;\nrule a -> colour;\nrule not a\n")
execute_process(COMMAND ${work}/faults_cpp wrong.pm WORKING_DIRECTORY ${work} RESULT_VARIABLE result
                OUTPUT_VARIABLE actual)
if(NOT result EQUAL 1 OR NOT actual STREQUAL "wrong.pm:2:11: error: Undeclared identifier 'colour'
wrong.pm:3:11: error: no ';' after 'a'
wrong.pm:3:11: write: ;
")
  message(FATAL_ERROR "examples/faults.cpp ends with ${result} and prints\n${actual}")
endif()

# The consumer says the same, of a good model and of a broken one.
set(consumer ${SOURCE_DIR}/tests/contract/consumer)
run(ignored ${CMAKE_COMMAND} -S ${consumer} -B ${work}/cxx -G Ninja
    -DCMAKE_PREFIX_PATH=${prefix} -DCMAKE_CXX_COMPILER=${CXX_COMPILER} "-DCMAKE_CXX_FLAGS=${FLAGS}")
run(ignored ${CMAKE_COMMAND} --build ${work}/cxx)

function(expect_consumer status expected file)
  execute_process(COMMAND ${work}/cxx/consumer ${file} RESULT_VARIABLE result OUTPUT_VARIABLE text
                  ERROR_VARIABLE error)
  if(NOT result EQUAL status OR NOT text STREQUAL expected)
    message(FATAL_ERROR "${file}\nends with ${result} and prints\n${text}${error}\nand not\n${expected}")
  endif()
endfunction()

expect_consumer(0 "variables 7\n${expected}" ${model})
expect_consumer(1 "report 2 ERR_ID_UNDECLARED: ${consumer}/broken.pm (3): Undeclared identifier 'colour'\n"
                ${consumer}/broken.pm)

function(expect_shown page program)
  file(READ ${SOURCE_DIR}/${program} text)
  file(READ ${SOURCE_DIR}/${page} shown)
  string(FIND "${shown}" "${text}" place)
  if(place EQUAL -1)
    message(FATAL_ERROR "${page} does not show ${program} as it is")
  endif()
endfunction()
expect_shown(README.md examples/first.c)
expect_shown(docs/ownership.md examples/first.cpp)
