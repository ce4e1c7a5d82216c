# cel_host_check compiles cel/, tracks/ and subtitles/ with nothing on the include path but the declarations that
# every host provides. It fails as soon as the library leans on the embedded host.

set(stage "${PROJECT_BINARY_DIR}/host-check")
file(GLOB declarations CONFIGURE_DEPENDS RELATIVE "${PROJECT_SOURCE_DIR}" "${PROJECT_SOURCE_DIR}/platform/*")
list(REMOVE_ITEM declarations platform/embedded platform/CMakeLists.txt)
file(REMOVE_RECURSE "${stage}")
file(MAKE_DIRECTORY "${stage}/platform")
foreach(path IN ITEMS cel tracks subtitles ${declarations})
    file(CREATE_LINK "${PROJECT_SOURCE_DIR}/${path}" "${stage}/${path}" COPY_ON_ERROR SYMBOLIC)
endforeach()

get_target_property(sources cel_core SOURCES)
list(FILTER sources INCLUDE REGEX "^${PROJECT_SOURCE_DIR}/(cel|tracks|subtitles)/")
add_library(cel_host_check OBJECT EXCLUDE_FROM_ALL ${sources})
cel_own_code(cel_host_check)
target_compile_options(cel_host_check PRIVATE $<$<NOT:$<BOOL:${MSVC}>>:-O0>)
target_compile_definitions(cel_host_check PRIVATE CEL_BUILDING CEL_PLATFORM_EXTERNAL)
target_include_directories(cel_host_check PRIVATE "${stage}")
