"""What scripts/bench measures: runs the programs of Bench and makes figures of what they print.

A figure is a dictionary: its unit, and the minimum of what was measured; where that differs from
run to run, also the median and the maximum.
"""
import datetime
import json
import os
import platform
import re
import subprocess
import sys
from collections import Counter, defaultdict
from statistics import median

from hosttests import ROOT

CLASSES = {'1': 'processor', '2': 'memory', '3': 'PCIe'}
PLACES = ('first', 'last', 'none')
IMAGE = 'build/image'
MACHINE = ('build/machine/VelmoraMachine.rom', f'{IMAGE}/VelmoraQsmErrorHandler.ffs',
           f'{IMAGE}/SystemInventory.ffs')


def output(*words):
    done = subprocess.run(words, cwd=ROOT, capture_output=True, text=True)
    if done.returncode != 0:
        sys.exit(f'scripts/bench: {words[0]} ended with {done.returncode}\n{done.stderr}')
    return done.stdout


def first_line(*words):
    return output(*words).splitlines()[0]


def circumstances():
    """When, of what and on what is measured."""
    with open('/proc/cpuinfo') as lines:
        model = re.search(r'^model name\s*: (.*)', lines.read(), re.MULTILINE)
    return {'date': datetime.datetime.now(datetime.timezone.utc).isoformat(timespec='seconds'),
            'commit': first_line('git', 'rev-parse', '--short', 'HEAD'),
            'dirty': output('git', 'status', '--porcelain', '--', '.', ':!docs') != '',
            'machine': {'processor': model.group(1) if model else platform.machine(),
                        'cores': os.cpu_count(), 'kernel': platform.release()},
            'compilers': {'host': first_line('g++', '--version'),
                          'image': first_line('clang++', '--version')},
            'emulator': first_line('qemu-system-x86_64', '--version')}


def build(preset, *targets):
    output('cmake', '--preset', preset)
    output('cmake', '--build', f'build/{preset}', '--target', *targets)


def build_machine():
    build('image', 'QsmImageFile', 'InventoryImageFile')
    build('machine', 'MachineRom')


def exact(unit, value):
    return {'unit': unit, 'minimum': value}


def repeated(unit, values):
    return {'unit': unit, 'minimum': min(values), 'median': median(values), 'maximum': max(values)}


def rows(program, *arguments):
    """The words of each line that a program prints below its heading; the last may have blanks."""
    build('bench', program)
    heading, *lines = output(f'build/bench/Bench/{program}', *arguments).splitlines()
    return [line.split(' ', heading.count(' ')) for line in lines]


def times(program, repetitions):
    """By the name of the benchmark: nanoseconds of a pass, of each repetition."""
    build('bench', program)
    report = json.loads(output(
        f'build/bench/Bench/{program}', '--benchmark_format=json', '--benchmark_min_time=0.05',
        '--benchmark_enable_random_interleaving=true', f'--benchmark_repetitions={repetitions}'))
    found = defaultdict(list)
    for run in report['benchmarks']:
        if run['run_type'] == 'iteration':
            assert run['time_unit'] == 'ns'
            found[run['run_name']].append(round(run['cpu_time'], 2))
    return {name: repeated('ns', values) for name, values in found.items()}


def errors(repetitions):
    figures = {}
    for name, values in times('ErrorPathBench', repetitions).items():
        reported, devices, count, place = re.findall(r':(\d+)', name)
        place = PLACES[int(place)] if devices == reported else 'other'
        figures[f'{CLASSES[reported]}, {place} of {count}'] = values
    return figures


def listener(_):
    build('image', 'QsmImageFile')
    figures = {}
    for name, place, count, instructions, floor, stack, calls in rows('ListenerCost'):
        error = f'{name}, {place} of {count}'
        figures[f'instructions, {error}'] = exact('instructions', int(instructions))
        figures[f'floor, {error}'] = exact('instructions', int(floor))
        figures[f'stack, {error}'] = exact('bytes', int(stack))
        figures[f'calls, {error}'] = exact('calls', int(calls))
    return figures


def smi(_):
    build_machine()
    figures = {}
    for equipment, cause, instructions, log, ports in rows('SmiTime', *MACHINE):
        figures[f'instructions, {equipment}, {cause}'] = exact('instructions', int(instructions))
        figures[f'log, {equipment}, {cause}'] = exact('bytes', int(log))
        figures[f'ports, {equipment}, {cause}'] = exact('accesses', int(ports))
    return figures


def profile(_):
    build_machine()
    figures, sides = {}, Counter()
    for equipment, cause, instructions, side, function in rows('SmiProfile', *MACHINE):
        sides[f'{equipment}, {cause}, {side}'] += int(instructions)
        figures[f'{equipment}, {cause}, {side}, {function}'] = exact(
            'instructions', int(instructions))
    figures.update((name, exact('instructions', value)) for name, value in sides.items())
    return figures


def processors(_):
    build_machine()
    figures, sides, functions = {}, defaultdict(Counter), defaultdict(Counter)
    for row in rows('SmiTogether', *MACHINE):
        cause, count, number, processor, instructions, side, function = row
        sides[f'{cause}, {side}', int(count)][number, processor] += int(instructions)
        if side == 'firmware':
            functions[f'{cause}, {function}', int(count)][number, processor] = int(instructions)
    for (name, count), values in sides.items():
        figures[f'{name}, {count}'] = repeated('instructions', values.values())
    # Who waits for whom: the functions that do more if there are others.
    for (name, count), values in functions.items():
        most = max(functions[name, count].values())
        if most > max(functions.get((name, 1), {}).values(), default=0) + 100:
            figures[f'{name}, {count}'] = repeated('instructions', values.values())
    return figures


def primitives(repetitions):
    return {**times('MemoryBench', repetitions), **times('PrintBench', repetitions)}


def others(repetitions):
    return {**times('LoadBench', repetitions), **times('SpinLockBench', repetitions),
            **times('RasLogBench', repetitions)}


PARTS = {part.__name__: part
         for part in (errors, listener, smi, profile, processors, primitives, others)}
