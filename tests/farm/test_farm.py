# Copyright 2026 The Veltra Authors
# SPDX-License-Identifier: BSD-3-Clause
"""A scene on a farm: a real Slurm of two nodes makes what one machine makes."""

import json
import pathlib
import re
import shutil
import signal
import subprocess
import time
import unittest

from cluster import (VELTRA, Shot, decoded, hashes, identities, is_spherical, make_tour, slurm, sounds,
                     submission_of, veltra, wait_for)
from farm_case import PATIENCE, FarmCase, FolderCase


class StillsTest(FarmCase):
    # Five tasks in an array at most, so that there are several arrays.
    array_size = 6

    def assert_rendered(self, output, **settings):
        shot = self.shot(output, size=(512, 256), **settings)
        done = self.submit(shot, '--wait', '--progress', 'json', chunk=4, timeout=PATIENCE)
        self.assertEqual(json.loads(done.stdout.splitlines()[-1])['event'], 'done')
        self.assert_same(shot)
        veltra('verify', shot.scene)

    def test_png_of_16_bit_is_the_same_bytes_as_on_one_machine(self):
        self.assert_rendered('f.####.png', depth='16')

    def test_exr_is_the_same_bytes_as_on_one_machine(self):
        self.assert_rendered('f.%03d.exr', depth='float', compression='piz')

    def test_tiff_of_scattered_frames_is_the_same_bytes_as_on_one_machine(self):
        self.assert_rendered('f_####.tif', frames='1-39x2,50')


class VideoTest(FarmCase):
    def assert_joined(self, name, frame, **settings):
        shot = self.shot(name, size=(256, 128), frames='1-24', frame=frame, **settings)
        make_tour(shot.folder / 'in/tour.mp4')
        self.submit(shot, '--wait', '--quiet', chunk=7, timeout=PATIENCE)
        veltra('verify', shot.scene)
        farm, straight = shot.out / name, shot.straight() / name
        self.assertEqual(decoded(farm), decoded(straight))
        self.assertEqual(sounds(farm), sounds(straight))
        self.assertEqual(sounds(farm) > 0, frame.endswith('.mp4'))
        self.assertEqual(is_spherical(farm), is_spherical(straight))
        self.assertEqual(list(submission_of(shot).glob('segments')), [])
        self.assert_tidy(shot)

    def test_joined_ffv1_has_the_frames_of_one_machine(self):
        self.assert_joined('v.mkv', 'in/frame.png', rate='30000/1001',
                           **{'video-options': '-c:v ffv1'})

    def test_joined_prores_has_the_frames_and_the_sound_of_one_machine(self):
        self.assert_joined('v.mov', 'in/tour.mp4', depth='16',
                           **{'video-options': '-c:v prores_ks'})

    def test_joined_h264_has_the_frames_and_the_sound_of_one_machine(self):
        self.assert_joined('v.mp4', 'in/tour.mp4',
                           **{'video-options': '-c:v libx264 -crf 0 -bf 2'})


class SubmissionTest(FarmCase):
    def test_a_second_submission_is_refused_while_the_first_runs(self):
        shot = self.shot(frames='1-30')
        self.submit(shot)
        refused = self.submit(shot, check=False)
        self.assertEqual(refused.returncode, 1)
        self.assertIn('already submitted as', refused.stderr)
        self.wait(shot)
        self.assert_same(shot)

    def test_two_submissions_at_once_write_the_same_bytes_as_one(self):
        shot = self.shot(frames='1-30')
        # The third one is told of the others, or begins before they are in the queue.
        both = [self.start_waiting(shot, '--again') for _ in range(2)]
        third = self.start_waiting(shot)
        for process in both:
            output, errors = process.communicate(timeout=PATIENCE)
            self.assertEqual(process.returncode, 0, output + errors)
        output, errors = third.communicate(timeout=PATIENCE)
        if third.returncode != 0:
            self.assertIn('already submitted as', errors)
        self.assert_same(shot)
        self.assertEqual(len(set(shot.scene.with_suffix('.farm').iterdir())),
                         3 if third.returncode == 0 else 2)

    def test_tasks_go_by_the_scene_as_it_was(self):
        shot = self.shot(frames='1-30')
        straight = hashes(shot.straight())
        self.submit(shot)
        shot.scene.write_text(json.dumps({**shot.settings, 'depth': 'float', 'frames': '1-3'}))
        self.wait(shot)
        self.assertEqual(hashes(shot.out), straight)

    def test_what_is_cancelled_ends_and_leaves_whole_frames_only(self):
        shot = self.shot(frames='1-60')
        self.submit(shot, chunk=20)
        self.wait_until_within(shot, 'n1')
        veltra('submit', shot.scene, '--cancel', timeout=PATIENCE)
        self.assertEqual(self.cluster.queue(), [])
        there = hashes(shot.out)
        self.assertLess(len(there), 60)
        straight = hashes(shot.straight())
        self.assertEqual(there, {name: straight[name] for name in there})
        self.assert_tidy(shot)
        self.assertEqual(self.status(shot)['state'], 'cancelled')

    def test_ctrl_c_leaves_the_job_running(self):
        shot = self.shot(frames='1-150')  # seconds of work after the first few
        process = self.start_waiting(shot)
        wait_for(lambda: len(identities(shot.out)) >= 3, PATIENCE, 'the first frames')
        process.send_signal(signal.SIGINT)
        _, errors = process.communicate(timeout=PATIENCE)
        self.assertEqual(process.returncode, 130)
        self.assertIn('--status', errors)
        self.wait(shot)
        self.assert_same(shot)

    def test_what_the_cluster_refuses_leaves_nothing(self):
        shot = self.shot()
        refused = self.submit(shot, '--partition', 'none', check=False)
        self.assertEqual(refused.returncode, 1)
        self.assertEqual(self.cluster.queue(), [])
        self.assertEqual(list(shot.folder.glob('*.farm')), [])


