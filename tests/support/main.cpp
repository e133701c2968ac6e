#include "base/Process.h"

#include <gtest/gtest.h>

// As the program itself: texts are UTF-8 and the order of XML attributes does not change.
int main(int argc, char** argv)
{
    prepareProcess();
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
