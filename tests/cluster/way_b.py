"""A project of components, each an element of an array of jobs."""

import json
import os
import signal
import time

from cluster.case import EXAMPLES, MARK, Case, processes_with, read, wait_for

SLURM = os.path.join(EXAMPLES, "slurm")
# While there is a file "slow", only the first goal of an obligation comes to its end. The verdict
# follows from the numbers of the goal.
TOOLS = {
    "writer": 'goal=$2.$3\nwhile [ $# -gt 1 ]; do [ "$1" != -o ] || echo $goal >"$2"; shift; done',
    "prover": "read -r goal\nwhile [ -e slow ] && [ ${goal#*.} != 0 ]; do sleep 0.1; done\n"
              "echo $goal",
    "reader": "read -r goal\ncase $goal in *1) echo Disproved ;; *3) echo Unknown ;; "
              "*.*) echo Proved ;; esac",
}
MECHANISM = """<mechanism trust="always"><driver name="Z3" group="none">
<writer name="w" path="{0}/writer"/><prover name="p" path="{0}/prover"/>
<reader name="r" path="{0}/reader"/></driver></mechanism>"""
FIGURES = {"Proved": "proved", "Proved externally": "provedByMechanisms",
           "Unreliably proved": "unreliablyProved", "Disproved": "disproved",
           "Unproved": "unproved"}
SMALL = ("--mem-per-cpu=16", "--time=10")  # what the cluster of the tests has


