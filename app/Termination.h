#pragma once

// What a termination signal does: the handler only wakes a thread of its own, which stops the
// current director and ends the process with status 1. Works at every moment of a run, also while
// there is no director or while one is being deleted.

#include <memory>

class ProofDirector;

/// The director now playing, null between two. Changed through the functions below only.
extern ProofDirector* director;

/// Makes `made` the current director.
ProofDirector& setDirector(std::unique_ptr<ProofDirector> made);

/// Deletes the current director. A stop that is under way ends the process first.
void deleteDirector();

/// Handler of SIGTERM.
void sighandler(int signal);

/// Starts the thread and installs the handler. To be called once, right after prepareProcess().
void installTermination();

/// Flushes the report and returns `status`, with which the program ends. Does not return when a
/// termination signal has come: the thread then ends the process with status 1. A signal that comes
/// later is ignored. To be called on the main thread, last of all, once.
int statusAtEnd(int status);
