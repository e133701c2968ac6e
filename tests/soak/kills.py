"""`kill -9` at random instants: the POS file stays whole and keeps what was saved.

A case is a row of kills over one POS file, each run going on where the one before was killed.
"""

import glob
import os
import time

from soak.component import Component, Driver

NAME = "kill"
FIRST = 3
WEIGHT = 3

WORKERS = (1, 2, 16)
KILLS = 8
LONGEST_WAIT = 1.5
STRAY_LIMIT = 5  # per hundred kills


def run_case(case):
    workers = WORKERS[case.number % len(WORKERS)]
    kind = f"kill -9, -c {workers}"
    grouped = case.rng.random() < 0.3
    group, goals, number = ("related", 4, 1250) if grouped else ("none", 5, 1000)
    component = Component([Driver(case.setting.tools, group)], [0] * number, goals)
    pos = case.prepare(component)
    held = {}
    for _ in range(KILLS):
        run = case.start(pos, workers)
        time.sleep(case.rng.uniform(0, LONGEST_WAIT))
        run.kill()
        case.figures[kind].runs += 1
        held = case.check(kind, run, component, held, goals if grouped else 1)
        _count_strays(case, kind)
        if held is None:
            return
        if not run.was_killed:  # it had come to its end
            held = {}
            component.write_pos(pos)


def _count_strays(case, kind):
    """A file that a killed save leaves beside the POS file is rare: it must not become a heap."""
    figure = case.figures[kind]
    strays = glob.glob(case.path("comp.pos?*"))
    figure.count("stray files", len(strays))
    for stray in strays:
        os.remove(stray)
    limit = max(2, figure.runs * STRAY_LIMIT / 100)
    if strays and figure.get("stray files") > limit:
        case.loss(kind, f"{figure.get('stray files')} stray files in {figure.runs} runs")
