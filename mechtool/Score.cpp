#include "mechtool/Score.h"

#include <algorithm>

namespace
{

/// What is known of a goal.
constexpr unsigned RUN = 1;
constexpr unsigned PROVED = 2;
constexpr unsigned REFUTED = 4;

} // namespace

void Score::driverBegins(const driver_begins_t& driver)
{
    const auto [place, isNew] = marks.try_emplace(driver.mechanism);
    marked = &place->second;
    found.all += isNew ? driver.goalsOpen : 0;
    const auto known = std::find_if(table.begin(), table.end(), [&](const tally_t& tally) {
        return tally.mechanism == driver.mechanism && tally.driver == driver.driver;
    });
    current = static_cast<std::size_t>(known - table.begin());
    if (known == table.end()) {
        tally_t tally;
        tally.mechanism = driver.mechanism;
        tally.driver = driver.driver;
        table.push_back(tally);
    }
    secondsBefore = table[current].seconds;
    expected = driver.goals;
    later = driver.goalsLater;
    driverEnded = 0;
    driverSettled = 0;
}

void Score::jobEnded(const job_ended_t& job, bool hasFailed, double seconds)
{
    if (marked == nullptr || job.end == job_end_t::stopped) {
        return;
    }
    tally_t& tally = table[current];
    tally.seconds = secondsBefore + seconds;
    tally.failed += hasFailed ? 1 : 0;
    ended.failed += hasFailed ? 1 : 0;
    ++ended.jobs;
    ended.goals += job.goals.size();
    driverEnded += job.goals.size();
    if (job.end == job_end_t::read) {
        tally.run += job.goals.size();
        for (std::size_t i = 0; i < job.goals.size(); ++i) {
            countVerdict(job.goals[i], job.verdicts.value(static_cast<int>(i)));
        }
    }
}

/// A goal that two drivers have proved counts once among the goals, and once with each driver.
void Score::countVerdict(const std::pair<std::size_t, std::size_t>& goal, const QString& word)
{
    if (marked->size() <= goal.first) {
        marked->resize(goal.first + 1);
    }
    std::vector<unsigned char>& goals = (*marked)[goal.first];
    if (goals.size() <= goal.second) {
        goals.resize(goal.second + 1);
    }
    const bool isProved = word == QLatin1String("Proved");
    const bool isRefuted = word == QLatin1String("Disproved");
    tally_t& tally = table[current];
    tally.proved += isProved ? 1 : 0;
    tally.refuted += isRefuted ? 1 : 0;
    tally.unknown += word == QLatin1String("Unknown") ? 1 : 0;
    driverSettled += isProved || isRefuted ? 1 : 0;
    const unsigned before = goals[goal.second];
    const unsigned after = before | RUN | (isProved ? PROVED : 0) | (isRefuted ? REFUTED : 0);
    const unsigned fresh = after & ~before;
    found.done += (fresh & RUN) != 0 ? 1 : 0;
    found.proved += (fresh & PROVED) != 0 ? 1 : 0;
    found.refuted += (fresh & REFUTED) != 0 ? 1 : 0;
    goals[goal.second] = static_cast<unsigned char>(after);
}

double Score::runsLeft() const
{
    const double open = double(driverEnded - driverSettled + 1) / double(driverEnded + 1);
    return double(expected - std::min(expected, driverEnded)) + double(later) * open;
}
