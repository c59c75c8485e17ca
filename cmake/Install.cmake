# Installs the library, its headers and the package files.
include(CMakePackageConfigHelpers)

install(TARGETS VXDataStorage
    EXPORT VXDataStorageTargets
    RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR}
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
    ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
    FILE_SET public_headers DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/VXDataStorage
    INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/VXDataStorage)

set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/VXDataStorage)
install(EXPORT VXDataStorageTargets NAMESPACE VXDataStorage:: DESTINATION ${package_dir})
configure_package_config_file(cmake/VXDataStorageConfig.cmake.in
    "${CMAKE_CURRENT_BINARY_DIR}/VXDataStorageConfig.cmake" INSTALL_DESTINATION ${package_dir})
write_basic_package_version_file("${CMAKE_CURRENT_BINARY_DIR}/VXDataStorageConfigVersion.cmake"
    COMPATIBILITY SameMajorVersion)
install(FILES
    "${CMAKE_CURRENT_BINARY_DIR}/VXDataStorageConfig.cmake"
    "${CMAKE_CURRENT_BINARY_DIR}/VXDataStorageConfigVersion.cmake"
    DESTINATION ${package_dir})
