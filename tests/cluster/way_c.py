"""One run of mechrun in a whole allocation, with a worker for each slot."""

import os
import time

from cluster.case import EXAMPLES, ProversOnNodes, read
from cluster.slurm import wait_for

SCRIPT = os.path.join(EXAMPLES, "slurm", "allocation.sbatch")


class WayC(ProversOnNodes):
    def test_the_verdicts_are_those_of_the_local_run(self):
        local = self.local_run(self.direct)
        pos = self.copy_pos()
        options = self.options(self.direct, self.resources, pos)
        for what, command in (
                ("salloc", ["salloc", "--ntasks=6", "--mem-per-cpu=2500M", "mechrun", "-c", "6"]),
                ("sbatch", ["sbatch", "--wait", "--ntasks=6", "--time=5", "--output=log", SCRIPT])):
            with self.subTest(what):
                self.copy_pos()
                run = self.run_in(*command, *options)
                self.assertEqual(0, run.returncode, run.stderr)
                self.assertTrue(read(pos) == local, run.stdout + run.stderr)
                self.assert_nothing_left()

    def test_a_stopped_job_is_saved_and_the_same_command_goes_on(self):
        local = self.local_run(self.direct)
        prover = ('[ "$(wc -l <runs)" -lt 6 ] || [ -e go ] || exec sleep 100\n'
                  'echo run >>runs; exec /usr/bin/z3 "$@"')
        os.mkdir(self.path("bin"))
        self.write("bin/z3", f"#!/bin/sh\n{prover}\n", 0o755)
        self.write("runs", "")
        environment = self.environment()
        environment["PATH"] = f"{self.path('bin')}:{environment['PATH']}"
        pos = self.copy_pos()
        command = ["sbatch", "--parsable", "--ntasks=3", "--time=5", "--output=log", SCRIPT,
                   *self.options(self.direct, self.resources, pos)]
        # By the signal that sbatch sends before the limit, and by a kill of all at once.
        for how in (("--batch", "--signal=TERM"), ("--full", "--signal=KILL")):
            job = self.run_in(*command, env=environment).stdout.strip()
            self.assertTrue(wait_for(lambda job=job: self.busy(job), 30), self.slurm.jobs())
            self.slurm.ask("scancel", *how, job)
            self.assertTrue(wait_for(lambda: not self.slurm.jobs(), 40))
            self.assert_nothing_left()
        stopped = read(pos)
        self.assertNotIn(stopped, (local, read(os.path.join(EXAMPLES, "buffer.pos"))))
        self.write("go", "")
        run = self.run_in("sbatch", "--wait", *command[2:], env=environment)
        self.assertEqual(0, run.returncode, run.stderr)
        self.assertTrue(read(pos) == local, read(self.path("log")))

    def busy(self, job):
        """The run has come to the provers that wait."""
        steps = [step for step in self.slurm.steps() if step.startswith(f"{job}.")]
        if read(self.path("runs")).count(b"\n") < 6 or len(steps) < 4:
            return False
        time.sleep(0.5)
        return True
