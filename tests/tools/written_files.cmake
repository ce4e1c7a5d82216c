# Files are the same wherever they are written: the tool of this system reads what the others wrote,
# and writes the same bytes.
#
#   -DTOOL=...  the tool, behind what starts it
#   -DFILES=... the files that each system reads and must write alike
#   -DWORK=...  a folder of our own

file(REMOVE_RECURSE "${WORK}")
file(COPY "${FILES}/" DESTINATION "${WORK}")

function(run)
    execute_process(COMMAND ${TOOL} ${ARGN} WORKING_DIRECTORY "${WORK}" RESULT_VARIABLE code
                    OUTPUT_VARIABLE output ERROR_VARIABLE output)
    if(NOT code EQUAL 0)
        message(SEND_ERROR "cel ${ARGN} ended with ${code}: ${output}")
    endif()
endfunction()

# same(<written> <expected>)
function(same written expected)
    file(SHA256 "${WORK}/${written}" actual)
    file(SHA256 "${WORK}/${expected}" wanted)
    if(NOT actual STREQUAL wanted)
        message(SEND_ERROR "${written} is not, byte for byte, ${expected}")
    endif()
endfunction()

# A store's bytes depend on when its pages were written, so its content is compared as a stream.
file(GLOB stores RELATIVE "${WORK}" "${WORK}/*.celdb")
list(LENGTH stores count)
if(count LESS 2)
    message(FATAL_ERROR "only ${count} stores in ${FILES}")
endif()
run(export crossing.cel own.celdb)
foreach(store IN LISTS stores ITEMS own.celdb)
    run(export ${store} from_${store}.cel)
    same(from_${store}.cel crossing.cel)
endforeach()

foreach(list IN ITEMS edl txt)
    run(export crossing.cel V1 A1 own.${list})
    same(own.${list} crossing.${list})
endforeach()
foreach(titles IN ITEMS srt vtt)
    run(export crossing.cel S1 own.${titles})
    same(own.${titles} crossing.${titles})
endforeach()
run(levels crossing.cel A1 show --svg own.svg)
same(own.svg crossing.svg)
