# cmake --install: libraries, headers, the tool, and a package for find_package(cel).

include(CMakePackageConfigHelpers)

set(package_dir "${CMAKE_INSTALL_LIBDIR}/cmake/cel")
set(header_dir "${CMAKE_INSTALL_INCLUDEDIR}/cel")

set_target_properties(cel_headers PROPERTIES EXPORT_NAME headers)
install(TARGETS cel_headers cel cel_static EXPORT cel)
if(TARGET cel_interchange)
    install(TARGETS cel_interchange EXPORT cel)
    install(DIRECTORY interchange DESTINATION "${header_dir}" FILES_MATCHING PATTERN "*.h"
            PATTERN detail EXCLUDE)
endif()
if(TARGET cel_tool)
    install(TARGETS cel_tool)
endif()

# What lies in detail/ may change with every version.
install(DIRECTORY cel tracks subtitles DESTINATION "${header_dir}" FILES_MATCHING PATTERN "*.h"
        PATTERN detail EXCLUDE)
install(DIRECTORY platform DESTINATION "${header_dir}" FILES_MATCHING PATTERN "*.h"
        PATTERN embedded EXCLUDE)

configure_package_config_file(cmake/celConfig.cmake.in celConfig.cmake INSTALL_DESTINATION "${package_dir}")
write_basic_package_version_file(celConfigVersion.cmake COMPATIBILITY SameMinorVersion)
install(EXPORT cel NAMESPACE cel:: FILE celTargets.cmake DESTINATION "${package_dir}")
install(FILES "${CMAKE_CURRENT_BINARY_DIR}/celConfig.cmake" "${CMAKE_CURRENT_BINARY_DIR}/celConfigVersion.cmake"
              cmake/FindLibBacktrace.cmake
        DESTINATION "${package_dir}")
