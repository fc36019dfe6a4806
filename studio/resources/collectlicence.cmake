# cmake -D package=<name> -D copyright=<file> -D common=<folder> -D output=<file> -P collectlicence.cmake
#
# Writes a library's licence from the copyright file of its package: first that of the library as a whole, then the file
# as it is, last the common licences that the file only refers to.
file(READ ${copyright} text)

# take_paragraph(<variable> <heading>): the paragraph of the machine-readable file that begins with that line.
function(take_paragraph variable heading)
  set(paragraph "")
  string(FIND "${text}" "\n\n${heading}\n" start)
  if(start GREATER -1)
    math(EXPR start "${start} + 2")
    string(SUBSTRING "${text}" ${start} -1 paragraph)
    string(FIND "${paragraph}" "\n\n" end)
    string(SUBSTRING "${paragraph}" 0 ${end} paragraph)
  endif()
  set(${variable} "${paragraph}" PARENT_SCOPE)
endfunction()

set(rule "\n------------------------------------------------------------------------\n\n")
set(result "Copyright and licences, as told by the package ${package}.\n")

# Else a reader would look for it among up to thousands of lines on single files.
take_paragraph(whole "Files: *")
if(whole)
  set(main "${whole}\n")
  string(REGEX MATCH "\nLicense: ([^\n]*)" ignored "${whole}")
  string(REGEX REPLACE ",? (or|and|OR|AND) " ";" licences "${CMAKE_MATCH_1}")
  foreach(licence IN LISTS licences)
    take_paragraph(paragraph "License: ${licence}")
    if(paragraph)
      string(APPEND main "\n${paragraph}\n")
    endif()
  endforeach()
  string(APPEND result "First comes what holds for the library as a whole, then every detail.\n")
endif()

string(REGEX MATCHALL "/usr/share/common-licenses/[A-Za-z0-9.+-]*[A-Za-z0-9]" references "${text}")
list(TRANSFORM references REPLACE ".*/" "")
list(REMOVE_DUPLICATES references)
list(SORT references)
foreach(reference IN LISTS references)
  if(EXISTS ${common}/${reference})
    file(READ ${common}/${reference} full)
    string(APPEND attached "${rule}${reference}\n\n${full}")
    list(APPEND names ${reference})
  endif()
endforeach()
if(names)
  list(JOIN names ", " names)
  string(APPEND result "At the end stands in full: ${names}.\n")
endif()

if(whole)
  string(APPEND result "${rule}${main}")
endif()
string(APPEND result "${rule}${text}${attached}")
file(WRITE ${output} "${result}")
