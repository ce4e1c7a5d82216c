# Runs the program itself on several scripts at once: each must find a process as it was at the
# start, the output must come in their order, and the worst exit code must win.

file(MAKE_DIRECTORY "${WORK}")
set(section "[\"append\", \"a\", [86, 1, 0, 0], 0, 1, 0]")
set(pack_four_events "[\"cel\", \"a\", 1]\n${section}\n${section}\n[\"pack\", \"a\"]\n")
file(WRITE "${WORK}/first.jsonl" "[\"defaultVersion\", 1]\n${pack_four_events}")
file(WRITE "${WORK}/broken.jsonl" "[\"num\", \"resRound\", 3, 2]\n[\"fly\"]\n[\"cel\", \"a\", 1]\n")
file(WRITE "${WORK}/last.jsonl" "${pack_four_events}")

# expect(<code> <output> <errors> <argument>...)
function(expect code output errors)
    execute_process(COMMAND ${TOOL} replay ${ARGN} WORKING_DIRECTORY "${WORK}"
                    INPUT_FILE "${WORK}/last.jsonl" RESULT_VARIABLE actual_code
                    OUTPUT_VARIABLE actual_output ERROR_VARIABLE actual_errors)
    foreach(part IN ITEMS code output errors)
        if(NOT "${${part}}" STREQUAL "${actual_${part}}")
            message(SEND_ERROR "replay ${ARGN}: ${part} is\n${actual_${part}}\nand not\n${${part}}")
        endif()
    endforeach()
endfunction()

set(appended "append a 0\nappend a 2\n")
expect(0 "${appended}pack a 3\n" "")
expect(0 "${appended}pack a 4\n${appended}pack a 3\n" "" first.jsonl last.jsonl)
expect(2 "${appended}pack a 4\nnum 2\n${appended}pack a 3\n"
       "broken.jsonl:2: unknown operation \"fly\"\n" first.jsonl broken.jsonl last.jsonl)
expect(3 "num 2\n" "missing.jsonl: cannot be opened\nbroken.jsonl:2: unknown operation \"fly\"\n"
       missing.jsonl broken.jsonl)
