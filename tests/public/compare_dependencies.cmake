# Does the library bear its name, call its own functions, and need the language's own libraries only?
# cmake -DREADELF= -DLIBRARY= -DNAME= -P compare_dependencies.cmake
cmake_minimum_required(VERSION 3.25)
set(allowed "^(libstdc\\+\\+|libm|libgcc_s|libc|ld-linux(-[-a-z0-9]+)?|ld64)\\.so\\.[0-9]+$")

execute_process(COMMAND ${READELF} -dW ${LIBRARY} OUTPUT_VARIABLE entries COMMAND_ERROR_IS_FATAL ANY)
string(REPLACE "[" "<" entries "${entries}")  # brackets have a meaning in lists
string(REPLACE "]" ">" entries "${entries}")

string(REGEX MATCHALL "\\(SONAME\\)[^\n]*<[^>]*>" names "${entries}")
if(NOT names MATCHES "^\\(SONAME\\)[^\n]*<${NAME}\\.so\\.1>$")
    message(SEND_ERROR "the library's name is not ${NAME}.so.1: ${names}")
endif()

string(REGEX MATCHALL "\\(NEEDED\\)[^\n]*<[^>]*>" needs "${entries}")
if(NOT needs)
    message(SEND_ERROR "no needed library found: is this a shared library?")
endif()
foreach(need IN LISTS needs)
    string(REGEX REPLACE ".*<(.*)>" "\\1" library "${need}")
    if(NOT library MATCHES "${allowed}")
        message(SEND_ERROR "needs a library that hosts may not have: ${library}")
    endif()
endforeach()

# A call by way of the table of procedures takes the first class of that name in the process: perhaps another version's.
execute_process(COMMAND ${READELF} -rW ${LIBRARY} OUTPUT_VARIABLE relocations COMMAND_ERROR_IS_FATAL ANY)
if(NOT relocations MATCHES "JU?MP_SLO")
    message(SEND_ERROR "no calls into other libraries found: are these relocations?")
endif()
string(REGEX MATCHALL "JU?MP_SLO[^\n]*@COREMD_[^\n]*" calls "${relocations}")
foreach(call IN LISTS calls)
    message(SEND_ERROR "may call another library's function: ${call}")
endforeach()
