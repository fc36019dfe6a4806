# vorta_licences(<name> LICENCES <licence>:<package>[:<package>...] ...)
#
# Packs the licence of each library as ":/text/resources/<licence>_license.txt": what the Debian package says of it,
# with the full texts that this refers to. The first package that is installed counts; a licence without one is left
# out. Sets <name>_SOURCES to the source file with the packed texts and <name>_COLLECTED to what it has, as
# <licence>=<copyright file of the package>.
if(CMAKE_SYSTEM_NAME STREQUAL "Linux")
  set(documents /usr/share/doc)
  set(common_licences /usr/share/common-licenses)
endif()
set(VORTA_LICENCE_FOLDER "${documents}" CACHE PATH
    "Folder with <package>/copyright for each library, as on Debian; empty: the program shows no licences")
set(VORTA_COMMON_LICENCE_FOLDER "${common_licences}" CACHE PATH "Folder with the licences that those files refer to")

function(vorta_licences name)
  cmake_parse_arguments(arg "" "" "LICENCES" ${ARGN})
  set(folder ${CMAKE_CURRENT_BINARY_DIR}/licences)
  set(script ${CMAKE_CURRENT_SOURCE_DIR}/collectlicence.cmake)
  set(collected "")
  set(texts "")
  set(entries "")
  foreach(licence IN LISTS arg_LICENCES)
    string(REPLACE ":" ";" packages ${licence})
    list(POP_FRONT packages licence)
    set(found "")
    foreach(package IN LISTS packages)
      if(NOT found AND VORTA_LICENCE_FOLDER AND EXISTS ${VORTA_LICENCE_FOLDER}/${package}/copyright)
        set(found ${package})
      endif()
    endforeach()
    if(NOT found)
      list(JOIN packages " nor " packages)
      message(STATUS "The legal notice goes without ${licence}_license.txt: there is no ${packages}")
      continue()
    endif()
    set(copyright ${VORTA_LICENCE_FOLDER}/${found}/copyright)
    add_custom_command(
      OUTPUT ${folder}/${licence}_license.txt
      COMMAND ${CMAKE_COMMAND} -D package=${found} -D copyright=${copyright} -D common=${VORTA_COMMON_LICENCE_FOLDER}
              -D output=${folder}/${licence}_license.txt -P ${script}
      DEPENDS ${copyright} ${script}
      VERBATIM)
    string(APPEND entries "    <file alias=\"${licence}_license.txt\">licences/${licence}_license.txt</file>\n")
    list(APPEND collected ${licence}=${copyright})
    list(APPEND texts ${folder}/${licence}_license.txt)
  endforeach()

  set(list ${CMAKE_CURRENT_BINARY_DIR}/${name}.qrc)
  file(CONFIGURE OUTPUT ${list} @ONLY
    CONTENT "<RCC>\n  <qresource prefix=\"/text/resources\">\n@entries@  </qresource>\n</RCC>\n")
  # Format 1 has no time stamps: the same texts give the same bytes.
  add_custom_command(
    OUTPUT ${CMAKE_CURRENT_BINARY_DIR}/qrc_${name}.cpp
    COMMAND Qt5::rcc --format-version 1 --name ${name} --output ${CMAKE_CURRENT_BINARY_DIR}/qrc_${name}.cpp ${list}
    DEPENDS ${texts} ${list}
    VERBATIM)
  set(${name}_SOURCES ${CMAKE_CURRENT_BINARY_DIR}/qrc_${name}.cpp PARENT_SCOPE)
  set(${name}_COLLECTED ${collected} PARENT_SCOPE)
endfunction()
