#pragma once

// What there is to do for a driver, decided on values alone. Private to the folder and its tests.

#include "director/ProofDirector.h"
#include "mechanism/Mechanism.h"

#include <QString>
#include <QStringList>

#include <cstddef>
#include <vector>

/// What the names of a driver's secondary files are made of.
struct file_parts_t {
    QString folder;    ///< takes the files
    QString inputFile; ///< the proof obligations; the name of this file begins theirs
    QString mechanism;
    QString driver;
    QString extension;
};

/// The secondary file of the job that `numbers` tell from the others of the driver.
QString secondaryFile(const file_parts_t& parts, const std::vector<std::size_t>& numbers);

/// A job before it has its command lines.
struct planned_job_t {
    QString file;          ///< its secondary file
    QStringList goalWords; ///< the writer's arguments that name the goals
    ProofDirector::addresses_t goals;
};

/// Spreads goals, in batches of one per obligation, over jobs.
std::vector<planned_job_t> planJobs(const mechanism::group_t& group,
                                    const std::vector<ProofDirector::addresses_t>& batches,
                                    const file_parts_t& parts);

/// What a driver and those after it have to do.
struct work_ahead_t {
    std::size_t goalsLater = 0; ///< goals of the later drivers, one by one
    std::size_t goalsOpen = 0;  ///< goals that the driver or a later one has to run
};

/// `goals` holds the drivers still to run on each goal, `later` the drivers that are played after
/// `driver`.
work_ahead_t workAhead(const std::vector<QStringList>& goals, const QString& driver,
                       const QStringList& later);
