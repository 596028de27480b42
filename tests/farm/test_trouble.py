# Copyright 2026 The Veltra Authors
# SPDX-License-Identifier: BSD-3-Clause
"""What can go wrong on a farm: nodes that die, are drained or lose the network, and the rest."""

import os
import re
import shutil
import subprocess
import time
import unittest

from cluster import (VELTRA, decoded, fixed, hashes, identities, leftovers, make_tour, slurm, sounds,
                     submission_of, veltra, wait_for)
from farm_case import PATIENCE, FarmCase

FAKETIME = '/usr/lib/x86_64-linux-gnu/faketime/libfaketimeMT.so.1'


class NetworkTest(FarmCase):
    def lose_file_server(self):
        """On the first node alone; what is open stays open."""
        self.cluster.on('n1', 'umount', '--lazy', self.folder)

    def test_a_node_that_loses_the_file_server_leaves_its_tasks_to_the_others(self):
        shot = self.shot(frames='1-72')
        self.submit(shot, chunk=24)
        number, frames = self.wait_until_within(shot, 'n1')
        self.lose_file_server()
        self.wait(shot)
        self.assert_same(shot)
        self.assert_continued(shot, number, frames)

    def test_a_file_server_that_is_away_for_seconds_costs_a_node_time_alone(self):
        shot = self.shot(frames='1-48')
        self.submit(shot, chunk=24)
        number, frames = self.wait_until_within(shot, 'n1')
        self.lose_file_server()
        wait_for(lambda: self.stands_still(shot, number), PATIENCE, 'a range that stands still')
        self.cluster.on('n1', 'mount', '--bind', self.cluster.folder / 'served', self.folder)
        self.wait(shot)
        self.assert_same(shot)
        self.assertEqual(self.cluster.tasks(fixed(shot)['jobs'])[number]['Restarts'], '0')
        now = identities(shot.out)
        self.assertEqual({path: now[path] for path in frames}, frames)

    def stands_still(self, shot, number):
        """No frame of the range comes within a second, and some are missing."""
        before = self.frames_of(shot, number)
        time.sleep(1)
        return self.frames_of(shot, number) == before and len(before) < 24


class NodeTest(FarmCase):
    def test_a_node_that_dies_within_a_segment_of_a_video_loses_nothing(self):
        shot = self.shot('v.mov', frame='in/tour.mp4', frames='1-30',
                         **{'video-options': '-c:v prores_ks'})
        make_tour(shot.folder / 'in/tour.mp4', size='1024x512')
        self.submit(shot, chunk=15)
        segments = submission_of(shot) / 'segments'
        wait_for(lambda: len(leftovers(segments)) == 2, PATIENCE, 'two segments begun')
        number = next(int(task.split('_')[1]) for task, _, on in self.cluster.queue() if on == 'n1')
        self.cluster.kill('n1')
        self.assertFalse((segments / f'{number}.mov').exists())
        self.wait(shot)
        self.assert_queued_again(shot, number)
        farm, straight = shot.out / 'v.mov', shot.straight() / 'v.mov'
        self.assertEqual(decoded(farm), decoded(straight))
        self.assertEqual(sounds(farm), sounds(straight))
        self.assert_tidy(shot)

    def test_what_a_dead_node_had_begun_is_cleared_away_by_cancelling(self):
        shot = self.shot('v.mov', frames='1-60', **{'video-options': '-c:v prores_ks'})
        self.submit(shot, chunk=30)
        segments = submission_of(shot) / 'segments'
        wait_for(lambda: len(leftovers(segments)) == 2, PATIENCE, 'two segments begun')
        self.cluster.kill('n1')
        self.assertGreater(len(leftovers(segments)), 0)
        veltra('submit', shot.scene, '--cancel', timeout=PATIENCE)
        self.assertEqual(hashes(shot.out), {})
        self.assert_tidy(shot)

    def test_a_node_that_dies_and_comes_back_loses_nothing(self):
        shot = self.shot(frames='1-48')
        self.submit(shot, chunk=24)
        number, frames = self.wait_until_within(shot, 'n2')
        self.cluster.kill('n2')
        self.cluster.revive('n2')
        self.wait(shot)
        self.assert_same(shot)
        self.assert_continued(shot, number, frames)

    def test_a_node_that_dies_and_stays_away_loses_nothing(self):
        shot = self.shot(frames='1-48')
        self.submit(shot, chunk=24)
        number, frames = self.wait_until_within(shot, 'n1')
        self.cluster.kill('n1')
        self.wait(shot)
        self.assert_same(shot)
        self.assert_continued(shot, number, frames)

    def test_a_drained_node_gets_no_more_tasks_and_loses_nothing(self):
        shot = self.shot(frames='1-72')
        self.submit(shot, chunk=24)
        number, frames = self.wait_until_within(shot, 'n1')
        slurm('scontrol', 'update', 'NodeName=n1', 'State=DRAIN', 'Reason=repairs')
        # Whoever cannot wait for its tasks queues them again.
        slurm('scontrol', 'requeue', f'{fixed(shot)["jobs"][0]}_{number}')
        self.wait(shot)
        self.assert_same(shot)
        self.assert_continued(shot, number, frames)
        tasks = self.cluster.tasks(fixed(shot)['jobs'])
        self.assertEqual({fields['NodeList'] for fields in tasks.values()}, {'n2'})

    def test_a_preempted_task_goes_on_where_it_stopped(self):
        shot = self.shot(frames='1-48')
        self.submit(shot, chunk=24)
        number, frames = self.wait_until_within(shot, 'n1')
        slurm('sbatch', '--partition=urgent', '--nodelist=n1', '--output=/dev/null', '--wrap=true')
        self.wait(shot)
        self.assert_same(shot)
        self.assert_continued(shot, number, frames)
        log = submission_of(shot) / 'log' / f'range-{fixed(shot)["jobs"][0]}_{number}.txt'
        self.assertIn('pre-empted', log.read_text())

    def test_a_task_that_is_killed_alone_goes_on_where_it_stopped(self):
        shot = self.shot(frames='1-48')
        self.submit(shot, chunk=24)
        number, frames = self.wait_until_within(shot, 'n1')
        self.cluster.on('n1', 'pkill', '--oldest', '-KILL', '-x', 'veltra')
        self.wait(shot)
        self.assert_same(shot)
        self.assert_continued(shot, number, frames)

    def test_nodes_with_the_same_process_numbers_and_clocks_days_apart_do_no_harm(self):
        """Both nodes render the same range at once, in processes of the same numbers."""
        shot = self.shot(frames='1-24')
        veltra('submit', shot.scene, '--chunk', '24', '--scheduler', 'list')
        self.assertTrue(os.path.exists(FAKETIME))
        names = set()
        tasks = [self.start_task(node, clock, submission_of(shot))
                 for node, clock in (('n1', '+3d'), ('n2', '-2d'))]
        while any(task.poll() is None for task in tasks):
            names |= {path.name for path in shot.out.glob('.*.veltra-*')}
            time.sleep(0.001)
        for task in tasks:
            output, _ = task.communicate()
            self.assertEqual(task.returncode, 0, output)
        marks = {re.search(r'veltra-(\w+)-(\d+)-', name).groups() for name in names}
        self.assertEqual(len({node for node, _ in marks}), 2, marks)
        self.assertEqual(len({process for _, process in marks}), 1, marks)
        self.assert_same(shot)

    def start_task(self, node, clock, submission):
        """A task whose processes get the numbers from 5001 on."""
        line = ('echo 5000 >/proc/sys/kernel/ns_last_pid; '
                f'FAKETIME={clock} LD_PRELOAD={FAKETIME} {VELTRA} task {submission} 0 & wait $!')
        return self.cluster.start_on(node, 'sh', '-c', line)


