#!/usr/bin/env python3
"""Runs the benchmarks of the presets `bench` and `core` and holds them against their limits.

usage: measure.py [--rounds N] [--core N] [GROUP...]      groups: exchange wire hid core programs window
Ends with 1 when a limit was missed or a measurement failed, also when one could not be judged.
"""
import argparse
import json
import os
import pathlib
import statistics
import subprocess
import sys
import tempfile
import time

TOP = pathlib.Path(__file__).resolve().parent.parent
BIN = TOP / 'build/bench/bin'
EXCHANGES = 5000      # of one measurement
FLOOR_LIMIT = 40.0    # us; above it the kernel's worker sat on another core and nothing can be compared
BAUD = 19200
BITS = 10             # of a byte on the line

rows = []


def row(what, value, unit, limit=None, note=''):
    """One line of the table. Without a limit the value is reported and not judged; a value of None is a failure."""
    verdict = '' if limit is None else 'NG' if value is None or value > limit else 'OK'
    if value is None:
        verdict = 'NG'
    rows.append((what, value, unit, limit, verdict, note))
    shown = '-' if value is None else f'{value:.3f}' if value < 10 else f'{value:.1f}'
    bound = '' if limit is None else f'<= {limit:g}'
    print(f'{what:<58} {shown:>9} {unit:<6} {bound:<9} {verdict:<3} {note}', flush=True)


class Responder:
    """The other end of a line; `with` gives its device."""
    def __init__(self, *options, core=None):
        self.command = pinned(core) + [BIN / 'bench_responder', *options]

    def __enter__(self):
        self.process = subprocess.Popen(self.command, stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True)
        return self.process.stdout.readline().strip()

    def __exit__(self, *unused):
        self.process.stdin.close()
        self.process.wait()


def pinned(core):
    return [] if core is None else ['taskset', '-c', str(core)]


def output(command, **options):
    return subprocess.run(command, check=True, stdout=subprocess.PIPE, text=True, **options).stdout


def numbers(text):
    return [float(word) for word in text.splitlines()[0].split()]


def exchange(args):
    """One exchange over a pseudo-terminal against an instant answer, everything on one core."""
    ours, modbus = [], []
    floors = []
    rounds = 0
    for _ in range(3 * args.rounds):
        with Responder(core=args.core) as device:
            floor = numbers(output(pinned(args.core) + [BIN / 'bench_floor', device, str(EXCHANGES)], input='B05\n'))
            line = numbers(output(pinned(args.core) + [BIN / 'bench_line', 'exchange', device, str(EXCHANGES)]))
        if floor[0] > FLOOR_LIMIT:
            continue
        floors.append(floor)
        ours.append((line[0], line[1], line[0] / floor[0], line[1] / floor[1]))
        if (BIN / 'bench_modbus').exists():
            with Responder('--modbus', core=args.core) as device:
                other = numbers(output(pinned(args.core) + [BIN / 'bench_modbus', device, str(EXCHANGES)]))
            modbus.append((other[0], other[1], other[0] / floor[0], other[1] / floor[1]))
        rounds += 1
        if rounds == args.rounds:
            break
    if rounds < args.rounds:
        row('an exchange, all layers', None, '', 1.5,
            f'no verdict: only {rounds} rounds with a bare client below {FLOOR_LIMIT:g} us; the machine is not quiet')
        return
    median = lambda table, column: statistics.median(entry[column] for entry in table)
    row('an exchange, bare client: latency', median(floors, 0), 'us')
    row('an exchange, bare client: processor', median(floors, 1), 'us')
    row('an exchange, all layers: latency', median(ours, 0), 'us')
    row('an exchange, all layers: processor', median(ours, 1), 'us')
    row('  latency over the bare client', median(ours, 2), 'times', 1.5)
    row('  processor over the bare client', median(ours, 3), 'times', 2.5)
    if modbus:
        row('an exchange, libmodbus: latency over the bare client', median(modbus, 2), 'times')
        row('an exchange, libmodbus: processor over the bare client', median(modbus, 3), 'times')


