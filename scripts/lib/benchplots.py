"""Draws what scripts/bench has measured, as SVG files, with gnuplot."""
import subprocess
import sys

BLUE, RED, GREEN, GREY = '#1f5fa8', '#c03a2b', '#2e8b57', '#777777'
COLOURS = {'processor': BLUE, 'memory': RED, 'PCIe': GREEN}
COUNTS = (8, 64, 512, 4096)
PROCESSORS = (1, 2, 4, 8, 16)
HEAD = '''
set encoding utf8
set grid linecolor "#dddddd" linetype 1 linewidth 0.5
set border 3
set tics nomirror
set key top left reverse Left samplen 2
'''


class Picture:
    """A file of panels side by side, in as many columns as asked for."""

    def __init__(self, width, height, columns=2, rows=1):
        self.head = (f'set terminal svg size {width},{height} font "Helvetica,Arial,sans-serif,14" '
                     f'background "white"\n')
        self.layout = f'set multiplot layout {rows},{columns}\n'
        self.panels = []

    def panel(self, settings, *series):
        """Series are (rows of numbers, "using ... with ... title ...")."""
        blocks, plots = '', []
        for rows, style in series:
            block = f'$data{len(self.panels)}_{len(plots)}'
            lines = (' '.join(str(value) for value in row) for row in rows)
            blocks += f'{block} << end\n' + '\n'.join(lines) + '\nend\n'
            plots.append(f'{block} {style}')
        self.panels.append(f'reset\n{HEAD}{settings}\n{blocks}plot ' + ', '.join(plots) + '\n')

    def write(self, path):
        script = (f'{self.head}set output "{path}"\n{self.layout}' + ''.join(self.panels) +
                  'unset multiplot\n')
        done = subprocess.run(['gnuplot'], input=script, text=True, capture_output=True)
        if done.returncode != 0 or 'warning' in done.stderr:
            sys.exit(f'scripts/bench: gnuplot: {done.stderr}')
        path.write_text('\n'.join(line.rstrip() for line in path.read_text().splitlines()) + '\n')
        print(f'drawn: {path}')


def line(colour, title, dashed=False, columns='1:2'):
    return (f'using {columns} with linespoints linecolor "{colour}" linewidth 2 pointtype 7 '
            f'pointsize 0.5 dashtype {2 if dashed else 1} title "{title}"')


def devices_picture(least):
    """Time and instructions of one error over the number of devices."""
    picture = Picture(1080, 500)
    axes = ('set logscale xy\nset xlabel "devices in the inventory"\nset format y "%.0s%c"\n'
            'set xtics (8, 64, 512, 4096)\nset xrange [6:5500]\n')
    for title, label, key, span in (
            ('Time of one error on the host', 'nanoseconds', 'errors: ', '[30:2e7]'),
            ('Instructions of one error in the image', 'instructions', 'listener: instructions, ',
             '[200:1e8]')):
        series = []
        for name, colour in COLOURS.items():
            for place, words in (('last', name), ('first', '')):
                rows = [(count, least(f'{key}{name}, {place} of {count}')) for count in COUNTS]
                series.append((rows, line(colour, words, dashed=place == 'first')))
        rows = [(count, least(f'{key}memory, other of {count}')) for count in COUNTS]
        series.append((rows, line(GREY, 'memory, no device of its class')))
        picture.panel(f'{axes}set title "{title}\\n'
                      f'solid: the last device matches, dashed: the first"\nset ylabel "{label}"\n'
                      f'set yrange {span}', *series)
    return picture


def primitives_picture(least):
    """The primitives beside the C library, over size."""
    picture = Picture(1080, 860, rows=2)
    sizes = [8 ** power for power in range(9)]
    units = ('set logscale xy\nset xtics ("1" 1, "8" 8, "64" 64, "512" 512, "4 Ki" 4096, '
             '"32 Ki" 32768, "256 Ki" 262144, "2 Mi" 2097152, "16 Mi" 16777216)\n'
             'set xtics font ",12"\nset xrange [1:2.4e7]\n'
             'set xlabel "bytes"\nset ylabel "nanoseconds"\nset format y "%.0s%c"\n')
    panels = [('CopyMem', 'memmove', 'CopyMemory', sizes, ''),
              ('ZeroMem', 'memset', 'ZeroMemory', sizes, ''),
              ('AsciiStrLen', 'strlen', 'TextLength', sizes, ''),
              ('AsciiSPrint \\"%a\\"', 'snprintf \\"%s\\"', 'Text',
               [2 ** power for power in range(8)],
               'unset logscale\nset xtics 16\nset xlabel "characters"\nset xrange [0:132]\n'
               'set yrange [0:*]\n')]
    for ours, theirs, key, arguments, more in panels:
        series = []
        for title, suffix, colour in ((ours, '', BLUE), (f'{theirs} of the C library', 'Library',
                                                         GREY)):
            rows = [(argument, least(f'primitives: {key}{suffix}/{argument}'))
                    for argument in arguments]
            series.append((rows, line(colour, title)))
        picture.panel(f'{units}{more}set title "{ours}"', *series)
    return picture


