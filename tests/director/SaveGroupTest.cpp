#include "director/SaveGroup.h"

#include <gtest/gtest.h>

#include <chrono>
#include <future>
#include <new>
#include <thread>
#include <vector>

namespace
{

TEST(SaveGroupTest, WhoJoinsDuringASaveIsServedByOneSaveAfterIt)
{
    SaveGroup group;
    std::promise<void> begun;
    std::promise<void> release;
    std::thread first([&] {
        const auto save = [&]() -> bool {
            begun.set_value();
            release.get_future().wait();
            throw std::bad_alloc(); // must not keep the others waiting
        };
        EXPECT_THROW(group.wait(group.join(), save), std::bad_alloc);
    });
    begun.get_future().wait();

    int saves = 0; // only ever changed by the one save that runs
    std::vector<SaveGroup::Ticket> tickets;
    tickets.reserve(3);
    for (int i = 0; i < 3; ++i) {
        tickets.push_back(group.join());
    }
    std::vector<std::thread> others;
    others.reserve(tickets.size());
    for (const SaveGroup::Ticket& ticket : tickets) {
        others.emplace_back([&group, &saves, ticket] {
            EXPECT_FALSE(group.wait(ticket, [&saves] {
                ++saves;
                return false;
            }));
        });
    }
    release.set_value();
    first.join();
    for (std::thread& other : others) {
        other.join();
    }
    EXPECT_EQ(saves, 1);
    // Nobody is left behind: the next one saves for itself.
    EXPECT_TRUE(group.wait(group.join(), [] {
        return true;
    }));
}

TEST(SaveGroupTest, ASaveLongerThanTheWorkBetweenWaitsForTheOthersOrForAHurry)
{
    using std::chrono::milliseconds;
    constexpr milliseconds WORK(300);
    for (const bool hurry : {false, true}) {
        SaveGroup group;
        int saves = 0;
        const auto save = [&saves] {
            std::this_thread::sleep_for(milliseconds(++saves <= 2 ? 200 : 0));
            return true;
        };
        EXPECT_TRUE(group.wait(group.join(), save));
        EXPECT_TRUE(group.wait(group.join(), save));
        std::this_thread::sleep_for(WORK);

        const auto begin = std::chrono::steady_clock::now();
        const SaveGroup::Ticket ticket = group.join();
        std::thread other([&] {
            std::this_thread::sleep_for(milliseconds(120));
            EXPECT_TRUE(group.wait(group.join(hurry), save));
        });
        EXPECT_TRUE(group.wait(ticket, save, hurry ? 7 : 1));
        other.join();
        EXPECT_EQ(saves, 3) << hurry;
        EXPECT_LT(std::chrono::steady_clock::now() - begin, WORK) << hurry;
    }
}

} // namespace
