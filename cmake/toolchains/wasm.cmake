# How is the library built for browsers, and what runs it here?
# Debian: emscripten nodejs
# Emscripten describes itself to CMake; archives only, for a module of WebAssembly is linked as a whole.
if(NOT EMSCRIPTEN_ROOT_PATH)
    set(EMSCRIPTEN_ROOT_PATH /usr/share/emscripten)
endif()
include(${EMSCRIPTEN_ROOT_PATH}/cmake/Modules/Platform/Emscripten.cmake)
# Emscripten catches no exceptions unless told to.
set(CMAKE_C_FLAGS_INIT -fwasm-exceptions)
set(CMAKE_CXX_FLAGS_INIT -fwasm-exceptions)
# Linked quickly, and without the modules of Node that shrink scripts: who ships a page asks for -O3 after this.
set(CMAKE_EXE_LINKER_FLAGS_INIT -O1)
# Node's own way to fetch knows no files, of which Emscripten's programs are made.
set(CMAKE_CROSSCOMPILING_EMULATOR node --no-experimental-fetch)
