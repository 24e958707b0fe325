# add_shared_library(<target> <objects> <map>): a shared library of these objects that exports what the map names. To the
# linker of Windows it is told as a list of the C functions: their names are the same everywhere, C++ classes stay in the
# archive, <target>_static. Where there are no shared libraries, as in WebAssembly, the target is that archive.
function(add_shared_library target objects map)
    get_property(has_shared_libraries GLOBAL PROPERTY TARGET_SUPPORTS_SHARED_LIBS)
    if(NOT has_shared_libraries)
        add_library(${target} INTERFACE)
        target_link_libraries(${target} INTERFACE ${target}_static)
        return()
    endif()
    if(WIN32)
        write_module_definition(${map} ${CMAKE_CURRENT_BINARY_DIR}/${target}.def)
        add_library(${target} SHARED $<TARGET_OBJECTS:${objects}> ${CMAKE_CURRENT_BINARY_DIR}/${target}.def)
        set_target_properties(${target} PROPERTIES PREFIX "")   # coreMD.dll; its import library is libcoreMD.dll.a
    else()
        add_library(${target} SHARED $<TARGET_OBJECTS:${objects}>)
        target_link_options(${target} PRIVATE -Wl,--version-script=${map})
        set_target_properties(${target} PROPERTIES LINK_DEPENDS ${map})
    endif()
    target_link_libraries(${target} PRIVATE $<BUILD_INTERFACE:coreMD_rules>)
    set_target_properties(${target} PROPERTIES VERSION ${PROJECT_VERSION} SOVERSION ${PROJECT_VERSION_MAJOR})
endfunction()

# The names of all nodes, without those of C++.
function(write_module_definition map definition)
    set_property(DIRECTORY ${PROJECT_SOURCE_DIR} APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${map})
    file(READ ${map} text)
    string(REGEX REPLACE "#[^\n]*" "" text "${text}")
    string(REGEX REPLACE "extern \"C\\+\\+\" {[^}]*}" "" text "${text}")
    string(REGEX REPLACE "}[^;]*;" "" text "${text}")
    string(REPLACE ";" "\n" text "${text}")         # a semicolon would begin another member of a list
    string(REGEX MATCHALL "[A-Za-z_0-9]+\n" names "${text}")
    list(JOIN names "    " names)
    file(CONFIGURE OUTPUT ${definition} CONTENT "EXPORTS\n    ${names}")
endfunction()
