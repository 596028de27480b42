# Copyright 2026 The Veltra Authors
# SPDX-License-Identifier: BSD-3-Clause
"""A scene on a farm: a real Slurm of two nodes, of which one or the other dies."""

import json
import os
import pathlib
import shutil
import signal
import subprocess
import tempfile
import unittest

from cluster import (VELTRA, Cluster, Shot, decoded, hashes, is_spherical, leftovers, make_tour,
                     sounds, submission_of, veltra, wait_for)

# Nothing here measures speed: these are for machines that are busy with other things.
PATIENCE = 150
CHUNK = 5

cluster = None


def setUpModule():
    global cluster
    # Five tasks in an array at most, so that most submissions need several arrays.
    cluster = Cluster(nodes=2, array_size=6)


def tearDownModule():
    cluster.stop()


class FarmTest(unittest.TestCase):
    def setUp(self):
        self.folder = pathlib.Path(tempfile.mkdtemp(prefix='veltra-farm-'))
        self.addCleanup(shutil.rmtree, self.folder, ignore_errors=True)
        self.addCleanup(cluster.settle)
        cluster.settle()

    def submit(self, shot, *options, **keywords):
        return veltra('submit', shot.scene, '--chunk', CHUNK, *options, **keywords)

    def start_waiting(self, shot, *options):
        """`submit --wait` as a process of its own."""
        process = subprocess.Popen([VELTRA, 'submit', str(shot.scene), '--chunk', str(CHUNK),
                                    '--wait', '--progress', 'json', *options],
                                   stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                                   stderr=subprocess.PIPE, text=True)
        self.addCleanup(process.communicate)
        self.addCleanup(process.kill)
        return process

    def wait(self, shot, check=True):
        return veltra('submit', shot.scene, '--status', '--wait', '--progress', 'json',
                      check=check, timeout=PATIENCE)

    def wait_until_busy(self, shot, node, frames=3):
        """Until the node renders and some frames are there, but not all."""
        wait_for(lambda: len(hashes(shot.out)) >= frames
                 and any(state == 'RUNNING' and on == node for _, state, on in cluster.queue()),
                 PATIENCE, f'rendering on {node}')

    def assert_same(self, shot):
        self.assertEqual(hashes(shot.out), hashes(shot.straight()))
        self.assertEqual(leftovers(shot.out), [])

    def test_stills_of_three_formats_are_the_same_bytes_as_on_one_machine(self):
        for output, settings in (('f.####.png', {'depth': '16'}),
                                 ('f.%03d.exr', {'depth': 'float', 'compression': 'piz'}),
                                 ('f_####.tif', {'frames': '1-39x2,50'})):
            with self.subTest(output=output):
                shot = Shot(self.folder / output[-3:], output, size=(512, 256), **settings)
                done = self.submit(shot, '--wait', '--progress', 'json', timeout=PATIENCE)
                self.assertEqual(json.loads(done.stdout.splitlines()[-1])['event'], 'done')
                self.assert_same(shot)
                veltra('verify', shot.scene)

    def test_a_joined_video_has_the_frames_and_the_sound_of_one_machine(self):
        for name, frame, settings in (
                ('v.mkv', 'in/frame.png', {'rate': '30000/1001', 'video-options': '-c:v ffv1'}),
                ('v.mov', 'in/tour.mp4', {'depth': '16', 'video-options': '-c:v prores_ks'}),
                ('v.mp4', 'in/tour.mp4', {'video-options': '-c:v libx264 -crf 0 -bf 2'})):
            with self.subTest(name=name):
                shot = Shot(self.folder / name, name, size=(256, 128), frames='1-24', frame=frame,
                            **settings)
                make_tour(shot.folder / 'in/tour.mp4')
                self.submit(shot, '--wait', '--quiet', timeout=PATIENCE)
                veltra('verify', shot.scene)
                farm, straight = shot.out / name, shot.straight() / name
                self.assertEqual(decoded(farm), decoded(straight))
                self.assertEqual(sounds(farm), sounds(straight))
                self.assertEqual(sounds(farm) > 0, frame.endswith('.mp4'))
                self.assertEqual(is_spherical(farm), is_spherical(straight))
                self.assertEqual(list(submission_of(shot).glob('segments')), [])
                self.assertEqual(leftovers(shot.out), [])

    def test_a_node_that_dies_and_stays_away_loses_nothing(self):
        shot = Shot(self.folder, 'f.####.png', frames='1-60')
        self.submit(shot)
        self.wait_until_busy(shot, 'n1')
        cluster.kill('n1')
        self.wait(shot)
        self.assert_same(shot)

    def test_a_node_that_dies_and_comes_back_loses_nothing(self):
        shot = Shot(self.folder, 'f.####.png', frames='1-60')
        self.submit(shot)
        self.wait_until_busy(shot, 'n2')
        cluster.kill('n2')
        cluster.revive('n2')
        self.wait(shot)
        self.assert_same(shot)

    def test_the_controller_may_restart(self):
        shot = Shot(self.folder, 'f.####.png', frames='1-60')
        process = self.start_waiting(shot)
        wait_for(lambda: len(hashes(shot.out)) >= 3, PATIENCE, 'the first frames')
        cluster.restart()
        output, errors = process.communicate(timeout=PATIENCE)
        self.assertEqual(process.returncode, 0, output + errors)
        self.assert_same(shot)

    def test_a_second_submission_is_refused_while_the_first_runs(self):
        shot = Shot(self.folder, 'f.####.png', frames='1-40')
        self.submit(shot)
        refused = self.submit(shot, check=False)
        self.assertEqual(refused.returncode, 1)
        self.assertIn('already submitted as', refused.stderr)
        self.wait(shot)
        self.assert_same(shot)

    def test_two_submissions_at_once_write_the_same_bytes_as_one(self):
        shot = Shot(self.folder, 'f.####.png', frames='1-40')
        both = [self.start_waiting(shot, '--again') for _ in range(2)]
        for process in both:
            output, errors = process.communicate(timeout=PATIENCE)
            self.assertEqual(process.returncode, 0, output + errors)
        self.assert_same(shot)

    def test_tasks_go_by_the_scene_as_it_was(self):
        shot = Shot(self.folder, 'f.####.png', frames='1-30')
        straight = hashes(shot.straight())
        self.submit(shot)
        shot.scene.write_text(json.dumps({**shot.settings, 'depth': 'float', 'frames': '1-3'}))
        self.wait(shot)
        self.assertEqual(hashes(shot.out), straight)

    def test_what_is_cancelled_ends_and_leaves_whole_frames_only(self):
        shot = Shot(self.folder, 'f.####.png', frames='1-80')
        self.submit(shot)
        self.wait_until_busy(shot, 'n1')
        veltra('submit', shot.scene, '--cancel', timeout=PATIENCE)
        self.assertEqual(cluster.queue(), [])
        there = hashes(shot.out)
        self.assertLess(len(there), 80)
        straight = hashes(shot.straight())
        self.assertEqual(there, {name: straight[name] for name in there})
        self.assertEqual(leftovers(shot.out), [])
        status = json.loads(veltra('submit', shot.scene, '--status', '--progress', 'json').stdout)
        self.assertEqual(status['state'], 'cancelled')
        self.assertEqual(self.wait(shot, check=False).returncode, 1)
        self.submit(shot, '--wait', '--quiet', timeout=PATIENCE)  # and goes on later
        self.assert_same(shot)

    def test_ctrl_c_leaves_the_job_running(self):
        shot = Shot(self.folder, 'f.####.png', frames='1-60')
        process = self.start_waiting(shot)
        wait_for(lambda: len(hashes(shot.out)) >= 3, PATIENCE, 'the first frames')
        process.send_signal(signal.SIGINT)
        _, errors = process.communicate(timeout=PATIENCE)
        self.assertEqual(process.returncode, 130)
        self.assertIn('--status', errors)
        self.wait(shot)
        self.assert_same(shot)

    def test_a_bad_frame_is_named_and_the_rest_is_rendered(self):
        shot = Shot(self.folder, 'f.####.png', frames='1-12', frame='in/s.####.png')
        for number in range(1, 13):
            shutil.copy(self.folder / 'in/frame.png', self.folder / f'in/s.{number:04}.png')
        bad = self.folder / 'in/s.0007.png'
        os.truncate(bad, bad.stat().st_size // 2)
        ended = self.submit(shot, '--wait', '--quiet', check=False, timeout=PATIENCE)
        self.assertEqual(ended.returncode, 1)
        self.assertIn('1 frame missing or damaged: 7', ended.stderr)
        self.assertEqual(len(hashes(shot.out)), 11)
        status = json.loads(veltra('submit', shot.scene, '--status', '--progress', 'json',
                                   check=False).stdout)
        self.assertEqual([failed['frame'] for failed in status['failed']], [7])
        self.assertIn('s.0007.png', status['failed'][0]['error'])
        self.assertEqual(veltra('verify', shot.scene, check=False).returncode, 1)
        shutil.copy(self.folder / 'in/frame.png', bad)
        veltra('verify', shot.scene, '--repair')
        self.assert_same(shot)

    def test_a_full_disk_leaves_whole_frames_and_a_clear_word(self):
        shot = Shot(self.folder, 'f.####.png', frames='1-16')
        straight = hashes(shot.straight())
        subprocess.run(['mount', '-t', 'tmpfs', '-o', 'size=512k', 'veltra-farm', shot.out],
                       check=True)
        self.addCleanup(subprocess.run, ['umount', '--lazy', shot.out])
        # Each range waits before its second and third try, so there are only two.
        ended = veltra('submit', shot.scene, '--chunk', 8, '--wait', '--quiet', check=False,
                       timeout=PATIENCE)
        self.assertEqual(ended.returncode, 1)
        self.assertIn('missing or damaged', ended.stderr)
        there = hashes(shot.out)
        self.assertLess(len(there), 16)
        self.assertEqual(there, {name: straight[name] for name in there})
        self.assertEqual(leftovers(shot.out), [])
        log = ''.join(path.read_text() for path in (submission_of(shot) / 'log').iterdir())
        self.assertIn('no space left on device', log)
        subprocess.run(['mount', '-o', 'remount,size=64m', shot.out], check=True)
        self.submit(shot, '--wait', '--quiet', timeout=PATIENCE)
        self.assertEqual(hashes(shot.out), straight)

    def test_a_dry_run_prints_the_scripts_and_leaves_nothing(self):
        shot = Shot(self.folder, 'f.####.png', frames='1-60')
        printed = self.submit(shot, '--dry-run', '--partition', 'farm', '--sbatch', '--nice=5').stdout
        self.assertEqual(printed.count('# sbatch'), 4)  # 12 ranges in arrays of 5, and the last job
        self.assertIn('--partition=farm', printed)
        self.assertIn('--nice=5', printed)
        self.assertIn('--dependency=afterany', printed)
        self.assertEqual(cluster.queue(), [])
        self.assertEqual(list(self.folder.glob('*.farm')), [])

    def test_a_list_of_commands_renders_the_same_anywhere(self):
        shot = Shot(self.folder, 'f.####.exr', size=(256, 128))
        commands = self.submit(shot, '--scheduler', 'list').stdout.splitlines()
        self.assertEqual(len(commands), 6)  # 24 frames by 5, and the last one
        for command in reversed(commands[:-1]):
            subprocess.run(command, shell=True, check=True, cwd='/')
        subprocess.run(commands[-1], shell=True, check=True, cwd='/', stdout=subprocess.DEVNULL)
        self.assert_same(shot)
        # The same through the environment, which schedulers set.
        next(iter(shot.out.iterdir())).unlink()
        folder = str(submission_of(shot))
        for number in range(5):
            veltra('task', env={'VELTRA_SUBMISSION': folder, 'VELTRA_RANGE': str(number)})
        self.assert_same(shot)

    def test_a_task_refuses_another_program_or_effect_than_the_one_that_submitted(self):
        installed = self.folder / 'bin'
        shutil.copytree(pathlib.Path(VELTRA).parent, installed,
                        ignore=lambda _, names: set(names) - {'veltra', 'libveltra.so'})
        for changed, what in (('libveltra.so', 'effect'), ('veltra', 'program')):
            for option, code in (((), 1), (('--any-version',), 0)):
                with self.subTest(changed=changed, option=option):
                    shot = Shot(self.folder / f'{changed}{code}', 'f.####.png', size=(64, 32))
                    subprocess.run([installed / 'veltra', 'submit', shot.scene, '--scheduler',
                                    'list', *option], check=True, capture_output=True)
                    before = (installed / changed).read_bytes()
                    (installed / 'new').write_bytes(before + b' ')
                    (installed / 'new').chmod(0o755)
                    (installed / 'new').replace(installed / changed)
                    ended = subprocess.run([installed / 'veltra', 'task', submission_of(shot), '0'],
                                           capture_output=True, text=True)
                    self.assertEqual(ended.returncode, code, ended.stderr)
                    if code == 1:
                        self.assertIn(f'not the {what} that submitted', ended.stderr)
                        self.assertEqual(hashes(shot.out), {})

    def test_what_the_cluster_refuses_leaves_nothing(self):
        shot = Shot(self.folder, 'f.####.png')
        refused = self.submit(shot, '--partition', 'none', check=False)
        self.assertEqual(refused.returncode, 1)
        self.assertEqual(cluster.queue(), [])
        self.assertEqual(list(self.folder.glob('*.farm')), [])


if __name__ == '__main__':
    unittest.main()