class OtherTroubleTest(FarmCase):
    def test_a_full_disk_leaves_whole_frames_and_a_clear_word(self):
        shot = self.shot(frames='1-16')
        straight = hashes(shot.straight())
        subprocess.run(['mount', '-t', 'tmpfs', '-o', 'size=512k', 'veltra-farm', shot.out],
                       check=True)
        # Each range waits before its second and third try, so there are only two.
        ended = self.submit(shot, '--wait', '--quiet', chunk=8, check=False, timeout=PATIENCE)
        self.assertEqual(ended.returncode, 1)
        self.assertIn('missing or damaged', ended.stderr)
        there = hashes(shot.out)
        self.assertLess(len(there), 16)
        self.assertEqual(there, {name: straight[name] for name in there})
        self.assert_tidy(shot)
        log = ''.join(path.read_text() for path in (submission_of(shot) / 'log').iterdir())
        self.assertIn('no space left on device', log)
        subprocess.run(['mount', '-o', 'remount,size=64m', shot.out], check=True)
        self.submit(shot, '--wait', '--quiet', timeout=PATIENCE)
        self.assertEqual(hashes(shot.out), straight)

    def test_a_bad_frame_is_named_and_the_rest_is_rendered(self):
        shot = self.shot(frames='1-12', frame='in/s.####.png')
        inputs = shot.folder / 'in'
        for number in range(1, 13):
            shutil.copy(inputs / 'frame.png', inputs / f's.{number:04}.png')
        bad = inputs / 's.0007.png'
        os.truncate(bad, bad.stat().st_size // 2)
        ended = self.submit(shot, '--wait', '--quiet', check=False, timeout=PATIENCE)
        self.assertEqual(ended.returncode, 1)
        self.assertIn('1 frame missing or damaged: 7', ended.stderr)
        self.assertEqual(len(hashes(shot.out)), 11)
        failed = self.status(shot)['failed']
        self.assertEqual([each['frame'] for each in failed], [7])
        self.assertIn('s.0007.png', failed[0]['error'])
        self.assertEqual(veltra('verify', shot.scene, check=False).returncode, 1)
        shutil.copy(inputs / 'frame.png', bad)
        veltra('verify', shot.scene, '--repair')
        self.assert_same(shot)

    def test_the_controller_may_restart(self):
        shot = self.shot(frames='1-30')
        process = self.start_waiting(shot)
        wait_for(lambda: len(identities(shot.out)) >= 3, PATIENCE, 'the first frames')
        self.cluster.restart()
        output, errors = process.communicate(timeout=PATIENCE)
        self.assertEqual(process.returncode, 0, output + errors)
        self.assert_same(shot)


if __name__ == '__main__':
    unittest.main()
