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

/// Starts the thread and installs the handler. To be called first of all, once. The signal mask
/// inherited from whoever started the program is lifted, because its children would inherit it too,
/// and so is an ignored SIGCHLD, which would hide how they ended. From here on a closed standard
/// output does not end the program either.
void installTermination();
