# What a caller needs: the headers, the library, its geodetic data, the CMake package and the pkg-config file.
include(CMakePackageConfigHelpers)

set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/KVUtilities)
install(TARGETS KVUtilities EXPORT KVUtilitiesTargets RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR}
                                                      LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
                                                      ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(FILES include/KVUtilities.h include/KVRecords.h include/KVPlatform.h DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
kv_install_geodetic_data()
install(EXPORT KVUtilitiesTargets NAMESPACE KVUtilities:: DESTINATION ${package_dir})

configure_package_config_file(cmake/KVUtilitiesConfig.cmake.in KVUtilitiesConfig.cmake INSTALL_DESTINATION ${package_dir})
write_basic_package_version_file(KVUtilitiesConfigVersion.cmake COMPATIBILITY SameMinorVersion)
install(FILES ${PROJECT_BINARY_DIR}/KVUtilitiesConfig.cmake ${PROJECT_BINARY_DIR}/KVUtilitiesConfigVersion.cmake
        DESTINATION ${package_dir})

configure_file(cmake/kvutilities.pc.in kvutilities.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/kvutilities.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
