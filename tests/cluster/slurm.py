"""A Slurm of one's own: a controller and nodes on the loopback, in a folder of their own.

It runs without systemd and as any user, who is then its only user. Its daemons are children of
this process, and end with it. Nothing is left of it after the end: neither a process nor a file.
"""

import os
import pwd
import secrets
import shutil
import signal
import socket
import subprocess
import tempfile
import time

DAEMONS = ("munged", "slurmctld", "slurmd")
CLIENT_LIMIT = 60  # seconds for a question to the controller
START_LIMIT = 60   # seconds until all nodes are idle
LOG_LINES = 15    # of each daemon, shown on a failure

CONFIGURATION = """\
ClusterName=mechrun
SlurmctldHost={host}(127.0.0.1)
SlurmctldPort={port}
SlurmUser={user}
SlurmdUser={user}
AuthType=auth/munge
AuthInfo=socket={folder}/munge.socket
CommunicationParameters=NoCtldInAddrAny,NoInAddrAny
StateSaveLocation={folder}/state
SlurmdSpoolDir={folder}/spool-%n
SlurmctldPidFile={folder}/slurmctld.pid
SlurmdPidFile={folder}/slurmd-%n.pid
ProctrackType=proctrack/linuxproc
TaskPlugin=task/none
JobAcctGatherType=jobacct_gather/linux
JobCompType=jobcomp/filetxt
JobCompLoc={folder}/completed
MpiDefault=none
SelectType=select/cons_tres
SelectTypeParameters=CR_CPU_Memory
DefMemPerCPU=256
SchedulerType=sched/builtin
ReturnToService=2
SlurmdParameters=config_overrides
SlurmctldTimeout=4
MessageTimeout=5
InactiveLimit=30
KillWait=2
"""
NODE = ("NodeName={name} NodeHostname={host} NodeAddr=127.0.0.1 Port={port} CPUs={cpus} "
        "RealMemory={memory}\n")
PARTITION = "PartitionName=main Nodes=ALL Default=YES MaxTime=60 State=UP\n"


class SlurmError(Exception):
    """The cluster does not do what it was asked for."""


def free_ports(count):
    """Ports that nobody has now. All are taken at once, so that no two are the same."""
    sockets = [socket.socket() for _ in range(count)]
    for one in sockets:
        one.bind(("127.0.0.1", 0))
    ports = [one.getsockname()[1] for one in sockets]
    for one in sockets:
        one.close()
    return ports


def processes_with(name, value):
    """The processes that have this in their environment, with their command lines."""
    mark = f"{name}={value}".encode()
    found = {}
    for pid in filter(str.isdigit, os.listdir("/proc")):
        try:
            with open(f"/proc/{pid}/environ", "rb") as file:
                marked = mark in file.read().split(b"\0")
            with open(f"/proc/{pid}/cmdline", "rb") as file:
                command = file.read().replace(b"\0", b" ").decode(errors="replace").strip()
        except OSError:
            continue  # it has ended, or is not ours to see
        if marked and int(pid) != os.getpid():
            found[int(pid)] = command
    return found


def wait_for(condition, seconds):
    """What the condition gives once it holds; what it gives in the end, when it never does."""
    end = time.monotonic() + seconds
    while True:
        value = condition()
        if value or time.monotonic() > end:
            return value
        time.sleep(0.05)


