# What every target of the project shares: warnings, sanitizers, optimisation, and the functions that
# declare libraries, tests and benchmarks.

include(GenerateExportHeader)
include(GoogleTest)

find_program(CCACHE_PROGRAM ccache)
if(CCACHE_PROGRAM)
  set(CMAKE_CXX_COMPILER_LAUNCHER
      ${CMAKE_COMMAND} -E env CCACHE_SLOPPINESS=pch_defines,time_macros CCACHE_NOHASHDIR=1
      CCACHE_BASEDIR=${PROJECT_SOURCE_DIR} ${CCACHE_PROGRAM})
endif()

if(NOT CMAKE_BUILD_TYPE)
  set(CMAKE_BUILD_TYPE Release CACHE STRING "Build type" FORCE)
endif()

option(VORTA_COVERAGE "Count which lines run" OFF)
set(VORTA_SANITIZE "" CACHE STRING "Sanitizers to build with, for instance address,undefined")

add_library(vorta_build INTERFACE)
add_library(Vorta::build ALIAS vorta_build)
target_compile_options(vorta_build INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Wnon-virtual-dtor -Woverloaded-virtual -Wold-style-cast -Wcast-align
  -Wcast-qual -Wconversion -Wsign-conversion -Wdouble-promotion -Wformat=2 -Wimplicit-fallthrough -Wextra-semi
  -Wundef -Wvla -Wmissing-declarations -Wredundant-decls -Wzero-as-null-pointer-constant -Wswitch-enum
  -Wdeprecated-copy-dtor -Wsuggest-override -Wunused)
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
  # Other compilers warn of other things; the code is kept free of this one's warnings.
  target_compile_options(vorta_build INTERFACE -Werror -Wduplicated-cond -Wduplicated-branches -Wlogical-op)
endif()
if(VORTA_SANITIZE)
  target_compile_options(vorta_build INTERFACE -fsanitize=${VORTA_SANITIZE} -fno-omit-frame-pointer
                                               -fno-sanitize-recover=all)
  target_link_options(vorta_build INTERFACE -fsanitize=${VORTA_SANITIZE})
  if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    # The sanitizers' own instrumentation makes these two fire on correct code.
    target_compile_options(vorta_build INTERFACE -Wno-maybe-uninitialized -Wno-stringop-overflow)
  endif()
endif()
if(VORTA_COVERAGE)
  target_compile_options(vorta_build INTERFACE --coverage -fprofile-update=atomic)
  target_link_options(vorta_build INTERFACE --coverage)
endif()
if(VORTA_SANITIZE MATCHES "address")
  target_sources(vorta_build INTERFACE
    $<$<STREQUAL:$<TARGET_PROPERTY:TYPE>,EXECUTABLE>:${CMAKE_CURRENT_LIST_DIR}/keepmodules.cpp>)
  target_link_options(vorta_build INTERFACE
    $<$<STREQUAL:$<TARGET_PROPERTY:TYPE>,EXECUTABLE>:LINKER:--export-dynamic-symbol=dlclose>)
endif()

# Qt as we use it: no implicit text conversions, nothing deprecated.
add_library(vorta_qt INTERFACE)
add_library(Vorta::qt ALIAS vorta_qt)
target_compile_definitions(vorta_qt INTERFACE
  QT_NO_CAST_FROM_ASCII QT_NO_CAST_TO_ASCII QT_NO_URL_CAST_FROM_STRING QT_NO_FOREACH QT_NO_KEYWORDS
  QT_NO_JAVA_STYLE_ITERATORS QT_NO_NARROWING_CONVERSIONS_IN_CONNECT QT_STRICT_ITERATORS
  QT_USE_QSTRINGBUILDER QT_DISABLE_DEPRECATED_BEFORE=0x050F00)
target_link_libraries(vorta_qt INTERFACE Qt5::Core)

# Third-party headers that are not ours to warn about.
add_library(vorta_opencv INTERFACE)
add_library(Vorta::opencv ALIAS vorta_opencv)
target_include_directories(vorta_opencv SYSTEM INTERFACE ${OpenCV_INCLUDE_DIRS})
target_link_libraries(vorta_opencv INTERFACE opencv_core opencv_imgproc)