def wire(args):
    """A read of everything at 19200 baud, each byte taking its time."""
    with tempfile.TemporaryDirectory() as folder:
        image = pathlib.Path(folder) / 'image'
        image.write_bytes(subprocess.run([BIN / 'bench_line', 'image'], check=True, stdout=subprocess.PIPE).stdout)
        with Responder('--image', image) as device:
            frames = output([BIN / 'bench_line', 'read', device, 'slow']).split('\n', 1)[1]
        slow, quick, floor_wire, slow_wire, floor_busy, slow_busy, quick_busy = ([] for _ in range(7))
        for _ in range(5):
            with Responder('--image', image, '--pace', str(BAUD)) as device:
                _, floor_used, floor = numbers(output([BIN / 'bench_floor', device, '0'], input=frames))
                took, used, count, exchanges = numbers(output([BIN / 'bench_line', 'read', device, 'slow']))
                slow.append(took / floor)
                slow_busy.append(100 * used / took)
                floor_busy.append(100 * floor_used * exchanges / floor)
                on_wire = count * BITS / BAUD * 1e6
                floor_wire.append(floor / on_wire)
                slow_wire.append(took / on_wire)
                took, used, count, _ = numbers(output([BIN / 'bench_line', 'read', device, 'quick']))
                quick.append(took / (count * BITS / BAUD * 1e6))
                quick_busy.append(100 * used / took)
        if exchanges != 468:
            row('slow read of everything: exchanges', None, '', 468, f'{exchanges:g} were made')
        row('slow read at 19200 baud over the bare client', statistics.median(slow), 'times', 1.01)
        row('  bare client over the time of its bytes alone', statistics.median(floor_wire), 'times')
        row('  all layers over the time of their bytes alone', statistics.median(slow_wire), 'times')
        row('quick read at 19200 baud over the time of its bytes', statistics.median(quick), 'times', 1.01)
        row('processor during the slow read, of one core', statistics.median(slow_busy), '%', 3)
        row('processor during the quick read, of one core', statistics.median(quick_busy), '%', 3)
        row('  bare client during the slow read', statistics.median(floor_busy), '%')


