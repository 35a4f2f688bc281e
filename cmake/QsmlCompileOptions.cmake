# qsml_options: warnings, hardening and sanitizers of everything that we compile ourselves.
# They are never part of the installed package: our compiler is not the user's.
add_library(qsml_options INTERFACE)
target_compile_options(qsml_options INTERFACE
    -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wsign-conversion -Wnon-virtual-dtor
    -Wold-style-cast -Woverloaded-virtual -Wcast-align -Wnull-dereference -Wimplicit-fallthrough
    -fstack-protector-strong)
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    # GCC 12 reports overlapping copies inside std::string where there are none (its bug 105329).
    target_compile_options(qsml_options INTERFACE -Wno-restrict)
    # It compiles a tenth faster when it may take half a gigabyte before it tidies up.
    target_compile_options(qsml_options INTERFACE
        "SHELL:--param ggc-min-heapsize=524288" "SHELL:--param ggc-min-expand=100")
endif()
if(CMAKE_UNITY_BUILD AND CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    # It takes a source that is compiled together with others for a header with local types.
    target_compile_options(qsml_options INTERFACE -Wno-subobject-linkage)
endif()
if(QSML_WARNINGS_AS_ERRORS)
    target_compile_options(qsml_options INTERFACE -Werror)
endif()
target_compile_definitions(qsml_options INTERFACE
    $<$<NOT:$<CONFIG:Debug>>:_GLIBCXX_ASSERTIONS>)
if(QSML_SANITIZE)
    target_compile_options(qsml_options INTERFACE
        -fsanitize=${QSML_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all)
    target_link_options(qsml_options INTERFACE -fsanitize=${QSML_SANITIZE})
    if(QSML_SANITIZE MATCHES thread AND CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
        # With its calls in between GCC 12 loses track of what std::optional holds. The builds
        # without it keep the warning.
        target_compile_options(qsml_options INTERFACE -Wno-maybe-uninitialized)
    endif()
else()
    target_compile_definitions(qsml_options INTERFACE $<$<CONFIG:Release,RelWithDebInfo>:_FORTIFY_SOURCE=2>)
endif()
if(UNIX AND NOT APPLE)
    target_link_options(qsml_options INTERFACE -Wl,-z,relro,-z,now)
endif()