find_path(QWT_INCLUDE_DIR qwt_plot.h PATH_SUFFIXES qwt REQUIRED)
find_library(QWT_LIBRARY NAMES qwt-qt5 qwt REQUIRED)
add_library(vorta_qwt INTERFACE)
add_library(Vorta::qwt ALIAS vorta_qwt)
target_compile_definitions(vorta_qwt INTERFACE $<$<PLATFORM_ID:Windows>:QWT_DLL>)
target_include_directories(vorta_qwt SYSTEM INTERFACE ${QWT_INCLUDE_DIR})
target_link_libraries(vorta_qwt INTERFACE ${QWT_LIBRARY})

find_path(CLI11_INCLUDE_DIR CLI/CLI.hpp REQUIRED)
add_library(vorta_cli11 INTERFACE)
add_library(Vorta::cli11 ALIAS vorta_cli11)
target_include_directories(vorta_cli11 SYSTEM INTERFACE ${CLI11_INCLUDE_DIR})

if(WIN32)
  include(Windows)
endif()

# vorta_version_record(<target> <description>)
#
# Gives the program, library or plug-in its version record: description, versions, and how it was built. On Windows this
# is the version resource that the Explorer shows, elsewhere the section .vorta_version:
#
#     readelf -p .vorta_version libVortaAPI.so
function(vorta_version_record target description)
  if(description MATCHES "[\"\\\\]")
    message(FATAL_ERROR "${target}: the description stands in string literals, without quotes and backslashes")
  endif()
  set(comments "${CMAKE_BUILD_TYPE} build for ${CMAKE_SYSTEM_NAME} ${CMAKE_SYSTEM_PROCESSOR}")
  string(APPEND comments ", ${CMAKE_CXX_COMPILER_ID} ${CMAKE_CXX_COMPILER_VERSION}")
  if(VORTA_SANITIZE)
    string(APPEND comments ", with sanitizers: ${VORTA_SANITIZE}")
  endif()
  set(file_version ${PROJECT_VERSION})
  set(product_version ${VORTA_PRODUCT_VERSION})
  # A version resource has its versions as four numbers too.
  set(file_numbers ${PROJECT_VERSION_MAJOR},${PROJECT_VERSION_MINOR},${PROJECT_VERSION_PATCH},0)
  string(REGEX MATCHALL "[0-9]+" numbers ${product_version})
  list(SUBLIST numbers 0 4 numbers)
  list(JOIN numbers "," product_numbers)
  get_target_property(type ${target} TYPE)
  if(type STREQUAL "EXECUTABLE")
    set(file_type VFT_APP)
  else()
    set(file_type VFT_DLL)
  endif()
  set(record ${CMAKE_CURRENT_BINARY_DIR}/${target}_version)
  set(templates ${PROJECT_SOURCE_DIR}/cmake)
  configure_file(${templates}/versionrecord.rc.in ${record}.rc @ONLY)
  configure_file(${templates}/versionrecord.cpp.in ${record}.cpp @ONLY)
  set_source_files_properties(${record}.cpp PROPERTIES SKIP_PRECOMPILE_HEADERS ON SKIP_AUTOGEN ON)
  if(WIN32)
    target_sources(${target} PRIVATE ${record}.rc)
  else()
    target_sources(${target} PRIVATE ${record}.cpp)
  endif()
endfunction()

# vorta_shared_library(<Name> FOLDER <folder> DESCRIPTION <text> SOURCES ...)
#
# One library of the SDK: target and file <Name>, alias Vorta::<folder>, public headers below include/, with a
# generated export header vorta/<folder>/export.h that defines VORTA_<FOLDER>_EXPORT. The description is for the
# file's version record.
function(vorta_shared_library name)
  cmake_parse_arguments(arg "" "FOLDER;DESCRIPTION" "SOURCES" ${ARGN})
  string(TOUPPER ${arg_FOLDER} upper)
  add_library(${name} SHARED ${arg_SOURCES})
  add_library(Vorta::${arg_FOLDER} ALIAS ${name})
  generate_export_header(${name} BASE_NAME VORTA_${upper}
    EXPORT_FILE_NAME ${CMAKE_CURRENT_BINARY_DIR}/include/vorta/${arg_FOLDER}/export.h)
  target_include_directories(${name} PUBLIC
    $<BUILD_INTERFACE:${CMAKE_CURRENT_SOURCE_DIR}/include>
    $<BUILD_INTERFACE:${CMAKE_CURRENT_BINARY_DIR}/include>
    $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>)
  target_link_libraries(${name} PRIVATE Vorta::build)
  target_compile_features(${name} PUBLIC cxx_std_20)
  set_target_properties(${name} PROPERTIES EXPORT_NAME ${arg_FOLDER})
  vorta_version_record(${name} "${arg_DESCRIPTION}")
endfunction()

