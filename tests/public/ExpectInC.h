// What does a test in plain C do with an expectation that is not met?  It prints it and returns 1.
#ifndef COREMD_TESTS_EXPECT_IN_C_H
#define COREMD_TESTS_EXPECT_IN_C_H

#include <stdio.h>

#define EXPECT(condition)                                                           \
    do {                                                                            \
        if (!(condition)) {                                                         \
            fprintf(stderr, "%s:%d: not so: %s\n", __FILE__, __LINE__, #condition); \
            return 1;                                                               \
        }                                                                           \
    } while (0)

#endif
