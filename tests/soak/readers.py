"""Reading the POS file all the time during a run: every read is a whole document, and a verdict
that was read once is in all later ones."""

from soak.component import Component, Driver, Malformed, read_document

NAME = "reader"
FIRST = 3
WEIGHT = 1

WORKERS = (1, 2, 16)


def run_case(case):
    workers = WORKERS[case.number % len(WORKERS)]
    kind = f"POS file read during runs, -c {workers}"
    figure = case.figures[kind]
    component = Component([Driver(case.setting.tools)], [0] * 300, case.rng.choice((1, 3)))
    pos = case.prepare(component)
    run = case.start(pos, workers)
    before = set()
    while run.process.poll() is None and case.lost == 0:
        before = _read(case, kind, pos, component, before)
        figure.count("reads")
    run.expect_success(kind)
    figure.runs += 1
    case.check(kind, run, component)


def _read(case, kind, pos, component, before):
    try:
        verdicts = set(read_document(pos, component).verdicts)
    except (Malformed, OSError) as error:
        case.loss(kind, f"read during a run: {error}")
        return before
    if before - verdicts:
        case.loss(kind, f"{len(before - verdicts)} verdicts were read once and are gone")
    return verdicts
