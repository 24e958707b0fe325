# Are the numbered functions called where their numbers belong only?  Everything else says what it means, with coreMD.hpp.
# cmake -DSOURCE= -P numbered_functions.cmake
cmake_minimum_required(VERSION 3.25)
file(GLOB_RECURSE sources RELATIVE ${SOURCE} ${SOURCE}/tools/* ${SOURCE}/host/* ${SOURCE}/bench/* ${SOURCE}/examples/* ${SOURCE}/src/*)
list(FILTER sources INCLUDE REGEX "\\.(c|h|cpp|hpp)$")
list(FILTER sources EXCLUDE REGEX "^src/core/coreMD\\.cpp$|^examples/.*\\.c$")
list(LENGTH sources count)
if(count LESS 50)
    message(SEND_ERROR "only ${count} sources found")
endif()
foreach(source IN LISTS sources)
    file(STRINGS ${SOURCE}/${source} calls REGEX "(^|[^A-Za-z0-9_])h(1[1-9]|20|3[3-6]) *\\(")
    if(calls)
        message(SEND_ERROR "${source}: ${calls}")
    endif()
endforeach()

# The face calls each of them.
file(READ ${SOURCE}/include/coreMD.hpp face)
foreach(number 11 12 13 14 15 16 17 18 19 20 33 34 35 36)
    if(NOT face MATCHES "[^A-Za-z0-9_]h${number}\\(")
        message(SEND_ERROR "coreMD.hpp has no name for h${number}")
    endif()
endforeach()
