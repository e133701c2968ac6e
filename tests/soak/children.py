"""Tools that misbehave, each as prover, as reader and as writer, among ordinary jobs.

The mechanism has three drivers: the first has one job, whose writer may spoil a tool of the second
(a tool that is not there is refused when the mechanism is read, so it must go during the run); the
second has the tool under test, which misbehaves in some of its jobs; the third is ordinary.
"""

import os
import re
import shutil

from soak.component import Component, Driver, Malformed, read_document, word_of
from soak.component import bad as bad_option

NAME = "children"
WEIGHT = 1.5

OBLIGATIONS = 31
GOALS = 3
CHILD_LIMIT = 30  # seconds for a run of a few dozen jobs

# Shell lines that spoil the tool "$bad". The last one works before the start, too.
SPOILED = {
    "missing file": 'rm -f "$bad"',
    "no exec bit": 'chmod -x "$bad"',
    "a directory": 'rm -f "$bad"; mkdir "$bad"',
    "bad interpreter": 'rm -f "$bad"; printf "#!/nowhere\\n" >"$bad"; chmod +x "$bad"',
}

COUNT = r"Unexpected number of results\. Expected: 3 Found: \d+$"
PROVER = r"Driver prover crashed\.$"
READER = r"Driver reader crashed\.$"
NO_START = r"-- ProofDirector -- Writer had an error\.$"
CRASH = r"-- ProofDirector -- Writer crashed\.$"
NO_FILE = r"-- ProofDirector -- Secondary po .* not found\.$"
FLOOD = r"-- ProofDirector -- Reader printed more than \d+ bytes: .*"
NOTHING = ()
ALL = (0, 1, 2)

# (kind, role, mode): per bad job, one line of each pattern, and the goals that have their verdict.
# A prover whose reader is gone may or may not be ended by the closed pipe.
LOST = {("spoiled", "prover", None): ([COUNT], NOTHING),
        ("spoiled", "reader", None): ([f"{COUNT}|{PROVER}"], NOTHING),
        ("spoiled", "writer", None): ([NO_START, COUNT], NOTHING)}
RAN = {
    ("crash", "prover", "crash"): ([PROVER], NOTHING),
    ("crash", "reader", "crash"): ([f"{READER}|{PROVER}"], NOTHING),
    ("crash after reading", "reader", "crash-late"): ([READER], NOTHING),
    ("crash", "writer", "crash"): ([CRASH, COUNT], NOTHING),
    ("exit at once", "prover", "quit"): ([COUNT], NOTHING),
    ("exit at once", "reader", "quit"): ([f"{COUNT}|{PROVER}"], NOTHING),
    ("exit at once", "writer", "quit"): ([NO_FILE, COUNT], NOTHING),
    ("megabytes of output", "prover", "flood-out"): ([], ALL),
    ("megabytes of output", "reader", "flood-out"): ([COUNT], NOTHING),
    ("megabytes of output", "writer", "flood-out"): ([], ALL),
    ("output without end", "reader", "endless"): ([FLOOD], NOTHING),
    ("megabytes of errors", "prover", "flood-err"): ([], ALL),
    ("megabytes of errors", "reader", "flood-err"): ([], ALL),
    ("megabytes of errors", "writer", "flood-err"): ([], ALL),
    ("no output", "prover", "silent"): ([COUNT], NOTHING),
    ("no output", "reader", "silent"): ([COUNT], NOTHING),
    ("no output", "writer", "silent"): ([NO_FILE, COUNT], NOTHING),
    ("NUL bytes, lines of 1 MB", "prover", "nul"): ([], ALL),
    ("NUL bytes, lines of 1 MB", "reader", "nul"): ([], (0, 2)),
    ("NUL bytes, lines of 1 MB", "writer", "nul"): ([], ALL),
    ("streams closed", "prover", "close"): ([COUNT], NOTHING),
    ("streams closed", "reader", "close"): ([f"{COUNT}|{PROVER}"], NOTHING),
    ("streams closed", "writer", "close"): ([], ALL),
    ("grandchild with the pipe", "prover", "grandchild"): ([], ALL),
    ("grandchild with the pipe", "reader", "grandchild"): ([], ALL),
    ("grandchild with the pipe", "writer", "grandchild"): ([], ALL),
}
CASES = [(f"never starts: {how}", role, how, expected)
         for how in SPOILED for (_, role, _), expected in LOST.items()]
