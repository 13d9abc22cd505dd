#!/usr/bin/env python3
"""Runs the benchmarks of the presets `bench` and `core` and holds them against their limits.

usage: measure.py [--rounds N] [--core N] [GROUP...]      groups: exchange wire hid core programs window

There is a verdict on any machine: what is held against a limit is the ratio to the bare client, or to the bare window, of
the same run. Processor time is always judged; latency where the bare one shows that the machine is quiet. Ends with 1
when a limit was missed or a measurement failed.
"""
import argparse
import json
import os
import pathlib
import sqlite3
import statistics
import subprocess
import sys
import tempfile
import time

TOP = pathlib.Path(__file__).resolve().parent.parent
BIN = TOP / 'build/bench/bin'
EXCHANGES = 5000      # of one measurement
PATIENCE = 300        # s that one program may take; each needs less than 100 s on a quiet machine
BAUD = 19200
BITS = 10             # of a byte on the line
# What the bare one needs at most on a quiet machine:
QUIET_EXCHANGE = 4.0  # of its processor time; more is the kernel's worker on another core, or somebody else's work
QUIET_WIRE = 1.03     # of the time of its bytes

rows = []
median = statistics.median


def row(what, value, unit, limit=None, note=''):
    """One line of the table. Without a limit the value is reported and not judged; a value of None is a failure."""
    verdict = '' if limit is None else 'NG' if value is None or value > limit else 'OK'
    if value is None:
        verdict = 'NG'
    rows.append((what, value, unit, limit, verdict, note))
    shown = '-' if value is None else f'{value:.3f}' if value < 10 else f'{value:.1f}'
    bound = '' if limit is None else f'<= {limit:g}'
    print(f'{what:<64} {shown:>9} {unit:<6} {bound:<9} {verdict:<3} {note}', flush=True)


def where_quiet(quiet, what, value, unit, limit):
    """A latency: judged only on a quiet machine. Its processor time is another row."""
    row(what, value, unit, limit if quiet else None, '' if quiet else 'not judged, the machine is not quiet')


def best(measure, limit):
    """The least of up to three measurements. What a program does it does every time; what the machine did to it once is
    gone with that."""
    least = float('inf')
    for _ in range(3):
        least = min(least, measure())
        if least <= limit:
            break
    return least


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
    return subprocess.run(command, check=True, stdout=subprocess.PIPE, text=True, timeout=PATIENCE, **options).stdout


def numbers(text):
    return [float(word) for word in text.splitlines()[0].split()]


def bare_exchange(device, core):
    """The bare client's exchange: latency and processor time, us; and whether nothing disturbed it."""
    latency, used, _ = numbers(output(pinned(core) + [BIN / 'bench_floor', device, str(EXCHANGES)], input='B05\n'))
    return latency, used, latency <= QUIET_EXCHANGE * used


def exchange(args):
    """One exchange over a pseudo-terminal against an instant answer, everything on one core."""
    every, quiet, modbus = [], [], []
    for _ in range(3 * args.rounds):
        with Responder(core=args.core) as device:
            floor = bare_exchange(device, args.core)
            line = numbers(output(pinned(args.core) + [BIN / 'bench_line', 'exchange', device, str(EXCHANGES)]))
        every.append((*floor, *line))
        if not floor[2]:
            continue
        quiet.append(every[-1])
        if (BIN / 'bench_modbus').exists():
            with Responder('--modbus', core=args.core) as device:
                other = numbers(output(pinned(args.core) + [BIN / 'bench_modbus', device, str(EXCHANGES)]))
            modbus.append((other[0] / floor[0], other[1] / floor[1]))
        if len(quiet) == args.rounds:
            break
    is_quiet = len(quiet) == args.rounds
    used = quiet if is_quiet else every
    column = lambda get: median(get(one) for one in used)
    row('an exchange, bare client: latency', column(lambda one: one[0]), 'us')
    row('an exchange, bare client: processor', column(lambda one: one[1]), 'us')
    row('an exchange, all layers: latency', column(lambda one: one[3]), 'us')
    row('an exchange, all layers: processor', column(lambda one: one[4]), 'us')
    where_quiet(is_quiet, '  latency over the bare client', column(lambda one: one[3] / one[0]), 'times', 1.5)
    row('  processor over the bare client', column(lambda one: one[4] / one[1]), 'times', 2.5)
    if modbus:
        row('an exchange, libmodbus: latency over the bare client', median(one[0] for one in modbus), 'times')
        row('an exchange, libmodbus: processor over the bare client', median(one[1] for one in modbus), 'times')