# vorta_studio_library(<folder> SOURCES ...)
#
# One folder of the application as a static library with alias Vorta::<folder>; its headers are included as
# "<folder>/<file>.h" with studio/ as the root.
function(vorta_studio_library folder)
  cmake_parse_arguments(arg "" "" "SOURCES" ${ARGN})
  add_library(studio_${folder} STATIC ${arg_SOURCES})
  add_library(Vorta::${folder} ALIAS studio_${folder})
  target_include_directories(studio_${folder} PUBLIC ${PROJECT_SOURCE_DIR}/studio)
  target_link_libraries(studio_${folder} PRIVATE Vorta::build)
  if(arg_SOURCES MATCHES "[.]ui(;|$)")
    # What uic writes is not ours to lint.
    target_include_directories(studio_${folder} SYSTEM
      PRIVATE ${CMAKE_CURRENT_BINARY_DIR}/studio_${folder}_autogen/include)
  endif()
endfunction()

# vorta_test(<name> SOURCES ... LIBRARIES ... [SCREEN] [LONG] [TIMEOUT seconds])
#
# A GoogleTest program. SCREEN marks tests that open windows: they run one at a time on the X server that the
# environment names. LONG tests, labelled so, are the long mode's. Where the programs are for another system those without
# windows run in its emulator, each program as one test since its start takes long; there windows are tried in the
# installed program.
function(vorta_test name)
  cmake_parse_arguments(arg "SCREEN;LONG" "TIMEOUT" "SOURCES;LIBRARIES" ${ARGN})
  if(NOT arg_TIMEOUT)
    set(arg_TIMEOUT 120)
  endif()
  add_executable(${name} ${arg_SOURCES})
  target_include_directories(${name} PRIVATE ${PROJECT_SOURCE_DIR}/tests)
  target_link_libraries(${name} PRIVATE Vorta::build ${arg_LIBRARIES} GTest::gmock)
  target_compile_definitions(${name} PRIVATE VORTA_SOURCE_DIR="${PROJECT_SOURCE_DIR}"
                                             VORTA_BIN_DIR="${CMAKE_RUNTIME_OUTPUT_DIRECTORY}")
  set(properties TIMEOUT ${arg_TIMEOUT})
  if(arg_SCREEN)
    target_link_libraries(${name} PRIVATE Vorta::testsupport_screen)
    list(APPEND properties RESOURCE_LOCK screen)
  else()
    target_link_libraries(${name} PRIVATE GTest::gtest_main)
  endif()
  if(arg_LONG)
    list(APPEND properties LABELS long)
  elseif(arg_SCREEN)
    list(APPEND properties LABELS screen)
  endif()
  if(CMAKE_CROSSCOMPILING AND arg_SCREEN)
    set_target_properties(${name} PROPERTIES EXCLUDE_FROM_ALL ON)
    return()
  elseif(CMAKE_CROSSCOMPILING)
    add_test(NAME ${name} COMMAND ${name})
    set_tests_properties(${name} PROPERTIES TIMEOUT 1200)
    return()
  endif()
  gtest_discover_tests(${name} NO_PRETTY_VALUES DISCOVERY_MODE PRE_TEST DISCOVERY_TIMEOUT 60 PROPERTIES ${properties})
endfunction()

# vorta_studio_test(<name> COMMAND [ARGUMENT...])
#
# A test that operates the studio as a person would, with the demo head, on a screen of its own. Studios know of each other
# by a file among the temporary ones: with a folder of its own for these the test runs beside others that start one. It
# waits more than it computes, and is among the longest: it starts first.
function(vorta_studio_test name)
  set(temporary ${CMAKE_CURRENT_BINARY_DIR}/${name}-temporary)
  file(MAKE_DIRECTORY ${temporary})
  add_test(NAME ${name} COMMAND ${PROJECT_SOURCE_DIR}/scripts/with-screen ${ARGN})
  set_tests_properties(${name} PROPERTIES
    LABELS screen TIMEOUT 600 COST 1000
    ENVIRONMENT "TMPDIR=${temporary};VORTA_VIRTUAL_HEADS=${PROJECT_SOURCE_DIR}/heads/demo")
endfunction()

# vorta_bench(<name> SOURCES ... LIBRARIES ...)
function(vorta_bench name)
  cmake_parse_arguments(arg "" "" "SOURCES;LIBRARIES" ${ARGN})
  add_executable(${name} ${arg_SOURCES})
  target_link_libraries(${name} PRIVATE Vorta::build ${arg_LIBRARIES} benchmark::benchmark)
endfunction()
