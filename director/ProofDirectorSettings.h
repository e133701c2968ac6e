#pragma once

// What a director plays, and how.

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <iostream>
#include <optional>
#include <string>
#include <utility>

class ProofDirectorObserver;

/// Texts and paths are UTF-8. What the stream and the observer point to must outlive the director.
struct ProofDirectorSettings {
    std::string component;     ///< names the component in the report
    std::string mechanismFile; ///< the mechanism to play
    std::string posPath;       ///< the status file, which is rewritten
    std::string pogPath;       ///< the proof obligations, for the writers
    std::string directory;     ///< takes the secondary files
    bool xmlReport = false;    ///< the XML-like report
    unsigned int workers = 1;  ///< worker threads; 1: no thread of its own, 0: no job runs
    int traceLevel = 0;        ///< 1 enables the progress lines

    std::string onlyDriver; ///< when not empty, only the driver of that name is played
    bool onlyFast = false;  ///< the drivers that are not marked fast are skipped

    /// When one of them is given, only this goal is played, a model is asked for, and the status of
    /// the goal never changes. An obligation name, "." and a goal number counted from 1:
    std::string onlyGoal;
    /// obligation and goal, both from 0, in document order; counts before the name:
    std::optional<std::pair<std::size_t, std::size_t>> onlyGoalAt;

    std::ostream* report = &std::cout; ///< takes the report; null: there is none

    /// A prover and its reader that take longer are killed with their whole process group, and the
    /// job is lost: also when the prover has ended, and what it left running holds up the reader.
    std::chrono::milliseconds timeLimit{0}; ///< 0: no limit
    /// The address space of each prover. A job is lost when its prover fails under this limit.
    std::uint64_t memoryLimit = 0; ///< in bytes; 0: no limit

    /// Sees every driver and job. The log then has no lines about failed jobs: the observer has
    /// them.
    ProofDirectorObserver* observer = nullptr;
    /// What the tools print on standard error is kept, up to a mebibyte a job, for the observer.
    bool keepErrorOutput = false;
};
