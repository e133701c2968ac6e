"""A full disk during a run: the old document stays, the log says so, later saves succeed."""

import errno
import os
import shutil
import subprocess

from soak.component import Component, Driver, bad, Malformed, read_document
from soak.enclosure import is_inside
from soak.trace import FAILED, UPDATE

NAME = "disk"
FIRST = 3
WEIGHT = 1

KIND = "full disk"
JOBS = 400
FAILURES = 10  # to wait for before there is room again

def _quietly(*command):
    try:
        return subprocess.run(command, capture_output=True, check=False).returncode == 0
    except OSError:
        return False


def run_case(case):
    options = {"writer": [bad([JOBS - 1]), f"wait={case.path('go')}"]}
    component = Component([Driver(case.setting.tools, options=options)], [0] * JOBS, 2)
    case.prepare(component, "plain.pos")
    size = os.path.getsize(case.path("plain.pos"))
    os.mkdir(case.path("disk"))
    tight = case.number % 3 == 2
    room = f"size={size * 5 // 2 if tight else size * 4}"
    mount = ("mount", "-t", "tmpfs", "-o", room, "tmpfs", case.path("disk"))
    if not is_inside() or not _quietly(*mount):
        case.figures[KIND].skipped = "mounting is not allowed here"
        return
    try:
        shutil.copy(case.path("plain.pos"), case.path("disk", "comp.pos"))
        (_save_in_turns if tight else _fill_and_free)(case, component)
        if case.lost:
            shutil.copytree(case.path("disk"), case.path("disk-copy"))
    finally:
        _quietly("umount", "-l", case.path("disk"))


def _save_in_turns(case, component):
    """Room for the old and the new document is enough, however fast the saves follow each other."""
    open(case.path("go"), "w", encoding="utf8").close()
    case.figures[KIND].runs += 1
    run = case.start(case.path("disk", "comp.pos"), 8)
    if run.expect_success(KIND) and FAILED in run.log():
        case.loss(KIND, "a save found no room for a second document")
    case.check(KIND, run, component, job_size=2)


def _fill_and_free(case, component):
    figure = case.figures[KIND]
    workers = (1, 4)[case.number % 2]
    filler = case.path("disk", "filler")
    run = case.start(case.path("disk", "comp.pos"), workers)
    start = case.rng.randrange(1, JOBS // 2)
    figure.runs += 1
    if not run.wait_for(KIND, lambda log: len(UPDATE.findall(log)) >= start):
        return
    _fill(filler)
    run.wait_for(KIND, lambda log: _fill(filler) or log.count(FAILED) >= FAILURES)
    failing = _state(run)
    for _ in range(20):
        _fill(filler)
        _read(case, run, component, failing)
    os.remove(filler)
    open(case.path("go"), "w", encoding="utf8").close()
    if not run.expect_success(KIND):
        return
    _check_log(case, run)
    verdicts = case.check(KIND, run, component, job_size=2)
    if verdicts is not None and len(verdicts) != JOBS * 2:
        case.loss(KIND, f"{len(verdicts)} of {JOBS * 2} verdicts in the end")


def _fill(path):
    """Takes all the room that is left; nothing to do is fine."""
    file = os.open(path, os.O_WRONLY | os.O_CREAT | os.O_APPEND)
    try:
        for size in (65536, 4096, 1):
            while True:
                os.write(file, b"f" * size)
    except OSError as error:
        if error.errno != errno.ENOSPC:
            raise
    finally:
        os.close(file)


def _state(run):
    """The document, and how often saves were announced and failed, at one time."""
    with open(run.pos, "rb") as file:
        data = file.read()
    log = run.log()
    return data, log.count("Saving new DOM"), log.count(FAILED)


def _read(case, run, component, failing):
    """While every save fails, the document is the same byte for byte; it is whole in any case."""
    case.figures[KIND].count("reads while full")
    try:
        read_document(run.pos, component)
    except (Malformed, OSError) as error:
        case.loss(KIND, f"read while the disk was full: {error}")
        return
    data, announced, failed = _state(run)
    all_failed = announced - failing[1] <= failed - failing[2]
    if run.workers == 1 and all_failed and data != failing[0]:
        case.loss(KIND, "the document changed although every save failed")


def _check_log(case, run):
    """One line for a failed save: with one worker, never two between two announcements."""
    since = 0
    for line in run.log().split("\n"):
        if "Saving new DOM" in line:
            since = 0
        elif line.startswith(FAILED):
            since += 1
            case.figures[KIND].count("failed saves")
            if run.workers == 1 and since > 1:
                case.loss(KIND, "a failed save is reported twice")
