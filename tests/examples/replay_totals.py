"""The sums over a project, and the lists that replay-array and replay-totals read alike.

    replay_totals.py MECHRUN_FOLDER
"""

import glob
import os
import shutil
import subprocess
import sys
import tempfile
import unittest

SLURM = os.path.join(os.path.dirname(os.path.realpath(__file__)), "..", "..", "examples", "slurm")
PROGRAMS = os.path.realpath(sys.argv.pop(1))
ONE_OPEN = b'<Proof_Obligations><Proof_Obligation><Tag>t</Tag><Simple_Goal status="Unproved"/>' \
           b"</Proof_Obligation></Proof_Obligations>"
FIGURES = ("Proved", "Proved externally", "Unreliably proved", "Disproved", "Unproved")


def total(*figures, name="comp"):
    return f"TOTAL for {name}" + "".join(f"\t {f} {n}" for f, n in zip(FIGURES, figures)) + "\n"


GOOD = total(3, 2, 0, 1, 4)
# Label, report, log (None: there is none), a part of the reason; an empty one: finished.
REPORTS = (
    ("in order", "Proving comp with ...\n" + GOOD, "", ""),
    ("fewer threads", GOOD, "-- ProofDirector -- Cannot start another worker thread: x\n", ""),
    ("a long heading", "\t\t" + "TOTAL for " * 20000 + "\n" + GOOD, "", ""),
    ("no report", None, "", "no report"),
    ("empty", "", "", "does not end with its totals"),
    ("stopped", "Proving comp\n\tProof driver Z3, still 36 unproved PO\n", "", "does not end with"),
    ("cut short", GOOD[:-1], "", "does not end with"),
    ("something follows", GOOD + "more\n", "", "does not end with"),
    ("another component", total(3, 2, 0, 1, 4, name="other"), "", "does not end with"),
    ("a name that only begins alike", total(3, 2, 0, 1, 4, name="comp.x"), "", "does not end with"),
    ("twice", GOOD + GOOD, "", "does not end with"),
    ("no number", GOOD.replace("3", "-3"), "", "does not end with"),
    ("a number that is none", GOOD.replace("3", "9" * 5000), "", "does not end with"),
    ("bytes", "\0\x1b[2J" * 40000, "", "does not end with"),
    ("records missing", "Proving comp\nError comp .pos\nEnd of proof\n\n" + GOOD, "", "Error comp"),
    ("unreadable", "ErrorFile not readable c.pos\n" + total(0, 0, 0, 0, 0), "", "not readable"),
    ("malformed", "End of proof\n\n" + total(0, 0, 0, 0, 0), "", "malformed"),
    ("a lost job", GOOD, "Driver prover crashed.\n", "log reports faults: Driver prover"),
    ("a log that moves the cursor", GOOD, "\x1b[2J", "faults: \\x1b[2J"),
    ("no log", GOOD, None, "cannot read its log"),
)
# Label, list, what is printed with --array, a part of the message.
LISTS = (
    ("ranges", "".join(f"{n}.pos\n" for n in range(1, 8)), "1-7", ""),
    ("comments count", "#x\n \t\na.pos\n#b.pos\nb.pos\r\nc.pos\tx.pog\r\n\nd.pos", "3,5-6,8", ""),
    ("empty", "", "", "no line names a component"),
    ("comments only", "#\n\r\n", "", "no line names a component"),
    ("twice", "a.pos\n./a.pos\n", "", "line 2 names the POS file of line 1 again"),
    ("a folder", "a.pos\nsub/\n", "", "line 2 names no POS file"),
    ("no POS file", "\ta.pog\n", "", "line 1 names no POS file"),
    ("bytes", "a\0b\n", "", "line 1 names no POS file"),
    ("too large", "a" * (1 << 24) + "\n", "", "too large"),
)
# Paths as a list may hold them; the first two have the same name.
NAMES = (b"a/comp.pos", b"b/comp.pos", b" two  blanks /x y.pos ", b"'$(x)\"*`;&.pos", b"-r.pos",
         b"back\\slash.a\\b.pos", b"noextension", b"..dots..pos", "\xe9\u2028.pos".encode(),
         b"n" * 245 + b".pos", b"\x1b[2J.pos")


