#pragma once

// The commands, one source each. Each gets the words after its name, prints its answer on standard
// output and returns it, or throws CannotAnswer.

#include "mechtool/Command.h"

answer_t runCheck(const QStringList& words);
answer_t runDiff(const QStringList& words);
answer_t runForget(const QStringList& words);
answer_t runModel(const QStringList& words);
answer_t runNew(const QStringList& words);
answer_t runPlay(const QStringList& words);
answer_t runReplay(const QStringList& words);
answer_t runReport(const QStringList& words);
answer_t runReset(const QStringList& words);
answer_t runShow(const QStringList& words);
