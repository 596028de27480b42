#!/usr/bin/env python3
# Copyright 2026 The Veltra Authors
# SPDX-License-Identifier: BSD-3-Clause
"""What a farm costs: one process without it, then a throw-away Slurm of one node and of two with a
processor each, the start of a task, and what the file system sees per frame.

usage: bench/farm.py [FRAMES [WIDTHxHEIGHT]]     240 2048x1024

It prints the table of docs/farm.md. Needs root, build/release/bin/veltra (or VELTRA), the packages of
`scripts/install-packages test`, and strace for the last part.
"""

import argparse
import collections
import json
import os
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile
import time

ROOT = pathlib.Path(__file__).resolve().parents[1]
sys.path.insert(0, str(ROOT / 'tests' / 'farm'))
sys.dont_write_bytecode = True
os.environ.setdefault('VELTRA', str(ROOT / 'build/release/bin/veltra'))

import cluster as farm  # noqa: E402: the path above comes first


def seconds_of(command):
    begin = time.monotonic()
    subprocess.run([str(word) for word in command], check=True, stdin=subprocess.DEVNULL,
                   stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    return time.monotonic() - begin


def on_nodes(shot, nodes, frames):
    """The time from the first sbatch to the end of the last job, in ranges that end together."""
    cluster = farm.Cluster(nodes=nodes)
    try:
        chunk = -(-frames // (4 * nodes))
        return seconds_of([farm.VELTRA, 'submit', shot.scene, '--chunk', chunk, '--wait', '--again'])
    finally:
        cluster.stop()


def calls_per_frame(shot, submission):
    """What a task calls, as a file server would see it: calls that name a file below the shot's
    folder, for each frame of the first range, which is rendered once more."""
    first, last = map(int, json.loads((submission / 'submission.json').read_text())['ranges'][0]
                      .split('-'))
    for number in range(first, last + 1):
        (shot.out / f'f.{number:05}.png').unlink()
    log = shot.folder.with_suffix('.calls')
    seconds_of(['strace', '-f', '-qq', '-y', '-o', log, '-e',
                'trace=openat,stat,lstat,newfstatat,statx,access,rename,renameat2,linkat,unlink,'
                'unlinkat,fsync,fdatasync,write,pwrite64,read,pread64', farm.VELTRA, 'task',
                submission, 0])
    counts = collections.Counter()
    for line in log.read_text(errors='replace').splitlines():
        name = re.search(r'^\d+ +(\w+)\(', line)
        if name and str(shot.folder) in line:
            kind = name[1]
            if kind == 'openat' and 'O_CREAT' in line:
                kind = 'create'
            elif kind == 'newfstatat':
                kind = 'fstat' if ', "", ' in line else 'stat'
            counts[kind] += 1
    return {kind: count / (last - first + 1) for kind, count in sorted(counts.items())}


def make_shot(folder, frames, size):
    """A sequence of pictures in, a sequence out."""
    shot = farm.Shot(folder, 'f.#####.png', frames=f'1-{frames}', size=size,
                     frame='in/s.#####.png')
    for number in range(1, frames + 1):
        os.link(shot.folder / 'in/frame.png', shot.folder / f'in/s.{number:05}.png')
    shot.settings['controls']['travel']['keys'][1]['frame'] = frames
    shot.write()
    return shot


def size_of(text):
    width, height = map(int, text.split('x'))
    return width, height


def arguments():
    parser = argparse.ArgumentParser(description='What a farm costs, on this machine.')
    parser.add_argument('frames', nargs='?', type=int, default=240)
    parser.add_argument('size', nargs='?', type=size_of, default=(2048, 1024),
                        metavar='WIDTHxHEIGHT')
    chosen = parser.parse_args()
    return chosen.frames, chosen.size


def main():
    frames, size = arguments()
    folder = tempfile.mkdtemp(prefix='veltra-farm-bench-')
    try:
        shot = make_shot(pathlib.Path(folder) / 'shot', frames, size)
        alone = seconds_of([farm.VELTRA, 'render', shot.scene, '--threads', 1])
        print(f'| {frames} frames of {size[0]} x {size[1]} | time | efficiency |')
        print('| --- | --- | --- |')
        print(f'| one process of one thread | {alone:.1f} s | |')
        for nodes in (1, 2):
            shutil.rmtree(shot.out)
            shot.out.mkdir()
            took = on_nodes(shot, nodes, frames)
            name = 'one node' if nodes == 1 else f'{nodes} nodes'
            print(f'| {name} | {took:.1f} s | {100 * alone / (nodes * took):.0f} % |', flush=True)
        submission = farm.submission_of(shot)
        starts = sorted(seconds_of([farm.VELTRA, 'task', submission, 0]) for _ in range(3))
        ready = -(-frames // 8)
        print(f'| start of a task whose {ready} frames are there | {starts[1]:.2f} s | |')
        if shutil.which('strace'):
            for kind, count in calls_per_frame(shot, submission).items():
                print(f'| {kind} | {count:.2f} per frame | |')
        return 0
    finally:
        shutil.rmtree(folder, ignore_errors=True)


if __name__ == '__main__':
    sys.exit(main())
