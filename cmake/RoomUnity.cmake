# compile_rooms_together(<target>): one compilation for all sources of a room. Most of the time to compile a source goes into
# the headers that its whole room includes. COREMD_UNITY=OFF compiles every source by itself, as clang-tidy does.
add_library(coreMD_unity_rules INTERFACE)
target_compile_options(coreMD_unity_rules INTERFACE -Wno-shadow)   # of names in a source that includes nothing of the other

function(compile_rooms_together target)
    if(NOT COREMD_UNITY)
        return()
    endif()
    get_target_property(sources ${target} SOURCES)
    foreach(source IN LISTS sources)
        cmake_path(GET source PARENT_PATH room)
        if(IS_ABSOLUTE "${room}")     # generated: its name, told by debug information, must not tell where
            cmake_path(RELATIVE_PATH room BASE_DIRECTORY ${PROJECT_BINARY_DIR} OUTPUT_VARIABLE room)
            string(PREPEND room "generated_")
        endif()
        string(MAKE_C_IDENTIFIER "room_${room}" group)
        set_source_files_properties(${source} PROPERTIES UNITY_GROUP ${group})
    endforeach()
    set_target_properties(${target} PROPERTIES UNITY_BUILD ON UNITY_BUILD_MODE GROUP)
    target_link_libraries(${target} PRIVATE coreMD_unity_rules)
endfunction()
