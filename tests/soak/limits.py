"""Many workers, and limits of the system: a refused start is a failed job that the log names."""

import os
import pwd
import re
import resource

from soak.component import Component, Driver
from soak.enclosure import is_inside, is_root
from soak.trace import Trace

NAME = "limits"
FIRST = 4
WEIGHT = 1.5

GOALS = 2
CROWD_JOBS = 20000
LIMITED_RUN = 40  # seconds
CROWD_LIMIT = 1200
CROWD_JOBS_A_MINUTE = 1000  # a short soak has a smaller crowd
FAILED_JOB = re.compile(r"(-- ProofDirector -- Prover or reader refused: .*"
                        r"|-- ProofDirector -- Out of memory: .*"
                        r"|Unexpected number of results\..*|Driver (prover|reader) crashed\.)$")
SAID = re.compile(r"-- ProofDirector -- (Prover or reader refused|Cannot start another worker|"
                  r"Cannot save POS file|Writer had an error)")
USER = "nobody"


def run_case(case):
    if not is_inside():  # what a failed start might do to other processes must stay in there
        case.figures["limits of the system"].skipped = "no own namespace of processes here"
        return
    (_crowd, _few_files, _few_processes, _little_memory)[case.number % 4](case)


def _crowd(case):
    jobs = min(CROWD_JOBS, max(500, int(CROWD_JOBS_A_MINUTE * case.setting.minutes)))
    run = _run(case, "500 workers", jobs, 500, CROWD_LIMIT)
    if run and FAILED_JOB.search(run.log()):
        case.loss("500 workers", "a job failed although there is no limit")


def _few_files(case):
    _run(case, "64 open files, -c 60", 300, 60,
         preexec_fn=lambda: _limit(resource.RLIMIT_NOFILE, 64))


def _few_processes(case):
    """The limit counts all threads and processes of a user, and does not bind root."""
    room = case.rng.randrange(25, 80)
    kind = "few processes, -c 40"
    options = {"user": USER, "group": "nogroup", "extra_groups": []} if is_root() else {}
    user = USER if options else os.geteuid()
    limit = _tasks_of(user) + room
    _run(case, kind, 300, 40, preexec_fn=lambda: _limit(resource.RLIMIT_NPROC, limit), **options)


def _little_memory(case):
    """From just enough for one worker to enough for all 60."""
    megabytes = case.rng.choice((100, 150, 200, 300, 450, 600))
    _run(case, "little memory, -c 60", 300, 60,
         preexec_fn=lambda: _limit(resource.RLIMIT_AS, megabytes << 20))


def _limit(what, number):
    resource.setrlimit(what, (number, number))
    resource.setrlimit(resource.RLIMIT_CORE, (0, 0))


def _tasks_of(user):
    if isinstance(user, str):
        user = pwd.getpwnam(user).pw_uid
    tasks = 0
    for name in filter(str.isdigit, os.listdir("/proc")):
        try:
            if os.stat(f"/proc/{name}").st_uid == user:
                tasks += len(os.listdir(f"/proc/{name}/task"))
        except OSError:
            pass
    return tasks


def _run(case, kind, jobs, workers, limit=LIMITED_RUN, **options):
    figure = case.figures[kind]
    component = Component([Driver(case.setting.tools)], [0] * jobs, GOALS)
    run = case.start(case.prepare(component), workers, **options)
    ended = run.expect_success(kind, limit)
    figure.runs += 1
    if not ended:
        return None
    verdicts = case.check(kind, run, component, job_size=GOALS)
    if verdicts is None:
        return None
    lines = run.log().split("\n")
    settled = len(Trace(run.log(), workers).updates) // GOALS
    said = sum(1 for line in lines if FAILED_JOB.match(line))
    figure.count("jobs", jobs)
    figure.count("failed", jobs - settled)
    figure.count("refusals said", sum(1 for line in lines if SAID.match(line)))
    if jobs - settled != said:
        case.loss(kind, f"{jobs - settled} jobs failed, {said} said so")
    return run
