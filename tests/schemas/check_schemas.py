"""The schemas take what the programs write and the examples hold, and refuse a broken file for
each rule.

    check_schemas.py MECHTOOL SOURCE-FOLDER
"""

import json
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

from jsonschema import Draft202012Validator

POS = '''<Proof_Obligations author="x"><Proof_Obligation><Tag>put</Tag>
<Simple_Goal status="Proved"><Proof_State passList="" methodList="" proofState="Proved(Util)"/>
<iapa><status value="Valid"/></iapa>
<Mechanism name="smt" status="UnreliablyProved"><Driver name="Z3" status="Unknown"/>
<Driver name="E" status="Proved"/></Mechanism></Simple_Goal></Proof_Obligation>
<Proof_Obligation><Tag>none</Tag></Proof_Obligation></Proof_Obligations>'''

BROKEN_POS = {
    'root': ('Proof_Obligations', 'Obligations'),
    'no tag': ('<Tag>put</Tag>', ''),
    'tag after the goals': ('</Tag></Proof_Obligation>', '</Tag><Tag/></Proof_Obligation>'),
    'goal without status': ('<Simple_Goal status="Proved">', '<Simple_Goal>'),
    'word of another record': ('Goal status="Proved"', 'Goal status="Unknown"'),
    'word of the prover': ('Proved(Util)', 'Proved(4)'),
    'word of the analyser': ('Valid', 'Proved'),
    'analyser without status': ('<status value="Valid"/>', ''),
    'mechanism without name': ('Mechanism name="smt"', 'Mechanism'),
    'empty name': ('name="smt"', 'name=""'),
    'word of the mechanism': ('UnreliablyProved', 'Proved(0)'),
    'driver without status': ('"Z3" status="Unknown"', '"Z3"'),
    'word of the driver': ('"Z3" status="Unknown"', '"Z3" status="UnreliablyProved"'),
    'driver twice': ('name="E"', 'name="Z3"'),
    'unknown element': ('<iapa>', '<other/><iapa>'),
    'unknown attribute': ('author', 'writer'),
}

MECHANISM = '''<mechanism trust="redundancy"><definition name="in"><param value="${file}"/></definition>
<driver name="Z3" group="related" ext="smt2" fast="true"><writer name="w" path="./writer"/>
<prover path="/bin/cat" input="file" timeout="5"><expand name="in"/></prover>
<reader path="./reader"><param name="-a" separator="=" value="1"/></reader></driver></mechanism>'''

BROKEN_MECHANISM = {
    'trust': ('redundancy', 'sometimes'),
    'definition without name': ('definition name="in"', 'definition'),
    'second definition': ('<driver', '<definition name="b"/><driver'),
    'nothing defined': ('expand name="in"', 'expand name="out"'),
    'driver without name': ('driver name="Z3"', 'driver'),
    'group': ('related', 'some'),
    'no writer': ('<writer name="w" path="./writer"/>', ''),
    'second writer': ('<prover', '<writer/><prover'),
    'input': ('input="file"', 'input="pipe"'),
    'timeout': ('timeout="5"', 'timeout="5 s"'),
    'input of a reader': ('<reader', '<reader input="stdin"'),
    'unknown tool': ('<prover', '<checker/><prover'),
}

DRAFT = {'version': 1, 'time': '2026-11-22T03:22:41.184Z', 'component': 'c', 'mechanism': 'm',
         'driver': 'd', 'goals': ['a.1'], 'verdicts': [None], 'end': 'read', 'seconds': 1.5,
         'writer': {'seconds': 0.1, 'status': 0}, 'prover': {'seconds': 0, 'signal': 'SIGSEGV'},
         'reader': {'error': 'no such file'}}

BROKEN_JOURNAL = [
    {'version': 2}, {'time': 'today'}, {'goals': []}, {'verdicts': ['Valid']}, {'end': 'lost'},
    {'end': 'refused'}, {'seconds': -1}, {'writer': {}}, {'reader': {'seconds': 1}},
    {'prover': {'seconds': 1, 'status': 0, 'signal': 'SIGSEGV'}}, {'driver': None},
]


