# The bundle, staged in the build folder so that it can be run there or copied anywhere:
#
#   Vennick 5.app/Contents/Info.plist                       tools/sample-main-app/Info.plist
#                          MacOS/Vennick5                   the sample main application
#                          Resources/                       of resources/: built-in defaults, string tables
#                          Helpers/VennickMigrator.app/
#                            Contents/Info.plist            app/Info.plist
#                                     MacOS/VennickMigrator app/main.cpp
#                                     Resources/            of resources/: all but the built-in defaults;
#                                                           the keyboard layouts compiled; tools
#
# Programs are linked straight into their places.
set(bundle "${CMAKE_BINARY_DIR}/Vennick 5.app")
set(main_contents "${bundle}/Contents")
set(migrator_contents "${bundle}/Contents/Helpers/VennickMigrator.app/Contents")

add_custom_target(bundle ALL)

# vennick_stage_program(TARGET folder): links the target's program into a folder of the bundle. What is
# shipped brings the C++ library with it: finding that costs more than many a run.
function(vennick_stage_program TARGET FOLDER)
  set_target_properties(${TARGET} PROPERTIES RUNTIME_OUTPUT_DIRECTORY "${FOLDER}")
  target_link_options(${TARGET} PRIVATE $<$<CONFIG:Release>:-static-libstdc++;-static-libgcc>)
  add_dependencies(bundle ${TARGET})
endfunction()

# stage_file(source destination): copies one file into the bundle.
function(stage_file SOURCE DESTINATION)
  add_custom_command(OUTPUT "${DESTINATION}" DEPENDS "${SOURCE}"
                     COMMAND "${CMAKE_COMMAND}" -E copy "${SOURCE}" "${DESTINATION}" VERBATIM)
  set_property(GLOBAL APPEND PROPERTY VENNICK_STAGED "${DESTINATION}")
endfunction()

# stage_resources(name destination sources...): makes a Resources folder hold these files of resources/,
# and no other that was staged earlier and is gone since.
function(stage_resources NAME DESTINATION)
  set(list "${CMAKE_BINARY_DIR}/${NAME}.resources")
  list(JOIN ARGN "\n" content)
  file(GENERATE OUTPUT "${list}" CONTENT "${content}")
  add_custom_command(
    OUTPUT "${list}.staged" DEPENDS "${list}" ${ARGN} "${CMAKE_SOURCE_DIR}/cmake/StageResources.cmake"
    COMMAND "${CMAKE_COMMAND}" "-DLIST=${list}" "-DFROM=${CMAKE_SOURCE_DIR}/resources" "-DTO=${DESTINATION}"
            -P "${CMAKE_SOURCE_DIR}/cmake/StageResources.cmake"
    VERBATIM)
  set_property(GLOBAL APPEND PROPERTY VENNICK_STAGED "${list}.staged")
endfunction()

file(GLOB_RECURSE resources CONFIGURE_DEPENDS "${CMAKE_SOURCE_DIR}/resources/*")
set(main_resources ${resources})
list(FILTER main_resources INCLUDE REGEX "/resources/([^/]*\\.plist|[^/]*\\.lproj/.*)$")
set(migrator_resources ${resources})
list(FILTER migrator_resources EXCLUDE REGEX "/resources/([^/]*\\.plist|keyboards/.*)$")
stage_resources(Vennick5 "${main_contents}/Resources" ${main_resources})
stage_resources(VennickMigrator "${migrator_contents}/Resources" ${migrator_resources})
foreach(layout IN LISTS KEYBOARD_LAYOUTS)
  cmake_path(GET layout FILENAME name)
  stage_file("${layout}" "${migrator_contents}/Resources/Keyboard Layouts/${name}")
endforeach()

stage_file("${CMAKE_SOURCE_DIR}/tools/sample-main-app/Info.plist" "${main_contents}/Info.plist")
stage_file("${CMAKE_SOURCE_DIR}/app/Info.plist" "${migrator_contents}/Info.plist")
vennick_stage_program(Vennick5 "${main_contents}/MacOS")
if(EXISTS "${CMAKE_SOURCE_DIR}/app/main.cpp")
  add_executable(VennickMigrator app/main.cpp)
  target_link_libraries(VennickMigrator PRIVATE app vennick_warnings)
  vennick_stage_program(VennickMigrator "${migrator_contents}/MacOS")
endif()
# The tools that the migrator runs by name from among its resources.
foreach(tool IN ITEMS displayNameTool defaults)
  if(TARGET ${tool})
    vennick_stage_program(${tool} "${migrator_contents}/Resources")
  endif()
endforeach()
# Shows what a run carried across; used beside the bundle. It speaks of the folder sets by the names that the
# migrator gives them, so it has the same string tables.
if(TARGET report)
  set(report_resources ${resources})
  list(FILTER report_resources INCLUDE REGEX "/[^/]*\\.lproj/Localizable\\.strings$")
  get_target_property(report_folder report BINARY_DIR)
  stage_resources(report "${report_folder}/Resources" ${report_resources})
  add_dependencies(bundle report)
endif()

get_property(staged GLOBAL PROPERTY VENNICK_STAGED)
add_custom_target(bundle_files DEPENDS ${staged})
add_dependencies(bundle_files keyboard_layouts)
add_dependencies(bundle bundle_files)
