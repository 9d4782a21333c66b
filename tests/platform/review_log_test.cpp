// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <cstdlib>

#include "ap/log.h"

namespace {

// The journal service takes a level from the beginning of each line, and 6 without one.
TEST(LogDeathTest, LevelStandsBeforeTheFirstWord)
{
    setenv("JOURNAL_STREAM", "1:2", 1);
    EXPECT_EXIT(qv_panic("\nkey is %s\n", "negative"), testing::KilledBySignal(SIGABRT),
                "^\n<1>key is negative\n$");
}

} // namespace
