"""The figures of a soak: a line for every kind of fault."""


class Figure:
    """The runs of one kind, what was counted in them, and how many losses there were."""

    def __init__(self):
        self.runs = 0
        self.lost = 0
        self.skipped = ""
        self._counts = {}

    def count(self, what, number=1):
        self._counts[what] = self._counts.get(what, 0) + number

    def get(self, what):
        return self._counts.get(what, 0)

    def line(self, kind):
        if self.skipped:
            return f"{kind:<34} skipped: {self.skipped}"
        counts = ", ".join(f"{number} {what}" for what, number in self._counts.items())
        outcome = f"{self.lost} LOST" if self.lost else "nothing lost"
        return f"{kind:<34} {self.runs:>4} runs  {outcome:<13} {counts}"


class Figures(dict):
    """By kind, in the order of their first use."""

    def __missing__(self, kind):
        self[kind] = Figure()
        return self[kind]

    def lost(self):
        return sum(figure.lost for figure in self.values())

    def text(self):
        return "\n".join(figure.line(kind) for kind, figure in self.items())
