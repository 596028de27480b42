# Copyright 2026 The Veltra Authors
# SPDX-License-Identifier: BSD-3-Clause
"""What the tests on a throw-away cluster have in common."""

import json
import pathlib
import shutil
import signal
import subprocess
import tempfile
import unittest

from cluster import (VELTRA, Cluster, Shot, fixed, hashes, identities, leftovers, submission_of,
                     veltra, wait_for)

# Nothing here measures speed: these are for machines that are busy with other things.
PATIENCE = 150


def heed_ctrl_c():
    """For a new process, which would go on ignoring it where the tests run in the background."""
    signal.signal(signal.SIGINT, signal.SIG_DFL)


class FolderCase(unittest.TestCase):
    """A test in a folder of its own."""

    def setUp(self):
        self.folder = pathlib.Path(tempfile.mkdtemp(prefix='veltra-farm-'))
        self.addCleanup(shutil.rmtree, self.folder, ignore_errors=True)

    def assert_same(self, shot):
        self.assertEqual(hashes(shot.out), hashes(shot.straight()))
        self.assert_tidy(shot)

    def assert_tidy(self, shot):
        """No temporary file is left, neither of frames nor of what tasks note."""
        self.assertEqual(leftovers(shot.out), [])
        self.assertEqual(leftovers(submission_of(shot)), [])


class FarmCase(FolderCase):
    """A test on a cluster of its own, in a folder that its nodes share."""

    array_size = 1001

    def setUp(self):
        self.cluster = Cluster(nodes=2, array_size=self.array_size)
        self.addCleanup(self.cluster.stop)
        self.folder = self.cluster.net

    def shot(self, output='f.####.png', **settings):
        return Shot(self.folder / 'shot', output, **settings)

    def submit(self, shot, *options, chunk=5, **keywords):
        return veltra('submit', shot.scene, '--chunk', chunk, *options, **keywords)

    def start_waiting(self, shot, *options, chunk=5):
        """`submit --wait` as a process of its own."""
        process = subprocess.Popen([VELTRA, 'submit', str(shot.scene), '--chunk', str(chunk),
                                    '--wait', '--progress', 'json', *options],
                                   stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                                   stderr=subprocess.PIPE, text=True, preexec_fn=heed_ctrl_c)
        self.addCleanup(process.communicate)
        self.addCleanup(process.kill)
        return process

    def wait(self, shot, check=True):
        return veltra('submit', shot.scene, '--status', '--wait', '--progress', 'json',
                      check=check, timeout=PATIENCE)

    def status(self, shot):
        return json.loads(veltra('submit', shot.scene, '--status', '--progress', 'json',
                                 check=False).stdout)

    def frames_of(self, shot, number):
        """The identities of the frames of a range that are there."""
        first, last = map(int, fixed(shot)['ranges'][number].split('-'))
        return {path: identity for path, identity in identities(shot.out).items()
                if first <= int(path.stem[-4:]) <= last}

    def wait_until_within(self, shot, node):
        """Until the node has rendered the beginning of a range, and not half of it; returns the
        range's number and the identities of its frames."""
        found = []

        def look():
            for task, state, on in self.cluster.queue():
                if state == 'RUNNING' and on == node and '_' in task:
                    number = int(task.split('_')[1])
                    first, last = map(int, fixed(shot)['ranges'][number].split('-'))
                    frames = self.frames_of(shot, number)
                    if 2 <= len(frames) <= (last - first) / 2:
                        found.extend((number, frames))
                        return True
            return False

        wait_for(look, PATIENCE, f'the beginning of a range on {node}')
        return found

    def assert_queued_again(self, shot, number):
        restarts = int(self.cluster.tasks(fixed(shot)['jobs'])[number]['Restarts'])
        self.assertGreaterEqual(restarts, 1)

    def assert_continued(self, shot, number, frames):
        """The range was queued again, and the frames that were there were not rendered again."""
        self.assert_queued_again(shot, number)
        now = self.frames_of(shot, number)
        self.assertEqual({path: now[path] for path in frames}, frames)
