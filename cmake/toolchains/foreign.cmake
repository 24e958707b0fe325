# What holds for every other machine?  Programs are this machine's, libraries and headers the other one's.
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
if(NOT CMAKE_FIND_ROOT_PATH)
    string(REGEX REPLACE "-gcc.*$" "" coreMD_triple ${CMAKE_C_COMPILER})
    set(CMAKE_FIND_ROOT_PATH /usr/${coreMD_triple})
endif()
