"""The tree and its test programs on the host, for scripts that run cases of their own choice."""
import math
import os
import re
import resource
import signal
import subprocess
import sys
import time
from pathlib import Path

# A reader that goes away ends a script without a word.
signal.signal(signal.SIGPIPE, signal.SIG_DFL)

ROOT = Path(__file__).resolve().parent.parent.parent
DRIVER = ('MdePkg', 'MdeModulePkg', 'UefiCpuPkg', 'Features', 'CpRcPkg', 'OrvModulePkg',
          'ServerRasPkg', 'ServerSiliconPkg', 'VelmoraQsmErrorHandler')
# Programs that need the image or the emulated machine.
APART = ('Tests/Image/', 'Tests/Machine/')
MEMORY = 2 << 30
LONGEST_SECONDS = 300


def version():
    return re.search(r'^project \(.* VERSION (\S+)', (ROOT / 'CMakeLists.txt').read_text(),
                     re.MULTILINE).group(1)


def tracked(*paths):
    """What git knows of, and what it would take up, without what is deleted."""
    output = subprocess.run(['git', 'ls-files', '-co', '--exclude-standard', '-z', '--', *paths],
                            cwd=ROOT, check=True, capture_output=True, text=True).stdout
    return sorted(name for name in set(output.split('\0')) if name and (ROOT / name).is_file())


def driver_sources():
    """The sources of the driver's own modules."""
    return [name for name in tracked(*DRIVER)
            if name.endswith(('.cpp', '.h')) and '/Test/' not in name]


class HostTests:
    """One build of a tree, and its test programs that have sources of the driver in them.

    Configures, and builds what is not up to date.
    """

    def __init__(self, tree, preset, jobs):
        self.build = tree / f'build/{preset}'
        self.environment = dict(os.environ, CCACHE_BASEDIR=str(tree), ASAN_OPTIONS=(
            f'hard_rss_limit_mb={MEMORY >> 20}'))
        self.sanitized = preset.startswith('host')
        configured = subprocess.run(['cmake', '--preset', preset], cwd=tree, text=True,
                                    env=self.environment, stdout=subprocess.PIPE,
                                    stderr=subprocess.STDOUT)
        if configured.returncode != 0:
            sys.exit(configured.stdout)
        targets = self.ninja('-t', 'targets', 'all').stdout.splitlines()
        programs = [line.split(':')[0] for line in targets if 'CXX_EXECUTABLE_LINKER__' in line]
        driver = {str(tree / name) for name in driver_sources()}
        self.sources = {}
        for program in programs:
            if program.endswith('Test') and not program.startswith(APART):
                sources = driver.intersection(self.ninja('-t', 'inputs', program).stdout.split())
                if sources:
                    self.sources[program] = sources
        self.programs = list(self.sources)
        built = self.ninja('-j', str(jobs), *self.programs)
        if built.returncode != 0:
            sys.exit(built.stdout)
        self.cases = {program: self.list_cases(program) for program in self.programs}

    def ninja(self, *arguments):
        return subprocess.run(['ninja', '-C', self.build, '-j', '1', '--quiet', *arguments],
                              env=self.environment, stdout=subprocess.PIPE,
                              stderr=subprocess.STDOUT, text=True)

    def list_cases(self, program):
        output = subprocess.run([self.build / program, '--gtest_list_tests'], check=True,
                                capture_output=True, text=True).stdout
        cases, suite = [], ''
        for line in output.splitlines():
            word = line.split('#')[0].rstrip()
            if word.startswith('  '):
                cases.append(suite + word.strip())
            elif word.endswith('.'):
                suite = word
        return [case for case in cases if 'DISABLED_' not in case]

    def passes(self, program, case, seconds=LONGEST_SECONDS):
        """Whether the case succeeds in a process of its own, as under ctest.

        It may take so many seconds of processor time, and longer only if others take theirs.
        """
        def limit():
            most = math.ceil(seconds)
            resource.setrlimit(resource.RLIMIT_CPU, (most, most))
            if not self.sanitized:
                resource.setrlimit(resource.RLIMIT_AS, (MEMORY, MEMORY))
            resource.setrlimit(resource.RLIMIT_CORE, (0, 0))
        test = subprocess.Popen(
            [self.build / program, f'--gtest_filter={case}'], cwd=self.build / Path(program).parent,
            env=self.environment, stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL,
            stderr=subprocess.DEVNULL, preexec_fn=limit, start_new_session=True)
        try:
            return test.wait(LONGEST_SECONDS) == 0
        except subprocess.TimeoutExpired:
            os.killpg(test.pid, 9)
            test.wait()
            return False

    def measure(self, program, case):
        """The seconds that the case takes to succeed; ends everything if it fails."""
        begin = time.monotonic()
        if not self.passes(program, case):
            sys.exit(f'{program} {case} fails')
        return time.monotonic() - begin
