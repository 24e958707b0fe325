# How is the library built for 64-bit Windows, and what runs it here?
# Debian: g++-mingw-w64-x86-64-posix wine64
# The compiler with POSIX threads: the other one has no std::thread. Its libraries are linked into what is built.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR AMD64)
set(CMAKE_C_COMPILER x86_64-w64-mingw32-gcc-posix)
set(CMAKE_CXX_COMPILER x86_64-w64-mingw32-g++-posix)
set(CMAKE_RC_COMPILER x86_64-w64-mingw32-windres)
set(CMAKE_EXE_LINKER_FLAGS_INIT -static)
set(CMAKE_SHARED_LINKER_FLAGS_INIT -static)
set(CMAKE_CROSSCOMPILING_EMULATOR env WINEDEBUG=-all wine)
include(${CMAKE_CURRENT_LIST_DIR}/foreign.cmake)
