# Language level, warnings and floating-point rules of every target: the only place.
add_library(coreMD_rules INTERFACE)
target_compile_features(coreMD_rules INTERFACE cxx_std_20 c_std_11)

# Results are equal to the last bit on every compiler and level: no contraction, no fast-math. errno and traps are not used.
target_compile_options(coreMD_rules INTERFACE
    -ffp-contract=off -fno-math-errno -fno-trapping-math
    $<$<NOT:$<CONFIG:Debug>>:-O3>
    -UNDEBUG                                             # assertions are the interface's failure mode, in every build type
    -ffile-prefix-map=${PROJECT_SOURCE_DIR}/=            # assertion messages name files relative to the project
    -Wall -Wextra -Wpedantic -Wconversion -Wshadow
    $<$<CXX_COMPILER_ID:Clang>:-Wno-pass-failed>)        # a loop that clang does not vectorise is slower, not wrong

# On 32-bit x86, x87 arithmetic rounds otherwise than every other processor: SSE2 is what such a machine has to have.
if(CMAKE_SIZEOF_VOID_P EQUAL 4 AND CMAKE_SYSTEM_PROCESSOR MATCHES "^(i[3-6]86|x86_64|AMD64)$")
    target_compile_options(coreMD_rules INTERFACE -msse2 -mfpmath=sse)
endif()

# Linked after the rules by what runs once or writes text: compiled sooner, hardly slower.
add_library(coreMD_light_rules INTERFACE)
target_compile_options(coreMD_light_rules INTERFACE $<IF:$<CONFIG:Debug>,-O0,-O1>
    $<$<AND:$<CXX_COMPILER_ID:GNU>,$<NOT:$<CONFIG:Debug>>>:-Wno-array-bounds>)   # g++ 12 errs about sums of short strings

if(COREMD_SANITIZE)     # what looks at pictures does so for minutes in the tests
    target_compile_options(coreMD_rules INTERFACE $<$<CONFIG:Debug>:-O1>
        -fsanitize=${COREMD_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
    target_link_options(coreMD_rules INTERFACE -fsanitize=${COREMD_SANITIZE})
endif()

if(COREMD_COVERAGE)     # every function counted under its own name, threads too: atomically
    target_compile_options(coreMD_rules INTERFACE --coverage -O0 -fno-inline -fprofile-update=atomic)
    target_link_options(coreMD_rules INTERFACE --coverage)
endif()

if(COREMD_MARCH)
    target_compile_options(coreMD_rules INTERFACE -march=${COREMD_MARCH})
endif()

if(COREMD_WERROR)
    target_compile_options(coreMD_rules INTERFACE -Werror)
endif()
