#!/usr/bin/env python3
"""What scripts/bench says of two files of results."""
import json
import subprocess
import tempfile
import unittest
from pathlib import Path

BENCH = Path(__file__).resolve().parent.parent.parent / 'scripts/bench'
HEAD = {'date': 'today', 'commit': 'abc', 'dirty': False, 'machine': {'processor': 'one'}}


def time(least, median):
    return {'unit': 'ns', 'minimum': least, 'median': median, 'maximum': 900}


def count(value):
    return {'unit': 'calls', 'minimum': value}


class Bench(unittest.TestCase):
    def compare(self, *names):
        done = subprocess.run([BENCH, '--compare', *names], cwd=self.directory, text=True,
                              stdout=subprocess.PIPE, stderr=subprocess.STDOUT)
        return done.returncode, done.stdout

    def test_compare_names_what_differs_beyond_its_noise(self):
        directory = tempfile.TemporaryDirectory()
        self.addCleanup(directory.cleanup)
        self.directory = Path(directory.name)
        old = {'a': count(7), 'b': count(7), 'c': time(100, 105), 'd': time(100, 105),
               'e': count(1)}
        new = {'a': count(8), 'b': count(7), 'c': time(108, 111), 'd': time(109, 112),
               'f': count(1)}
        for name, figures in (('old', old), ('new', new), ('bad', {'a': 7})):
            (self.directory / name).write_text(json.dumps({**HEAD, 'figures': figures}))
        code, text = self.compare('old', 'new')
        lines = text.splitlines()[3:]
        self.assertEqual([line.split() for line in lines[:2]],
                         [['7', '8', '0', 'calls,', 'a:', 'more'],
                          ['100', '109', '8', 'ns,', 'd:', 'more']])
        self.assertEqual(lines[2:], ['2 figures are the same, 2 are in one file only'])
        self.assertEqual(code, 1)
        self.assertEqual(self.compare('new', 'new')[0], 0)
        self.assertIn('d: less', self.compare('new', 'old')[1])
        for name in ('bad', 'none'):
            self.assertRegex(self.compare('old', name)[1], f'^scripts/bench: {name}: .*\n$')


unittest.main()
