"""mechrun with the wrapper in the place of mechlimit: each prover is a job, or a step."""

import os
import signal
import time

from cluster.case import EXAMPLES, ProversOnNodes, read
from cluster.slurm import wait_for

JOBS = 13  # of the mechanism direct over the example
CRASHED = "Driver prover crashed."
SLEEP = "echo began >>{began}; exec sleep 100"
READER = ('resource="Smt_Reader" path="examples/tools/smt-reader"', 'path="{reader}"')

# (what, in an allocation, how the run ends; wait until provers run)
KILLS = (
    ("SIGTERM, jobs", False, signal.SIGTERM, True),
    ("SIGKILL, jobs", False, signal.SIGKILL, True),
    ("SIGTERM, steps", True, signal.SIGTERM, True),
    ("SIGKILL, steps", True, signal.SIGKILL, True),
    ("SIGINT, steps", True, signal.SIGINT, True),
    ("SIGTERM, jobs that begin", False, signal.SIGTERM, False),
    ("SIGKILL, jobs that begin", False, signal.SIGKILL, False),
    ("SIGKILL, steps that begin", True, signal.SIGKILL, False),
)


class WayA(ProversOnNodes):
    def replace_prover(self, script):
        """Environment in which the prover is this script."""
        os.makedirs(self.path("bin"), exist_ok=True)
        self.write("bin/z3", f"#!/bin/sh\n{script}\n", 0o755)
        return f"{self.path('bin')}:{self.environment()['PATH']}"

    def test_the_verdicts_are_those_of_the_local_run(self):
        local = self.local_run(self.direct)
        job, inside = self.allocate("--mem-per-cpu=3000M")
        for place, environment in (("jobs", self.environment()), ("steps", inside)):
            with self.subTest(place):
                pos = self.copy_pos()
                run = self.run_in("mechrun", *self.options(self.direct, self.resources, pos, 4),
                                  env=environment)
                self.assertEqual((0, ""), (run.returncode, run.stderr))
                self.assertTrue(read(pos) == local, run.stdout)
                self.assert_nothing_left(but=(job,))

    def test_a_killed_run_leaves_neither_job_nor_step(self):
        path = self.replace_prover(SLEEP.format(began=self.path("began")))
        for what, inside, number, runs in KILLS:
            with self.subTest(what):
                job, environment = (self.allocate("--mem-per-cpu=3000M") if inside
                                    else (None, self.environment()))
                self.write("began", "")
                pos = self.copy_pos()
                run = self.start("mechrun", *self.options(self.direct, self.resources, pos, 3),
                                 env={**environment, "PATH": path})
                if runs:
                    self.assertTrue(wait_for(lambda: read(self.path("began")).count(b"\n") > 2, 20))
                else:
                    time.sleep(0.15)
                run.send_signal(number)
                run.communicate(timeout=40)
                self.assert_nothing_left(5, but=(job,))
                self.assertEqual(read(os.path.join(EXAMPLES, "buffer.pos")), read(pos))
                self.slurm.run("scancel", job or "")

    def test_a_prover_that_did_not_run_changes_nothing(self):
        missing = self.mechanism("direct", ('value="z3"', 'value="z3-that-is-not-there"'))
        # (what, mechanism, environment)
        for what, mechanism, more in (
                ("no mechlimit on the node", self.direct, {"SRUN_PROVER_FOLDER": "/nowhere"}),
                ("no prover on the node", missing, {}),
                ("no such partition", self.direct, {"SRUN_PROVER_OPTIONS": "--partition=none"})):
            with self.subTest(what):
                self.assert_lost(mechanism, self.environment(**more), 4)
                self.assert_nothing_left()
        self.slurm.stop_controller()
        try:
            with self.subTest("the controller is down"):
                self.assert_lost(self.direct, self.environment(), JOBS)
        finally:
            self.slurm.start_controller()

    def test_a_prover_that_the_cluster_ended_changes_nothing(self):
        began = self.path("began")
        script = f"trap 'echo sat; exit 0' TERM; echo began >>{began}; while :; do sleep 0.1; done"
        path = self.replace_prover(script)
        job, inside = self.allocate("--mem-per-cpu=3000M")
        for what, environment, one in (
                ("each job is cancelled", self.environment(), None),
                ("each step is cancelled", inside, None),
                ("the allocation is cancelled", inside, job)):
            with self.subTest(what):
                self.assert_lost(self.direct, {**environment, "PATH": path}, 4,
                                 lambda one=one: self.cancel(one))
                self.assert_nothing_left(but=(job,))

    def cancel(self, job):
        steps = [step for step in self.slurm.steps() if step.rpartition(".")[2].isdigit()]
        for number in [job] if job else steps:
            self.slurm.run("scancel", number)
        time.sleep(0.3)

    def assert_lost(self, mechanism, environment, workers, meanwhile=None):
        """Every job of the run is lost, the log says so, and the POS file is what it was."""
        pos = self.copy_pos()
        before = os.stat(pos).st_mtime_ns, read(pos)
        run = self.start("mechrun", *self.options(mechanism, self.resources, pos, workers),
                         env=environment)
        while meanwhile and run.poll() is None:
            meanwhile()
        output, errors = run.communicate(timeout=60)
        self.assertEqual(0, run.returncode, errors)
        self.assertEqual([CRASHED] * JOBS, errors.splitlines(), output)
        self.assertTrue(before[1] == read(pos))

    def test_a_reader_that_ends_early_leaves_no_job(self):
        reader = self.write("reader", "#!/bin/sh\nexit 0\n", 0o755)
        path = self.replace_prover("while echo x; do sleep 0.1; done")
        mechanism = self.mechanism("direct", (READER[0], READER[1].format(reader=reader)))
        start = time.monotonic()
        self.assert_lost(mechanism, self.environment(PATH=path), 4)
        self.assert_nothing_left()
        self.assertLess(time.monotonic() - start, 20)  # mechlimit alone would take twice as long

    def test_what_a_prover_leaves_behind_holds_nobody(self):
        local = self.local_run(self.direct)
        path = self.replace_prover('setsid sleep 100 &\nexec /usr/bin/z3 "$@"')
        pos = self.copy_pos()
        run = self.run_in("mechrun", *self.options(self.direct, self.resources, pos, 4),
                          env=self.environment(PATH=path))
        self.assertEqual((0, ""), (run.returncode, run.stderr))
        self.assertTrue(read(pos) == local, run.stdout)
        self.assert_nothing_left()