class WayB(Case):
    def setUp(self):
        super().setUp()
        for name, text in TOOLS.items():
            self.write(name, "#!/bin/sh\n" + text + "\n", 0o755)
        self.write("direct.xml", MECHANISM.format(self.folder))

    def project(self, *names):
        """Copies of the example under these names, and the list of them from line 2 on."""
        for name in names:
            os.makedirs(os.path.dirname(self.path(name)), exist_ok=True)
            self.copy_pos(name)
        self.write("list", "# the project\n" + "\n".join(names) + "\n")

    def local(self):
        """The POS file that a run without a cluster and without a stop makes."""
        os.makedirs(self.path("local-work"), exist_ok=True)
        run = self.run_in("mechrun", "-m", "direct.xml", "-s", self.copy_pos("local.pos"), "-p",
                          "x.pog", "-d", "local-work")
        self.assertEqual((0, ""), (run.returncode, run.stderr))
        return read(self.path("local.pos"))

    def submit(self, words, *options):
        run = self.run_in("sbatch", "--parsable", *SMALL, *options, f"--array={words}",
                          os.path.join(SLURM, "replay-array"), "list", "results", "-m",
                          "direct.xml")
        self.assertEqual((0, ""), (run.returncode, run.stderr))
        return run.stdout.strip()

    def finish(self, seconds=60):
        self.assertTrue(wait_for(lambda: not self.slurm.jobs(), seconds), "the jobs do not end")
        # A controller may forget a job before its node has ended it.
        self.slurm.wait_until_idle()

    def sum_up(self, *options):
        run = self.run_in(os.path.join(SLURM, "replay-totals"), *options, "list", "results")
        self.assertEqual("", run.stderr)
        return run.returncode, run.stdout

    def shown(self, names):
        """What mechtool counts in the POS files, in the words of the sum."""
        answer = json.loads(self.run_in("mechtool", "show", "--json", *names).stdout)
        return "".join(f"\t {word} {answer['totals'][name]}" for word, name in FIGURES.items())

    def assert_folders_removed(self):
        self.assertEqual([], os.listdir(self.path("node")))

    def environment(self, **more):
        os.makedirs(self.path("node"), exist_ok=True)
        return super().environment(TMPDIR=self.path("node"), **more)

    def test_elements_reach_what_local_runs_reach_and_faults_are_named(self):
        names = ["a/buffer.pos", "b/buffer.pos", "two words/buffer.pos", "gone.pos", "torn.pos",
                 "lost.pos"]
        self.project(*names)
        expected = self.local()
        os.remove(self.path("gone.pos"))
        self.write("torn.pos", "<Proof_Obligations>")
        status, words = self.sum_up("--array")  # of a project that nobody has replayed
        self.assertEqual((1, "2-7\n"), (status, words))
        writer = self.path("writer")
        whole = read(writer).decode()
        self.write("writer", whole.replace("goal=", "case $* in */lost*) exit ;; esac\ngoal=", 1),
                   0o755)
        self.submit(words.strip())
        self.finish()
        self.write("writer", whole, 0o755)
        status, text = self.sum_up()
        self.assertEqual(1, status)
        lines = text.splitlines()
        self.assertEqual("3 of 6 components are finished.", lines[0])
        self.assertEqual("TOTAL for 4 of 6 components" + self.shown([*names[:3], "lost.pos"]),
                         lines[1])
        for line, part in zip(lines[2:], ("5\tgone.pos: cannot find", "6\ttorn.pos: its POS file is "
                              "malformed", "7\tlost.pos: its log reports", "To run again: ")):
            self.assertIn(part, line)
        for name in ("gone.pos", "torn.pos"):
            self.copy_pos(name)
        self.submit(self.sum_up("--array")[1].strip())
        self.finish()
        status, text = self.sum_up()
        self.assertEqual((0, "6 of 6 components are finished.\n"
                          "TOTAL for 6 of 6 components" + self.shown(names) + "\n"), (status, text))
        self.assertEqual([expected] * 6, [read(self.path(name)) for name in names])
        self.assertEqual((0, ""), self.sum_up("--array"))
        self.assert_folders_removed()
        self.assert_nothing_left()

    def test_an_element_that_is_stopped_has_saved_and_goes_on(self):
        names = [f"{stop}.pos" for stop in ("limit", "cancel", "shell", "pending")]
        self.project(*names)
        expected, before = self.local(), read(self.copy_pos("untouched.pos"))
        self.write("slow", "")
        self.submit("2", "--time=1", "--signal=B:TERM@50")
        job = self.submit("3-4")
        pending = self.submit("5", "--begin=now+1hour")
        self.assertTrue(wait_for(lambda: all(read(self.path(name)) != before
                                             for name in names[:3]), 30))
        self.slurm.ask("scancel", f"{job}_3")
        self.slurm.ask("scancel", "--batch", "--signal=TERM", f"{job}_4")
        self.slurm.ask("scancel", pending)
        self.finish(100)
        saved = [read(self.path(name)) for name in names]
        for name, content in zip(names[:3], saved):
            self.assertTrue(before != content != expected, f"{name}: nothing or all was saved")
        self.assertEqual(before, saved[3])
        status, text = self.sum_up()
        self.assertEqual((1, 3), (status, text.count("was stopped")))
        self.assertIn("To run again: --array=2-5\n", text)
        self.assert_folders_removed()
        os.remove(self.path("slow"))
        self.submit(self.sum_up("--array")[1].strip())
        self.finish()
        self.assertEqual((0, ""), self.sum_up("--array"))
        self.assertEqual([expected] * 4, [read(self.path(name)) for name in names])
        self.assert_nothing_left()

    def test_of_two_over_one_component_the_second_refuses_at_once(self):
        self.project("one.pos")
        os.symlink("one.pos", self.path("link.pos"))
        expected, before = self.local(), read(self.path("one.pos"))
        self.write("slow", "")
        self.submit("2", "--nodelist=node1")
        self.assertTrue(wait_for(lambda: read(self.path("one.pos")) != before, 30))
        lists = read(self.path("list")).decode()
        self.write("list", lists.replace("one.pos", "link.pos"))
        for command in (["sbatch", "--wait", *SMALL, "--array=2", "--nodelist=node2",
                         "--output=refused"], []):
            began = time.monotonic()
            run = self.run_in(*command, os.path.join(SLURM, "replay-array"), "list", "others",
                              "-m", "direct.xml", env=self.environment(SLURM_ARRAY_TASK_ID="2"))
            self.assertEqual(75, run.returncode, run.stderr)
            self.assertLess(time.monotonic() - began, 15)
        self.assertIn("another replay of", read(self.path("refused")).decode())
        self.assertIn("another replay of", run.stderr)
        self.assertFalse(os.path.exists(self.path("others")))
        os.remove(self.path("slow"))
        self.finish()
        self.write("list", lists)
        self.assertEqual((0, ""), self.sum_up("--array"))
        self.assertEqual(expected, read(self.path("one.pos")))

    def test_whoever_kills_an_element_the_lock_goes_with_its_mechrun(self):
        self.project("one.pos")
        self.write("slow", "")
        command = [os.path.join(SLURM, "replay-array"), "list", "results", "-m", "direct.xml"]
        element = self.environment(SLURM_ARRAY_TASK_ID="2")
        shell = self.start(*command, env=element)
        before = read(os.path.join(EXAMPLES, "buffer.pos"))
        self.assertTrue(wait_for(lambda: read(self.path("one.pos")) != before, 30))
        shell.kill()
        shell.wait()
        self.assertEqual(75, self.run_in(*command, env=element).returncode)
        for pid in self._mechruns():
            os.kill(pid, signal.SIGKILL)
        os.remove(self.path("slow"))
        self.assertTrue(wait_for(lambda: self.run_in(*command, env=element).returncode == 0, 10))
        self.assertEqual((0, ""), self.sum_up("--array"))

    def _mechruns(self):
        return [pid for pid, command in processes_with(MARK, self.mark).items()
                if command.startswith("mechrun ")]
