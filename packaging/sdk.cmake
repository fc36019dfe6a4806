# What an application or a driver builds with: the headers, and the files with which find_package(Vorta) finds the
# installed libraries. The libraries themselves are installed with the programs.
set(folder ${CMAKE_INSTALL_LIBDIR}/cmake/Vorta)
foreach(library common compute drivers/interface api viewer)
  install(DIRECTORY ${PROJECT_SOURCE_DIR}/sdk/${library}/include/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT sdk)
endforeach()
foreach(library VortaCommon VortaCommonCompute VortaAPI VortaViewerLib)
  get_target_property(binary_dir ${library} BINARY_DIR)
  install(DIRECTORY ${binary_dir}/include/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT sdk)
endforeach()
install(EXPORT Vorta FILE VortaTargets.cmake NAMESPACE Vorta:: DESTINATION ${folder} COMPONENT sdk)
install(EXPORT VortaViewer FILE VortaViewerTargets.cmake NAMESPACE Vorta:: DESTINATION ${folder} COMPONENT sdk)

include(CMakePackageConfigHelpers)
configure_package_config_file(VortaConfig.cmake.in VortaConfig.cmake
  INSTALL_DESTINATION ${folder} PATH_VARS home VORTA_HEADS_FOLDER)
# A plug-in and an application fit the very version that they were built with.
write_basic_package_version_file(VortaConfigVersion.cmake COMPATIBILITY ExactVersion)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/VortaConfig.cmake ${CMAKE_CURRENT_BINARY_DIR}/VortaConfigVersion.cmake
  DESTINATION ${folder} COMPONENT sdk)
