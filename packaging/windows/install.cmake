# What the installer installs: everything side by side in one folder, with the libraries of others and their licences.
install(TARGETS ${product} ${libraries} VortaViewerLib RUNTIME DESTINATION . LIBRARY DESTINATION .)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/heads DESTINATION .)
install(FILES ${PROJECT_SOURCE_DIR}/README.md DESTINATION .)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/docs ${PROJECT_SOURCE_DIR}/examples DESTINATION .)

foreach(plugin platforms/qwindows styles/qwindowsvistastyle imageformats/qsvg)
  get_filename_component(folder ${plugin} DIRECTORY)
  install(FILES ${VORTA_WINDOWS_PREFIX}/plugins/${plugin}.dll DESTINATION ${folder})
endforeach()

# Which libraries the installed files need is seen when they are there.
file(CONFIGURE OUTPUT ${CMAKE_CURRENT_BINARY_DIR}/collectlibraries.cmake @ONLY CONTENT [[
set(prefix "@VORTA_WINDOWS_PREFIX@")
set(compiler "@CMAKE_CXX_COMPILER@")
set(objdump "@CMAKE_OBJDUMP@")
set(strip "@CMAKE_STRIP@")
include("@CMAKE_CURRENT_SOURCE_DIR@/windows/collectlibraries.cmake")
]])
install(SCRIPT ${CMAKE_CURRENT_BINARY_DIR}/collectlibraries.cmake)

# The licences of all that is shipped or built in, as Debian's packages of the same sources have them.
foreach(package
    libboost${Boost_VERSION_MAJOR}.${Boost_VERSION_MINOR}-dev libcli11-dev libdeflate-dev libembree-dev libhdf5-dev
    libhwy-dev libjpeg62-turbo libnetcdf-dev libopencv-core-dev libpng16-16 libqwt-qt5-dev libyaml-cpp-dev
    libz-mingw-w64 mingw-w64-x86-64-dev g++-mingw-w64-x86-64-posix nlohmann-json3-dev qtbase5-dev)
  install(FILES /usr/share/doc/${package}/copyright DESTINATION licences RENAME ${package}.txt)
endforeach()
