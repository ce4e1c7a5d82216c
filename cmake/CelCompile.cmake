# How our own code is compiled. Settings of this file do not reach code that uses the library.

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)

# Programs lie together; the libraries are found through the build rpath, and beside bin/ once installed.
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY "${PROJECT_BINARY_DIR}/bin")
set(CMAKE_LIBRARY_OUTPUT_DIRECTORY "${PROJECT_BINARY_DIR}/lib")
set(CMAKE_ARCHIVE_OUTPUT_DIRECTORY "${PROJECT_BINARY_DIR}/lib")
set(CMAKE_INSTALL_RPATH "$ORIGIN/../${CMAKE_INSTALL_LIBDIR}")

if(PROJECT_IS_TOP_LEVEL AND NOT DEFINED CMAKE_CXX_COMPILER_LAUNCHER)
    find_program(CEL_CCACHE ccache)
    if(CEL_CCACHE)
        # Without these allowances ccache passes over every file that uses a precompiled header.
        set(CMAKE_CXX_COMPILER_LAUNCHER "${CMAKE_COMMAND}" -E env
            CCACHE_SLOPPINESS=pch_defines,time_macros,include_file_mtime,include_file_ctime "${CEL_CCACHE}")
        if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
            add_compile_options($<$<COMPILE_LANGUAGE:CXX>:-fpch-preprocess>)
        elseif(CMAKE_CXX_COMPILER_ID MATCHES "Clang")
            add_compile_options("$<$<COMPILE_LANGUAGE:CXX>:SHELL:-Xclang -fno-pch-timestamp>")
        endif()
    endif()
endif()

# libFuzzer's instrumentation belongs into every object, its main() only into the fuzz targets.
if(CEL_SANITIZE)
    string(REPLACE "fuzzer" "fuzzer-no-link" cel_sanitizers "${CEL_SANITIZE}")
    add_compile_options(-fsanitize=${cel_sanitizers} -fno-sanitize-recover=all -fno-omit-frame-pointer)
    add_link_options(-fsanitize=${cel_sanitizers})
endif()

# cel_own_code(<target>): strict IEEE arithmetic and every warning, as errors when this is the top project.
function(cel_own_code target)
    if(MSVC)
        # 4251, 4275: exported classes hold containers, and both sides are built with the same runtime.
        target_compile_options(${target} PRIVATE /W4 /permissive- /utf-8 /fp:precise /Zc:__cplusplus /wd4251 /wd4275
                                                 $<$<BOOL:${CEL_WARNINGS_AS_ERRORS}>:/WX>)
        return()
    endif()
    # A fused multiply-add rounds once where the written order rounds twice: results would depend on the CPU.
    target_compile_options(
        ${target} PRIVATE -ffp-contract=off -Wall -Wextra -Wconversion -Wshadow -Wpedantic -Wformat=2
                          $<$<BOOL:${CEL_WARNINGS_AS_ERRORS}>:-Werror>)
    # clang counts sign conversions as part of -Wconversion, g++ does not; both shall judge alike.
    if(CMAKE_CXX_COMPILER_ID MATCHES "Clang")
        target_compile_options(${target} PRIVATE -Wno-sign-conversion)
    endif()
endfunction()

# cel_precompile_standard(<target>): reads the much used part of the standard library once for the target.
# The sources name what they use all the same: g++ 12, which then warns of what lies inside the standard
# library, compiles them without this.
function(cel_precompile_standard target)
    if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
        return()
    endif()
    target_precompile_headers(
        ${target}
        PRIVATE
        <algorithm>
        <array>
        <charconv>
        <cmath>
        <cstdint>
        <functional>
        <map>
        <memory>
        <optional>
        <span>
        <string>
        <string_view>
        <utility>
        <vector>)
endfunction()

# cel_program(<target>): what every program needs. Windows has no common operator new: each module
# brings the allocator itself.
function(cel_program target)
    cel_own_code(${target})
    if(WIN32 AND CEL_ALLOCATOR STREQUAL "mimalloc")
        target_sources(${target} PRIVATE $<TARGET_OBJECTS:cel_alloc>)
        target_link_libraries(${target} PRIVATE mimalloc)
    endif()
endfunction()
