# vennick_unite(TARGET): compiles the target's sources several at once, where VENNICK_UNITY asks for it: what
# they all include is then read once, which is most of the work. So a name in an unnamed namespace has to be
# the only one of its room. A test's class lies in such a namespace and its cases do not, which g++ would
# take for a mistake in a header.
function(vennick_unite TARGET)
  if(VENNICK_UNITY)
    set_target_properties(${TARGET} PROPERTIES UNITY_BUILD ON UNITY_BUILD_BATCH_SIZE 8)
    target_compile_options(${TARGET} PRIVATE $<$<CXX_COMPILER_ID:GNU>:-Wno-subobject-linkage>)
  endif()
endfunction()

# vennick_room(NAME DIRECTORY dir [ONLY stems...] [EXCEPT stems...] [LINK libraries...])
#
# One static library made of the sources of one folder. ONLY and EXCEPT choose by file stem where two
# libraries share a folder. A folder that holds no source yet makes a library that only passes its
# links on.
function(vennick_room NAME)
  cmake_parse_arguments(ROOM "" "DIRECTORY" "ONLY;EXCEPT;LINK" ${ARGN})
  file(GLOB candidates CONFIGURE_DEPENDS "${CMAKE_SOURCE_DIR}/${ROOM_DIRECTORY}/*.cpp")
  set(sources "")
  foreach(source IN LISTS candidates)
    cmake_path(GET source STEM stem)
    if((NOT ROOM_ONLY OR stem IN_LIST ROOM_ONLY) AND NOT stem IN_LIST ROOM_EXCEPT)
      list(APPEND sources "${source}")
    endif()
  endforeach()
  if(sources)
    add_library(${NAME} STATIC ${sources})
    target_include_directories(${NAME} PUBLIC "${CMAKE_SOURCE_DIR}")
    target_link_libraries(${NAME} PUBLIC ${ROOM_LINK} PRIVATE vennick_warnings)
    vennick_unite(${NAME})
  else()
    add_library(${NAME} INTERFACE)
    target_include_directories(${NAME} INTERFACE "${CMAKE_SOURCE_DIR}")
    target_link_libraries(${NAME} INTERFACE ${ROOM_LINK})
  endif()
endfunction()
