"""What the trace of a run (`-t 1`) says about verdicts and saves.

The line "updating proof status" announces a verdict, in the order in which verdicts enter the
document. A job waits for the save that holds its verdicts, so they must be on disk once its thread
takes the next job: with one worker that is the next writing command, with several the thread's
next "writes entry" line. A save holds a whole document, so all that was announced before such a
verdict is on disk with it. A save that failed says so, and proves nothing about what came before.
"""

import re

UPDATE = re.compile(r"-- ProofDirector -- updating proof status of proof obligation (\d+),(\d+) to "
                    r"(\w+) for driver ")
WRITING = "-- ProofDirector -- Issuing writing command "
TAKES = re.compile(r"-- Proof Director -- Thread (\d+) writes entry ")
PROVES = re.compile(r"-- Proof Director -- Thread (\d+) proves entry \(.*_D\d+_(\d+)(?:_(\d+))?\.")
FAILED = "-- ProofDirector -- Cannot save POS file "


class Trace:
    """`updates` are the verdicts in their order; those before `saved` must be on disk."""

    def __init__(self, text, workers):
        self.updates = []
        self.saved = 0
        self.failures = 0
        self._failures_at = []
        self._last_of_job = {}
        self._job_of_thread = {}
        self._workers = workers
        lines = text.split("\n")
        for line in lines[:-1]:  # what follows the last line end was cut off
            self._read(line)

    def _read(self, line):
        update = UPDATE.match(line)
        takes = TAKES.match(line)
        proves = PROVES.match(line)
        if update:
            o, g = int(update[1]), int(update[2])
            self.updates.append(((o, g), update[3]))
            self._failures_at.append(self.failures)
            self._last_of_job[o, g] = self._last_of_job[o, None] = len(self.updates)
        elif proves:
            goal = None if proves[3] is None else int(proves[3])
            self._job_of_thread[proves[1]] = (int(proves[2]), goal)
        elif takes:
            self._is_saved(self._last_of_job.get(self._job_of_thread.get(takes[1]), 0))
        elif line.startswith(WRITING) and self._workers == 1:
            self._is_saved(len(self.updates))
        elif line.startswith(FAILED):
            self.failures += 1

    def _is_saved(self, count):
        """The save of the first `count` verdicts has ended."""
        if count > self.saved and self._failures_at[count - 1] == self.failures:
            self.saved = count

    def ended(self):
        """The run ended by itself or by a stop: its last save has ended, too."""
        for count in range(len(self.updates), self.saved, -1):
            if self._failures_at[count - 1] == self.failures:
                self.saved = count
                break
        return self


def losses(trace, verdicts, before=None, word_of=None, job_size=1, unannounced=0):
    """Compares the verdicts of a document with a trace; returns what is wrong, in words.

    `before` are the verdicts that the run started from. With a `job_size` above 1, the goals of an
    obligation are one job, which enters a document whole or not at all. A verdict is announced a
    moment after it enters the document; so in a run that was killed, those of a few jobs may be
    `unannounced`.
    """
    before = before or {}
    wrong = []
    goals = [goal for goal, _ in trace.updates]
    missing = [index for index, goal in enumerate(goals) if goal not in verdicts]
    wrong += [f"verdict on {goal} was there before the run and is gone"
              for goal in before if goal not in verdicts]
    wrong += [f"verdict {index} on {goals[index]} was saved and is missing"
              for index in missing if index < trace.saved]
    if missing:
        wrong += [f"verdict on {goal} is there, but the earlier one on {goals[missing[0]]} is not"
                  for goal in goals[missing[0]:] if goal in verdicts and goal not in before]
    known = set(goals) | set(before)
    silent = [goal for goal in verdicts if goal not in known]
    if len(silent) > unannounced:
        wrong += [f"verdict on {goal} was never announced" for goal in silent]
    if word_of is not None:
        wrong += [f"verdict on {goal} is {word}, not {word_of(goal)}"
                  for goal, word in verdicts.items() if word != word_of(goal)]
    if job_size > 1:
        held = {}
        for o, _ in verdicts:
            held[o] = held.get(o, 0) + 1
        wrong += [f"only {count} of {job_size} goals of obligation {o} have their verdict"
                  for o, count in held.items() if count != job_size]
    return wrong
