"""Two runs over one POS file, and a POS file that is replaced or removed during a run."""

import os
import shutil
import time

from soak.component import Component, Driver, bad, Malformed, read_document
from soak.trace import FAILED, UPDATE

NAME = "sharing"
FIRST = 3
WEIGHT = 1

JOBS = 150
GOALS = 2


def run_case(case):
    (_two_runs, _replaced, _removed)[case.number % 3](case)


def _two_runs(case):
    """One run finds only proofs, the other none; both start from the same document. So no document
    ever holds verdicts of both, and in the end there are all the verdicts of one of them."""
    kind = "two runs over one POS file"
    pos = case.path("comp.pos")
    for name, word in (("first", "Proved"), ("second", "Disproved")):
        options = {"writer": [bad(range(JOBS)), f"wait={case.path('go')}"],
                   "reader": [f"word={word}"]}
        component = Component([Driver(case.setting.tools, options=options)], [0] * JOBS, GOALS)
        folder = case.path("mechanisms", name)
        os.mkdir(folder)
        component.write_mechanism(os.path.join(folder, "mech.xml"))
    component.write_pos(pos)
    workers = case.rng.choice((1, 2, 8))
    runs = [case.start(pos, workers, work=f"work-{name}", mechanism=f"{name}/mech")
            for name in ("first", "second")]
    for run in runs:
        run.wait_for(kind, lambda log: "Loading POS file completed." in log)
    open(case.path("go"), "w", encoding="utf8").close()
    while any(run.process.poll() is None for run in runs) and case.lost == 0:
        _read_one(case, kind, pos, component)
    _read_one(case, kind, pos, component, JOBS * GOALS)
    for run in runs:
        run.expect_success(kind)
        case.figures[kind].runs += 1


def _read_one(case, kind, pos, component, expected=None):
    case.figures[kind].count("reads")
    try:
        verdicts = read_document(pos, component).verdicts
    except (Malformed, OSError) as error:
        case.loss(kind, f"POS file: {error}")
        return
    if len(set(verdicts.values())) > 1:
        case.loss(kind, "a document with verdicts of both runs")
    if expected is not None and len(verdicts) != expected:
        case.loss(kind, f"{len(verdicts)} of {expected} verdicts in the end")


def _begin(case, kind):
    """A run that has saved some verdicts, and whose last job waits to be let go."""
    options = {"writer": [bad([JOBS - 1]), f"wait={case.path('go')}"]}
    component = Component([Driver(case.setting.tools, options=options)], [0] * JOBS, GOALS)
    run = case.start(case.prepare(component), case.rng.choice((1, 2, 8)))
    first = case.rng.randrange(1, JOBS // 2)
    case.figures[kind].runs += 1
    run.wait_for(kind, lambda log: len(UPDATE.findall(log)) >= first)
    return run, component


def _finish(case, kind, run, component):
    open(case.path("go"), "w", encoding="utf8").close()
    if run.expect_success(kind):
        verdicts = case.check(kind, run, component, job_size=GOALS)
        if verdicts is not None and len(verdicts) != JOBS * GOALS:
            case.loss(kind, f"{len(verdicts)} of {JOBS * GOALS} verdicts in the end")


def _replaced(case):
    """Another document takes the place of the file, some times: the next save replaces it whole."""
    kind = "POS file replaced during a run"
    run, component = _begin(case, kind)
    component.write_pos(case.path("other.pos"), "OTHER")
    for _ in range(10):
        shutil.copy(case.path("other.pos"), case.path("new.pos"))
        os.replace(case.path("new.pos"), run.pos)
        case.figures[kind].count("replaced")
        for _ in range(5):
            _read_other(case, kind, run, component)
    _finish(case, kind, run, component)
    if run.process.returncode == 0 and read_document(run.pos, component).tag != "PO_0":
        case.loss(kind, "the other document is still there in the end")


def _read_other(case, kind, run, component):
    try:
        document = read_document(run.pos, component)
    except (Malformed, OSError) as error:
        case.loss(kind, f"POS file: {error}")
        return
    if document.tag == "OTHER_0" and document.verdicts:
        case.loss(kind, "a mixture: verdicts in the other document")


def _removed(case):
    """Without the file every save fails and says so; put back, it is written by the next one. A
    save that was under way may still put the file there once: it is removed again."""
    kind = "POS file removed during a run"
    run, component = _begin(case, kind)
    since = [0]  # failures up to the last removal; one later failure began without the file

    def fails(log):
        if _remove(case, kind, run.pos):
            since[0] = run.log().count(FAILED)
        return log.count(FAILED) > since[0] + 1

    run.wait_for(kind, fails)
    time.sleep(0.05)
    if os.path.exists(run.pos):
        case.loss(kind, "the file is made anew although saves had failed for its absence")
    case.figures[kind].count("failed saves", run.log().count(FAILED))
    component.write_pos(case.path("new.pos"), "OTHER")
    os.replace(case.path("new.pos"), run.pos)
    _finish(case, kind, run, component)


def _remove(case, kind, path):
    try:
        os.remove(path)
    except FileNotFoundError:
        return False
    case.figures[kind].count("removed")
    return True
