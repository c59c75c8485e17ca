# Installs the library, its headers and the package files.
include(CMakePackageConfigHelpers)

install(TARGETS VXDataStorage
    EXPORT VXDataStorageTargets
    RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR}
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
    ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
    FILE_SET public_headers DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/VXDataStorage
    FILE_SET generated_headers DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/VXDataStorage
    INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/VXDataStorage)

set(translations_dir ${CMAKE_INSTALL_DATADIR}/VXDataStorage/translations)
set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/VXDataStorage)
install(EXPORT VXDataStorageTargets NAMESPACE VXDataStorage:: DESTINATION ${package_dir})
configure_package_config_file(cmake/VXDataStorageConfig.cmake.in
    "${CMAKE_CURRENT_BINARY_DIR}/VXDataStorageConfig.cmake" INSTALL_DESTINATION ${package_dir}
    PATH_VARS translations_dir)
write_basic_package_version_file("${CMAKE_CURRENT_BINARY_DIR}/VXDataStorageConfigVersion.cmake"
    COMPATIBILITY SameMajorVersion)
install(FILES
    "${CMAKE_CURRENT_BINARY_DIR}/VXDataStorageConfig.cmake"
    "${CMAKE_CURRENT_BINARY_DIR}/VXDataStorageConfigVersion.cmake"
    DESTINATION ${package_dir})

install(DIRECTORY docs/schema DESTINATION ${CMAKE_INSTALL_DATADIR}/VXDataStorage)

# For pkg-config and qmake. Both find the other files from where they lie themselves, so that an
# installed copy can be moved; an absolute directory, when one was asked for, stays as it was given.
foreach(directory IN ITEMS LIBDIR INCLUDEDIR)
    if(IS_ABSOLUTE "${CMAKE_INSTALL_${directory}}")
        set(VXDATASTORAGE_PC_${directory} "${CMAKE_INSTALL_${directory}}")
    else()
        set(VXDATASTORAGE_PC_${directory} "\${prefix}/${CMAKE_INSTALL_${directory}}")
    endif()
endforeach()
if(IS_ABSOLUTE "${CMAKE_INSTALL_LIBDIR}")
    set(VXDATASTORAGE_PC_PREFIX "${CMAKE_INSTALL_PREFIX}")
else()
    file(RELATIVE_PATH to_prefix "/${CMAKE_INSTALL_LIBDIR}/pkgconfig" "/")
    string(REGEX REPLACE "/$" "" to_prefix "${to_prefix}")
    set(VXDATASTORAGE_PC_PREFIX "\${pcfiledir}/${to_prefix}")
endif()
set(VXDATASTORAGE_PC_STATIC "")
set(VXDATASTORAGE_PRI_STATIC "")
if(VXDATASTORAGE_STATIC)
    set(VXDATASTORAGE_PC_STATIC " -DVXDATASTORAGE_STATIC")
    set(VXDATASTORAGE_PRI_STATIC "DEFINES += VXDATASTORAGE_STATIC")
endif()
configure_file(cmake/VXDataStorage.pc.in "${CMAKE_CURRENT_BINARY_DIR}/VXDataStorage.pc" @ONLY)
install(FILES "${CMAKE_CURRENT_BINARY_DIR}/VXDataStorage.pc" DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

# qmake's file is made for the usual relative directories only.
if(NOT IS_ABSOLUTE "${CMAKE_INSTALL_LIBDIR}" AND NOT IS_ABSOLUTE "${CMAKE_INSTALL_INCLUDEDIR}"
   AND NOT IS_ABSOLUTE "${CMAKE_INSTALL_DATADIR}")
    file(RELATIVE_PATH to_prefix "/${CMAKE_INSTALL_DATADIR}/VXDataStorage" "/")
    string(REGEX REPLACE "/$" "" VXDATASTORAGE_PRI_TO_PREFIX "${to_prefix}")
    configure_file(cmake/VXDataStorage.pri.in "${CMAKE_CURRENT_BINARY_DIR}/VXDataStorage.pri" @ONLY)
    install(FILES "${CMAKE_CURRENT_BINARY_DIR}/VXDataStorage.pri"
        DESTINATION ${CMAKE_INSTALL_DATADIR}/VXDataStorage)
endif()