CASES += [(kind, role, mode, expected) for (kind, role, mode), expected in RAN.items()]
FIRST = len(CASES)


def run_case(case):
    kind, role, mode, (patterns, settled) = CASES[case.number % len(CASES)]
    figure = case.figures[kind]
    obligations = [0] + [case.rng.choice((1, 2)) for _ in range(OBLIGATIONS - 1)]
    obligations[1] = 1
    bad = [o for o, driver in enumerate(obligations) if driver == 1]
    if mode not in SPOILED:
        bad = case.rng.sample(bad, max(1, len(bad) // 3))
    drivers = _drivers(case, role, mode, bad)
    component = Component(drivers, obligations, GOALS)
    workers = case.rng.choice((1, 4))
    run = case.start(case.prepare(component), workers)
    ended = run.expect_success(kind, CHILD_LIMIT)
    figure.runs += 1
    figure.count(f"as {role}")
    if ended:
        _check_log(case, kind, role, run, bad, patterns)
        _check_verdicts(case, kind, role, run, component, bad, settled)
        if os.listdir(run.work):
            case.loss(kind, f"as {role}: secondary files left: {os.listdir(run.work)}")


def _drivers(case, role, mode, bad):
    tools = case.setting.tools
    first = case.path("first-writer")
    spoiled = case.path("bad-" + role)
    shutil.copy(os.path.join(tools, role), spoiled)
    with open(first, "w", encoding="utf8") as file:
        file.write(f"#!/bin/sh\nbad='{spoiled}'\n{SPOILED.get(mode, ':')}\n"
                   f"exec '{tools}/writer' \"$@\"\n")
    os.chmod(first, 0o755)
    options = {role: [f"mode={mode}", bad_option(bad)]}
    return [Driver(tools, writer=first), Driver(tools, options=options, **{role: spoiled}),
            Driver(tools)]


def _check_log(case, kind, role, run, bad, patterns):
    """Every bad job says what happened to it, and no other job says anything."""
    lines = run.log().split("\n")
    for pattern in patterns:
        found = sum(1 for line in lines if re.match(pattern, line))
        case.figures[kind].count("log lines", found)
        if found != len(bad):
            case.loss(kind, f"as {role}: {found} log lines for {len(bad)} jobs, not {pattern!r}")
    anything = "|".join((COUNT, PROVER, READER, NO_START, CRASH, NO_FILE, FLOOD, ".* refused: "))
    other = [line for line in lines if re.match(anything, line)
             and not any(re.match(pattern, line) for pattern in patterns)]
    if other:
        case.loss(kind, f"as {role}: unexpected log line {other[0]!r}")


def _check_verdicts(case, kind, role, run, component, bad, settled):
    figure = case.figures[kind]
    expected = {goal for goal in component.all_goals()
                if goal[0] not in bad or goal[1] in settled}
    try:
        verdicts = read_document(run.pos, component).verdicts
    except (Malformed, OSError) as error:
        case.loss(kind, f"as {role}: POS file: {error}")
        return
    figure.count("verdicts", len(verdicts))
    texts = [f"as {role}: no verdict on {goal}" for goal in sorted(expected - set(verdicts))]
    texts += [f"as {role}: a verdict on {goal}" for goal in sorted(set(verdicts) - expected)]
    texts += [f"as {role}: verdict on {goal} is {word}" for goal, word in verdicts.items()
              if word != word_of(goal)]
    case.losses(kind, texts)
