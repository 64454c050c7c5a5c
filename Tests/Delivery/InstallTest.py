#!/usr/bin/env python3
"""What is installed works by itself: the kernel's word is that it looks at nothing of this tree.

InstallTest.py PRESET: installs that build.
"""
import json
import os
import re
import socket
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

sys.dont_write_bytecode = True
ROOT = Path(__file__).resolve().parent.parent.parent
sys.path.insert(0, str(ROOT / 'scripts/lib'))
from hosttests import version  # noqa: E402

PRESET = sys.argv.pop()
TOOLS = ('qsmsim', 'qsmmachine', 'qsmbmc')


def run(*words, **options):
    done = subprocess.run(words, text=True, stdout=subprocess.PIPE, stderr=subprocess.STDOUT,
                          **options)
    if done.returncode != 0:
        raise AssertionError(f'{words} ended with {done.returncode}:\n{done.stdout}')
    return done.stdout


class Install(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        directory = tempfile.TemporaryDirectory()
        cls.addClassCleanup(directory.cleanup)
        cls.directory = Path(directory.name)
        # The prefix is relative to where the caller stands.
        run(ROOT / 'scripts/install', 'prefix', PRESET, cwd=cls.directory)
        cls.prefix = cls.directory / 'prefix'

    def tool(self, *words):
        """Runs an installed tool, which then is seen to have looked at itself but not at the tree."""
        trace = self.directory / 'trace'
        # A leak sanitizer cannot work in a traced process.
        environment = dict(os.environ, ASAN_OPTIONS='detect_leaks=0')
        output = run('strace', '--follow-forks', '--seccomp-bpf', '--trace=%file', '--output',
                     trace, self.prefix / 'bin' / words[0], *words[1:], cwd=self.directory,
                     env=environment)
        looks = trace.read_text()
        self.assertIn(f'"{self.prefix}/bin/{words[0]}"', looks)
        self.assertEqual(re.findall(rf'.*"{ROOT}/.*', looks), [])
        return output

    def test_qsmsim_makes_and_reports_a_record(self):
        self.tool('qsmsim', 'make', 'memory', '--socket', '1', '--channel', '2', '--dimm', '0',
                  '--output', 'a.cper')
        for platform in ((), ('--platform', self.prefix / 'share/VelmoraQsmErrorHandler/platforms'
                              / 'TwoSocket.json')):
            self.assertIn('event: memory, Warning, "CPU1_C2_D0"',
                          self.tool('qsmsim', 'report', 'a.cper', *platform))

    def test_what_scripts_run_finds_paths_where_the_caller_stands(self):
        (self.directory / 'b.cper').write_bytes(b'')
        become = 'source "${0%/*}/lib/common"; become "$@"'
        done = subprocess.run(['bash', '-c', become, ROOT / 'scripts/run', f'build/{PRESET}/Tools/'
                               'qsmsim/qsmsim', 'report', 'b.cper'], cwd=self.directory,
                              stderr=subprocess.PIPE, text=True)
        self.assertRegex(done.stderr, '^qsmsim: b.cper: expected an error record')

    def ended(self, tool, *words, **options):
        """Runs an installed tool that may end with any code."""
        return subprocess.run([self.prefix / 'bin' / tool, *words], text=True, cwd=self.directory,
                              stderr=subprocess.PIPE, **({'stdout': subprocess.PIPE} | options))

    def test_qsmmachine_runs_the_machine_with_its_bmc(self):
        self.assertIn('pcie, Critical, "Slot1"',
                      self.tool('qsmmachine', '--inject', 'pcie-uncorrected@nv1'))
        (self.directory / 'inventory').write_text('slot 1 Other\n')
        run = self.ended('qsmmachine', '--json', '--keep', '--quiet', '--inject', 'pcie-corrected',
                         '--inventory', 'inventory', '--log-levels', '0',
                         env=dict(os.environ, TMPDIR=str(self.directory)))
        report = json.loads(run.stdout)
        self.assertEqual(report['injections'][0]['events'][0]['id'], 'Other')
        self.assertEqual((report['rasLog'], 'FindRedFishId' in report['debugLog']), ('', False))
        self.assertEqual([type(cpu['max']) for cpu in report['state']['processors']], [int] * 4)
        self.assertIn("'-bios'", Path(report['kept'], 'qemu.sh').read_text())

    def test_qsmmachine_says_in_one_line_that_a_bmc_does_not_do_its_part(self):
        with socket.create_server(('127.0.0.1', 0)) as nobody:
            port = str(nobody.getsockname()[1])
        through = 'the event has not got through to the BMC: Time out|.*0xC3, timeout'
        for words, reason in ((('--bmc-mode', 'mute'), through),
                              (('--bmc-mode', 'refuse=0xC1'),
                               'the BMC has not taken the event: 0xC1, invalid command'),
                              (('--bmc-port', port),
                               'the BMC has not taken the event: 0xD2, initialization in progress')):
            run = self.ended('qsmmachine', '--inject', 'pcie-uncorrected', *words)
            self.assertEqual((run.returncode, run.stderr), (1, ''), words)
            self.assertRegex(run.stdout, rf'\nfault: pcie-uncorrected@nv1: ({reason})\n$')

    def test_a_reader_that_has_gone_ends_a_tool_without_a_word(self):
        for tool in TOOLS:
            read, write = os.pipe()
            os.close(read)
            run = self.ended(tool, '--help', stdout=write)
            os.close(write)
            self.assertEqual((run.returncode, run.stderr), (141, ''), tool)

    def test_each_script_tells_its_version_and_what_it_does(self):
        builds_its_tool_for_help = {'run', 'machine'}
        for script in (ROOT / 'scripts').iterdir():
            if script.is_file() and os.access(script, os.X_OK):
                self.assertEqual(run(script, '--version'), f'scripts/{script.name} {version()}\n')
                if script.name not in builds_its_tool_for_help:
                    self.assertRegex(run(script, '--help'), r'\w[.:]\s')

    def test_help_fits_a_terminal(self):
        commands = [(tool,) for tool in TOOLS]
        for command in commands:
            text = self.tool(*command, '--help')
            self.assertLessEqual(max(map(len, text.splitlines())), 80, text)
            listed = text.partition('\nSubcommands:\n')[2]
            commands += [(*command, name) for name in re.findall(r'^  ([a-z]\S*)', listed, re.M)]
        self.assertGreater(len(commands), 15)

    def test_qsmmachine_withholds_a_module(self):
        self.assertIn('VelmoraQsmErrorHandler waits for 710D487E-',
                      self.tool('qsmmachine', '--withhold', 'SystemInventory'))

    def test_gdb_has_the_recorded_session_with_the_symbols_that_are_installed(self):
        run(ROOT / 'Tests/Machine/debug-session', self.prefix / 'bin/qsmmachine')

    def test_each_tool_tells_its_version_and_has_a_manual(self):
        for tool in TOOLS:
            self.assertEqual(self.tool(tool, '--version'), f'{tool} {version()}\n')
        for tool in (*TOOLS, 'qsmsim-report', 'qsmsim-make-memory'):
            page = run('man', '--local-file', self.prefix / f'share/man/man1/{tool}.1')
            self.assertRegex(page, rf'NAME\n +{tool} - \w')
            self.assertRegex(page, r'\n +-h, ?--help')

    def test_bash_completes_what_the_tools_take(self):
        rows = [('qsmsim ', {'report', 'make', 'show'}, {'--help'}),
                ('qsmsim make mem', {'memory'}, {'pcie'}),
                ('qsmsim report a.cper --q', {'--quiet'}, {'--raw'}),
                ('qsmmachine --', {'--smp', '--inject', '--version'}, {'qsmbmc'}),
                ('qsmmachine --inject pcie', {'pcie-corrected'}, {'processor-corrected'}),
                ('qsmmachine --withhold ', {'SystemInventory'}, {'--smp'}),
                ('qsmbmc --mode ', {'mute', 'refuse'}, {'checksum'})]
        for line, expected, unexpected in rows:
            words = line.split(' ')
            source = self.prefix / f'share/bash-completion/completions/{words[0]}'
            found = set(run('bash', '-euc', '''
                source "$1"; shift
                COMP_WORDS=("$@") COMP_CWORD=$(($# - 1))
                _qsm_tool "$1" "${!#}" "${@:$#-1:1}"
                printf '%s\\n' "${COMPREPLY[@]}"''', 'bash', source, *words,
                env={'PATH': f'{self.prefix}/bin:/usr/bin:/bin'}).split())
            self.assertLessEqual(expected, found, line)
            self.assertFalse(unexpected & found, line)


if __name__ == '__main__':
    unittest.main()