def frames_of(image, kind):
    """The commands of a read of everything, one a line, and the us that its bytes take on the line."""
    with Responder('--image', image) as device:
        figures, frames = output([BIN / 'bench_line', 'read', device, kind]).split('\n', 1)
    return frames, numbers(figures)[2] * BITS / BAUD * 1e6


def full_image(folder):
    image = pathlib.Path(folder) / 'image'
    image.write_bytes(subprocess.run([BIN / 'bench_line', 'image'], check=True, stdout=subprocess.PIPE).stdout)
    return image


def bare_read(device, frames):
    """A read of everything by the bare client: us, of these the processor's."""
    _, used, took = numbers(output([BIN / 'bench_floor', device, '0'], input=frames))
    return took, used * frames.count('\n')


def wire(_):
    """A read of everything at 19200 baud, each byte taking its time."""
    with tempfile.TemporaryDirectory() as folder:
        image = full_image(folder)
        # A slow read takes seconds, a quick one one.
        for kind, exchanges, count, busy in (('slow', 468, 5, 2.5), ('quick', 4, 15, 2)):
            frames, on_wire = frames_of(image, kind)
            if frames.count('\n') != exchanges:
                note = f'{exchanges} are expected, {len(frames.splitlines())} were made'
                row(f'{kind} read of everything: exchanges', None, '', note=note)
                continue
            rounds = []
            for _ in range(count):
                with Responder('--image', image, '--pace', str(BAUD)) as device:
                    floor = bare_read(device, frames)
                    rounds.append((*floor, *numbers(output([BIN / 'bench_line', 'read', device, kind]))))
            column = lambda get: median(get(one) for one in rounds)
            bare = column(lambda one: one[0] / on_wire)
            where_quiet(bare <= QUIET_WIRE, f'{kind} read at {BAUD} baud over the bare client',
                        column(lambda one: one[2] / one[0]), 'times', 1.01)
            row('  processor over the bare client', column(lambda one: one[3] / one[1]), 'times', busy)
            row('  bare client over the time of its bytes alone', bare, 'times')
            row('  all layers over the time of their bytes alone', column(lambda one: one[2] / on_wire), 'times')
            row('  bare client: processor, of one core', column(lambda one: 100 * one[1] / one[0]), '%')
            row('  all layers: processor, of one core', column(lambda one: 100 * one[3] / one[2]), '%')


