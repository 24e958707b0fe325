# add_room_test(<Name> <library>...): one GoogleTest program from <Name>.cpp, registered with ctest.

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

# run_on_plain_level(<Name>...): these tests once more with the loops for every processor, whatever this one could run.
function(run_on_plain_level)
    foreach(name IN LISTS ARGN)
        target_sources(${name} PRIVATE ${PROJECT_SOURCE_DIR}/tests/kit/LevelOfTest.cpp)
        add_test(NAME ${name}.plain COMMAND ${name} --gtest_brief=1)
        set_tests_properties(${name}.plain PROPERTIES TIMEOUT 1200 ENVIRONMENT COREMD_TEST_LEVEL=plain)
    endforeach()
endfunction()
