#include "base/SyncPace.h"

#include <gtest/gtest.h>

namespace
{

TEST(SyncPaceTest, WaitsForTheDiskAFiftiethOfTheTime)
{
    using std::chrono::milliseconds;
    const SyncPace::Clock::time_point start = SyncPace::Clock::now();
    SyncPace pace;
    EXPECT_TRUE(pace.isDue(start)) << "the first one";
    pace.synced(start, start + milliseconds(4));
    EXPECT_FALSE(pace.isDue(start + milliseconds(4 + 199)));
    EXPECT_TRUE(pace.isDue(start + milliseconds(4 + 200)));
}

} // namespace
