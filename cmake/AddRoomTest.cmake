# add_room_test(<Name> <library>...): one GoogleTest program from <Name>.cpp, its cases registered with ctest.
include(GoogleTest)

function(add_room_test name)
    add_executable(${name} ${name}.cpp)
    target_link_libraries(${name} PRIVATE coreMD_rules coreMD_testkit ${ARGN} GTest::gtest_main)
    gtest_discover_tests(${name} DISCOVERY_MODE PRE_TEST PROPERTIES TIMEOUT 300)
endfunction()
