# What is different where the programs are for Windows.
enable_language(RC)

# Libraries and modules go by their own names: VortaAPI.dll.
set(CMAKE_SHARED_LIBRARY_PREFIX "")
set(CMAKE_SHARED_MODULE_PREFIX "")

# The system's headers without names that ours use too.
target_compile_definitions(vorta_build INTERFACE NOMINMAX WIN32_LEAN_AND_MEAN)

# Every program's texts and paths are UTF-8, the system scales none of its pictures, and no program asks for the
# administrator, whatever its name.
target_sources(vorta_build INTERFACE
  $<$<STREQUAL:$<TARGET_PROPERTY:TYPE>,EXECUTABLE>:${CMAKE_CURRENT_LIST_DIR}/windows/manifest.rc>)

# vorta_program_icon(<target> <name> <png>...)
#
# The pictures, one for each size, as the program's icon and as <name>.ico in the target's build folder.
find_program(CONVERT convert REQUIRED)

function(vorta_program_icon target name)
  set(icon ${CMAKE_CURRENT_BINARY_DIR}/${name}.ico)
  add_custom_command(OUTPUT ${icon} COMMAND ${CONVERT} ${ARGN} ${icon} DEPENDS ${ARGN} VERBATIM)
  file(CONFIGURE OUTPUT ${CMAKE_CURRENT_BINARY_DIR}/${name}_icon.rc CONTENT "1 ICON \"@icon@\"\n" @ONLY)
  set_source_files_properties(${CMAKE_CURRENT_BINARY_DIR}/${name}_icon.rc PROPERTIES OBJECT_DEPENDS ${icon})
  target_sources(${target} PRIVATE ${CMAKE_CURRENT_BINARY_DIR}/${name}_icon.rc)
endfunction()
