# The targets of the project and the functions with which a folder names its files.

# The library: compiled once as objects, which the tests link as they are (they reach what the
# library hides), and linked as QSMediaLibraryData, shared or static.
macro(qsml_add_library)
    set(qsml_generated ${PROJECT_BINARY_DIR}/include)
    file(MAKE_DIRECTORY ${qsml_generated})
    # <QSMediaLibraryData/FOLDER/NAME.h> works in the build tree as it does when installed.
    file(CREATE_LINK ${PROJECT_SOURCE_DIR}/src ${qsml_generated}/QSMediaLibraryData SYMBOLIC)

    # The library finds its resources in the build tree as it does when installed.
    file(MAKE_DIRECTORY ${PROJECT_BINARY_DIR}/share)
    file(CREATE_LINK ${PROJECT_SOURCE_DIR}/resources
        ${PROJECT_BINARY_DIR}/share/QSMediaLibraryData SYMBOLIC)

    # What nearly every source includes is compiled once. Its target stands apart: a precompiled header
    # of an object library would be linked with the objects.
    add_library(qsml_precompiled OBJECT ${PROJECT_SOURCE_DIR}/cmake/precompiled.cpp)
    target_include_directories(qsml_precompiled PRIVATE ${PROJECT_SOURCE_DIR}/src ${qsml_generated})
    target_link_libraries(qsml_precompiled PRIVATE SQLite::SQLite3 Threads::Threads qsml_options
        ICU::i18n ICU::uc fmt::fmt rapidjson PkgConfig::libmd PkgConfig::libxxhash PkgConfig::libplist)
    target_precompile_headers(qsml_precompiled PRIVATE <algorithm> <atomic> <functional> <map> <memory>
        <mutex> <optional> <set> <string> <string_view> <unordered_map> <vector> <foundation/Value.h>
        <foundation/OrderedSet.h> <foundation/Error.h>)

    add_library(qsml_objects OBJECT)
    target_precompile_headers(qsml_objects REUSE_FROM qsml_precompiled)
    target_include_directories(qsml_objects PUBLIC ${PROJECT_SOURCE_DIR}/src ${qsml_generated})
    target_link_libraries(qsml_objects
        PUBLIC SQLite::SQLite3 Threads::Threads
        PRIVATE qsml_options ICU::i18n ICU::uc fmt::fmt rapidjson PkgConfig::libmd PkgConfig::libxxhash
            PkgConfig::libplist ${CMAKE_DL_LIBS})

    add_library(QSMediaLibraryData)
    add_library(QSMediaLibraryData::QSMediaLibraryData ALIAS QSMediaLibraryData)
    target_sources(QSMediaLibraryData PRIVATE $<TARGET_OBJECTS:qsml_objects>
        PUBLIC FILE_SET HEADERS BASE_DIRS ${PROJECT_SOURCE_DIR}/src)
    set_target_properties(QSMediaLibraryData PROPERTIES
        VERSION ${PROJECT_VERSION} SOVERSION ${PROJECT_VERSION_MAJOR} LINKER_LANGUAGE CXX
        VERIFY_INTERFACE_HEADER_SETS ON)
    target_compile_features(QSMediaLibraryData PUBLIC cxx_std_20)
    target_include_directories(QSMediaLibraryData PUBLIC $<BUILD_INTERFACE:${qsml_generated}>
        $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>
        $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}/QSMediaLibraryData>)
    target_link_libraries(QSMediaLibraryData PRIVATE SQLite::SQLite3 Threads::Threads
        ICU::i18n ICU::uc fmt::fmt PkgConfig::libmd PkgConfig::libxxhash
        PkgConfig::libplist ${CMAKE_DL_LIBS})
    # The options themselves, not their target, which would have to be installed with a static library.
    target_link_options(QSMediaLibraryData
        PRIVATE $<TARGET_PROPERTY:qsml_options,INTERFACE_LINK_OPTIONS>)
    if(UNIX AND NOT APPLE AND NOT QSML_SANITIZE)
        # A forgotten library fails here and not in the program of a user.
        target_link_options(QSMediaLibraryData PRIVATE LINKER:-z,defs)
    endif()
endmacro()

# qsml_sources(<name>...): <name>.h is an installed header, <name>.cpp a source of the library.
function(qsml_sources)
    set(headers ${ARGN})
    list(FILTER headers EXCLUDE REGEX "[+]")
    list(TRANSFORM headers APPEND .h)
    list(TRANSFORM ARGN APPEND .cpp OUTPUT_VARIABLE sources)
    target_sources(qsml_objects PRIVATE ${sources})
    target_sources(QSMediaLibraryData PUBLIC FILE_SET HEADERS FILES ${headers})
endfunction()

# qsml_headers(<name>...): <name>.h is an installed header without a source.
function(qsml_headers)
    list(TRANSFORM ARGN APPEND .h OUTPUT_VARIABLE headers)
    target_sources(QSMediaLibraryData PUBLIC FILE_SET HEADERS FILES ${headers})
endfunction()

# qsml_private(<name>...): <name>.cpp is a source whose header, if any, is not installed.
function(qsml_private)
    list(TRANSFORM ARGN APPEND .cpp OUTPUT_VARIABLE sources)
    target_sources(qsml_objects PRIVATE ${sources})
endfunction()

# At full size the crash replay of an import takes a quarter of an hour.
set(qsml_test_seconds 1800)

# qsml_tests(<name>...): <name>_test.cpp goes into the one test program of this folder; may be repeated.
function(qsml_tests)
    if(NOT QSML_BUILD_TESTS)
        return()
    endif()
    cmake_path(GET CMAKE_CURRENT_SOURCE_DIR FILENAME folder)
    list(TRANSFORM ARGN APPEND _test.cpp OUTPUT_VARIABLE sources)
    if(TARGET ${folder}_test)
        target_sources(${folder}_test PRIVATE ${sources})
        return()
    endif()
    add_executable(${folder}_test ${sources})
    target_link_libraries(${folder}_test PRIVATE qsml_testing)
    set_target_properties(${folder}_test PROPERTIES POSITION_INDEPENDENT_CODE OFF)
    target_precompile_headers(${folder}_test REUSE_FROM qsml_testing_precompiled)
    gtest_discover_tests(${folder}_test PROPERTIES LABELS ${folder} TIMEOUT ${qsml_test_seconds} DISCOVERY_TIMEOUT 60
        DISCOVERY_MODE PRE_TEST)
endfunction()

# qsml_alone(<name>...): <name>.cpp is compiled by itself where others are compiled together: its local
# names are also those of a neighbour.
function(qsml_alone)
    list(TRANSFORM ARGN APPEND .cpp OUTPUT_VARIABLE sources)
    set_source_files_properties(${sources} DIRECTORY ${CMAKE_CURRENT_SOURCE_DIR}
        TARGET_DIRECTORY qsml_objects PROPERTIES SKIP_UNITY_BUILD_INCLUSION ON)
endfunction()
