"""Components for the measurements: POS and POG files, mechanisms, and the tools they name."""

import os
import shutil
import subprocess
import xml.etree.ElementTree as ElementTree

HERE = os.path.dirname(os.path.abspath(__file__))
EXAMPLES = os.path.join(os.path.dirname(HERE), "examples")
GOALS_PER_OBLIGATION = 5

GOAL = """\
        <Simple_Goal status="Unproved">
            <Proof_State passList="Force(0)" methodList="mp;ah;dd" proofState="Unproved"/>
            <Mechanism name="{mechanism}" status="Unproved">
                <Driver name="first" status="{first}"/>
                <Driver name="second" status="Unproved"/>
            </Mechanism>
        </Simple_Goal>
"""

MECHANISM = """\
<mechanism trust="always">
    <driver name="first">
        <writer name="writer" path="{tools}/writer"/>
        <prover name="prover" path="{tools}/prover">{parameter}</prover>
        <reader name="reader" path="{tools}/reader"/>
    </driver>
    <driver name="second">
        <writer name="writer" path="{tools}/writer"/>
        <prover name="prover" path="{tools}/prover"/>
        <reader name="reader" path="{tools}/reader"/>
    </driver>
</mechanism>
"""


def build_tools(folder):
    """The three tools, compiled into `folder`."""
    os.makedirs(folder, exist_ok=True)
    program = os.path.join(folder, "writer")
    subprocess.run(["cc", "-O2", "-o", program, os.path.join(HERE, "tool.c")], check=True)
    for name in ("prover", "reader"):
        shutil.copy(program, os.path.join(folder, name))


def write(path, text):
    with open(path, "w", encoding="utf-8") as file:
        file.write(text)
    return path


class Component:
    """A component with some goals to replay. `addresses` are these goals, as the writer is told."""

    def __init__(self, folder, tools, goals, jobs, milliseconds=0):
        name = f"c{goals}_{jobs}_{milliseconds}"
        self.pog = write(os.path.join(folder, name + ".pog"), "")
        self.resources = None
        # The tools as a line of shell calls them.
        self.writer = os.path.join(tools, "writer")
        self.prover = os.path.join(tools, "prover") + (f" {milliseconds}" if milliseconds else "")
        self.reader = os.path.join(tools, "reader")
        parameter = f'<param value="{milliseconds}"/>' if milliseconds else ""
        self.mechanism = write(os.path.join(folder, name + ".xml"),
                               MECHANISM.format(tools=tools, parameter=parameter))
        step = goals // jobs
        chosen = set(range(0, step * jobs, step))
        self.addresses = [divmod(goal, GOALS_PER_OBLIGATION) for goal in sorted(chosen)]
        self.text = self.document(name, goals, chosen)
        self.idle_text = self.document(name, goals, set())

    @staticmethod
    def document(mechanism, goals, chosen):
        parts = ['<Proof_Obligations>\n']
        for goal in range(goals):
            if goal % GOALS_PER_OBLIGATION == 0:
                number = goal // GOALS_PER_OBLIGATION
                parts.append(f"    <Proof_Obligation>\n        <Tag>operation.{number}</Tag>\n")
            first = "Proved" if goal in chosen else "Unproved"
            parts.append(GOAL.format(mechanism=mechanism, first=first))
            if goal % GOALS_PER_OBLIGATION == GOALS_PER_OBLIGATION - 1:
                parts.append("    </Proof_Obligation>\n")
        return "".join(parts) + "</Proof_Obligations>\n"


class SolverComponent:
    """The example's obligations, repeated, replayed with its own tools and Z3."""

    # Left to the other solver: Z3 needs its whole time limit for them.
    SLOW = ("spread_after_merge", "spread_after_put")

    def __init__(self, folder, goals, limit):
        """`limit` is the folder that holds mechlimit, through which the mechanism runs Z3."""
        self.resources = self.tools_of_example(folder, limit)
        tools = os.path.join(EXAMPLES, "tools")
        self.writer = os.path.join(tools, "smt-writer")
        self.prover = f"{limit}/mechlimit 10 2048 /usr/bin/z3 -smt2 -in -t:1000"
        self.reader = os.path.join(tools, "smt-reader") + " FILE"
        self.mechanism = os.path.join(EXAMPLES, "mechanisms", "direct.xml")
        self.pog = os.path.join(folder, "solver.pog")
        self.addresses = []
        self.write_component(goals)

    @staticmethod
    def tools_of_example(folder, limit):
        with open(os.path.join(EXAMPLES, "resources.in"), encoding="utf-8") as file:
            text = file.read()
        text = text.replace("@TOOLS@", os.path.join(EXAMPLES, "tools")).replace("@LIMIT@", limit)
        return write(os.path.join(folder, "resources"), text)

    def write_component(self, goals):
        source = ElementTree.parse(os.path.join(EXAMPLES, "buffer.pog"))
        root = source.getroot()
        obligations = [o for o in root.findall("Proof_Obligation") if o.get("name") not in self.SLOW]
        for obligation in root.findall("Proof_Obligation"):
            root.remove(obligation)
        parts = []
        while len(self.addresses) < goals:
            obligation = obligations[len(parts) % len(obligations)]
            root.append(obligation)
            count = min(len(obligation.findall("Simple_Goal")), goals - len(self.addresses))
            self.addresses += [(len(parts), goal) for goal in range(count)]
            goal = ('<Simple_Goal status="Unproved"><Mechanism name="direct" status="Unproved">'
                    '<Driver name="Z3" status="Proved"/></Mechanism></Simple_Goal>')
            parts.append("<Proof_Obligation><Tag>" + obligation.get("name") + "</Tag>" +
                         goal * count + "</Proof_Obligation>")
        self.text = "<Proof_Obligations>" + "".join(parts) + "</Proof_Obligations>\n"
        source.write(self.pog, encoding="unicode")
