"""A component to soak with: its POS file, its mechanism, and what each goal may look like.

Every obligation is recorded for one driver, as proved by it before, so that a replay runs that
driver on all of its goals. The verdict that the tools reach on a goal follows from its numbers; so
a goal is either as it was or in the one state that its own verdict makes of it.
"""

import os
import xml.parsers.expat

WORDS = ("Proved", "Proved", "Proved", "Proved", "Disproved", "Disproved", "Unknown")

# Under the trust `always`, by a goal's only driver: the goal, the mechanism's record, the driver's.
OPEN = ("Unproved", "Unproved", "Proved")
STATES = {
    OPEN: None,
    ("Proved", "Proved", "Proved"): "Proved",
    ("Disproved", "Disproved", "Disproved"): "Disproved",
    ("Unproved", "Unknown", "Unknown"): "Unknown",
}

GOAL = """        <Simple_Goal status="Unproved">
            <Proof_State passList="" methodList="" proofState="Unproved"/>
            <Mechanism name="mech" status="Unproved">
                <Driver name="D{driver}" status="Proved"/>
            </Mechanism>
        </Simple_Goal>
"""


class Driver:
    """A driver of the mechanism: the paths of its tools, and options for some of them."""

    def __init__(self, tools, group="related", options=None, **paths):
        self.group = group
        self.paths = {role: os.path.join(tools, role) for role in ("writer", "prover", "reader")}
        self.paths.update(paths)
        self.options = options or {}

    def element(self, index):
        lines = [f'  <driver name="D{index}" group="{self.group}">']
        for role, path in self.paths.items():
            words = list(self.options.get(role, ())) + (["job=${file}"] if role != "writer" else [])
            params = "".join(f'<param value="{word}"/>' for word in words)
            lines.append(f'    <{role} path="{path}">{params}</{role}>')
        return "\n".join(lines + ["  </driver>"])


class Component:
    """`obligations` has, for each, the index of its driver; each has `goals` goals."""

    def __init__(self, drivers, obligations, goals):
        self.drivers = drivers
        self.obligations = obligations
        self.goals = goals

    def all_goals(self):
        return [(o, g) for o in range(len(self.obligations)) for g in range(self.goals)]

    def write_pos(self, path, tag="PO"):
        with open(path, "w", encoding="utf8") as file:
            file.write("<Proof_Obligations>\n")
            for index, driver in enumerate(self.obligations):
                file.write(f"    <Proof_Obligation>\n        <Tag>{tag}_{index}</Tag>\n")
                file.write(GOAL.format(driver=driver) * self.goals)
                file.write("    </Proof_Obligation>\n")
            file.write("</Proof_Obligations>\n")

    def write_mechanism(self, path):
        with open(path, "w", encoding="utf8") as file:
            elements = [driver.element(index) for index, driver in enumerate(self.drivers)]
            file.write('<mechanism trust="always">\n' + "\n".join(elements) + "\n</mechanism>\n")


def word_of(goal):
    return WORDS[(goal[0] * 31 + goal[1] * 17) % 7]


def bad(obligations):
    """The tools' option that names the obligations whose jobs misbehave."""
    return "bad=," + ",".join(map(str, obligations)) + ","


class Malformed(Exception):
    """A POS document that no save of this component can have made."""


class Document:
    """What a POS file says: the first tag, the number of goals, the verdict of each settled one."""

    def __init__(self, data, component=None):
        self.verdicts = {}
        self.tag = None
        self._goals = []
        self._text = None
        parser = xml.parsers.expat.ParserCreate()
        parser.StartElementHandler = self._start
        parser.EndElementHandler = self._end
        parser.CharacterDataHandler = self._characters
        try:
            parser.Parse(data, True)
        except xml.parsers.expat.ExpatError as error:
            raise Malformed(f"not well-formed, {len(data)} bytes: {error}") from error
        self._settle()
        if component is not None:
            self._check_shape(component)

    def _start(self, name, attributes):
        if name == "Proof_Obligation":
            self._goals.append([])
        elif name == "Simple_Goal":
            self._goals[-1].append([attributes["status"]])
        elif name in ("Mechanism", "Driver"):
            self._goals[-1][-1].append(attributes["status"])
        elif name == "Tag" and self.tag is None:
            self._text = ""

    def _characters(self, text):
        if self._text is not None:
            self._text += text

    def _end(self, name):
        if name == "Tag" and self._text is not None:
            self.tag, self._text = self._text, None

    def _settle(self):
        for o, goals in enumerate(self._goals):
            for g, state in enumerate(goals):
                if tuple(state) not in STATES:
                    raise Malformed(f"goal {o},{g} is in no possible state: {state}")
                word = STATES[tuple(state)]
                if word is not None:
                    self.verdicts[o, g] = word

    def _check_shape(self, component):
        shape = {len(goals) for goals in self._goals}
        if len(self._goals) != len(component.obligations) or shape != {component.goals}:
            raise Malformed(f"{len(self._goals)} obligations with {shape} goals")


def read_document(path, component):
    with open(path, "rb") as file:
        return Document(file.read(), component)