class Schemas(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = Path(folder.name)

    def write(self, name, text, mode=0o644):
        path = self.folder / name
        path.write_text(text)
        path.chmod(mode)
        return path

    def is_valid(self, schema, file, place='docs/schemas'):
        result = subprocess.run(['xmllint', '--noout', '--nonet', '--schema',
                                 SOURCE / place / schema, file], capture_output=True,
                                text=True, timeout=60, check=False)
        self.assertIn(result.returncode, (0, 3, 4), result.stderr)  # others: a broken schema
        return result.returncode == 0, result.stderr

    def validator(self, name):
        schema = json.loads((SOURCE / 'docs/schemas' / (name + '.json')).read_text())
        Draft202012Validator.check_schema(schema)
        return Draft202012Validator(schema)

    def mechtool(self, *words):
        result = subprocess.run([MECHTOOL, *words], cwd=self.folder, capture_output=True,
                                text=True, timeout=60, check=False)
        self.assertLess(result.returncode, 2, result.stderr)
        return result.stdout

    def check_table(self, schema, whole, table):
        file = self.write('file.xml', whole)
        self.assertEqual(self.is_valid(schema, file), (True, f'{file} validates\n'))
        for label, (before, after) in table.items():
            with self.subTest(label):
                self.assertIn(before, whole)
                self.write('file.xml', whole.replace(before, after))
                self.assertFalse(self.is_valid(schema, file)[0])

    def test_pos_rules(self):
        self.check_table('pos.xsd', POS, BROKEN_POS)

    def test_mechanism_rules(self):
        self.check_table('mechanism.xsd', MECHANISM, BROKEN_MECHANISM)

    def test_the_examples_are_valid(self):
        for pattern, schema in (('**/*.pos', 'pos.xsd'), ('**/mechanisms/*.xml', 'mechanism.xsd')):
            files = list((SOURCE / 'examples').glob(pattern))
            self.assertTrue(files)
            for file in files:
                with self.subTest(file.name):
                    self.assertTrue(*self.is_valid(schema, file))

    def test_what_a_play_writes_is_valid(self):
        self.write('list', 'put 2\nget 1\n')
        self.mechtool('new', 'c.pos', 'list')
        self.assertTrue(*self.is_valid('pos.xsd', self.folder / 'c.pos'))
        old = self.write('old.pos', (self.folder / 'c.pos').read_text())
        self.write('c.pog', '')
        self.write('writer', '#!/bin/sh\nwhile [ "$1" != -o ]; do shift; done\necho x > "$2"\n',
                   0o755)
        self.write('reader', '#!/bin/sh\nread line\necho Proved\necho Unknown\n', 0o755)
        mechanism = MECHANISM.replace('redundancy', 'always').replace('path="./', f'path="{self.folder}/')
        self.write('smt.xml', mechanism)
        self.mechtool('play', '-m', 'smt.xml', '-s', 'c.pos', '-p', 'c.pog', '--journal', 'c.jsonl')
        self.assertTrue(*self.is_valid('pos.xsd', self.folder / 'c.pos'))
        lines = (self.folder / 'c.jsonl').read_text().splitlines()
        ends = [json.loads(line)['end'] for line in lines]
        self.assertEqual(sorted(ends), ['read', 'wrong count'])
        for line in lines:
            self.validator('journal').validate(json.loads(line))
        shown = json.loads(self.mechtool('show', 'c.pos', '--json', '--goals'))
        self.validator('show').validate(shown)
        changes = json.loads(self.mechtool('diff', old, 'c.pos', '--json'))
        self.assertEqual(changes['summary']['better'], 1)
        self.validator('diff').validate(changes)
        gone = self.write('gone.pos', POS)
        self.validator('diff').validate(json.loads(self.mechtool('diff', old, gone, '--json')))

    def test_results_for_build_servers_are_valid(self):
        pos = self.write('c.pos', POS.replace('Goal status="Proved"', 'Goal status="Disproved"'))
        for words in ((), ('--require', 'proved')):
            for file in (pos, SOURCE / 'examples/buffer.pos'):
                with self.subTest((file.name, words)):
                    self.mechtool('report', file, '--junit', 'junit.xml', *words)
                    junit = self.folder / 'junit.xml'
                    self.assertTrue(*self.is_valid('junit.xsd', junit, 'tests/schemas'))
        junit.write_text(junit.read_text().replace('classname=', 'class='))
        self.assertFalse(self.is_valid('junit.xsd', junit, 'tests/schemas')[0])

    def test_journal_rules(self):
        journal = self.validator('journal')
        journal.validate(DRAFT)
        for fault in BROKEN_JOURNAL:
            with self.subTest(fault):
                self.assertFalse(journal.is_valid({**DRAFT, **fault}))
        for field in DRAFT:
            with self.subTest(field):
                self.assertFalse(journal.is_valid({k: v for k, v in DRAFT.items() if k != field}))

    def test_another_answer_is_refused(self):
        shown = json.loads(self.mechtool('show', self.write('c.pos', POS.replace(
            'Goal status="Proved"', 'Goal status="Unproved"')), '--json', '--goals'))
        goal = shown['components'][0]['goals'][0]
        show = self.validator('show')
        show.validate(shown)
        goal['status'] = 'Fine'
        self.assertFalse(show.is_valid(shown))
        goal.pop('status')
        self.assertFalse(show.is_valid(shown))
        self.assertFalse(self.validator('diff').is_valid(shown))


if __name__ == '__main__':
    MECHTOOL, SOURCE = sys.argv[1], Path(sys.argv[2])
    unittest.main(argv=sys.argv[:1] + sys.argv[3:])