class LimitsTest(FarmCase):
    def test_arrays_are_no_larger_than_the_scheduler_allows(self):
        configuration = self.cluster.folder / 'slurm.conf'
        configuration.write_text(configuration.read_text().replace(
            'SchedulerParameters=', 'SchedulerParameters=max_array_tasks=3,'))
        slurm('scontrol', 'reconfigure')
        printed = self.submit(self.shot(frames='1-24'), '--dry-run', chunk=4).stdout
        self.assertEqual(re.findall('--array=([^ ]*)', printed), ['0-2', '0-2'])

    def test_tasks_that_no_node_can_take_are_told_of(self):
        shot = self.shot()
        process = self.start_waiting(shot, '--cpus', '64')
        line = process.stderr.readline() + process.stderr.readline()
        self.assertIn('6 tasks wait because of PartitionConfig', line)
        veltra('submit', shot.scene, '--cancel')
        _, errors = process.communicate(timeout=PATIENCE)
        self.assertEqual(process.returncode, 1)
        self.assertIn('was cancelled', errors)


class DryRunTest(FarmCase):
    array_size = 6

    def test_a_dry_run_prints_the_scripts_and_leaves_nothing(self):
        shot = self.shot(frames='1-60')
        printed = self.submit(shot, '--dry-run', '--partition', 'farm', '--sbatch',
                              '--nice=5').stdout
        self.assertEqual(printed.count('# sbatch'), 4)  # 12 ranges in arrays of 5, and the last job
        self.assertIn('--partition=farm', printed)
        self.assertIn('--nice=5', printed)
        self.assertIn('--dependency=afterany', printed)
        self.assertEqual(self.cluster.queue(), [])
        self.assertEqual(list(shot.folder.glob('*.farm')), [])


class ListTest(FolderCase):
    """Without a cluster."""

    def list_of(self, shot, chunk=5):
        """The commands that other schedulers run."""
        return veltra('submit', shot.scene, '--chunk', chunk, '--scheduler',
                      'list').stdout.splitlines()

    def test_a_list_of_commands_renders_the_same_anywhere(self):
        shot = Shot(self.folder, 'f.####.exr', size=(256, 128))
        commands = self.list_of(shot)
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

    def test_a_renderer_that_is_killed_is_started_again(self):
        shot = Shot(self.folder, 'f.####.png')
        self.list_of(shot, chunk=24)
        task = subprocess.Popen([VELTRA, 'task', submission_of(shot), '0'], stderr=subprocess.PIPE,
                                text=True)
        wait_for(lambda: len(identities(shot.out)) >= 2, PATIENCE, 'the second frame')
        before = identities(shot.out)
        subprocess.run(['pkill', '-KILL', '--parent', str(task.pid)], check=True)
        _, errors = task.communicate(timeout=PATIENCE)
        self.assertEqual(task.returncode, 0, errors)
        self.assertEqual(hashes(shot.out), hashes(shot.straight()))
        self.assertEqual({path: identities(shot.out)[path] for path in before}, before)

    def test_the_last_task_waits_for_a_frame_that_the_file_server_shows_late(self):
        shot = Shot(self.folder, 'f.####.png', size=(64, 32))
        *ranges, finish = self.list_of(shot)
        for command in ranges:
            subprocess.run(command, shell=True, check=True)
        late = shot.out / 'f.0007.png'
        late.rename(shot.folder / 'late.png')
        last = subprocess.Popen(finish, shell=True, stdout=subprocess.PIPE, text=True)
        time.sleep(1)
        (shot.folder / 'late.png').rename(late)
        output, _ = last.communicate(timeout=PATIENCE)
        self.assertEqual(last.returncode, 0, output)

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
                        told = veltra('submit', shot.scene, '--status').stdout
                        self.assertIn(f'not the {what} that submitted', told)
                        self.assertEqual(hashes(shot.out), {})


if __name__ == '__main__':
    unittest.main()
