# Has gdb show the objects of printers.cpp or the expressions in the comments of views.cpp (`source`) in `program`
# through `printers`, and compares each with what the source says after //=.
file(STRINGS ${source} lines REGEX "^ .* //= ")
set(commands -ex "set disable-randomization off" -ex "set confirm off" -ex "set may-call-functions off"
    -ex "source ${printers}" -ex "break stop_here" -ex run -ex up)
set(expected "")
foreach(line IN LISTS lines)
    if(line MATCHES "^ +// (.*[^ ]) +//= (.+)$")
    elseif(NOT line MATCHES "^ +[A-Za-z0-9 ]*[A-Za-z0-9] ([a-z_]+)[ ;=({].* ?//= (.+)$")
        message(FATAL_ERROR "no object in: ${line}")
    endif()
    list(APPEND commands -ex "output ${CMAKE_MATCH_1}" -ex "echo \\n")
    string(APPEND expected "${CMAKE_MATCH_2}\n")
endforeach()
execute_process(COMMAND ${gdb} -nx -batch ${commands} ${program}
    RESULT_VARIABLE status OUTPUT_VARIABLE output ERROR_VARIABLE error)
string(FIND "${output}" "${expected}" found)
if(NOT status EQUAL 0 OR expected STREQUAL "" OR found EQUAL -1)
    message(FATAL_ERROR "gdb ended with ${status} and said\n${output}${error}\nwhich does not contain\n${expected}")
endif()