class Totals(unittest.TestCase):
    def setUp(self):
        self.folder = os.fsencode(tempfile.mkdtemp(prefix="mechrun-totals-"))
        self.addCleanup(shutil.rmtree, self.folder)
        os.mkdir(self.path(b"results"))

    def path(self, *names):
        return os.path.join(self.folder, *names)

    def write(self, name, content):
        path = self.path(name)
        os.makedirs(os.path.dirname(path), exist_ok=True)
        with open(path, "wb") as file:
            file.write(content if isinstance(content, bytes) else content.encode())
        return path

    def run_script(self, name, *arguments, **environment):
        path = f"{PROGRAMS}:{os.environ['PATH']}"
        return subprocess.run([os.path.join(SLURM, name), *arguments], cwd=self.folder,
                              env={**os.environ, "PATH": path, **environment},
                              stdout=subprocess.PIPE, stderr=subprocess.PIPE, timeout=60,
                              check=False)

    def element(self, number, *options):
        return self.run_script("replay-array", "list", "results", "-M", "none", *options,
                               SLURM_ARRAY_TASK_ID=str(number))

    def finished(self):
        """A component that was replayed; its report and its log."""
        pos = self.write(b"comp.pos", ONE_OPEN)
        self.write(b"list", "comp.pos\n")
        self.assertEqual(0, self.element(1).returncode)
        report, = glob.glob(self.path(b"results", b"*.report"))
        return pos, report, report[:-len(b"report")] + b"log"

    def test_only_a_whole_report_without_faults_is_a_finished_component(self):
        _, report, log = self.finished()
        for label, text, logged, reason in REPORTS:
            with self.subTest(label):
                for path, content in ((report, text), (log, logged)):
                    if content is None:
                        os.remove(path)
                    else:
                        self.write(path, content)
                run = self.run_script("replay-totals", "list", "results")
                self.assertEqual((1 if reason else 0, b""), (run.returncode, run.stderr))
                lines = run.stdout.decode().splitlines()
                self.assertEqual(f"{0 if reason else 1} of 1 components are finished.", lines[0])
                if reason:
                    self.assertEqual("To run again: --array=1", lines[3])
                    self.assertIn(reason, lines[2])
                    self.assertLess(len(run.stdout), 600)
                else:
                    self.assertEqual(GOOD.replace("comp", "1 of 1 components"), lines[1] + "\n")

    def test_an_older_report_passes_for_nothing_newer(self):
        pos, report, log = self.finished()

        def reason():
            return self.run_script("replay-totals", "list", "results").stdout.decode()
        self.assertIn("1 of 1", reason())
        older = self.path(b"older")
        shutil.copy2(pos, older)  # with its times
        os.rename(older, pos)
        self.assertIn("changed after the replay", reason())
        self.assertEqual(0, self.element(1).returncode)
        self.assertIn("1 of 1", reason())
        self.assertEqual(1, self.element(1, "-m", "gone.xml", "-M", "").returncode)
        self.assertIn("stopped, has failed, or still runs", reason())
        self.assertFalse(os.path.exists(report))
        os.remove(pos)
        self.assertIn("cannot find its POS file", reason())
        self.assertEqual(2, self.element(1).returncode)
        os.remove(log)
        os.mkfifo(report)
        self.write(b"comp.pos", ONE_OPEN)
        self.assertIn("is no file", reason())

    def test_a_list_gives_the_words_for_the_array_or_no_answer(self):
        for name in (*"abcd", *"1234567"):
            self.write(f"{name}.pos".encode(), ONE_OPEN)
        for label, text, words, said in LISTS:
            with self.subTest(label):
                self.write(b"list", text)
                run = self.run_script("replay-totals", "--array", "list", "results")
                self.assertEqual((1 if words else 2, words),
                                 (run.returncode, run.stdout.decode().strip()))
                self.assertIn(said, run.stderr.decode())
        os.remove(self.path(b"list"))
        for arguments in (("list", "results"), ("/dev/null", "results"), ("list",)):
            self.assertEqual(2, self.run_script("replay-totals", *arguments).returncode)

    def test_an_element_and_the_sum_find_the_same_files_whatever_the_names(self):
        self.write(b"list", b"# odd\n" + b"".join(
            name + (b"\r\n", b"\n", b"\tother.pog\n")[n % 3] for n, name in enumerate(NAMES)))
        for name in NAMES:
            self.write(name, ONE_OPEN)
        for number, name in enumerate(NAMES, 2):
            with self.subTest(name):
                run = self.element(number)
                self.assertEqual((0, b""), (run.returncode, run.stderr))
        run = self.run_script("replay-totals", "list", "results")
        self.assertEqual([f"{len(NAMES)} of {len(NAMES)} components are finished.",
                          total(0, 0, 0, 0, len(NAMES), name=f"{len(NAMES)} of {len(NAMES)} "
                                "components").strip()], run.stdout.decode().splitlines())
        self.assertEqual(2 * len(NAMES), len(os.listdir(self.path(b"results"))))

    def test_an_element_that_names_no_component_changes_nothing(self):
        self.write(b"list", "# x\ngone.pos\n")
        for number in ("", "0", "1", "2", "3", "2p;1", "99999999999999999999"):
            with self.subTest(number):
                self.assertEqual(2, self.element(number).returncode)
        self.assertEqual([], os.listdir(self.path(b"results")))
        self.assertEqual([b"list", b"results"], sorted(os.listdir(self.folder)))


if __name__ == "__main__":
    unittest.main()
