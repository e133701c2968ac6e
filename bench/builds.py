"""What is measured: the binary, how it was built, and the machine. Runs of different kinds of build
are not comparable, and saying so is this module's business."""

import hashlib
import os
import platform
import subprocess
import sys


def release(root):
    """Builds a release binary from the sources as they stand."""
    folder = os.path.join(root, "build", "bench")
    subprocess.run(["cmake", "-S", root, "-B", folder, "-G", "Ninja", "-DCMAKE_BUILD_TYPE=Release",
                    "-DMECHRUN_BUILD_TESTS=OFF"], check=True, stdout=subprocess.DEVNULL)
    subprocess.run(["cmake", "--build", folder, "--target", "mechrun", "mechtool",
                    "mechlimit"], check=True, stdout=subprocess.DEVNULL)
    return os.path.join(folder, "app", "mechrun")


def describe(binary):
    """How `binary` was built, from the build directory it stands in, and which one it is."""
    cache = os.path.join(os.path.dirname(os.path.dirname(binary)), "CMakeCache.txt")
    wanted = {"CMAKE_BUILD_TYPE": "type", "CMAKE_CXX_COMPILER": "compiler",
              "CMAKE_CXX_FLAGS": "flags", "MECHRUN_SANITIZE": "sanitizers"}
    build = {}
    try:
        with open(cache, encoding="utf-8") as file:
            for line in file:
                key, separator, value = line.strip().partition("=")
                if separator and key.split(":")[0] in wanted:
                    build[wanted[key.split(":")[0]]] = value
        with open(binary, "rb") as file:
            build["sha256"] = hashlib.sha256(file.read()).hexdigest()
    except OSError as error:
        sys.exit(f"bench/run: not a binary in its build directory: {error}")
    return build


def machine():
    with open("/proc/cpuinfo", encoding="utf-8") as file:
        names = [line.partition(":")[2].strip() for line in file if line.startswith("model name")]
    return {"host": platform.node(), "cpu": names[0] if names else platform.machine(),
            "cores": os.cpu_count(), "kernel": platform.release()}


def kind(build):
    return {key: value for key, value in build.items() if key != "sha256"}


def refuse_other(earlier, build):
    """Ends the program when the earlier figures are of another kind of build."""
    if earlier is not None and kind(earlier["build"]) != kind(build):
        sys.exit("bench/run: not comparable: the earlier figures are of the build "
                 f"{kind(earlier['build'])}, these would be of {kind(build)}")
