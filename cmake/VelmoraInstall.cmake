# cmake --install and the package that find_package(VelmoraCore 4.6 CONFIG) finds. The installed
# tree may be moved anywhere.

include(CMakePackageConfigHelpers)

set(package_folder ${CMAKE_INSTALL_LIBDIR}/cmake/VelmoraCore)

set_target_properties(VelmoraCore PROPERTIES EXPORT_NAME Core)
install(
  TARGETS VelmoraCore
  EXPORT VelmoraCoreTargets
  RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR}
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
  FILE_SET HEADERS DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(EXPORT VelmoraCoreTargets NAMESPACE Velmora:: DESTINATION ${package_folder})

if(WIN32)
  install(PROGRAMS ${VELMORA_RUNTIME_DLLS} DESTINATION ${CMAKE_INSTALL_BINDIR})
  list(TRANSFORM VELMORA_RUNTIME_DLLS REPLACE ".*/" "" OUTPUT_VARIABLE runtime_dlls)
else()
  # An export set of its own: who links the shared library needs none of the archive's libraries.
  set_target_properties(VelmoraCoreStatic PROPERTIES EXPORT_NAME CoreStatic)
  install(
    TARGETS VelmoraCoreStatic
    EXPORT VelmoraCoreStaticTargets
    ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
    INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
  install(EXPORT VelmoraCoreStaticTargets NAMESPACE Velmora:: DESTINATION ${package_folder})
endif()

configure_package_config_file(
  ${CMAKE_CURRENT_LIST_DIR}/VelmoraCoreConfig.cmake.in
  ${PROJECT_BINARY_DIR}/package/VelmoraCoreConfig.cmake
  INSTALL_DESTINATION ${package_folder}
  PATH_VARS CMAKE_INSTALL_BINDIR
  NO_CHECK_REQUIRED_COMPONENTS_MACRO)
write_basic_package_version_file(
  ${PROJECT_BINARY_DIR}/package/VelmoraCoreConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/package/VelmoraCoreConfig.cmake
              ${PROJECT_BINARY_DIR}/package/VelmoraCoreConfigVersion.cmake
        DESTINATION ${package_folder})
