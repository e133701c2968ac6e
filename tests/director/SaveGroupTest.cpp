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
    std::promise<void> begun;
    std::promise<void> release;
    std::vector<bool> saves; // what each was asked to report; only the one that runs changes it
    SaveGroup group([&](bool reports) {
        saves.push_back(reports);
        if (saves.size() == 1) {
            begun.set_value();
            release.get_future().wait();
            throw std::bad_alloc(); // must not keep the others waiting
        }
        return saves.size() == 3;
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
    EXPECT_TRUE(group.wait(group.join({})));
    EXPECT_EQ(saves, std::vector<bool>({false, true, false}));
}

TEST(SaveGroupTest, ASaveLongerThanTheWorkBetweenWaitsForTheOthersOrForAHurry)
{
    using std::chrono::milliseconds;
    constexpr milliseconds WORK(300);
    for (const bool hurry : {false, true}) {
        int saves = 0;
        SaveGroup group([&saves](bool /*reports*/) {
            std::this_thread::sleep_for(milliseconds(++saves <= 2 ? 200 : 0));
            return true;
        });
        EXPECT_TRUE(group.wait(group.join({})));
        EXPECT_TRUE(group.wait(group.join({})));
        std::this_thread::sleep_for(WORK);

        const auto begin = std::chrono::steady_clock::now();
        const SaveGroup::Ticket ticket = group.join({});
        std::thread other([&] {
            std::this_thread::sleep_for(milliseconds(120));
            EXPECT_TRUE(group.wait(group.join({hurry, false})));
        });
        EXPECT_TRUE(group.wait(ticket, hurry ? 7 : 1));
        other.join();
        EXPECT_EQ(saves, 3) << hurry;
        EXPECT_LT(std::chrono::steady_clock::now() - begin, WORK) << hurry;
    }
}

} // namespace
