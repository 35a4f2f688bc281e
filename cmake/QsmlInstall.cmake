# What `cmake --install` lays down: library, headers, resources, qsml, and the two ways to find them.
include(CMakePackageConfigHelpers)
set(qsml_package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/QSMediaLibraryData)

install(TARGETS QSMediaLibraryData EXPORT QSMediaLibraryDataTargets
    RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR}
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
    ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
    FILE_SET HEADERS DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/QSMediaLibraryData)
install(FILES ${PROJECT_BINARY_DIR}/umbrella/QSMediaLibraryData/QSMediaLibraryData.h
    DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/QSMediaLibraryData)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/resources/
    DESTINATION ${CMAKE_INSTALL_DATADIR}/QSMediaLibraryData
    PATTERN CMakeLists.txt EXCLUDE)
install(FILES ${PROJECT_SOURCE_DIR}/LICENSE DESTINATION ${CMAKE_INSTALL_DOCDIR})
if(TARGET qsml)
    set_target_properties(qsml PROPERTIES
        INSTALL_RPATH "$ORIGIN/../${CMAKE_INSTALL_LIBDIR}")
    install(TARGETS qsml RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
endif()

# find_package(QSMediaLibraryData)
get_target_property(qsml_library_type QSMediaLibraryData TYPE)
install(EXPORT QSMediaLibraryDataTargets NAMESPACE QSMediaLibraryData::
    DESTINATION ${qsml_package_dir})
configure_package_config_file(${CMAKE_CURRENT_LIST_DIR}/QSMediaLibraryDataConfig.cmake.in
    ${PROJECT_BINARY_DIR}/QSMediaLibraryDataConfig.cmake INSTALL_DESTINATION ${qsml_package_dir})
# Before 1.0 a minor version may change anything.
write_basic_package_version_file(${PROJECT_BINARY_DIR}/QSMediaLibraryDataConfigVersion.cmake
    COMPATIBILITY SameMinorVersion)
install(FILES
    ${PROJECT_BINARY_DIR}/QSMediaLibraryDataConfig.cmake
    ${PROJECT_BINARY_DIR}/QSMediaLibraryDataConfigVersion.cmake
    DESTINATION ${qsml_package_dir})

# pkg-config
file(RELATIVE_PATH qsml_pc_prefix
    /prefix/${CMAKE_INSTALL_LIBDIR}/pkgconfig /prefix)
string(REGEX REPLACE "/$" "" qsml_pc_prefix "${qsml_pc_prefix}")
configure_file(${CMAKE_CURRENT_LIST_DIR}/QSMediaLibraryData.pc.in
    ${PROJECT_BINARY_DIR}/QSMediaLibraryData.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/QSMediaLibraryData.pc
    DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
