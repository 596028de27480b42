# Copyright 2026 The Veltra Authors
# SPDX-License-Identifier: BSD-3-Clause
"""A throw-away Slurm cluster and a shot to render on it."""

import hashlib
import json
import os
import pathlib
import shutil
import subprocess
import tempfile
import time

ROOT = pathlib.Path(__file__).resolve().parents[2]
VELTRA = os.environ['VELTRA']
CLUSTER = str(ROOT / 'scripts' / 'farm-cluster')


def veltra(*arguments, check=True, env=None, timeout=120):
    """Runs the program; its output and errors are text."""
    done = subprocess.run([VELTRA, *map(str, arguments)], capture_output=True, text=True,
                          stdin=subprocess.DEVNULL, timeout=timeout,
                          env={**os.environ, **(env or {})})
    if check and done.returncode != 0:
        raise AssertionError(f'veltra {arguments} ended with {done.returncode}:\n'
                             f'{done.stdout}{done.stderr}')
    return done


class Cluster:
    """Two nodes of one processor each, unless asked otherwise."""

    def __init__(self, nodes=2, array_size=1001):
        self.folder = tempfile.mkdtemp(prefix='veltra-cluster-')
        try:
            self.run('start', '--nodes', str(nodes), '--array-size', str(array_size))
        except BaseException:
            self.stop()
            raise
        os.environ['SLURM_CONF'] = os.path.join(self.folder, 'slurm.conf')

    def run(self, verb, *arguments):
        subprocess.run([CLUSTER, verb, self.folder, *arguments], check=True,
                       stdout=subprocess.DEVNULL, stdin=subprocess.DEVNULL)

    def kill(self, node):
        self.run('kill', node)

    def revive(self, node):
        self.run('revive', node)

    def restart(self):
        self.run('restart')

    def settle(self):
        """Ends what a test left in the queue, and waits until both nodes are there again."""
        if self.queue():
            subprocess.run(['scancel', '--user', str(os.getuid())], check=True)
            wait_for(lambda: not self.queue(), 120, 'an empty queue')
        self.run('heal')

    def queue(self):
        """What squeue says of each task: (job, state, node)."""
        done = subprocess.run(['squeue', '-h', '-r', '-o', '%i|%T|%N'], capture_output=True,
                              text=True, check=True)
        return [tuple(line.split('|')) for line in done.stdout.splitlines()]

    def stop(self):
        self.run('stop')
        os.environ.pop('SLURM_CONF', None)
        shutil.rmtree(self.folder, ignore_errors=True)


def hashes(folder, pattern='*'):
    """The content of every visible file, by name."""
    return {path.name: hashlib.sha256(path.read_bytes()).hexdigest()
            for path in sorted(pathlib.Path(folder).glob(pattern)) if not path.name.startswith('.')}


def leftovers(folder):
    return [path.name for path in pathlib.Path(folder).glob('.*.veltra-*')]


def wait_for(condition, seconds, what):
    end = time.monotonic() + seconds
    while time.monotonic() < end:
        if condition():
            return
        time.sleep(0.05)
    raise AssertionError(f'{what} did not happen within {seconds} s')


def ffmpeg(*arguments):
    return subprocess.run(['ffmpeg', '-v', 'error', '-nostdin', '-y', *map(str, arguments)],
                          check=True, capture_output=True, text=True).stdout


def make_tour(path):
    """A video of 30 frames with sound."""
    ffmpeg('-f', 'lavfi', '-i', 'testsrc2=size=256x128:rate=25:duration=1.2', '-f', 'lavfi', '-i',
           'sine=frequency=440:duration=1.2', '-pix_fmt', 'yuv420p', '-c:v', 'libx264', '-qp', '0',
           '-c:a', 'aac', path)


def decoded(path):
    """The time and the content of every frame."""
    return ffmpeg('-i', path, '-map', '0:v:0', '-f', 'framemd5', '-')


def sounds(path):
    """How many packets of sound there are."""
    return len(subprocess.run(['ffprobe', '-v', 'error', '-select_streams', 'a:0', '-show_entries',
                               'packet=pts', '-of', 'csv=p=0', path], check=True, text=True,
                              capture_output=True).stdout.splitlines())


def is_spherical(path):
    return b'equi' in path.read_bytes() or b'Spherical' in path.read_bytes()


def submission_of(shot):
    """The folder of the newest submission."""
    return max(shot.scene.with_suffix('.farm').iterdir())


class Shot:
    """A scene with a frame, a layer and keyframes; `output` may be a pattern or a video."""

    def __init__(self, folder, output, frames='1-24', size=(1024, 512), **settings):
        self.folder = pathlib.Path(folder)
        self.folder.mkdir(parents=True, exist_ok=True)
        (self.folder / 'out').mkdir(exist_ok=True)
        veltra('sample', self.folder / 'in', '--size', f'{size[0]}x{size[1]}')
        self.scene = self.folder / 'shot.json'
        self.settings = {
            'version': 1,
            'frame': 'in/frame.png',
            'output': f'out/{output}',
            'frames': frames,
            'controls': {
                'layer': 'in/layer.png',
                'placement': 'solo',
                'travel': {'keys': [{'frame': 1, 'value': 0}, {'frame': 24, 'value': 100}]},
            },
            **settings,
        }
        self.write()

    def write(self):
        self.scene.write_text(json.dumps(self.settings))

    @property
    def out(self):
        return self.folder / 'out'

    def straight(self):
        """What one machine makes of it, in a folder of its own."""
        folder = self.folder / 'straight'
        if not folder.exists():
            shutil.copytree(self.folder / 'in', folder / 'in')
            (folder / 'out').mkdir()
            (folder / 'shot.json').write_text(json.dumps(self.settings))
            veltra('render', folder / 'shot.json', '--quiet')
        return folder / 'out'
