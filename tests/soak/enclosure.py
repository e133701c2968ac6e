"""A namespace of processes and mounts of the soak's own. A program that is driven to its limits as
root may do harm: in here it can reach no process of the machine, and nothing of it, neither a
process nor a mount, outlives the soak."""

import os
import subprocess
import sys

INSIDE = "MECHRUN_SOAK_ENCLOSED"
UNSHARE = ["unshare", "--fork", "--pid", "--kill-child", "--mount", "--mount-proc"]


def enter(arguments):
    """Starts the soak again inside. Returns when it is inside, or when that is not allowed."""
    if INSIDE in os.environ:
        return
    as_user = [] if os.geteuid() == 0 else ["--user", "--map-root-user"]
    command = UNSHARE + as_user
    try:
        allowed = subprocess.run(command + ["true"], capture_output=True, check=False)
    except OSError:
        return
    if allowed.returncode == 0:
        os.environ[INSIDE] = "user" if as_user else "root"
        sys.stdout.flush()
        os.execvp(command[0], command + [sys.executable, *arguments])


def is_inside():
    return INSIDE in os.environ


def is_root():
    """Whether other users can be taken on. Root of a user's own namespace knows no other user."""
    return os.geteuid() == 0 and os.environ.get(INSIDE) != "user"


def reap():
    """Reaps those whose parents have gone: inside, the soak is their new parent. To be called when
    no child of the soak's own is left."""
    try:
        while os.getpid() == 1 and os.waitpid(-1, os.WNOHANG)[0]:
            pass
    except ChildProcessError:
        pass
