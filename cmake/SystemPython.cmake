# Of several Pythons, the distribution's: NumPy, GObject and other modules of its packages are there, whatever else comes
# first on PATH. Included before find_package(Python3), unless somebody has named another one.
if(NOT Python3_EXECUTABLE AND EXISTS /usr/bin/python3)
    set(Python3_EXECUTABLE /usr/bin/python3)
endif()

# Environment of tests in which it loads what was built here. It was built without sanitizers itself, so it has to load their
# runtime before all else, the C++ library for that one's sake; and leaks are its own way to end.
set(COREMD_PYTHON_ENVIRONMENT PYTHONDONTWRITEBYTECODE=1)
if(COREMD_SANITIZE MATCHES "address")
    foreach(library libasan.so libstdc++.so)
        execute_process(COMMAND ${CMAKE_CXX_COMPILER} -print-file-name=${library}
            OUTPUT_VARIABLE file OUTPUT_STRIP_TRAILING_WHITESPACE)
        list(APPEND preloaded ${file})
    endforeach()
    list(JOIN preloaded ":" preloaded)
    list(APPEND COREMD_PYTHON_ENVIRONMENT LD_PRELOAD=${preloaded} PYTHONMALLOC=malloc ASAN_OPTIONS=detect_leaks=0)
endif()
