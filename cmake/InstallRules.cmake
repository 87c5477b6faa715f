# Installs what a caller needs: the headers, the libraries, the geodetic data, the CMake package and the pkg-config files.
# The components libraries, development, command and python become a package each.
include(CMakePackageConfigHelpers)

set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/KVUtilities)
set(libraries KVUtilities)
set(headers include/KVUtilities.h include/KVRecords.h include/KVPlatform.h)
# From the folder of the pkg-config files up to the prefix: as many steps as "lib/<architecture>/pkgconfig" has names.
string(REGEX REPLACE "[^/]+" ".." KVUTILITIES_PC_TO_PREFIX "${CMAKE_INSTALL_LIBDIR}/pkgconfig")
configure_file(cmake/kvutilities.pc.in kvutilities.pc @ONLY)
set(pc_files ${PROJECT_BINARY_DIR}/kvutilities.pc)
if(KVUTILITIES_BUILD_APPS)
  list(APPEND libraries KVMission)
  list(APPEND headers include/KVMission.h)
  configure_file(cmake/kvmission.pc.in kvmission.pc @ONLY)
  list(APPEND pc_files ${PROJECT_BINARY_DIR}/kvmission.pc)
endif()

install(
  TARGETS ${libraries}
  EXPORT KVUtilitiesTargets
  RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT libraries
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT libraries NAMELINK_COMPONENT development
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT development)
if(TARGET KVCodecs)
  install(TARGETS KVCodecs LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}/kvutilities COMPONENT libraries)
endif()
install(FILES ${headers} DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT development)
if(KVUTILITIES_BUILD_APPS)
  install(DIRECTORY include/KVMission DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT development)
endif()
install(FILES ${pc_files} DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT development)
kv_install_geodetic_data()
if(WIN32)
  include(WindowsLibraries)
endif()
install(EXPORT KVUtilitiesTargets NAMESPACE KVUtilities:: DESTINATION ${package_dir} COMPONENT development)

configure_package_config_file(cmake/KVUtilitiesConfig.cmake.in KVUtilitiesConfig.cmake INSTALL_DESTINATION ${package_dir})
write_basic_package_version_file(KVUtilitiesConfigVersion.cmake COMPATIBILITY SameMinorVersion)
install(FILES ${PROJECT_BINARY_DIR}/KVUtilitiesConfig.cmake ${PROJECT_BINARY_DIR}/KVUtilitiesConfigVersion.cmake
        DESTINATION ${package_dir} COMPONENT development)
if(KVUTILITIES_PACKAGES)
  include(Packages)
endif()
