#pragma once

// An observer beside a watch.

#include "mechtool/Watch.h"

/// The base of an observer that looks at jobs of its own accord, while the watch, which must
/// outlive it, sees everything.
class WatchedObserver : public ProofDirectorObserver
{
public:
    explicit WatchedObserver(Watch& other) : watch(other) {}

    void driverBegins(const driver_begins_t& begun) override
    {
        name = begun.driver;
        watch.driverBegins(begun);
    }
    void jobBegins(const job_begins_t& job) override
    {
        watch.jobBegins(job);
    }
    void jobEnded(const job_ended_t& job) override
    {
        watch.jobEnded(job);
    }

protected:
    /// The driver that is played. It changes only while no job runs.
    const QString& driver() const
    {
        return name;
    }

private:
    Watch& watch;
    QString name;
};
