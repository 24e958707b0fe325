# Does a program print what is expected, nothing else, and succeed?
# cmake -DPROGRAM= [-DEMULATOR=] -DEXPECTED= -P compare_output.cmake
# EXPECTED is a file; a "|" stands between the words of the emulator.
cmake_minimum_required(VERSION 3.25)
string(REPLACE "|" ";" EMULATOR "${EMULATOR}")
execute_process(COMMAND ${EMULATOR} ${PROGRAM} OUTPUT_VARIABLE output ERROR_VARIABLE errors RESULT_VARIABLE status)
file(READ ${EXPECTED} expected)
string(REPLACE "\r\n" "\n" output "${output}")    # Windows ends lines so
if(NOT status STREQUAL "0")
    message(SEND_ERROR "exit status ${status}")
endif()
if(NOT output STREQUAL expected)
    message(SEND_ERROR "printed \"${output}\"")
endif()
if(NOT errors STREQUAL "")
    message(SEND_ERROR "complained: ${errors}")
endif()
