# The libraries of others, one target each; only the source that needs one includes its header.
#
#   cel_json  cel_utf8  cel_spdlog  cel_sqlite  cel_fontconfig  cel_backtrace  cel_cli
#
# cel_platform_libraries gathers what the embedded host links, or names the libraries of another host.

find_package(Threads REQUIRED)
add_library(cel_platform_libraries INTERFACE)

if(CEL_ALLOCATOR STREQUAL "mimalloc")
    find_package(mimalloc REQUIRED)
endif()

if(CEL_PLATFORM STREQUAL "external")
    target_link_libraries(cel_platform_libraries INTERFACE Threads::Threads ${CEL_PLATFORM_LIBRARIES})
else()
    add_library(cel_json INTERFACE)
    find_package(nlohmann_json REQUIRED)
    target_link_libraries(cel_json INTERFACE nlohmann_json::nlohmann_json)

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

    add_library(cel_sqlite INTERFACE)
    find_package(SQLite3 REQUIRED)
    target_link_libraries(cel_sqlite INTERFACE SQLite::SQLite3)

    target_link_libraries(cel_platform_libraries INTERFACE cel_json cel_utf8 cel_spdlog cel_sqlite
                                                           Threads::Threads)
    if(WIN32)
        target_link_libraries(cel_platform_libraries INTERFACE dbghelp)
    else()
        add_library(cel_fontconfig INTERFACE)
        find_package(Fontconfig REQUIRED)
        target_link_libraries(cel_fontconfig INTERFACE Fontconfig::Fontconfig)

        add_library(cel_backtrace INTERFACE)
        find_package(LibBacktrace REQUIRED)
        target_link_libraries(cel_backtrace INTERFACE LibBacktrace::LibBacktrace)

        target_link_libraries(cel_platform_libraries INTERFACE cel_fontconfig cel_backtrace ${CMAKE_DL_LIBS})
    endif()
endif()

if(CEL_BUILD_TOOLS)
    add_library(cel_cli INTERFACE)
    find_package(CLI11 REQUIRED)
    target_link_libraries(cel_cli INTERFACE CLI11::CLI11)
endif()
