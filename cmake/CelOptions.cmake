# Refuses option values that would build something else than was asked for.

foreach(name IN ITEMS CEL_PLATFORM CEL_ALLOCATOR)
    get_property(choices CACHE ${name} PROPERTY STRINGS)
    if(NOT ${name} IN_LIST choices)
        message(FATAL_ERROR "${name} is \"${${name}}\"; it must be one of: ${choices}")
    endif()
endforeach()

# With mimalloc's operators linked, the sanitizers no longer see the heap and report nothing.
if(CEL_SANITIZE AND CEL_ALLOCATOR STREQUAL "mimalloc")
    message(STATUS "CEL_SANITIZE is set: CEL_ALLOCATOR becomes system")
    set(CEL_ALLOCATOR system)
endif()

if(CEL_BUILD_FUZZ AND NOT CMAKE_CXX_COMPILER_ID MATCHES "Clang")
    message(FATAL_ERROR "CEL_BUILD_FUZZ needs clang: the fuzz targets are built on its libFuzzer")
endif()

if(CEL_PLATFORM STREQUAL "external" AND NOT CEL_PLATFORM_INCLUDE_DIRS)
    message(FATAL_ERROR "CEL_PLATFORM=external needs CEL_PLATFORM_INCLUDE_DIRS")
endif()

if(PROJECT_IS_TOP_LEVEL AND NOT CMAKE_BUILD_TYPE AND NOT CMAKE_CONFIGURATION_TYPES)
    set(CMAKE_BUILD_TYPE Release CACHE STRING "Kind of build" FORCE)
endif()
