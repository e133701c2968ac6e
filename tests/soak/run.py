"""One case of a soak, with its own directory, and the runs of mechrun in it."""

import itertools
import os
import random
import shutil
import signal
import subprocess
import time

from soak import enclosure
from soak.component import Malformed, read_document, word_of
from soak.trace import Trace, losses

MARK = "MECHRUN_SOAK_RUN"
RUN_LIMIT = 60  # seconds; a run that takes longer hangs
BYSTANDERS = "processes of others"
MOST_SHOWN = 3   # losses of one check that are spelled out

_run_numbers = itertools.count()


class Setting:
    """What all cases share: the binary and the tools (both copied into `base`), seed, length."""

    def __init__(self, base, binary, tools, seed, minutes):
        self.base = base
        self.binary = binary
        self.tools = tools
        self.seed = seed
        self.minutes = minutes


class Case:
    """A repeatable piece of a scenario. Its directory stays behind when something was lost."""

    def __init__(self, setting, scenario, number, figures):
        self.setting = setting
        self.number = number
        self.name = f"{scenario}/{number}"
        self.rng = random.Random(f"{setting.seed}/{self.name}")
        self.directory = os.path.join(setting.base, self.name.replace("/", "-"))
        self.figures = figures
        self.lost = 0
        self._runs = []
        self._bystanders = {}
        os.makedirs(self.path("mechanisms"))

    def path(self, *names):
        return os.path.join(self.directory, *names)

    def prepare(self, component, pos="comp.pos"):
        component.write_pos(self.path(pos))
        component.write_mechanism(self.path("mechanisms", "mech.xml"))
        return self.path(pos)

    def start(self, pos, workers, **options):
        self._place_bystander(options)
        run = Run(self, pos, workers, **options)
        self._runs.append(run)
        return run

    def _place_bystander(self, options):
        """A process that is none of mechrun's, of the same user: no run may end it."""
        user = options.get("user", "")
        if user not in self._bystanders:
            owner = {key: options[key] for key in ("user", "group", "extra_groups") if user}
            self._bystanders[user] = subprocess.Popen(["sleep", "100000"],
                                                        start_new_session=True, **owner)

    def _dismiss_bystanders(self):
        for bystander in self._bystanders.values():
            self.figures[BYSTANDERS].runs += 1
            if bystander.poll() is not None:
                self.loss(BYSTANDERS, f"one was ended with status {bystander.returncode}")
            bystander.kill()
            bystander.wait()

    def loss(self, kind, text):
        """Counts a loss; its line has what is needed to look into it."""
        self.lost += 1
        self.figures[kind].lost += 1
        print(f"LOST  {kind}: {text}\n      seed {self.setting.seed}, case {self.name}, "
              f"kept in {self.directory}", flush=True)

    def losses(self, kind, texts):
        for text in texts[:MOST_SHOWN]:
            self.loss(kind, text)
        if len(texts) > MOST_SHOWN:
            self.loss(kind, f"... and {len(texts) - MOST_SHOWN} more of the same check")

    def check(self, kind, run, component, before=None, job_size=1, words=word_of):
        """Reads the POS file of an ended run and compares it with the trace of the run.

        Returns the verdicts, or None when the file is no whole document.
        """
        trace = Trace(run.log(), run.workers)
        if not run.was_killed:
            trace.ended()
        self.figures[kind].count("verdicts", trace.saved)
        self.figures[kind].count("documents")
        try:
            verdicts = read_document(run.pos, component).verdicts
        except (Malformed, OSError) as error:
            if os.path.exists(run.pos):
                shutil.copy(run.pos, self.path("lost.pos"))
            self.loss(kind, f"POS file: {error}")
            return None
        unannounced = run.workers * job_size if run.was_killed else 0
        texts = losses(trace, verdicts, before, words, job_size, unannounced)
        if texts:
            shutil.copy(run.pos, self.path("lost.pos"))
        self.losses(kind, texts)
        return verdicts

    def finish(self):
        for run in self._runs:
            run.end()
        self._dismiss_bystanders()
        enclosure.reap()
        if self.lost == 0:
            shutil.rmtree(self.directory, ignore_errors=True)


