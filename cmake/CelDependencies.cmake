# The libraries of others. Only the source that needs one includes its header.
#
#   cel_json  cel_utf8  cel_spdlog  cel_cli  and the targets of SQLite, Fontconfig and LibBacktrace
#
# CEL_HOST_LIBRARIES  what the host is linked with, also by users of the static library
# CEL_HOST_HEADERS    what the embedded host compiles with, of no interest to anybody else

find_package(Threads REQUIRED)
if(CEL_ALLOCATOR STREQUAL "mimalloc")
    find_package(mimalloc REQUIRED)
    if(WIN32)
        # Programs find it beside them.
        get_target_property(mimalloc_dll mimalloc IMPORTED_LOCATION_RELEASE)
        file(COPY "${mimalloc_dll}" DESTINATION "${CMAKE_RUNTIME_OUTPUT_DIRECTORY}")
    endif()
endif()

add_library(cel_json INTERFACE)
find_package(nlohmann_json REQUIRED)
target_link_libraries(cel_json INTERFACE nlohmann_json::nlohmann_json)

if(CEL_BUILD_TOOLS)
    add_library(cel_cli INTERFACE)
    find_package(CLI11 REQUIRED)
    target_link_libraries(cel_cli INTERFACE CLI11::CLI11)
endif()

if(CEL_PLATFORM STREQUAL "external")
    set(CEL_HOST_LIBRARIES Threads::Threads ${CEL_PLATFORM_LIBRARIES})
    set(CEL_HOST_HEADERS)
    return()
endif()

add_library(cel_utf8 INTERFACE)
find_package(utf8cpp REQUIRED)
target_link_libraries(cel_utf8 INTERFACE utf8cpp)

# Header-only, so that no second copy of either library reaches the editor that loads us.
add_library(cel_spdlog INTERFACE)
find_package(fmt REQUIRED)
find_path(CEL_SPDLOG_INCLUDE_DIR spdlog/spdlog.h REQUIRED)
target_include_directories(cel_spdlog SYSTEM INTERFACE "${CEL_SPDLOG_INCLUDE_DIR}")
target_compile_definitions(cel_spdlog INTERFACE SPDLOG_FMT_EXTERNAL)
target_link_libraries(cel_spdlog INTERFACE fmt::fmt-header-only)

find_package(SQLite3 REQUIRED)

set(CEL_HOST_HEADERS cel_json cel_utf8 cel_spdlog)
if(WIN32)
    set(CEL_HOST_LIBRARIES SQLite::SQLite3 Threads::Threads dbghelp)
    return()
endif()

find_package(Fontconfig REQUIRED)

find_package(LibBacktrace REQUIRED)

set(CEL_HOST_LIBRARIES SQLite::SQLite3 Fontconfig::Fontconfig LibBacktrace::LibBacktrace
                       Threads::Threads ${CMAKE_DL_LIBS})
