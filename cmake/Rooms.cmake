# Rooms: the directories below a library's src/, each an OBJECT library with one job.
#
# A room is compiled with the include directories of the rooms that it names in USES, and of no
# others, so an include that is not in the picture of docs/architecture.md does not compile. The
# public headers of a library lie in one directory, so each room gets a directory of forwarding
# headers with just those that are its own.

# norvane_room(LIBRARY AREA NAME
#              [SOURCES FILE...]   below src/NAME, or absolute where they are generated
#              [HEADERS FILE...]   its public headers, below include/norvane/AREA
#              [USES ROOM...]      rooms of the same library whose headers it may include
#              [NEEDS TARGET...])  what else it is compiled with: other libraries
# AREA is the directory of the library's public headers.
function(norvane_room library area name)
  cmake_parse_arguments(PARSE_ARGV 3 room "" "" "SOURCES;HEADERS;USES;NEEDS")
  set(forwarding ${CMAKE_CURRENT_BINARY_DIR}/rooms/${name})
  # A header that has left the room must not be found in it by an older build.
  file(GLOB former RELATIVE ${forwarding}/norvane/${area} ${forwarding}/norvane/${area}/*)
  list(REMOVE_ITEM former ${room_HEADERS} "")
  foreach(header IN LISTS former)
    file(REMOVE ${forwarding}/norvane/${area}/${header})
  endforeach()
  foreach(header IN LISTS room_HEADERS)
    set(public ${CMAKE_CURRENT_SOURCE_DIR}/include/norvane/${area}/${header})
    file(CONFIGURE OUTPUT ${forwarding}/norvane/${area}/${header} CONTENT "#include \"${public}\"\n" @ONLY)
    set_property(GLOBAL APPEND PROPERTY ${library}_claimed_headers ${public})
  endforeach()
  list(TRANSFORM room_SOURCES PREPEND src/${name}/ REGEX "^[^/]")
  set(target ${library}_${name})
  add_library(${target} OBJECT ${room_SOURCES})
  target_include_directories(${target} PUBLIC src/${name} ${forwarding})
  foreach(used IN LISTS room_USES)
    target_include_directories(${target}
      PRIVATE $<TARGET_PROPERTY:${library}_${used},INTERFACE_INCLUDE_DIRECTORIES>)
  endforeach()
  target_link_libraries(${target} PRIVATE norvane_options ${room_NEEDS})
  set_property(GLOBAL APPEND PROPERTY ${library}_rooms ${target})
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
