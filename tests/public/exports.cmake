# What do the shared libraries export, and what do they need?
find_program(binutils_nm nm)  # CMAKE_NM may be one that does not demangle versioned names
if(CMAKE_CROSSCOMPILING)
    set(binutils_nm ${CMAKE_NM})
endif()
set(reader -DNM=${binutils_nm})
if(WIN32)
    set(reader -DOBJDUMP=${CMAKE_OBJDUMP} -DWITHOUT_CLASSES=ON)
elseif(CMAKE_SIZEOF_VOID_P EQUAL 4)
    list(APPEND reader -DWITHOUT_CLASSES=ON)
endif()
if(binutils_nm)
    set(agreed ${CMAKE_CURRENT_SOURCE_DIR}/exported_symbols.txt)
    set(compare_exports ${CMAKE_COMMAND} ${reader} -DLIBRARY=$<TARGET_FILE:coreMD>)
    set(compare_script -P ${CMAKE_CURRENT_SOURCE_DIR}/compare_exports.cmake)
    add_test(NAME public.exported_symbols COMMAND ${compare_exports} -DEXPECTED=${agreed} ${compare_script})

    add_test(NAME public.exported_host_symbols
             COMMAND ${CMAKE_COMMAND} ${reader} -DLIBRARY=$<TARGET_FILE:coreMD_host>
                     -DEXPECTED=${CMAKE_CURRENT_SOURCE_DIR}/exported_host_symbols.txt ${compare_script})

endif()

if(binutils_nm AND NOT CMAKE_CROSSCOMPILING)
    # The comparison notices a symbol too few and one too many: against lists with h10 for h11, and without h36.
    set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${agreed})
    file(READ ${agreed} symbols)
    string(REPLACE "h11\n" "h10\n" other_symbols "${symbols}")
    string(REPLACE "h36\n" "" fewer_symbols "${symbols}")
    file(WRITE ${CMAKE_CURRENT_BINARY_DIR}/other_symbols.txt "${other_symbols}")
    file(WRITE ${CMAKE_CURRENT_BINARY_DIR}/fewer_symbols.txt "${fewer_symbols}")
    add_test(NAME public.missing_symbol_is_noticed
             COMMAND ${compare_exports} -DEXPECTED=${CMAKE_CURRENT_BINARY_DIR}/other_symbols.txt ${compare_script})
    add_test(NAME public.additional_symbol_is_noticed
             COMMAND ${compare_exports} -DEXPECTED=${CMAKE_CURRENT_BINARY_DIR}/fewer_symbols.txt ${compare_script})
    add_test(NAME public.class_in_another_node_is_noticed
             COMMAND ${compare_exports} -DEXPECTED=${agreed} -DCLASSES_NODE=COREMD_1 ${compare_script})
    set_tests_properties(public.class_in_another_node_is_noticed PROPERTIES
                         PASS_REGULAR_EXPRESSION "exported, but not agreed: GetDetector.void...@@COREMD_CLASSES")
    set_tests_properties(public.missing_symbol_is_noticed PROPERTIES
                         PASS_REGULAR_EXPRESSION "agreed, but not exported: h10")
    set_tests_properties(public.additional_symbol_is_noticed PROPERTIES
                         PASS_REGULAR_EXPRESSION "exported, but not agreed: h36")
endif()

if(NOT COREMD_SANITIZE AND NOT WIN32)  # sanitizers need libraries of their own
    set(compare_dependencies ${CMAKE_COMMAND} -DREADELF=${CMAKE_READELF})
    set(compare_script -P ${CMAKE_CURRENT_SOURCE_DIR}/compare_dependencies.cmake)
    add_test(NAME public.dependencies
             COMMAND ${compare_dependencies} -DLIBRARY=$<TARGET_FILE:coreMD> -DNAME=libcoreMD ${compare_script})
    add_test(NAME public.host_dependencies
             COMMAND ${compare_dependencies} -DLIBRARY=$<TARGET_FILE:coreMD_host> -DNAME=libcoreMD-host ${compare_script})
endif()
