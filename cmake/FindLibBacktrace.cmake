# Finds libbacktrace, which ships inside gcc's private folder: LibBacktrace::LibBacktrace.
#
# clang uses it too, but must not see the rest of that folder (gcc's own stddef.h and intrinsics),
# so the two headers are copied to a place of their own.

if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    set(LibBacktrace_GXX "${CMAKE_CXX_COMPILER}")
else()
    find_program(LibBacktrace_GXX NAMES g++ g++-12)
endif()

foreach(file IN ITEMS libbacktrace.a include/backtrace.h include/backtrace-supported.h)
    string(MAKE_C_IDENTIFIER "LibBacktrace_${file}" found)
    execute_process(COMMAND "${LibBacktrace_GXX}" -print-file-name=${file}
                    OUTPUT_VARIABLE ${found} OUTPUT_STRIP_TRAILING_WHITESPACE)
    if(NOT IS_ABSOLUTE "${${found}}") # g++ answers with the bare name when it has no such file
        set(${found} "")
    endif()
endforeach()

include(FindPackageHandleStandardArgs)
find_package_handle_standard_args(
    LibBacktrace REQUIRED_VARS LibBacktrace_libbacktrace_a LibBacktrace_include_backtrace_h
                               LibBacktrace_include_backtrace_supported_h)

if(LibBacktrace_FOUND AND NOT TARGET LibBacktrace::LibBacktrace)
    set(LibBacktrace_staged "${CMAKE_BINARY_DIR}/libbacktrace/include")
    file(COPY "${LibBacktrace_include_backtrace_h}" "${LibBacktrace_include_backtrace_supported_h}"
         DESTINATION "${LibBacktrace_staged}")
    add_library(LibBacktrace::LibBacktrace STATIC IMPORTED)
    set_target_properties(LibBacktrace::LibBacktrace PROPERTIES
        IMPORTED_LOCATION "${LibBacktrace_libbacktrace_a}"
        INTERFACE_INCLUDE_DIRECTORIES "${LibBacktrace_staged}")
endif()
