# Copyright 2026 The Veltra Authors
# SPDX-License-Identifier: BSD-3-Clause
"""A throw-away Slurm cluster and a shot to render on it."""

import hashlib
import json
import os
import pathlib
import re
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
    """Nodes n1, n2 ... of one processor each, and a folder that all of them see."""

    def __init__(self, nodes=2, array_size=1001):
        self.folder = pathlib.Path(tempfile.mkdtemp(prefix='veltra-cluster-'))
        self.net = self.folder / 'net'
        self.array_size = array_size
        try:
            self.run('start', '--nodes', str(nodes), '--array-size', str(array_size),
                     '--port', os.environ.get('VELTRA_FARM_PORT', '26817'))
        except BaseException:
            self.stop()
            raise
        os.environ['SLURM_CONF'] = str(self.folder / 'slurm.conf')

    def run(self, verb, *arguments):
        subprocess.run([CLUSTER, verb, self.folder, *arguments], check=True,
                       stdout=subprocess.DEVNULL, stdin=subprocess.DEVNULL)

    def kill(self, node):
        self.run('kill', node)

    def revive(self, node):
        self.run('revive', node)

    def restart(self):
        self.run('restart')

    def on(self, node, *command):
        """Runs a command that sees the mounts of the node, and changes those alone."""
        self.run('on', node, *map(str, command))

    def start_on(self, node, *command):
        """The same, without waiting for its end."""
        return subprocess.Popen([CLUSTER, 'on', self.folder, node, *map(str, command)],
                                stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                                stderr=subprocess.STDOUT, text=True)

    def queue(self):
        """What squeue says of each task: (job, state, node)."""
        lines = slurm('squeue', '-h', '-r', '-o', '%i|%T|%N').splitlines()
        return [tuple(line.split('|')) for line in lines]

    def tasks(self, jobs):
        """What the controller remembers of each task of the jobs, by range: fields by name."""
        tasks = {}
        for number, job in enumerate(jobs):
            for line in slurm('scontrol', 'show', 'job', '-o', job).splitlines():
                fields = dict(re.findall(r'(\w+)=(\S*)', line))
                if fields.get('ArrayTaskId', '').isdigit():
                    tasks[number * (self.array_size - 1) + int(fields['ArrayTaskId'])] = fields
        return tasks

    def stop(self):
        self.run('stop')
        os.environ.pop('SLURM_CONF', None)
        shutil.rmtree(self.folder, ignore_errors=True)


def slurm(*command):
    """What one of Slurm's commands prints."""
    return subprocess.run(command, capture_output=True, text=True, check=True).stdout


def hashes(folder, pattern='*'):
    """The content of every visible file, by name."""
    return {path.name: hashlib.sha256(path.read_bytes()).hexdigest()
            for path in sorted(pathlib.Path(folder).glob(pattern)) if not path.name.startswith('.')}


def leftovers(folder):
    return [str(path) for path in pathlib.Path(folder).rglob('.*.veltra-*')]


def identities(folder):
    """Of every visible file: what is another one when it is written once more."""
    return {path: (path.stat().st_ino, path.stat().st_mtime_ns)
            for path in pathlib.Path(folder).iterdir() if not path.name.startswith('.')}


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


def make_tour(path, size='256x128'):
    """A video of 30 frames with sound."""
    ffmpeg('-f', 'lavfi', '-i', f'testsrc2=size={size}:rate=25:duration=1.2', '-f', 'lavfi', '-i',
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


def fixed(shot):
    """What the newest submission fixed."""
    return json.loads((submission_of(shot) / 'submission.json').read_text())


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
