#include "base/Process.h"

#include <gtest/gtest.h>

#include <QHash>

namespace
{

TEST(Process, AttributesKeepTheirOrderFromRunToRun)
{
    EXPECT_EQ(qGlobalQHashSeed(), 0);
}

} // namespace
