# `cmake --build build/release --target docs`: the public headers as pages, where Doxygen is there.
find_package(Doxygen QUIET)
if(DOXYGEN_FOUND)
    configure_file(${PROJECT_SOURCE_DIR}/Doxyfile.in ${PROJECT_BINARY_DIR}/Doxyfile @ONLY)
    add_custom_target(docs
        COMMAND ${DOXYGEN_EXECUTABLE} ${PROJECT_BINARY_DIR}/Doxyfile
        WORKING_DIRECTORY ${PROJECT_SOURCE_DIR}
        COMMENT "Writing ${PROJECT_BINARY_DIR}/docs/html/index.html" VERBATIM)
endif()
