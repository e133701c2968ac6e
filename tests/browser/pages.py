"""The pages that the browser opens: their components, journals and earlier states."""

import json
import random
import subprocess
from pathlib import Path
from xml.sax.saxutils import escape, quoteattr

HOSTILE = [
    '<script>alert(1)</script>', '"><img src=x onerror=alert(2)>', "' onmouseover='alert(3)",
    '</script><script>alert(4)</script>', '</title><svg onload=alert(5)>', '{{script}}', '%1%2%3',
    '\u202eright to left\u202c', 'a&amp;b', '-->]]>', 'javascript:alert(6)', 'x' * 10000,
    'two words ' * 40, '\\', 'name=#&goal=%00',
]


def goal(status, prover, records):
    """A goal; `records` are (mechanism, status, [(driver, status)])."""
    mechanisms = ''.join(
        f'<Mechanism name={quoteattr(name)} status="{found}">' +
        ''.join(f'<Driver name={quoteattr(driver)} status="{word}"/>' for driver, word in drivers) +
        '</Mechanism>' for name, found, drivers in records)
    return (f'<Simple_Goal status="{status}"><Proof_State proofState={quoteattr(prover)}/>'
            f'{mechanisms}</Simple_Goal>')


def document(obligations):
    """The text of a POS file; `obligations` are (tag, [goal])."""
    return '<Proof_Obligations>' + '\n'.join(
        f'<Proof_Obligation><Tag>{escape(tag)}</Tag>{"".join(goals)}</Proof_Obligation>'
        for tag, goals in obligations) + '</Proof_Obligations>'


def random_goal(chance):
    draw = chance.random()
    z3 = 'Proved' if draw < .7 else 'Unknown' if draw < .95 else 'Disproved'
    cvc5 = 'Proved' if draw < .6 or .7 < draw < .75 else 'Unproved'
    status = 'Disproved' if z3 == 'Disproved' else 'Proved' if 'Proved' in (z3, cvc5) else 'Unproved'
    status = 'UnreliablyProved' if .76 < draw < .8 else 'Unknown' if .8 < draw < .82 else status
    return goal(status, 'Proved(0)' if draw < .2 else 'Unproved',
                [('direct', z3, [('Z3', z3)]), ('crosscheck', cvc5, [('Z3', z3), ('CVC5', cvc5)]),
                 ('sweep', 'Unproved', [('CVC5', 'Unproved')])])


def many(count, seed, prefix='operation'):
    """A component of `count` goals in obligations of one to nine."""
    chance = random.Random(seed)
    obligations = []
    while count > 0:
        size = min(count, chance.randint(1, 9))
        obligations.append((f'{prefix}_{len(obligations)}',
                            [random_goal(chance) for _ in range(size)]))
        count -= size
    return document(obligations)


def journal(component, goals, seed):
    """A line for each driver and goal; `goals` are those of `mechtool show --json --goals`."""
    chance = random.Random(seed)
    lines = []
    for one in goals:
        base = chance.lognormvariate(-2.5, 1.4)
        for mechanism in one['mechanisms']:
            for driver in mechanism['drivers']:
                solved = driver['status'] in ('Proved', 'Disproved')
                seconds = base * chance.lognormvariate(0, .6) * (1 if solved else 5)
                end, prover = 'read', {'seconds': seconds, 'status': 0}
                if seconds > 10:
                    end, seconds = 'time limit', 10.05
                elif not solved and chance.random() < .02:
                    end, prover = 'prover crashed', {'seconds': seconds, 'signal': 'SIGSEGV'}
                lines.append(json.dumps({
                    'version': 1, 'time': '2026-11-22T03:22:41.184Z', 'component': component,
                    'mechanism': mechanism['name'], 'driver': driver['name'],
                    'goals': [one['goal']], 'end': end, 'seconds': round(seconds, 6),
                    'verdicts': [driver['status'] if solved else 'Unknown'] if end == 'read' else [],
                    'writer': {'seconds': .01, 'status': 0}, 'prover': prover, 'reader': None}))
    return '\n'.join(lines + ['{"version": 2}', '{"torn']) + '\n'


class Maker:
    """Makes pages in a folder with the program `tool`."""

    def __init__(self, tool, folder, examples):
        self.tool, self.folder, self.examples = tool, Path(folder), Path(examples)

    def run(self, *words):
        return subprocess.run([self.tool, *map(str, words)], check=True, capture_output=True,
                              text=True, timeout=60).stdout

    def show(self, *words):
        return json.loads(self.run('show', '--json', *words))

    def write(self, name, text):
        path = self.folder / name
        path.parent.mkdir(exist_ok=True)
        path.write_text(text)
        return path

    def page(self, name, files, *words):
        """The page, and what `show` says of the same files."""
        path = self.folder / (name + '.html')
        self.run('report', *files, '--html', path, *words)
        return path, self.show(*files)

    def all(self):
        """The pages by name."""
        hostile = self.write('hostile.pos', document(
            [(tag, [goal('Proved', tag[:50], [(tag, 'Proved', [(tag, 'Proved')])]),
                    goal('Unproved', '', [])]) for tag in HOSTILE]))
        ring = self.write('ring.pos', many(150, 3, 'ring_<b>&amp;'))
        old = self.write('old/ring.pos', many(140, 4, 'ring_<b>&amp;'))
        other = self.write('other.pos', many(60, 5))
        goals = self.show('--goals', ring)['components'][0]['goals']
        lines = self.write('ring.jsonl', journal('ring', goals, 6))
        big = self.write('big.pos', many(20000, 1))
        return {
            'example': self.page('example', [self.examples / 'buffer.pos']),
            'hostile': self.page('hostile', [hostile], '--title', HOSTILE[0]),
            'empty': self.page('empty', [self.write('empty.pos', document([('nothing', [])]))]),
            'full': self.page('full', [ring, other], '--baseline', old, '--journal', lines),
            'big': self.page('big', [big]),
        }
