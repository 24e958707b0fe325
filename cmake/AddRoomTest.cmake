# add_room_test(<Name> <library>...): one GoogleTest program from <Name>.cpp, registered with ctest.
# add_room_tests(<program> <Name>... LIBRARIES <library>... [APART]): one from all of them, each with ctest.

# In the tests themselves addresses are checked by AddressSanitizer alone: three checks of every pointer would take a third
# of the time to compile them. What is tested keeps them.
add_library(coreMD_test_rules INTERFACE)
target_link_libraries(coreMD_test_rules INTERFACE coreMD_light_rules)
if(COREMD_SANITIZE MATCHES undefined)
    target_compile_options(coreMD_test_rules INTERFACE -fno-sanitize=null,alignment,vptr)
endif()

# Most of the time to build a test goes into headers and into code that runs once. So the headers that every test includes
# are compiled once, and tests are hardly optimised; what they test is, as everywhere.
add_executable(coreMD_testheaders EXCLUDE_FROM_ALL ${CMAKE_CURRENT_LIST_DIR}/testheaders.cpp)
target_link_libraries(coreMD_testheaders PRIVATE coreMD_rules coreMD_test_rules GTest::gtest)
target_precompile_headers(coreMD_testheaders PRIVATE <gtest/gtest.h> <algorithm> <array> <cstring> <string> <vector>)
set(coreMD_test_headers coreMD_testheaders)         # a room whose tests share more sets its own

function(add_room_test name)
    add_executable(${name} ${name}.cpp)
    target_precompile_headers(${name} REUSE_FROM ${coreMD_test_headers})
    target_link_libraries(${name} PRIVATE coreMD_rules coreMD_testkit ${ARGN} coreMD_test_rules GTest::gtest_main)
    # As a whole: to start a process for each of its cases takes longer than most cases do. It names those that fail.
    add_test(NAME ${name} COMMAND ${name} --gtest_brief=1)
    set_tests_properties(${name} PROPERTIES TIMEOUT 1200)
endfunction()

# Compiled together, what their headers declare is made code of once; APART is for those whose names clash. Either way one
# program is linked where there were ten. The first of them also runs every case that no suite tells whose it is.
function(add_room_tests program)
    cmake_parse_arguments(PARSE_ARGV 1 room APART "" LIBRARIES)
    set(names ${room_UNPARSED_ARGUMENTS})
    list(TRANSFORM names APPEND .cpp OUTPUT_VARIABLE sources)
    add_executable(${program} ${sources})
    target_precompile_headers(${program} REUSE_FROM ${coreMD_test_headers})
    target_link_libraries(${program} PRIVATE
        coreMD_rules coreMD_testkit ${room_LIBRARIES} coreMD_test_rules GTest::gtest_main)
    if(COREMD_UNITY AND NOT room_APART)
        target_link_libraries(${program} PRIVATE coreMD_unity_rules)
        set_target_properties(${program} PROPERTIES UNITY_BUILD ON UNITY_BUILD_BATCH_SIZE 0)
    endif()

    set(every_suite "")
    set(others "")
    list(GET names 0 first)
    foreach(name IN LISTS names)
        file(STRINGS ${name}.cpp cases REGEX "^(TYPED_)?TEST(_F|_P)? *\\(")
        list(TRANSFORM cases REPLACE "^[A-Z_]+ *\\( *([A-Za-z0-9_]+).*" "\\1" OUTPUT_VARIABLE suites)
        list(REMOVE_DUPLICATES suites)
        foreach(suite IN LISTS suites)
            if(suite IN_LIST every_suite)
                message(FATAL_ERROR "${name}.cpp: another test of ${program} has a suite ${suite}, too")
            endif()
            list(APPEND every_suite ${suite})
        endforeach()
        set(${name}_cases "")
        foreach(suite IN LISTS suites)          # plain, typed, and with values
            list(APPEND ${name}_cases ${suite}.* ${suite}/* */${suite}.* */${suite}/*)
        endforeach()
        if(NOT name STREQUAL first)
            list(APPEND others ${${name}_cases})
        endif()
    endforeach()
    foreach(name IN LISTS names)
        list(JOIN ${name}_cases : filter)
        if(name STREQUAL first)
            list(JOIN others : filter)
            string(PREPEND filter -)
        endif()
        add_test(NAME ${name} COMMAND ${program} --gtest_brief=1 --gtest_filter=${filter})
        set_tests_properties(${name} PROPERTIES TIMEOUT 1200)
    endforeach()
endfunction()

# run_on_plain_level(<Name>...): these tests once more with the loops for every processor, whatever this one could run.
function(run_on_plain_level)
    foreach(name IN LISTS ARGN)
        target_sources(${name} PRIVATE ${PROJECT_SOURCE_DIR}/tests/kit/LevelOfTest.cpp)
        add_test(NAME ${name}.plain COMMAND ${name} --gtest_brief=1)
        set_tests_properties(${name}.plain PROPERTIES TIMEOUT 1200 ENVIRONMENT COREMD_TEST_LEVEL=plain)
    endforeach()
endfunction()
