"""SIGTERM at random instants: status 1, no child left, secondary files removed, results saved."""

import os
import signal
import time

from soak.component import Component, Driver, bad

NAME = "stop"
FIRST = 4
WEIGHT = 2

STOPS = 10
STOP_LIMIT = 20   # seconds
DEATH_LIMIT = 3   # seconds for processes that were killed to be gone
HOLD = 60000      # milliseconds


def run_case(case):
    """The first kind of case spreads the stops over the whole run, the others hit a slow tool."""
    workers = case.rng.choice((1, 2, 16))
    slow = (None, "prover", "reader", "writer")[case.number % 4]
    kind = f"SIGTERM, slow {slow}" if slow else "SIGTERM, quick tools"
    number = case.rng.choice((40, 200))
    options = {}
    if slow:
        held = [o for o in range(number) if case.rng.random() < 0.2]
        options[slow] = [bad(held), f"hold={HOLD}"]
    component = Component([Driver(case.setting.tools, options=options)], [0] * number, 3)
    longest = 0.6 if slow else _length(case, kind, component, workers) * 1.15
    for _ in range(STOPS):
        _stop(case, kind, component, workers, case.rng.uniform(0, longest))
    if not slow:
        for _ in range(STOPS):
            _stop(case, kind, component, workers, case.rng.choice((0, 0.005, 0.03)) *
                  case.rng.random())


def _length(case, kind, component, workers):
    """How long a run takes that nobody stops."""
    start = time.monotonic()
    run = case.start(case.prepare(component), workers)
    run.expect_success(kind)
    case.check(kind, run, component, job_size=3)
    return time.monotonic() - start


def _stop(case, kind, component, workers, delay):
    figure = case.figures[kind]
    run = case.start(case.prepare(component), workers)
    time.sleep(delay)
    run.process.send_signal(signal.SIGTERM)
    if case.rng.random() < 0.5:
        time.sleep(case.rng.choice((0, 0, 0.001, 0.01)))
        run.process.send_signal(signal.SIGTERM)
        figure.count("stopped twice")
    status = run.wait(kind, STOP_LIMIT)
    figure.runs += 1
    figure.count(f"status {status}")
    _check_status(case, kind, run, status)
    children = run.children_after(DEATH_LIMIT)
    if children:
        case.loss(kind, f"children left: {children}")
    _check_files(case, kind, run)
    case.check(kind, run, component, job_size=3)
    run.end()


def _check_status(case, kind, run, status):
    if status == -signal.SIGTERM and not run.log() and not run.report():
        return  # before there was a handler
    if status == 0 and "TOTAL" not in run.report():
        case.loss(kind, "status 0 without totals")
    elif status not in (0, 1, None):
        case.loss(kind, f"exit status {status}")


def _check_files(case, kind, run):
    files = os.listdir(run.work)
    if files:
        case.loss(kind, f"secondary files left: {files}")
    for file in files:
        os.remove(os.path.join(run.work, file))
