cmake_minimum_required(VERSION 3.22)

# Compares what the shared library exports with the reviewed list: a name of the list stands for a
# class with all its members, for a function or for data. Nothing else may be seen from outside.
#
#   -DLIBRARY=...  libcel.so, or the import library of cel.dll
#   -DLIST=...     one name a line; "elf NAME" where only ELF knows it; # begins a comment
#   -DNM=...  -DDEMANGLER=...

if(LIBRARY MATCHES "\\.dll\\.a$")
    set(system windows)
    set(options --defined-only)
else()
    set(system elf)
    set(options --dynamic --defined-only)
endif()
execute_process(COMMAND "${NM}" --format=posix ${options} "${LIBRARY}" COMMAND sed -nE "s/^([^ @:]+).* [TDBRVWu] .*/\\1/p"
                COMMAND "${DEMANGLER}" --no-params COMMAND sort -u OUTPUT_VARIABLE text
                COMMAND_ERROR_IS_FATAL ANY)
# Brackets and semicolons would let CMake take several lines for one.
string(REPLACE "[abi:cxx11]" "" text "${text}")
string(REPLACE "[]" "<>" text "${text}")
string(STRIP "${text}" text)
string(REPLACE "\n" ";" symbols "${text}")

file(STRINGS "${LIST}" lines ENCODING UTF-8)
set(allowed)
foreach(line IN LISTS lines)
    string(REGEX REPLACE "#.*" "" line "${line}")
    string(STRIP "${line}" line)
    string(REPLACE "[]" "<>" line "${line}")
    if(line MATCHES "^elf (.*)")
        set(line)
        if(system STREQUAL "elf")
            set(line "${CMAKE_MATCH_1}")
        endif()
    endif()
    if(line)
        list(APPEND allowed "${line}")
    endif()
endforeach()

set(seen)
foreach(symbol IN LISTS symbols)
    # What the compiler makes of the standard library's templates may be found in any library.
    if(symbol MATCHES "^(.* for |.* )?(std|__gnu_cxx)::" OR symbol MATCHES "^(_head_|_nm_|__imp_|_?cel_dll_|.*_iname$)")
        continue()
    endif()
    string(REGEX REPLACE "^((vtable|typeinfo|typeinfo name|VTT|guard variable) for|(non-)?virtual thunk to) " ""
           name "${symbol}")
    set(covered FALSE)
    set(outer "${name}")
    while(NOT covered)
        if(outer IN_LIST allowed)
            list(APPEND seen "${outer}")
            set(covered TRUE)
        elseif(outer MATCHES "^(.*)::[^:]*$")
            set(outer "${CMAKE_MATCH_1}")
        else()
            break()
        endif()
    endwhile()
    if(NOT covered)
        message(SEND_ERROR "exported, but not in the reviewed list: ${symbol}")
    endif()
endforeach()

list(REMOVE_ITEM allowed ${seen})
foreach(name IN LISTS allowed)
    message(SEND_ERROR "in the reviewed list, but not exported: ${name}")
endforeach()
