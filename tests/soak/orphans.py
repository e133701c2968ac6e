"""`kill -9` and SIGTERM at random instants, with tools that start processes of their own: nothing
that carries the mark of the run is left, and the POS file is whole."""

import signal
import time

from soak.component import Component, Driver

NAME = "orphans"
FIRST = 4
WEIGHT = 2

ENDS = 25
LONGEST_WAIT = 0.5   # seconds
RUN_LIMIT = 20       # seconds
DEATH_LIMIT = 3      # seconds for processes that were killed to be gone
JOBS = 400
KINDS = ((signal.SIGKILL, "kill -9, forking tools"), (signal.SIGTERM, "SIGTERM, forking tools"))


def run_case(case):
    """Every tool of every job forks a child, which forks another; both sleep and heed no signal."""
    number, kind = KINDS[case.number % len(KINDS)]
    workers = case.rng.choice((1, 2, 16))
    roles = case.rng.choice((("writer",), ("prover",), ("reader",), ("writer", "prover", "reader")))
    options = {role: ["fork=1"] for role in roles}
    component = Component([Driver(case.setting.tools, options=options)], [0] * JOBS, 1)
    for _ in range(ENDS):
        _end(case, kind, number, component, workers)


def _end(case, kind, number, component, workers):
    figure = case.figures[kind]
    run = case.start(case.prepare(component), workers)
    time.sleep(case.rng.uniform(0, LONGEST_WAIT))
    seen = len(run.children())
    run.process.send_signal(number)
    status = run.wait(kind, RUN_LIMIT)
    run.was_killed = status == -signal.SIGKILL
    figure.runs += 1
    figure.count("processes seen", seen)
    left = run.children_after(DEATH_LIMIT)
    figure.count("left", len(left))
    if left:
        case.loss(kind, f"{len(left)} processes left: {left}")
    case.check(kind, run, component)
    run.end()
