#pragma once

// What there is to do for a driver, decided on values alone. Private to the folder and its tests.

#include <QString>
#include <QStringList>

#include <cstddef>
#include <vector>

/// What a driver and those after it have to do.
struct work_ahead_t {
    std::size_t goalsLater = 0; ///< goals of the later drivers, one by one
    std::size_t goalsOpen = 0;  ///< goals that the driver or a later one has to run
};

/// `goals` holds the drivers still to run on each goal, `later` the drivers that are played after
/// `driver`.
work_ahead_t workAhead(const std::vector<QStringList>& goals, const QString& driver,
                       const QStringList& later);
