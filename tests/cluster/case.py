"""What the tests of the cluster share: a folder, the example in it, and runs of mechrun there."""

import os
import re
import secrets
import shutil
import signal
import subprocess
import tempfile
import unittest

from cluster.slurm import processes_with, wait_for

ROOT = os.path.dirname(os.path.dirname(os.path.dirname(os.path.realpath(__file__))))
EXAMPLES = os.path.join(ROOT, "examples")
WRAPPER = os.path.join(EXAMPLES, "slurm", "srun-prover")
MARK = "MECHRUN_CLUSTER_TEST"
RUN_LIMIT = 120   # seconds; a run that takes longer hangs
CLEAN_LIMIT = 10  # seconds until nothing is left of what was killed


def read(path):
    with open(path, "rb") as file:
        return file.read()


class Case(unittest.TestCase):
    """A test on the cluster. Each has a folder and a mark of its own; whatever it starts inherits
    the mark, on the nodes, too."""

    slurm = None  # the cluster of this run of the tests
    build = None  # the folder with the programs
    maxDiff = 2000

    def setUp(self):
        self.folder = os.path.realpath(tempfile.mkdtemp(prefix="mechrun-cluster-"))
        os.chmod(self.folder, 0o755)
        self.mark = secrets.token_hex(8)
        self.slurm.wait_until_idle()

    def tearDown(self):
        for pid in processes_with(MARK, self.mark):
            try:
                os.kill(pid, signal.SIGKILL)
            except ProcessLookupError:
                pass
        self.slurm.cancel_all()
        shutil.rmtree(self.folder, ignore_errors=True)

    def path(self, *names):
        return os.path.join(self.folder, *names)

    def program(self, name):
        folder = {"mechrun": "app", "mechtool": "mechtool", "mechlimit": "limit"}[name]
        return os.path.join(self.build, folder, name)

    def environment(self, **more):
        """That of a client, with the programs along its PATH."""
        environment = self.slurm.environment(**{MARK: self.mark})
        folders = [os.path.dirname(self.program(name)) for name in
                   ("mechrun", "mechtool", "mechlimit")]
        environment["PATH"] = ":".join([*folders, environment["PATH"]])
        return {**environment, **more}

    def write(self, name, text, mode=0o644):
        with open(self.path(name), "w", encoding="utf8") as file:
            file.write(text)
        os.chmod(self.path(name), mode)
        return self.path(name)

    def copy_pos(self, name="buffer.pos"):
        return shutil.copyfile(os.path.join(EXAMPLES, "buffer.pos"), self.path(name))

    def link(self, name):
        """The wrapper under the name of a program."""
        os.makedirs(self.path("links"), exist_ok=True)
        os.symlink(WRAPPER, self.path("links", name))
        return self.path("links", name)

    def fill_in(self, resources, **folders):
        """A resource file of the examples, with its folders filled in."""
        text = read(os.path.join(EXAMPLES, resources)).decode()
        for name, folder in {"TOOLS": os.path.join(EXAMPLES, "tools"), **folders}.items():
            text = text.replace(f"@{name}@", folder)
        return self.write(resources.replace("/", "-"), text)

    def mechanism(self, name, *changes):
        """A mechanism of the example, with pairs of texts replaced."""
        text = read(os.path.join(EXAMPLES, "mechanisms", f"{name}.xml")).decode()
        for old, new in changes:
            self.assertIn(old, text)
            text = text.replace(old, new)
        return self.write(f"{name}.xml", text)

    def options(self, mechanism, resources, pos, workers=None):
        """The options of mechrun, with a folder of their own for the secondary files."""
        work = tempfile.mkdtemp(prefix="work-", dir=self.folder)
        options = ["-r", resources, "-m", mechanism, "-s", pos,
                   "-p", os.path.join(EXAMPLES, "buffer.pog"), "-d", work]
        return options if workers is None else [*options, "-c", str(workers)]

    def local_run(self, mechanism):
        """What a run without the cluster makes of the example: the POS file."""
        resources = self.fill_in("resources.in", LIMIT=os.path.dirname(self.program("mechlimit")))
        pos = self.copy_pos("local.pos")
        run = self.run_in("mechrun", *self.options(mechanism, resources, pos, 2))
        self.assertEqual((0, ""), (run.returncode, run.stderr))
        return read(pos)

    def allocate(self, *options):
        """The number of an allocation that nobody works in yet, and the environment of who does."""
        run = self.run_in("salloc", "--no-shell", "--ntasks=4", *options)
        job = re.search(r"job allocation (\d+)", run.stderr)[1]
        self.addCleanup(self.slurm.run, "scancel", job)
        return job, self.environment(SLURM_JOB_ID=job)

    def run_in(self, *command, **settings):
        """A finished command in the folder; its standard output and error are texts."""
        settings = {"env": self.environment(), "timeout": RUN_LIMIT, "cwd": self.folder, **settings}
        return self.slurm.run(*command, **settings)

    def start(self, *command, **settings):
        """A command in the folder, in a session of its own."""
        settings = {"env": self.environment(), "cwd": self.folder, "stdin": subprocess.DEVNULL,
                    "stdout": subprocess.PIPE, "stderr": subprocess.PIPE,
                    "start_new_session": True, **settings}
        process = subprocess.Popen(command, text=True, **settings)
        self.addCleanup(self._end, process)
        return process

    @staticmethod
    def _end(process):
        process.kill()
        process.communicate()

    def assert_nothing_left(self, seconds=CLEAN_LIMIT, but=()):
        """No job but these, none of their steps, and no process of this test."""
        def left():
            jobs = {job: state for job, state in self.slurm.jobs().items() if job not in but}
            steps = [step for step in self.slurm.steps() if step.partition(".")[2].isdigit()]
            processes = processes_with(MARK, self.mark)
            return [*jobs.items(), *steps, *processes.items()]
        wait_for(lambda: not left(), seconds)
        self.assertEqual([], left(), f"left after {seconds} seconds")


class ProversOnNodes(Case):
    """A test in which the example's solvers run on the nodes, behind the wrapper."""

    def setUp(self):
        super().setUp()
        self.resources = self.fill_in("slurm/resources.in",
                                      LINKS=os.path.dirname(self.link("mechlimit")))
        self.direct = os.path.join(EXAMPLES, "mechanisms", "direct.xml")
