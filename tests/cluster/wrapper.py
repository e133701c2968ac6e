"""The wrapper by itself: it ends as its program does, or by SIGABRT when it cannot tell."""

import os
import signal
import subprocess
import time

from cluster.case import Case
from cluster.slurm import processes_with, wait_for

ABORTED = -signal.SIGABRT
UNKNOWN = "was not started on a node, or did not end by itself"
ROUNDS = 12  # of each way to end the wrapper, at different instants

# (what, script, status, standard output, a piece of standard error)
ENDS = (
    ("an answer", "echo unsat", 0, "unsat\n", ""),
    ("a status", "printf half; echo reason >&2; exit 3", 3, "half", "reason\n"),
    ("a line of errors without an end", "printf cut >&2; exit 1", 1, "", "cut\n"),
    ("a status that is no signal's", "exit 255", 255, "", ""),
    ("a status of a signal that stops", "exit 147", 147, "", ""),
    ("a crash", "kill -SEGV $$", -signal.SIGSEGV, "", ""),
    ("a signal that bash ignores", "kill -QUIT $$", -signal.SIGKILL, "", ""),
    ("a flood of errors", "yes | head -c 3000000 >&2; echo sat; exit 4", 4, "sat\n", "y\ny\n"),
    ("errors that are binary", "head -c 300000 /dev/urandom >&2; exit 5", 5, "", ""),
    ("what Slurm says of a cancelled step", "echo 'slurmstepd-n: error: *** STEP 1.0 ON n CANCELLED "
     "AT t ***' >&2; echo sat", ABORTED, "sat\n", UNKNOWN),
    ("not found by a shell", "exit 127", ABORTED, "", UNKNOWN),
    ("not executable for a shell", "exit 126", ABORTED, "", UNKNOWN),
    ("a shell on the node that dies", "kill -TERM $PPID; sleep 1; echo sat", ABORTED, "sat\n", UNKNOWN),
)
# (what, how it is told; the group has the wrapper and its filters, but not srun)
KILLS = (
    ("SIGKILL to the group", lambda process: os.killpg(process.pid, signal.SIGKILL)),
    ("SIGKILL to the wrapper", lambda process: process.kill()),
    ("SIGTERM to the wrapper", lambda process: process.terminate()),
)


