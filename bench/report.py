"""The table, and the JSON line that other runs are compared with."""

import json
import sys

TARGETS = {"vs_xargs": 0.80, "vs_parallel": 0.35, "solver": 1.0, "growth_2000": 1.25,
           "growth_20000": 3.0, "wide": 1.15, "watched": 1.02, "idle_20000": 1.1}

# How the figures come about. Another number for every change that moves them.
METHOD = 2

# More load than this before the first run, and the figures deserve a second look.
QUIET = 0.5


def read(path):
    try:
        with open(path, encoding="utf-8") as file:
            return json.loads(file.read().strip().splitlines()[-1])
    except (OSError, ValueError, IndexError) as error:
        sys.exit(f"bench/run: no figures in {path}: {error}")


def refuse_other(earlier):
    """Ends the program when the earlier figures came about in another way."""
    if earlier is not None and earlier.get("method", 1) != METHOD:
        sys.exit("bench/run: not comparable: the earlier figures were measured in another way")


def show(result, earlier):
    build, machine = result["build"], result["machine"]
    print(f"{result['date']}, {machine['cpu']}, {machine['cores']} cores, "
          f"Linux {machine['kernel']}, {build.get('type')} build {build['sha256'][:12]}")
    loads = f"load before {result['load_before']:.2f}, after {result['load_after']:.2f}"
    busy = result["load_before"] > QUIET
    print(loads + (" (the machine was busy: take the figures with care)" if busy else "") + "\n")
    print("| figure | value | target | lowest to highest |" + (" earlier |" if earlier else ""))
    print("|---|---|---|---|" + ("---|" if earlier else ""))
    for name, figure in result["figures"].items():
        target = TARGETS.get(name)
        row = (f"| `{name}` | {figure['value']:.3g} {figure['unit']}".rstrip() +
               (f" | at most {target:g}" if target else " | ") +
               f" | {figure['lowest']:.3g} to {figure['highest']:.3g} |")
        if earlier:
            before = earlier["figures"].get(name)
            row += f" {before['value']:.3g} |" if before else " |"
        print(row)
    print("\n" + json.dumps(result))
