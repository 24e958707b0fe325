# Of several Pythons, the distribution's: NumPy, GObject and other modules of its packages are there, whatever else comes
# first on PATH. Included before find_package(Python3), unless somebody has named another one.
if(NOT Python3_EXECUTABLE AND EXISTS /usr/bin/python3)
    set(Python3_EXECUTABLE /usr/bin/python3)
endif()