def smi_picture(least):
    """The SMI of one error by share."""
    picture = Picture(1080, 470)
    bars = []
    for equipment, words in (('bmc_quiet', 'quiet'), ('bmc_log', 'log')):
        for cause in COLOURS:
            whole = least(f'smi: instructions, {equipment}, {cause}')
            driver = least(f'profile: {equipment}, {cause}, driver')
            ports = (least(f'smi: ports, {equipment}, {cause}') +
                     least(f'smi: log, {equipment}, {cause}'))
            bars.append((f'"{cause}\\n{words}"', driver, whole - driver, ports))
    axes = ('set style data histograms\nset style histogram rowstacked\nset boxwidth 0.7\n'
            'set style fill solid 0.9\nset grid noxtics ytics\nset yrange [0:*]\n'
            'set xtics scale 0 font ",12"\nset xrange [-0.6:5.6]\nset bmargin 3\n')
    share = 'using {}:xtic(1) linecolor "{}" title "{}"'
    picture.panel(f'{axes}set title "Instructions of the SMI of one error, with BMC"\n'
                  'set format y "%.0s%c"\n'
                  'set ylabel "instructions"',
                  (bars, share.format(2, RED, 'driver')),
                  (bars, share.format(3, BLUE, 'firmware')))
    picture.panel(f'{axes}set title "Its time at 2 GHz, 1 µs for each access to a port"\n'
                  'set ylabel "microseconds"\n'
                  'set arrow from graph 0, first 150 to graph 1, first 150 nohead '
                  f'linecolor "{GREY}" dashtype 2\n'
                  f'set label "usual limit, 150 µs" at graph 0.02, first 172 textcolor "{GREY}"',
                  (bars, share.format('($2/2000)', RED, 'driver')),
                  (bars, share.format('($3/2000)', BLUE, 'firmware')),
                  (bars, share.format(4, GREEN, 'ports')))
    return picture


def processors_picture(least, greatest):
    """Instructions of a processor's SMI if others report at the same moment."""
    picture = Picture(1080, 470)
    for cause in ('processor', 'memory'):
        def rows(side, cause=cause):
            keys = [(count, f'processors: {cause}, {side}, {count}') for count in PROCESSORS]
            return [(count, least(key, 'median'), least(key), greatest(key)) for count, key in keys]
        picture.panel(
            'set logscale xy 2\nset logscale y 10\nset xtics (1, 2, 4, 8, 16)\n'
            'set xlabel "processors that report at the same moment"\n'
            'set ylabel "instructions of a processor\'s SMI"\nset format y "%.0s%c"\n'
            f'set xrange [0.8:20]\nset yrange [500:1e5]\nset title "A {cause} error each"',
            (rows('firmware'),
             f'using 1:2:3:4 with yerrorbars linecolor "{BLUE}" linewidth 2 pointtype 7 '
             'pointsize 0.6 title "firmware: least, median and greatest"'),
            (rows('driver'), line(RED, 'driver')))
    return picture


def draw(figures, directory):
    """Draws each picture whose figures are there."""
    def least(name, which='minimum'):
        return figures[name].get(which, figures[name]['minimum'])

    def greatest(name):
        return least(name, 'maximum')

    directory.mkdir(parents=True, exist_ok=True)
    for name, parts, make in (
            ('devices', ('errors', 'listener'), lambda: devices_picture(least)),
            ('primitives', ('primitives',), lambda: primitives_picture(least)),
            ('smi', ('smi', 'profile'), lambda: smi_picture(least)),
            ('processors', ('processors',), lambda: processors_picture(least, greatest))):
        if set(parts) <= {figure.split(':')[0] for figure in figures}:
            make().write(directory / f'{name}.svg')
