/* Checks at compile time for tests in plain C99, which has no static assertion of its own. */
#ifndef WYX_TESTS_SUPPORT_HEADER_CHECK_H
#define WYX_TESTS_SUPPORT_HEADER_CHECK_H

#define WYX_CHECK_JOIN2(a, b) a##b
#define WYX_CHECK_JOIN(a, b) WYX_CHECK_JOIN2(a, b)

/* Fails to compile, with an array of negative size, if the condition does not hold. */
#define WYX_CHECK(condition) extern char WYX_CHECK_JOIN(wyx_check_, __LINE__)[(condition) ? 1 : -1]

#endif