class Slurm:
    """`with Slurm() as slurm`: the nodes are idle inside, and nothing is left behind."""

    def __init__(self, nodes=2, cpus=4, memory=16384):
        self.nodes = [f"node{number + 1}" for number in range(nodes)]
        self.cpus = cpus
        self.memory = memory
        self.folder = None
        self._daemons = {}

    def __enter__(self):
        missing = [name for name in DAEMONS if shutil.which(name, path=self._path()) is None]
        if missing:
            raise SlurmError(f"not installed: {', '.join(missing)} (script/bootstrap cluster)")
        self.folder = tempfile.mkdtemp(prefix="mechrun-slurm-")
        try:
            self._configure()
            self._start_daemons()
        except BaseException:
            print(self.logs(), flush=True)
            self.stop()
            raise
        return self

    def __exit__(self, *_):
        self.stop()

    @staticmethod
    def _path():
        return f"{os.environ.get('PATH', '/usr/bin:/bin')}:/usr/sbin:/sbin"

    def environment(self, **more):
        """What a client needs: this cluster, and nothing of one around it."""
        plain = {key: value for key, value in os.environ.items()
                 if not key.startswith(("SLURM_", "SBATCH_", "SALLOC_", "SRUN_"))}
        return {**plain, "PATH": self._path(), "SLURM_CONF": self._file("slurm.conf"), **more}

    def run(self, *command, **settings):
        """The finished client; its standard output and error are texts."""
        settings = {"env": self.environment(), "timeout": CLIENT_LIMIT, "check": False,
                    "stdin": subprocess.DEVNULL, **settings}
        return subprocess.run(command, text=True, stdout=subprocess.PIPE, stderr=subprocess.PIPE,
                              **settings)

    def ask(self, *command):
        """What a client prints that must not fail."""
        run = self.run(*command)
        if run.returncode != 0:
            raise SlurmError(f"{' '.join(command)}: {run.stderr.strip()}")
        return run.stdout

    def jobs(self):
        """The states of the jobs that are not over, by their numbers."""
        lines = self.ask("squeue", "-h", "-a", "-o", "%i %T").splitlines()
        return dict(line.split() for line in lines)

    def steps(self):
        """The steps that run, such as 12.0; also those of Slurm itself, such as 12.batch."""
        return self.ask("squeue", "-h", "-a", "-s", "-o", "%i").split()

    def wait_until_idle(self, seconds=START_LIMIT):
        """Waits until no job is left and all nodes take one."""
        def states():
            run = self.run("sinfo", "-h", "-N", "-o", "%t")
            return run.stdout.split() == ["idle"] * len(self.nodes) and not self.jobs()
        if not wait_for(states, seconds):
            raise SlurmError(f"not idle after {seconds} seconds: "
                             f"{self.run('sinfo', '-N').stdout}{self.run('squeue').stdout}")

    def cancel_all(self):
        """Ends every job; for a test that has failed."""
        for job in self.jobs():
            self.run("scancel", job)

    def stop_controller(self):
        self._stop_daemon("slurmctld")

    def start_controller(self):
        self._start_daemon("slurmctld", "slurmctld", "-D", "-f", self._file("slurm.conf"))
        if not wait_for(lambda: self.run("scontrol", "ping").returncode == 0, START_LIMIT):
            raise SlurmError("the controller does not answer")

    def stop_node(self, name):
        """The daemon of a node ends, as if it had crashed; its steps go on."""
        self._stop_daemon(name, signal.SIGKILL)

    def start_node(self, name):
        self._start_daemon(name, "slurmd", "-D", "-N", name, "-f", self._file("slurm.conf"))

    def stop(self):
        """Ends everything, jobs first."""
        if "slurmctld" in self._daemons and self._daemons["slurmctld"].poll() is None:
            try:
                self.cancel_all()
                wait_for(lambda: not self.jobs(), 20)
            except (SlurmError, subprocess.TimeoutExpired):
                pass
        for name in reversed(list(self._daemons)):
            self._stop_daemon(name)
        self._kill_left()
        shutil.rmtree(self.folder, ignore_errors=True)

    def logs(self):
        """The last lines of each daemon's log."""
        texts = []
        for name in sorted(os.listdir(self.folder)):
            if name.endswith(".out"):
                with open(self._file(name), encoding="utf8", errors="replace") as file:
                    texts += [f"== {name}\n", *file.readlines()[-LOG_LINES:]]
        return "".join(texts)

    def _file(self, name):
        return os.path.join(self.folder, name)

    def _configure(self):
        os.chmod(self.folder, 0o755)  # a socket that only its owner reaches is refused
        os.mkdir(self._file("state"))
        with open(os.open(self._file("munge.key"), os.O_CREAT | os.O_WRONLY, 0o600), "wb") as key:
            key.write(secrets.token_bytes(1024))
        host = socket.gethostname().split(".")[0]
        ports = free_ports(1 + len(self.nodes))
        text = CONFIGURATION.format(folder=self.folder, host=host, port=ports[0],
                                    user=pwd.getpwuid(os.geteuid()).pw_name)
        for name, port in zip(self.nodes, ports[1:]):
            os.mkdir(self._file(f"spool-{name}"))
            text += NODE.format(name=name, host=host, port=port, cpus=self.cpus,
                                memory=self.memory)
        with open(self._file("slurm.conf"), "w", encoding="utf8") as file:
            file.write(text + PARTITION)

    def _start_daemons(self):
        at = self._file
        self._start_daemon("munged", "munged", "--foreground", "--key-file", at("munge.key"),
                           "--socket", at("munge.socket"), "--pid-file", at("munge.pid"),
                           "--seed-file", at("munge.seed"))
        if not wait_for(lambda: os.path.exists(at("munge.socket")), START_LIMIT):
            raise SlurmError("munged has no socket")
        self.start_controller()
        for name in self.nodes:
            self.start_node(name)
        self.wait_until_idle()

    def _start_daemon(self, name, *command):
        with open(self._file(f"{name}.out"), "ab") as output:
            self._daemons[name] = subprocess.Popen(
                ["setpriv", "--pdeathsig", "TERM", *command], env=self.environment(), umask=0o022,
                cwd=self.folder, stdin=subprocess.DEVNULL, stdout=output, stderr=output,
                start_new_session=True)

    def _stop_daemon(self, name, number=signal.SIGTERM):
        daemon = self._daemons.pop(name, None)
        if daemon is None:
            return
        daemon.send_signal(number)
        try:
            daemon.wait(20)
        except subprocess.TimeoutExpired:
            daemon.kill()
            daemon.wait()

    def _kill_left(self):
        """Those that the daemons have started: they know the cluster by its file."""
        def left():
            pids = processes_with("SLURM_CONF", self._file("slurm.conf"))
            for pid in pids:
                try:
                    os.kill(pid, signal.SIGKILL)
                except ProcessLookupError:
                    pass
            return not pids
        wait_for(left, 10)
