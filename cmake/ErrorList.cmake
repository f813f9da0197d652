# proj_errors.inc, made from the declarations in norvane/proj/proj_errors.h:
#
#   PROJ_ERROR(NAME, (PARAMETERS), (ARGUMENTS))
#
# one line for each builder, in the order of the header. The definitions of the builders, the list of
# norvane-pm explain and the tests include it, so that none of them repeats the names.
# norvane_proj_error_list is the target to link for it.
set(declarations ${CMAKE_CURRENT_SOURCE_DIR}/include/norvane/proj/proj_errors.h)
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${declarations})
file(READ ${declarations} declarations)
string(REGEX MATCHALL "ErrorInfo\\* ERR_[A-Z_0-9]+\\([^)]*\\)" declarations "${declarations}")
set(lines "")
foreach(declaration IN LISTS declarations)
  string(REGEX MATCH "(ERR_[A-Z_0-9]+)\\(([^)]*)\\)" declaration "${declaration}")
  set(name ${CMAKE_MATCH_1})
  string(REGEX REPLACE "[ \n]+" " " parameters "${CMAKE_MATCH_2}")
  if(parameters STREQUAL "void")
    set(parameters "")
  endif()
  string(REGEX REPLACE "(const char\\* |int )" "" arguments "${parameters}")
  string(APPEND lines "PROJ_ERROR(${name}, (${parameters}), (${arguments}))\n")
endforeach()
file(CONFIGURE OUTPUT error_list/proj_errors.inc CONTENT "${lines}")
add_library(norvane_proj_error_list INTERFACE)
target_include_directories(norvane_proj_error_list INTERFACE ${CMAKE_CURRENT_BINARY_DIR}/error_list)
