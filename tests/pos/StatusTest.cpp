#include "pos/pos.h"

#include <gtest/gtest.h>

#include <iomanip>
#include <sstream>
#include <stdexcept>

using namespace pos;

TEST(PosStatus, WordsOfTheWorkbenchProverReadAsProvedAndWriteBackAsPlainProved)
{
    const std::vector<std::pair<const char*, status_t>> rows = {
        {"Unproved", UNPROVED},   {"Unknown", UNKNOWN},  {"UnreliablyProved", UNRELIABLY_PROVED},
        {"Disproved", DISPROVED}, {"Proved", PROVED},    {"Proved(0)", PROVED},
        {"Proved(1)", PROVED},    {"Proved(2)", PROVED}, {"Proved(3)", PROVED},
        {"Proved(Util)", PROVED}};
    for (const auto& [word, status] : rows) {
        EXPECT_EQ(proofStatusOfAttrValue(QString::fromUtf8(word)), status) << word;
        std::ostringstream out;
        out << std::setw(30) << status; // never padded
        EXPECT_EQ(out.str(), status == PROVED ? "Proved" : word);
    }
}

TEST(PosStatus, AnyOtherWordOrNumberIsRefused)
{
    for (const char* word : {"", "proved", "Valid", "Invalid", "Proved(4)", " Proved", "Proved "}) {
        EXPECT_THROW(proofStatusOfAttrValue(QString::fromUtf8(word)), std::out_of_range) << word;
    }
    for (const int number : {-1, 5}) {
        EXPECT_THROW(strOfProofStatus(static_cast<status_t>(number)), std::out_of_range) << number;
    }
}

TEST(PosStatus, MarksFollowTheNumbering)
{
    const std::map<status_t, char> marks = {{status_t(0), '-'},
                                            {status_t(1), '-'},
                                            {status_t(2), '*'},
                                            {status_t(3), '+'},
                                            {status_t(4), '!'}};
    EXPECT_EQ(charOfStatus, marks);
}
