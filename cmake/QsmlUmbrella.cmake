# <QSMediaLibraryData/QSMediaLibraryData.h> includes every installed header. It is written from the
# list of headers, so that a new header cannot be forgotten in it.
get_target_property(qsml_headers QSMediaLibraryData HEADER_SET)
set(qsml_umbrella "#pragma once\n\n// Every header of QSMediaLibraryData, written by the build.\n")
foreach(header IN LISTS qsml_headers)
    cmake_path(RELATIVE_PATH header BASE_DIRECTORY ${PROJECT_SOURCE_DIR}/src)
    string(APPEND qsml_umbrella "#include \"QSMediaLibraryData/${header}\"\n")
endforeach()
file(CONFIGURE OUTPUT ${PROJECT_BINARY_DIR}/umbrella/QSMediaLibraryData/QSMediaLibraryData.h
    CONTENT "${qsml_umbrella}" @ONLY)
target_include_directories(QSMediaLibraryData
    PUBLIC $<BUILD_INTERFACE:${PROJECT_BINARY_DIR}/umbrella>)
