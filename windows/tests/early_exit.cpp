// A test program that ends with status 0 in the middle of its tests, as a
// LAPACK routine would through the reference error handler's STOP. The runner
// must report it as a failure (see CMakeLists.txt: the expected message).
#include <gtest/gtest.h>

#include <cstdlib>

TEST(EarlyExit, RunsBeforeTheExit) { SUCCEED(); }

TEST(EarlyExit, ExitsWithStatusZero) { std::exit(0); }

TEST(EarlyExit, IsNeverReached) { FAIL() << "the program should have ended before this test"; }
