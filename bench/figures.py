"""The figures: which runs take turns, and what is made of their times."""

import contextlib
import os
import pty
import re
import shutil
import statistics
import subprocess
import sys
import tempfile
import threading
import time

from component import Component, SolverComponent, build_tools, write


def xargs(workers):
    return lambda line: ["xargs", "-P", str(workers), "-L", "1", "sh", "-c", line.format("$0", "$1")]


def parallel(workers):
    return lambda line: ["parallel", "-j", str(workers), "--colsep", " ", line.format("{1}", "{2}")]


# Peak memory of a command in KiB. A process counts the memory of its parent until it runs
# its program, and this program holds whole documents; so a small program starts the command.
PEAK = """
import os, sys
pid = os.posix_spawn(sys.argv[1], sys.argv[1:], os.environ,
                     file_actions=[(os.POSIX_SPAWN_OPEN, 1, os.devnull, os.O_WRONLY, 0)])
_, status, usage = os.wait4(pid, 0)
print(usage.ru_maxrss)
sys.exit(os.waitstatus_to_exitcode(status))
"""


class Bench:
    """Where the runs take place, how one is timed, and the figures."""

    def __init__(self, binary, folder, rounds, huge):
        self.binary = binary
        self.mechtool = os.path.join(os.path.dirname(os.path.dirname(binary)), "mechtool", "mechtool")
        self.folder = folder
        self.rounds = rounds
        self.huge = huge
        self.tools = os.path.join(folder, "tools")
        build_tools(self.tools)
        # Some file systems look at every file that was deleted in the last minutes when they make
        # one in the same part of the disk. This spreads the folders of the runs, so that none pays
        # for those before; where there is no such flag or tool it does nothing.
        with contextlib.suppress(FileNotFoundError):
            subprocess.run(["chattr", "+T", folder], stderr=subprocess.DEVNULL, check=False)

    def component(self, goals, jobs, milliseconds=0):
        return Component(self.folder, self.tools, goals, jobs, milliseconds)

    def measure(self, names):
        """All figures of the named groups: name -> value, lowest, highest and unit."""
        result = {}
        for name in names:
            print(f"bench/run: {name} ...", file=sys.stderr)
            for figure, (values, unit) in FIGURES[name](self).items():
                result[figure] = {"value": statistics.median(values), "unit": unit,
                                  "lowest": min(values), "highest": max(values)}
        return result

    # One run.

    @staticmethod
    def timed(command, **options):
        """Wall time in seconds of a command, which must succeed."""
        begin = time.monotonic()
        status = subprocess.run(command, stdout=subprocess.DEVNULL, check=False, **options).returncode
        seconds = time.monotonic() - begin
        if status != 0:
            sys.exit(f"bench/run: status {status}: {' '.join(command)}")
        return seconds

    @contextlib.contextmanager
    def fresh(self):
        """A folder for one run, with a folder for its secondary files in it."""
        folder = tempfile.mkdtemp(dir=self.folder)
        os.mkdir(os.path.join(folder, "files"))
        try:
            yield folder
        finally:
            shutil.rmtree(folder)

    @staticmethod
    def peak(command):
        """Peak memory of a command in KiB."""
        return int(subprocess.run([sys.executable, "-S", "-c", PEAK, *command], check=True,
                                  stdout=subprocess.PIPE).stdout)

    def mechrun(self, component, workers, idle=False, measure=None):
        """What `measure` says (the wall time, when not given) of a run over a fresh POS file; with
        `idle` there is nothing to replay in it."""
        with self.fresh() as folder:
            pos = os.path.join(folder, "component.pos")
            write(pos, component.idle_text if idle else component.text)
            resources = ["-r", component.resources] if component.resources else []
            command = [self.binary, *resources, "-m" + component.mechanism, "-s", pos,
                       "-p", component.pog, "-d", os.path.join(folder, "files"),
                       "-c" + str(workers)]
            measured = (measure or self.timed)(command)
            if not idle:
                self.check(component, pos)
        return measured

    def play(self, component, text, watched=()):
        """Wall time of a first play by mechtool over a POS file of this text. Its standard error is a
        terminal, on which nobody types."""
        terminal, line = pty.openpty()
        reading = threading.Thread(target=drain, args=(terminal,))
        reading.start()
        with self.fresh() as folder:
            pos = write(os.path.join(folder, "component.pos"), text)
            command = [self.mechtool, "play", "-m", component.mechanism, "-s", pos,
                       "-p", component.pog, "-d", os.path.join(folder, "files"), "-j2",
                       *(word.format(folder=folder) for word in watched or ["--quiet"])]
            seconds = self.timed(command, stderr=line, env={**os.environ, "TERM": "xterm"})
            with open(pos, encoding="utf-8") as file:
                if re.search('<Mechanism [^>]*status="Unproved"', file.read()):
                    sys.exit("bench/run: a goal has no verdict after a play")
        os.close(line)
        reading.join()
        os.close(terminal)
        return seconds

    @staticmethod
    def check(component, pos):
        """A run that lost a job must not pass for a fast one: every job leaves a verdict."""
        open_goal = re.compile('<Mechanism [^>]*status="Unproved"')
        with open(pos, encoding="utf-8") as file:
            left = len(open_goal.findall(file.read()))
        expected = len(open_goal.findall(component.text)) - len(component.addresses)
        if left != expected:
            sys.exit(f"bench/run: {left} goals have no verdict after the run, instead of {expected}")

    def shell(self, component, runner):
        """Wall time of the same tools for the same goals, started by another runner."""
        addresses = "".join(f"{obligation} {goal}\n" for obligation, goal in component.addresses)
        path = write(os.path.join(self.folder, "addresses"), addresses)
        with self.fresh() as folder, open(path, encoding="utf-8") as lines:
            file = f"{folder}/files/{{0}}_{{1}}"
            line = (f"{component.writer} -a {{0}} {{1}} -i {component.pog} -o {file}; "
                    f"{component.prover} <{file} | "
                    f"{component.reader.replace('FILE', file)} >/dev/null; rm {file}")
            return self.timed(runner(line), stdin=lines)

    def in_turns(self, *runs):
        """Runs all of them in every round, each round in the opposite order of the one before; the
        results, a list per round."""
        rounds = []
        for number in range(self.rounds):
            order = range(len(runs)) if number % 2 == 0 else reversed(range(len(runs)))
            results = {index: runs[index]() for index in order}
            rounds.append([results[index] for index in range(len(runs))])
        return rounds

    # The figures.

    def against(self, name, component, workers, runner):
        rounds = self.in_turns(lambda: self.mechrun(component, workers),
                               lambda: self.shell(component, runner))
        jobs = len(component.addresses)
        return {name: ([ours / theirs for ours, theirs in rounds], ""),
                f"{name}_job": ([ours / jobs * 1000 for ours, _ in rounds], "ms")}

    def vs_xargs(self):
        return self.against("vs_xargs", self.component(2000, 1000), 2, xargs(2))

    def vs_parallel(self):
        return self.against("vs_parallel", self.component(200, 200), 2, parallel(2))

    def solver(self):
        limit = os.path.join(os.path.dirname(os.path.dirname(self.binary)), "limit")
        return self.against("solver", SolverComponent(self.folder, 200, limit), 2, xargs(2))

    def growth(self):
        """Cost of a job beyond loading, and memory, as the component grows."""
        sizes = [200, 2000, 20000] + ([100000] if self.huge else [])
        components = [self.component(size, 200) for size in sizes]
        runs = [lambda c=component, i=idle: self.mechrun(c, 2, i)
                for component in components for idle in (False, True)]
        costs = {size: [] for size in sizes}
        for results in self.in_turns(*runs):
            for size, full, idle in zip(sizes, results[::2], results[1::2]):
                costs[size].append((full - idle) / 200 * 1000)
        result = {}
        for size in sizes[1:]:
            result[f"growth_{size}"] = ([c / b for c, b in zip(costs[size], costs[200])], "")
        for size in sizes:
            result[f"job_{size}"] = (costs[size], "ms")
        peaks = [self.mechrun(component, 2, measure=self.peak) for component in components]
        for size, peak in list(zip(sizes, peaks))[2:]:
            result[f"memory_{size}"] = ([(peak - peaks[0]) / (size - sizes[0])], "KiB a goal")
        return result

    def wide(self):
        component = self.component(20000, 1000, milliseconds=50)
        rounds = self.in_turns(lambda: self.mechrun(component, 16),
                               lambda: self.mechrun(component, 16, idle=True),
                               lambda: self.shell(component, xargs(16)))
        return {"wide": ([(full - idle) / theirs for full, idle, theirs in rounds], "")}

    def workers(self):
        component = self.component(2000, 1000)
        counts = (1, 2, 4, 64)
        rounds = self.in_turns(*(lambda n=count: self.mechrun(component, n) for count in counts))
        return {f"workers_{count}": ([results[index] for results in rounds], "s")
                for index, count in enumerate(counts)}

    def watched(self):
        """What progress, journal and limits add to a job."""
        component = self.component(1000, 1000)
        everything = ["--progress=always", "--journal={folder}/journal", "--time-limit=1000",
                      "--memory-limit=4096"]
        rounds = self.in_turns(lambda: self.play(component, component.text, everything),
                               lambda: self.play(component, component.text))
        return {"watched": ([ours / plain for ours, plain in rounds], "")}

    def idle(self):
        """mechtool against mechrun over 20,000 goals of which none is to be run."""
        component = self.component(20000, 200)
        component.idle_text = component.idle_text.replace('"Unproved"', '"Proved"')
        rounds = self.in_turns(lambda: self.play(component, component.idle_text),
                               lambda: self.mechrun(component, 2, idle=True))
        return {"idle_20000": ([ours / theirs for ours, theirs in rounds], "")}


def drain(terminal):
    """Reads what comes until nobody has the other end any more."""
    with contextlib.suppress(OSError):
        while os.read(terminal, 65536):
            pass


FIGURES = {"vs_xargs": Bench.vs_xargs, "vs_parallel": Bench.vs_parallel, "solver": Bench.solver,
           "growth": Bench.growth, "wide": Bench.wide, "workers": Bench.workers,
           "watched": Bench.watched, "idle": Bench.idle}
