// Runs the C program of c_api_check.c, which is compiled as C11.
#include <gtest/gtest.h>

extern "C" int qorvis_c_api_check(void);

TEST(CApi, AProgramWrittenInCUsesTheLibrary) { EXPECT_EQ(qorvis_c_api_check(), 0); }
