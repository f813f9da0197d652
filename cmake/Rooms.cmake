# Rooms: directories that are each an OBJECT library with one job.
#
# A room is compiled with the include directories of the rooms that it names in USES, and of no
# others, so an include that is not in the picture of docs/architecture.md does not compile. The
# public headers of a library lie in one directory, so each of its rooms gets a directory of
# forwarding headers with just those that are its own.

# norvane_forward_headers(DIRECTORY FROM HEADER...): forwarding headers in DIRECTORY to those in FROM.
function(norvane_forward_headers directory from)
  # A header that has left the room must not be found in it by an older build.
  file(GLOB former RELATIVE ${directory} ${directory}/*)
  list(REMOVE_ITEM former ${ARGN} "")
  foreach(header IN LISTS former)
    file(REMOVE ${directory}/${header})
  endforeach()
  foreach(header IN LISTS ARGN)
    file(CONFIGURE OUTPUT ${directory}/${header} CONTENT "#include \"${from}/${header}\"\n" @ONLY)
  endforeach()
endfunction()

# norvane_room(OWNER NAME
#              [DIRECTORY DIR]     where it is; NAME if not given
#              [AREA AREA]         the directory of its public headers: include/norvane/AREA
#              [SOURCES FILE...]   below its directory, or absolute where they are generated
#              [HEADERS FILE...]   its public headers
#              [USES ROOM...]      rooms of the same owner whose headers it may include
#              [NEEDS TARGET...])  what else it is compiled with: libraries
# OWNER is the library or program whose room it is; the target is OWNER_NAME.
function(norvane_room owner name)
  cmake_parse_arguments(PARSE_ARGV 2 room "" "DIRECTORY;AREA" "SOURCES;HEADERS;USES;NEEDS")
  if(NOT room_DIRECTORY)
    set(room_DIRECTORY ${name})
  endif()
  set(target ${owner}_${name})
  list(TRANSFORM room_SOURCES PREPEND ${room_DIRECTORY}/ REGEX "^[^/]")
  add_library(${target} OBJECT ${room_SOURCES})
  target_include_directories(${target} PUBLIC ${room_DIRECTORY})
  if(room_AREA)
    set(public ${CMAKE_CURRENT_SOURCE_DIR}/include/norvane/${room_AREA})
    set(forwarding ${CMAKE_CURRENT_BINARY_DIR}/rooms/${name})
    norvane_forward_headers(${forwarding}/norvane/${room_AREA} ${public} ${room_HEADERS})
    target_include_directories(${target} PUBLIC ${forwarding})
    list(TRANSFORM room_HEADERS PREPEND ${public}/)
    set_property(GLOBAL APPEND PROPERTY ${owner}_claimed_headers ${room_HEADERS})
  endif()
  foreach(used IN LISTS room_USES)
    target_include_directories(${target}
      PRIVATE $<TARGET_PROPERTY:${owner}_${used},INTERFACE_INCLUDE_DIRECTORIES>)
  endforeach()
  target_link_libraries(${target} PRIVATE norvane_options ${room_NEEDS})
  set_property(GLOBAL APPEND PROPERTY ${owner}_rooms ${target})
endfunction()

# norvane_join_rooms(LIBRARY HEADER...): links the rooms into the library, and into LIBRARY_objects, a
# static library for tests, which see the inside too. Each public header has to belong to a room.
function(norvane_join_rooms library)
  get_property(claimed GLOBAL PROPERTY ${library}_claimed_headers)
  set(unclaimed ${ARGN})
  list(REMOVE_ITEM unclaimed ${claimed})
  if(unclaimed)
    message(FATAL_ERROR "public headers that belong to no room of ${library}: ${unclaimed}")
  endif()
  get_property(rooms GLOBAL PROPERTY ${library}_rooms)
  add_library(${library}_objects STATIC EXCLUDE_FROM_ALL)
  target_include_directories(${library}_objects INTERFACE ${CMAKE_CURRENT_SOURCE_DIR}/include)
  foreach(room IN LISTS rooms)
    target_sources(${library} PRIVATE $<TARGET_OBJECTS:${room}>)
    target_sources(${library}_objects PRIVATE $<TARGET_OBJECTS:${room}>)
    target_include_directories(${library}_objects
      INTERFACE $<TARGET_PROPERTY:${room},INTERFACE_INCLUDE_DIRECTORIES>)
  endforeach()
endfunction()