def hid(args):
    """Readers on USB HID, over the simulated bus; what is plugged in and pulled out, over umockdev."""
    run = lambda *words: numbers(output([BIN / 'bench_hid', *words]))
    rounds = []
    for _ in range(args.rounds):
        with Responder(core=args.core) as device:
            rounds.append((*bare_exchange(device, args.core), *run('exchange', 'reader', str(EXCHANGES))))
    row('an exchange on HID, all layers: latency', median(one[3] for one in rounds), 'us')
    row('an exchange on HID, device included: processor', median(one[4] for one in rounds), 'us')
    where_quiet(sum(one[2] for one in rounds) > args.rounds / 2, '  latency over the bare client on a line',
                median(one[3] / one[0] for one in rounds), 'times', 7)
    row('  processor over the bare client on a line', median(one[4] / one[1] for one in rounds), 'times', 18)
    reports = 2 * -(-512 // 62)  # two images, 62 bytes a report
    for pace in (1, 8):
        took = median(run('image', f'reader interval={pace}')[0] for _ in range(5))
        row(f'two images at a report every {pace} ms, over their reports', took / (1000 * pace * reports), 'times')
    row('an open adapter idle for 60 s, of one core', run('idle', 'tarka', '60')[0], '%', 0.2)
    test = [TOP / 'build/core/tests/system/test_plugging', '--gtest_filter=*InTime']
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


def medians(program, limits, args):
    """The processor's time of each benchmark in a program."""
    report = json.loads(output(pinned(args.core) + [BIN / program, '--benchmark_format=json',
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


def history(args):
    """Pages of and searches in 100,000 events."""
    pages = ('first_page', 'last_page', 'page_by_label', 'middle_page_by_label')
    searches = ('search_all_have', 'search_one_has', 'search_none_has')
    limits = {f'Ask/{name}': 200.0 for name in pages} | {f'Ask/{name}': 60.0 for name in searches}
    medians('bench_history', limits, args)


def core(args):
    """The core in virtual time, and its whole suite."""
    limits = {'ReadEverything/slow': 5.0, 'SettingsText': 1.0, 'AllDifferences': 0.05,
              'StationOfForty': 70.0,  # readers
              'FrameKept': 1.0}  # of a thousand frames: a microsecond each
    medians('bench_core', limits, args)
    before = os.times()
    result = subprocess.run(['ctest', '--preset', 'core', '-L', 'core', '-j', '1'], cwd=TOP, stdout=subprocess.DEVNULL,
                            check=False, timeout=PATIENCE)
    after = os.times()
    used = after.children_user + after.children_system - before.children_user - before.children_system
    took = after.elapsed - before.elapsed
    row('the core\'s test suite in virtual time: processor', used if result.returncode == 0 else None, 's', 3.0,
        f'{took:.2f} s in all')


def child(command):
    """Runs a program: seconds from exec to exit, of these the processor's, peak resident size in MiB."""
    nothing = os.open(os.devnull, os.O_WRONLY)
    start = time.perf_counter()
    process = os.posix_spawn(command[0], command, os.environ, file_actions=[
        (os.POSIX_SPAWN_DUP2, nothing, 1), (os.POSIX_SPAWN_DUP2, nothing, 2)])
    _, status, usage = os.wait4(process, 0)
    took = time.perf_counter() - start
    os.close(nothing)
    if status != 0:
        raise subprocess.CalledProcessError(os.waitstatus_to_exitcode(status), command)
    return took, usage.ru_utime + usage.ru_stime, usage.ru_maxrss / 1024


def history_of_a_write(ctl):
    """What a history adds to a write; judged where its file is in memory, for the work of a disk is the disk's."""
    memory = '/dev/shm'
    for where, name, limit in ((memory, 'its file in memory', 5.0), (None, 'its file on the disk', None)):
        if where and not os.access(where, os.W_OK):
            continue
        with tempfile.TemporaryDirectory(dir=where) as folder:
            file = f'{folder}/settings'
            settings = subprocess.run([ctl, 'demo', '--no-history', 'read'], check=True, stdout=subprocess.PIPE,
                                      stderr=subprocess.DEVNULL).stdout
            pathlib.Path(file).write_bytes(settings)
            write = lambda *options: child([ctl, 'demo', *options, 'write', file])[1]
            added = lambda: 1000 * median(write('--history', f'{folder}/history.db') - write('--no-history')
                                          for _ in range(20))
            added()  # makes the file
            row(f'what a history adds to zarn74ctl write, {name}: processor',
                best(added, limit) if limit else added(), 'ms', limit)


def list_of_events(ctl):
    """All of 100,000 events as text."""
    with tempfile.TemporaryDirectory() as folder:
        file = f'{folder}/history.db'
        child([ctl, 'demo', '--history', file, 'read'])
        database = sqlite3.connect(file)
        (names,) = database.execute("SELECT group_concat(name) FROM pragma_table_info('events')").fetchone()
        others = {'id': 'i', 'uuid': "printf('%08x-0000-4000-8000-%012x', i, i)", 'begun': 'begun - i * 60000',
                  'label': "printf('Unit %d', i)"}
        values = ', '.join(others.get(name, name) for name in names.split(','))
        database.execute('WITH RECURSIVE n (i) AS (SELECT 2 UNION ALL SELECT i + 1 FROM n WHERE i < 100000) '
                         f'INSERT INTO events SELECT {values} FROM n, events WHERE id = 1')
        database.commit()
        database.close()
        limit, runs = 400, []

        def listed():
            runs.extend(child([ctl, '--history', file, 'history']) for _ in range(5))
            return 1000 * median(one[1] for one in runs[-5:])
        row('zarn74ctl history, all of 100,000 events: processor', best(listed, limit), 'ms', limit)
    row('  peak resident size', max(one[2] for one in runs), 'MiB')


def programs(_):
    ctl = str(BIN / 'zarn74ctl')
    child([ctl, '--version'])
    runs = [child([ctl, '--version']) for _ in range(20)]
    row('zarn74ctl --version, exec to exit, median of 20', 1000 * median(one[0] for one in runs), 'ms')
    row('  processor', 1000 * median(one[1] for one in runs), 'ms', 40)
    # A child's peak counts from its parent's, which is this interpreter's: about 12 MiB here, more below.
    row('zarn74ctl demo read, peak resident size', max(child([ctl, 'demo', 'read'])[2] for _ in range(3)), 'MiB', 30)
    history_of_a_write(ctl)
    list_of_events(ctl)


def first_paint(command, platform):
    """ms from start to the first picture, MiB of memory then, the ms without those that others held the processor, and
    those that the program had it."""
    environment = {**os.environ, 'LD_PRELOAD': str(BIN / 'libfirstpaint.so'), 'QT_QPA_PLATFORM': platform,
                   'FIRSTPAINT_START': str(time.clock_gettime_ns(time.CLOCK_MONOTONIC))}
    return numbers(output([BIN / command], env=environment, stderr=subprocess.DEVNULL))


def start_of_window():
    limit = 1.55
    # With a display of its own, benchmarks/run measures on that as well.
    for platform in ['offscreen'] + (['xcb'] if os.environ.get('DISPLAY') else []):
        figures = []

        def start():
            both = [[first_paint(command, platform) for command in ('bench_bare', 'zarn74')] for _ in range(15)]
            figures[:] = [[median(one[which][i] for one in both) for i in range(4)] for which in (0, 1)]
            return figures[1][3] / figures[0][3]
        least = best(start, limit)
        bare, ours = figures
        row(f'bare window, start to first paint, {platform}', bare[0], 'ms')
        row('  the window over the bare one', ours[0] / bare[0], 'times')
        row('  without the time that others held the processor', ours[2] / bare[2], 'times')
        row('  processor', least, 'times', limit)
        row(f'bare window, resident size, {platform}', bare[1], 'MiB')
        row('  the window over the bare one', ours[1] / bare[1], 'times', 1.6)


def log_lines(args, **quiet):
    limit = 15
    with Responder(core=args.core) as device:
        bare = min(bare_exchange(device, args.core)[1] for _ in range(5))
    run = lambda lines, pause: numbers(output([BIN / 'bench_window', 'log', lines, pause], **quiet))
    work, fifth, half, whole = run('100000', '0')
    row('the log, 100,000 lines as fast as they come: work a line', work, 'us')
    row('  over an exchange of the bare client: processor', work / bare, 'times', limit)
    row('  memory after 100,000 lines over that after 50,000', whole - half, 'MiB', 1)
    row('  memory after 50,000 lines over that after 20,000', half - fifth, 'MiB')
    work = best(lambda: run('20000', '500')[0], limit * bare)
    row('the log, a line every 500 us: work a line', work, 'us')
    row('  over an exchange of the bare client: processor', work / bare, 'times', limit)


def marks(**quiet):
    limit = 3
    least = [float('inf')] * 2  # as in best()
    for _ in range(3):
        read, plain_read, file, plain_file = numbers(output([BIN / 'bench_window', 'marks'], **quiet))
        least = [min(least[0], read - plain_read), min(least[1], file - plain_file)]
        if max(least) <= limit:
            break
    row('marks and list of changes, 43 vanish with a read: processor', least[0], 'ms', limit)
    row('the same, 43 appear with a file: processor', least[1], 'ms', limit)


def gaps(**quiet):
    limit = 20
    for pace in ('instant', 'paced'):
        least = {}  # as in best()
        for _ in range(3):
            for line in output([BIN / 'bench_window', 'gaps', pace], **quiet).splitlines():
                name, gap, own = line.split()
                least[name] = min(least.get(name, (float('inf'),)), (float(own), float(gap)))
            if all(own <= limit for own, _ in least.values()):
                break
        for name, (own, gap) in least.items():
            row(f'largest gap of a 5 ms timer, {pace} reader, {name}', gap, 'ms')
            row('  without the time that others held the processor', own, 'ms', limit)


def window(args):
    """The window: its start beside a bare one of 60 controls, its log, and what it costs a flow."""
    os.environ['QT_QPA_PLATFORM'] = 'offscreen'
    quiet = {'stderr': subprocess.DEVNULL}
    start_of_window()
    log_lines(args, **quiet)
    marks(**quiet)
    gaps(**quiet)
    with tempfile.TemporaryDirectory() as folder:
        image = full_image(folder)
        frames, on_wire = frames_of(image, 'slow')
        for words, name, limit in (('read', 'through the window', 1.015),
                                   ('traffic', 'through the window that shows the traffic', 1.03)):
            rounds = []
            for _ in range(5):
                with Responder('--image', image, '--pace', str(BAUD)) as device:
                    rounds.append((*bare_read(device, frames),
                                   *numbers(output([BIN / 'bench_window', words, device], **quiet))))
            where_quiet(median(one[0] for one in rounds) <= QUIET_WIRE * on_wire,
                        f'slow read at 19200 baud {name} over the bare client',
                        median(one[2] / one[0] for one in rounds), 'times', limit)
            row('  processor over the bare client', median(one[3] / one[1] for one in rounds), 'times', 8)


def main():
    groups = {'exchange': exchange, 'wire': wire, 'hid': hid, 'core': core, 'history': history,
              'programs': programs, 'window': window}
    parser = argparse.ArgumentParser()
    parser.add_argument('--rounds', type=int, default=9, help='rounds of the exchanges, at least 7')
    parser.add_argument('--core', type=int, default=0, help='the processor core that client and answer share')
    parser.add_argument('groups', nargs='*', metavar='GROUP', help=', '.join(groups))
    args = parser.parse_args()
    if args.rounds < 7 or not set(args.groups) <= set(groups):
        parser.error('at least 7 rounds, and groups of: ' + ', '.join(groups))
    start = time.monotonic()
    with tempfile.TemporaryDirectory() as folder:
        for name in ('CONFIG', 'DATA', 'STATE'):
            os.environ[f'XDG_{name}_HOME'] = f'{folder}/{name}'
        for name in args.groups or groups:
            try:
                groups[name](args)
            except (subprocess.SubprocessError, OSError, ValueError) as error:
                row(name, None, '', note=f'failed: {error}')
    count = lambda verdict: sum(entry[4] == verdict for entry in rows)
    print(f'{len(rows)} figures in {time.monotonic() - start:.0f} s, {count("OK")} within their limits, '
          f'{count("NG")} not: {"NG" if count("NG") else "OK"}')
    return 1 if count('NG') else 0


if __name__ == '__main__':
    sys.exit(main())
