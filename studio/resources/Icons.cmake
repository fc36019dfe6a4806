# vorta_icons(<name> STYLE <css> ICONS <icon>... [SIZES <icon> <pixels>...])
#
# Renders icons/<icon>.svg, with the style sheet <css>, to <icon>.png at the drawing's size and <icon>@2x.png at twice
# that, and the square icon after SIZES to <icon>-<pixels>.png for each of the sizes; packs all under ":/icons/".
# Sets <name>_SOURCES to the source file with the packed images.
find_program(RSVG_CONVERT rsvg-convert REQUIRED)

function(vorta_icons name)
  cmake_parse_arguments(arg "" "STYLE" "ICONS;SIZES" ${ARGN})
  set(folder ${CMAKE_CURRENT_BINARY_DIR}/icons)
  file(MAKE_DIRECTORY ${folder})
  set(images "")

  macro(render icon suffix)
    set(drawing ${CMAKE_CURRENT_SOURCE_DIR}/icons/${icon}.svg)
    set(style ${CMAKE_CURRENT_SOURCE_DIR}/${arg_STYLE})
    add_custom_command(
      OUTPUT ${folder}/${icon}${suffix}.png
      COMMAND ${RSVG_CONVERT} --stylesheet ${style} ${ARGN} --output ${folder}/${icon}${suffix}.png ${drawing}
      DEPENDS ${drawing} ${style}
      VERBATIM)
    list(APPEND images ${icon}${suffix}.png)
  endmacro()

  foreach(icon IN LISTS arg_ICONS)
    render(${icon} "" --zoom 1)
    render(${icon} "@2x" --zoom 2)
  endforeach()
  list(POP_FRONT arg_SIZES sized)
  foreach(pixels IN LISTS arg_SIZES)
    render(${sized} "-${pixels}" --width ${pixels} --height ${pixels})
  endforeach()

  list(TRANSFORM images REPLACE "(.+)" "    <file>icons/\\1</file>\n" OUTPUT_VARIABLE entries)
  string(CONCAT entries ${entries})
  file(CONFIGURE OUTPUT ${CMAKE_CURRENT_BINARY_DIR}/${name}.qrc @ONLY
    CONTENT "<RCC>\n  <qresource prefix=\"/\">\n@entries@  </qresource>\n</RCC>\n")
  list(TRANSFORM images PREPEND ${folder}/)
  # Format 1 has no time stamps: the same drawings give the same bytes.
  add_custom_command(
    OUTPUT ${CMAKE_CURRENT_BINARY_DIR}/qrc_${name}.cpp
    COMMAND Qt5::rcc --format-version 1 --name ${name} --output ${CMAKE_CURRENT_BINARY_DIR}/qrc_${name}.cpp
            ${CMAKE_CURRENT_BINARY_DIR}/${name}.qrc
    DEPENDS ${images} ${CMAKE_CURRENT_BINARY_DIR}/${name}.qrc
    VERBATIM)
  set(${name}_SOURCES ${CMAKE_CURRENT_BINARY_DIR}/qrc_${name}.cpp PARENT_SCOPE)
endfunction()
