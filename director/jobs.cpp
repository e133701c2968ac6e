#include "director/jobs.h"

#include <algorithm>

work_ahead_t workAhead(const std::vector<QStringList>& goals, const QString& driver,
                       const QStringList& later)
{
    work_ahead_t ahead;
    for (const QStringList& drivers : goals) {
        const auto count = std::count_if(later.begin(), later.end(), [&](const QString& name) {
            return drivers.contains(name);
        });
        ahead.goalsLater += static_cast<std::size_t>(count);
        ahead.goalsOpen += count != 0 || drivers.contains(driver) ? 1 : 0;
    }
    return ahead;
}