class Wrapper(Case):
    def places(self):
        """Where it runs: outside of an allocation, and in allocations of two kinds."""
        yield "job", self.environment()
        for option in ("--mem-per-cpu=3000M", "--mem=12000M"):
            job, environment = self.allocate("--nodes=1", option)
            yield f"step, {option}", environment
            self.slurm.ask("scancel", job)

    def test_it_ends_as_the_program_does_or_by_a_signal(self):
        program = self.link("sh")
        for place, environment in self.places():
            for what, script, status, output, errors in ENDS:
                with self.subTest(what, place=place):
                    run = self.run_in(program, "-c", script, env=environment, errors="replace")
                    self.assertEqual((status, output), (run.returncode, run.stdout), run.stderr)
                    self.assertIn(errors, run.stderr)

    def test_bytes_arrive_as_they_are_and_the_input_ends(self):
        blob = os.urandom(2000000)
        with open(self.path("blob"), "wb") as file:
            file.write(blob)
        with open(self.path("blob"), "rb") as file:
            run = subprocess.run([self.link("cat")], env=self.environment(SLURM_LABELIO="1",
                                 SLURM_UNBUFFEREDIO="1"), stdin=file, capture_output=True,
                                 timeout=60, check=False)
        self.assertEqual((0, b""), (run.returncode, run.stderr))
        self.assertTrue(run.stdout == blob, f"{len(run.stdout)} bytes, not those that were given")

    def test_what_is_meant_for_other_steps_changes_neither_environment_nor_folder(self):
        run = self.run_in(self.link("sh"), "-c", "echo $COLOUR; pwd", env=self.environment(
            SLURM_EXPORT_ENV="NONE", SLURM_WORKING_DIR="/usr", COLOUR="red"))
        self.assertEqual((0, f"red\n{self.folder}\n"), (run.returncode, run.stdout), run.stderr)

    def test_input_that_nobody_reads_takes_no_output_along(self):
        script = "sleep 0.3; head -c 3000000 /dev/zero; exit 3"
        with open(self.path("input"), "wb") as file:
            file.write(b"y\n" * 10000000)
        program, lengths = self.link("sh"), []
        for _ in range(4):
            processes = []
            for _ in range(6):
                with open(self.path("input"), "rb") as file:
                    processes.append(self.start(program, "-c", script, stdin=file))
            for process in processes:
                output, errors = process.communicate(timeout=60)
                self.assertEqual(3, process.returncode, errors)
                lengths.append(len(output))
        self.assertEqual([3000000] * len(lengths), lengths)

    def test_what_never_runs_ends_by_a_signal(self):
        links = os.path.dirname(self.link("sh"))
        ahead = f"{links}:{self.environment()['PATH']}"
        # No number of processes is too many for root.
        ordinary = ["setpriv", "--reuid=65534", "--clear-groups"] * (os.geteuid() == 0) + ["bash"]
        # (what, program, arguments, environment, the reason)
        table = (
            ("nowhere along PATH", self.link("not-there"), (), {}, "no such program along PATH"),
            ("not on the node", f"{links}/sh", (), {"SRUN_PROVER_FOLDER": "/nowhere"}, UNKNOWN),
            ("no such partition", f"{links}/sh", ("-c", "echo sat"),
             {"SRUN_PROVER_OPTIONS": "--partition=no --quiet"}, UNKNOWN),
            ("more memory than there is", f"{links}/sh", ("-c", "echo sat"),
             {"SRUN_PROVER_MEMORY": "900G"}, UNKNOWN),
            ("no such allocation", f"{links}/sh", ("-c", "echo sat"),
             {"SLURM_JOB_ID": "4000000"}, UNKNOWN),
            ("a folder that is gone", "sh", ("-c", "mkdir gone; cd gone; rmdir ../gone; "
             f"exec {links}/sh -c 'echo sat'"), {}, UNKNOWN),
            ("no input", "sh", ("-c", f"exec {links}/sh -c 'echo sat' <&-"), {}, "standard input"),
            ("no file for a pipe", "sh", ("-c", f"ulimit -n 6; exec {links}/sh -c 'echo sat'"), {},
             "make a pipe"),
            ("no room for a process", ordinary[0], (*ordinary[1:], "-c",
             f"ulimit -u 1; exec {links}/sh -c 'echo sat'"), {}, "fork"),
            ("output that cannot be passed on", "sh", ("-c", "trap '' PIPE; exec "
             f"{links}/sh -c 'echo sat' >/dev/full"), {}, "could not be passed on"),
            ("calls itself", f"{links}/sh", ("-c", f"{links}/sh -c true"), {},
             "is called by what it runs"),
            ("no srun", f"{links}/sh", ("-c", "echo sat"), {"PATH": self.path_without_srun()},
             UNKNOWN),
        )
        for what, program, arguments, more, reason in table:
            with self.subTest(what):
                run = self.run_in(program, *arguments, env=self.environment(**more))
                self.assertEqual((ABORTED, ""), (run.returncode, run.stdout), run.stderr)
                self.assertIn(reason, run.stderr)
        self.slurm.stop_controller()
        try:
            run = self.run_in(f"{links}/sh", "-c", "echo sat")
        finally:
            self.slurm.start_controller()
        self.assertEqual((ABORTED, ""), (run.returncode, run.stdout), run.stderr)
        self.assertRegex(run.stderr, f"(?s)Unable to contact slurm controller.*{UNKNOWN}")
        run = self.run_in(f"{links}/sh", "-c", "echo found", env=self.environment(PATH=ahead))
        self.assertEqual((0, "found\n"), (run.returncode, run.stdout))

    def path_without_srun(self):
        os.makedirs(self.path("bin"))
        for name in ("bash", "sh", "awk", "cat", "realpath", "setsid", "setpriv"):
            os.symlink(f"/usr/bin/{name}", self.path("bin", name))
        return self.path("bin")

    def test_an_end_that_the_cluster_brings_about_is_no_answer(self):
        # Such a program takes the signal for its own limit, gives an answer, and ends well. Its
        # shell may report that before it is ended, too; so there are many programs.
        program = self.link("sh")
        script = "trap 'echo sat; exit 0' TERM; echo began; while :; do sleep 0.05; done"
        job, inside = self.allocate("--mem-per-cpu=3000M")
        # (what, environment, how many programs, what the cluster does)
        for what, environment, count, end in (
                ("a cancelled step", inside, 4,
                 lambda job, step: self.slurm.ask("scancel", f"{job}.{step}")),
                ("a cancelled allocation", inside, 4,
                 lambda job, step: self.slurm.run("scancel", job)),
                ("a cancelled job", self.environment(), 8,
                 lambda job, step: self.slurm.ask("scancel", job)),
                ("a job beyond its time", self.environment(), 4, self.end_time),
                ("a node that loses its step", self.environment(), 1, self.kill_step)):
            with self.subTest(what):
                processes = [self.start(program, "-c", script, env=environment)
                             for _ in range(count)]
                for process in processes:
                    self.assertEqual("began\n", process.stdout.readline())
                for step in self.running_steps(count):
                    end(*step.split("."))
                for process in processes:
                    output, errors = process.communicate(timeout=90)
                    self.assertEqual(ABORTED, process.returncode, f"{output} {errors}")
                    self.assertIn(UNKNOWN, errors)
                if end != self.kill_step:  # nobody is left to end what the daemon has started
                    self.assert_nothing_left(but=(job,))

    def running_steps(self, count):
        def steps():
            return [step for step in self.slurm.steps() if step.rpartition(".")[2].isdigit()]
        wait_for(lambda: len(steps()) == count, 10)
        return steps()

    def end_time(self, job, _):
        """The next look at the limits, at most half a minute later, ends the job."""
        self.slurm.ask("scontrol", "update", f"JobId={job}", "EndTime=now+2")

    def kill_step(self, job, step):
        """The daemon of the step ends, as when the node goes down. srun waits for the limit."""
        with_job = processes_with("SLURM_CONF", self.slurm.environment()["SLURM_CONF"])
        pids = [pid for pid, command in with_job.items() if f"slurmstepd: [{job}." in command]
        self.assertTrue(pids, with_job)
        for pid in pids:
            os.kill(pid, signal.SIGKILL)
        self.end_time(job, step)

    def test_whatever_ends_the_wrapper_leaves_nothing(self):
        program = self.link("sh")
        job, environment = self.allocate("--mem-per-cpu=3000M")
        # In the order of the instants, most of them before the program runs.
        for place, but, env in (("step", (job,), environment), ("job", (job,), self.environment())):
            for what, kill in KILLS:
                with self.subTest(what, place=place):
                    for number in range(ROUNDS):
                        process = self.start(program, "-c", "exec sleep 100", env=env)
                        time.sleep(0.02 * number)
                        kill(process)
                        process.wait(10)
                    self.assert_nothing_left(but=but)

    def test_a_reader_that_has_gone_ends_the_program_when_it_writes(self):
        process = self.start(self.link("sh"), "-c", "while :; do echo x; sleep 0.1; done")
        process.stdout.readline()
        process.stdout.close()
        self.assertEqual(-signal.SIGPIPE, process.wait(10))
        process.stdout = None  # it is closed
        self.assert_nothing_left()

    def test_what_holds_the_output_keeps_it_waiting_unless_it_is_limited(self):
        script = "setsid sleep 4 & echo unsat"
        for program, arguments, waits in (
                (self.link("sh"), ["-c", script], True),
                (self.link("mechlimit"), ["20", "0", "sh", "-c", script], False)):
            with self.subTest(program):
                start = time.monotonic()
                run = self.run_in(program, *arguments)
                self.assertEqual((0, "unsat\n"), (run.returncode, run.stdout), run.stderr)
                self.assertEqual(waits, time.monotonic() - start > 3.5)
