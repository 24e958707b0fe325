# How is the library built for 32-bit x86, and what runs it here?
# Debian: g++-i686-linux-gnu qemu-user
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR i686)
set(CMAKE_C_COMPILER i686-linux-gnu-gcc)
set(CMAKE_CXX_COMPILER i686-linux-gnu-g++)
set(CMAKE_CROSSCOMPILING_EMULATOR qemu-i386 -L /usr/i686-linux-gnu)
include(${CMAKE_CURRENT_LIST_DIR}/foreign.cmake)
