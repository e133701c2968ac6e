#include "director/SaveGroup.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <future>
#include <new>
#include <thread>
#include <vector>

namespace
{

TEST(SavePatienceTest, ASaveWaitsWhereThatSparesAnother)
{
    using std::chrono::milliseconds;
    const struct {
        const char* label;
        int saves[2]; ///< milliseconds that the last two took
        unsigned int others;
        int work; ///< milliseconds
        unsigned int inVain;
        int patience; ///< milliseconds
    } rows[] = {
        {"nobody else", {60, 60}, 0, 1, 0, 0},
        {"work shorter than two saves", {60, 60}, 1, 119, 0, 119},
        {"the lesser save counts", {9000, 60}, 1, 119, 0, 119},
        {"the lesser save counts, whichever it is", {60, 9000}, 1, 120, 0, 0},
        {"one save alone tells nothing", {0, 60}, 1, 10, 0, 0},
        {"few others and longer work", {60, 60}, 2, 240, 0, 0},
        {"many others and longer work", {60, 60}, 3, 240, 0, 20},
        {"seven waits in vain", {60, 60}, 1, 10, 7, 10},
        {"eight", {60, 60}, 1, 10, 8, 0},
        {"fifteen", {60, 60}, 1, 10, 15, 0},
        {"another try", {60, 60}, 1, 10, 16, 10},
        {"and no other one soon", {60, 60}, 1, 10, 17, 0},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.label);
        SavePatience patience;
        patience.saved(milliseconds(row.saves[0]));
        patience.saved(milliseconds(row.saves[1]));
        for (unsigned int wait = 0; wait < row.inVain; ++wait) {
            patience.waited(false);
        }
        EXPECT_EQ(patience.forOthers(row.others, milliseconds(row.work)),
                  milliseconds(row.patience));
        patience.waited(true);
        EXPECT_EQ(patience.forOthers(1, milliseconds(1)), milliseconds(row.saves[0] > 0 ? 1 : 0));
    }
}

TEST(SaveGroupTest, WhoJoinsDuringASaveIsServedByOneSaveAfterIt)
{
    std::promise<void> begun;
    std::promise<void> release;
    int saves = 0; // only ever changed by the one save that runs
    std::atomic<int> reported{0};
    SaveGroup group(
        [&] {
            if (++saves == 1) {
                begun.set_value();
                release.get_future().wait();
                throw std::bad_alloc(); // must not keep the others waiting
            }
            return saves == 4 ? std::error_code() : std::make_error_code(std::errc::io_error);
        },
        [&](const std::error_code& failure) {
            EXPECT_EQ(failure, std::errc::io_error);
            ++reported;
        });
    std::thread first([&] {
        EXPECT_THROW(group.wait(group.join({})), std::bad_alloc);
    });
    begun.get_future().wait();

    std::vector<SaveGroup::Ticket> tickets;
    tickets.reserve(3);
    for (const bool reports : {false, true, false}) {
        tickets.push_back(group.join({false, reports}));
    }
    std::vector<std::thread> others;
    others.reserve(tickets.size());
    for (const SaveGroup::Ticket& ticket : tickets) {
        others.emplace_back([&group, ticket] {
            EXPECT_FALSE(group.wait(ticket));
        });
    }
    release.set_value();
    first.join();
    for (std::thread& other : others) {
        other.join();
    }
    // Nobody is left behind: the next one saves for itself.
    EXPECT_FALSE(group.wait(group.join({})));
    EXPECT_TRUE(group.wait(group.join({false, true})));
    EXPECT_EQ(saves, 4);
    EXPECT_EQ(reported, 1) << "once, and only where somebody wants it";
}

TEST(SaveGroupTest, ASaveWaitsForAsManyAsMayJoinOrForAHurry)
{
    using std::chrono::hours;
    for (const int hurry : {0, 1, 2}) { // none, of one who comes later, of one who came before
        int saves = 0;
        SavePatience patience; // as if saves took long
        patience.saved(hours(2));
        patience.saved(hours(2));
        SaveGroup group(
            [&saves] {
                ++saves;
                return std::error_code();
            },
            {}, patience);
        group.join({hurry == 2, false});
        const SaveGroup::Ticket ticket = group.join({});
        std::thread other([&] {
            EXPECT_TRUE(group.wait(group.join({hurry == 1, false})));
        });
        EXPECT_TRUE(group.wait(ticket, hurry == 0 ? 2 : 7, hours(1)));
        other.join();
        EXPECT_LE(saves, hurry == 2 ? 2 : 1) << hurry;
        EXPECT_TRUE(group.wait(group.join({}), 1, hours(1))) << "the last one took no time";
    }
}

} // namespace