class Run:
    """One process of mechrun, its report and its log; in a session and under a mark of its own."""

    def __init__(self, case, pos, workers, work="work", mechanism="mech", **options):
        number = next(_run_numbers)
        self.case = case
        self.pos = pos
        self.workers = workers
        self.work = case.path(work)
        self.was_killed = False
        self.mark = f"{os.getpid()}-{number}"
        self._log = case.path(f"log-{number}")
        self._report = case.path(f"report-{number}")
        os.makedirs(self.work, exist_ok=True)
        if "user" in options:
            self._give_to(options["user"])
        command = [case.setting.binary, "-m", case.path("mechanisms", f"{mechanism}.xml"),
                   "-s", pos, "-p", "comp.pog", "-d", self.work, "-c", str(workers), "-t", "1"]
        with open(self._log, "wb") as log, open(self._report, "wb") as report:
            self.process = subprocess.Popen(
                command, stdin=subprocess.DEVNULL, stdout=report, stderr=log, cwd=case.directory,
                env={**os.environ, MARK: self.mark}, start_new_session=True, **options)

    def _give_to(self, user):
        for folder, _, files in os.walk(self.case.directory):
            for path in [folder] + [os.path.join(folder, file) for file in files]:
                shutil.chown(path, user)

    def log(self):
        with open(self._log, encoding="utf8", errors="replace") as file:
            return file.read()

    def report(self):
        with open(self._report, encoding="utf8", errors="replace") as file:
            return file.read()

    def wait(self, kind, limit=RUN_LIMIT):
        """The exit status; None, and a loss, when the run hangs."""
        try:
            return self.process.wait(limit)
        except subprocess.TimeoutExpired:
            self.case.loss(kind, f"no end within {limit} seconds")
            self.kill()
            return None

    def expect_success(self, kind, limit=RUN_LIMIT):
        status = self.wait(kind, limit)
        if status not in (0, None):
            self.case.loss(kind, f"exit status {status}; the log ends: {self.log()[-300:]!r}")
        return status == 0

    def wait_for(self, kind, condition, limit=RUN_LIMIT):
        """True once `condition` of the log holds; false when the run ends before."""
        end = time.monotonic() + limit
        while not condition(self.log()):
            if self.process.poll() is not None:
                return condition(self.log())
            if time.monotonic() > end:
                self.case.loss(kind, f"no progress within {limit} seconds")
                return False
            time.sleep(0.005)
        return True

    def kill(self):
        """Like `kill -9`. Only an unfinished run is killed by it."""
        self.process.kill()
        self.was_killed = self.process.wait() == -signal.SIGKILL

    def children(self):
        """The processes of this run other than mechrun itself: those that inherited its mark, and
        the guards, which have no environment but are in its session."""
        mark = f"{MARK}={self.mark}".encode()
        found = []
        for name in filter(str.isdigit, os.listdir("/proc")):
            try:
                with open(f"/proc/{name}/environ", "rb") as file:
                    marked = mark in file.read().split(b"\0")
                with open(f"/proc/{name}/cmdline", "rb") as file:
                    guard = b"mechrun-guard" in file.read().split(b"\0")
                ours = marked or (guard and os.getsid(int(name)) == self.process.pid)
                if ours and int(name) != self.process.pid:
                    found.append(int(name))
            except OSError:
                pass  # it has ended, or is not ours to see
        return found

    def children_after(self, seconds):
        """Those that are still there after some time."""
        end = time.monotonic() + seconds
        while self.children() and time.monotonic() < end:
            time.sleep(0.01)
        return self.children()

    def end(self):
        """Leaves nothing of this run behind."""
        if self.process.poll() is None:
            self.kill()
        for child in self.children():
            try:
                os.kill(child, signal.SIGKILL)
            except ProcessLookupError:
                pass