def hid(args):
    """Readers on USB HID, over the simulated bus; what is plugged in and pulled out, over umockdev."""
    run = lambda *words: numbers(output([BIN / 'bench_hid', *words]))
    rounds = [run('exchange', 'reader', str(EXCHANGES)) for _ in range(args.rounds)]
    row('an exchange on HID, all layers: latency', statistics.median(one[0] for one in rounds), 'us', 150)
    row('an exchange on HID, device included: processor', statistics.median(one[1] for one in rounds), 'us')
    reports = 2 * -(-512 // 62)  # two images, 62 bytes a report
    for pace in (1, 8):
        took = statistics.median(run('image', f'reader interval={pace}')[0] for _ in range(5))
        row(f'two images at a report every {pace} ms, over their reports', took / (1000 * pace * reports), 'times')
    row('an open adapter idle for 60 s, of one core', run('idle', 'tarka', '60')[0], '%', 0.2)
    test = [TOP / 'build/core/tests/platform/test_plugging', '--gtest_filter=*InTime']
    try:
        text = output(['umockdev-wrapper', *test])
    except FileNotFoundError:
        row('arrival and removal', None, 'ms', 300, 'umockdev is missing')
        return
    for line in text.splitlines():
        if ' told: ' in line:
            what, figures = line.split(' told: ')
            middle, worst = (float(part.split()[1]) for part in figures.split(','))
            row(f'{what} told, median of 20', middle, 'ms')
            row(f'{what} told, worst of 20', worst, 'ms', 300)


def core(args):
    """The core in virtual time, and its whole suite."""
    limits = {'ReadEverything/slow': 5.0, 'SettingsText': 1.0}
    report = json.loads(output(pinned(args.core) + [BIN / 'bench_core', '--benchmark_format=json',
                                                    '--benchmark_repetitions=7'], stderr=subprocess.DEVNULL))
    found = set()
    for entry in report['benchmarks']:
        if entry.get('error_occurred'):
            row(entry['name'], None, 'ms', note=entry['error_message'])
            found.add(entry['run_name'])
        elif entry.get('aggregate_name') == 'median':
            name = entry['run_name']
            found.add(name)
            times = entry['cpu_time'] / {'ns': 1e6, 'us': 1e3, 'ms': 1}[entry['time_unit']]
            note = f"{entry['exchanges']:g} exchanges" if 'exchanges' in entry else ''
            row(f'{name}: processor', times, 'ms', limits.get(name), note)
    for name in limits.keys() - found:
        row(name, None, 'ms', limits[name], 'was not measured')
    with tempfile.TemporaryDirectory() as folder:
        start = time.perf_counter()
        result = subprocess.run(['ctest', '--preset', 'core', '-L', 'core', '-j', '1'], cwd=TOP, stdout=subprocess.DEVNULL,
                                env={**os.environ, 'XDG_CONFIG_HOME': folder}, check=False)
        took = time.perf_counter() - start
    row('the core\'s test suite in virtual time', took if result.returncode == 0 else None, 's', 3.0)


def child(command):
    """Runs a program: seconds from exec to exit, peak resident size in MiB."""
    nothing = os.open(os.devnull, os.O_WRONLY)
    start = time.perf_counter()
    process = os.posix_spawn(command[0], command, os.environ, file_actions=[
        (os.POSIX_SPAWN_DUP2, nothing, 1), (os.POSIX_SPAWN_DUP2, nothing, 2)])
    _, status, usage = os.wait4(process, 0)
    took = time.perf_counter() - start
    os.close(nothing)
    if status != 0:
        raise subprocess.CalledProcessError(os.waitstatus_to_exitcode(status), command)
    return took, usage.ru_maxrss / 1024


def programs(_):
    ctl = str(BIN / 'zarn74ctl')
    child([ctl, '--version'])
    row('zarn74ctl --version, exec to exit, median of 20',
        1000 * statistics.median(child([ctl, '--version'])[0] for _ in range(20)), 'ms', 40)
    # A child's peak counts from its parent's, which is this interpreter's: about 12 MiB.
    row('zarn74ctl demo read, peak resident size', max(child([ctl, 'demo', 'read'])[1] for _ in range(3)), 'MiB', 30)


def first_paint(command, platform, folder):
    """ms from start to the first picture, MiB of memory then."""
    environment = {**os.environ, 'LD_PRELOAD': str(BIN / 'libfirstpaint.so'), 'XDG_CONFIG_HOME': folder,
                   'QT_QPA_PLATFORM': platform, 'FIRSTPAINT_START': str(time.clock_gettime_ns(time.CLOCK_MONOTONIC))}
    return numbers(output([BIN / command], env=environment, stderr=subprocess.DEVNULL))


def window(args):
    """The window: its start beside a bare one of 60 controls, its log, and what it costs a flow."""
    os.environ['QT_QPA_PLATFORM'] = 'offscreen'
    quiet = {'stderr': subprocess.DEVNULL}
    # With a display of its own, benchmarks/run measures on that as well.
    platforms = ['offscreen'] + (['xcb'] if os.environ.get('DISPLAY') else [])
    with tempfile.TemporaryDirectory() as folder:
        for platform in platforms:
            both = [[first_paint(command, platform, folder) for command in ('bench_bare', 'zarn74')] for _ in range(15)]
            row(f'bare window, start to first paint, {platform}', statistics.median(one[0][0] for one in both), 'ms')
            row(f'the window over the bare one, {platform}', statistics.median(one[1][0] for one in both) /
                statistics.median(one[0][0] for one in both), 'times', 1.6)
            row(f'bare window, resident size, {platform}', statistics.median(one[0][1] for one in both), 'MiB')
            row(f'the window over the bare one, {platform}', statistics.median(one[1][1] / one[0][1] for one in both),
                'times', 1.6)
        work, fifth, half, whole = numbers(output([BIN / 'bench_window', 'log', '100000', '0'], **quiet))
        row('the log, 100,000 lines as fast as they come: work a line', work, 'us', 120)
        row('  memory after 100,000 lines over that after 50,000', whole - half, 'MiB', 1)
        row('  memory after 50,000 lines over that after 20,000', half - fifth, 'MiB')
        row('the log, a line every 500 us: work a line',
            numbers(output([BIN / 'bench_window', 'log', '20000', '500'], **quiet))[0], 'us', 120)
        for pace in ('instant', 'paced'):
            for line in output([BIN / 'bench_window', 'gaps', pace], **quiet).splitlines():
                name, gap = line.split()
                row(f'largest gap of a 5 ms timer, {pace} reader, {name}', float(gap), 'ms', 20)
        image = pathlib.Path(folder) / 'image'
        image.write_bytes(subprocess.run([BIN / 'bench_line', 'image'], check=True, stdout=subprocess.PIPE).stdout)
        with Responder('--image', image) as device:
            frames = output([BIN / 'bench_line', 'read', device, 'slow']).split('\n', 1)[1]
        over = []
        for _ in range(args.rounds):
            with Responder('--image', image, '--pace', str(BAUD)) as device:
                floor = numbers(output([BIN / 'bench_floor', device, '0'], input=frames))[2]
                over.append(numbers(output([BIN / 'bench_window', 'read', device], **quiet))[0] / floor)
        row('slow read at 19200 baud through the window over the bare client', statistics.median(over), 'times', 1.015)


def main():
    groups = {'exchange': exchange, 'wire': wire, 'hid': hid, 'core': core, 'programs': programs,
              'window': window}
    parser = argparse.ArgumentParser()
    parser.add_argument('--rounds', type=int, default=9, help='rounds of the exchanges, at least 7')
    parser.add_argument('--core', type=int, default=0, help='the processor core that client and answer share')
    parser.add_argument('groups', nargs='*', metavar='GROUP', help=', '.join(groups))
    args = parser.parse_args()
    if args.rounds < 7 or not set(args.groups) <= set(groups):
        parser.error('at least 7 rounds, and groups of: ' + ', '.join(groups))
    for name in args.groups or groups:
        try:
            groups[name](args)
        except (subprocess.CalledProcessError, OSError) as error:
            row(name, None, '', note=f'failed: {error}')
    missed = [entry for entry in rows if entry[4] == 'NG']
    print(f'{len(rows)} figures, {sum(entry[4] == "OK" for entry in rows)} within their limits, {len(missed)} not')
    return 1 if missed else 0


if __name__ == '__main__':
    sys.exit(main())
