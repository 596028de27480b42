// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Pictures of every kind in, and what is no picture.
import { execFile } from 'node:child_process';
import { mkdtemp, readFile, rm } from 'node:fs/promises';
import { tmpdir } from 'node:os';
import { join } from 'node:path';
import { promisify } from 'node:util';
import { readPng, writePng } from '../../src/pictures/png';
import { writeExr } from '../../src/pictures/exr';
import { control, expect, exported, settled, test } from './page';

const run = promisify(execFile);
const size = { width: 64, height: 32 };

function gradient(channels: 3 | 4, full: number): number[] {
  return Array.from({ length: size.width * size.height * channels }, (_, i) => (i * 37) % (full + 1));
}

/** Uncompressed rows of mantissas and exponents. */
function hdrFile(): Buffer {
  const head = Buffer.from('#?RADIANCE\nFORMAT=32-bit_rle_rgbe\n\n-Y 2 +X 4\n', 'latin1');
  return Buffer.concat([head, Buffer.from(Array.from({ length: 32 }, (_, i) => (i % 4 === 3 ? 130 : 100 + i)))]);
}

test('each kind of picture in, at its own depth', async ({ studio }) => {
  const input = studio.getByLabel('Open a panorama');
  const dimensions = control(studio, 'panorama').locator('.hint');
  const open = async (name: string, buffer: Buffer, shown: string, depth: string): Promise<void> => {
    await input.setInputFiles({ name, mimeType: '', buffer });
    await expect(dimensions).toContainText(shown);
    await expect(studio.locator('#depth')).toHaveValue(depth);
    await expect(studio.locator('#choose-frame')).toHaveValue('file');
    await settled(studio);
  };
  await open('a.png', Buffer.from(writePng(64, 32, 3, Uint8Array.from(gradient(3, 255)))), '64 × 32', '8');
  await open('b.png', Buffer.from(writePng(64, 32, 4, Uint16Array.from(gradient(4, 65535)))), '64 × 32', '16');
  const floats = Float32Array.from(gradient(4, 255), (value) => value / 64);
  await open('c.exr', Buffer.from(writeExr(64, 32, floats)), '64 × 32', 'float');
  await expect(control(studio, 'exposure')).toBeVisible();
  await open('d.hdr', hdrFile(), '4 × 2', 'float');
  const made = await studio.evaluate(async () => {
    const canvas = new OffscreenCanvas(60, 40);
    const context = canvas.getContext('2d');
    context?.fillRect(5, 5, 30, 20);
    const bytes = async (type: string): Promise<number[]> =>
      Array.from(new Uint8Array(await (await canvas.convertToBlob({ type })).arrayBuffer()));
    return { jpeg: await bytes('image/jpeg'), webp: await bytes('image/webp') };
  });
  await open('e.jpg', Buffer.from(made.jpeg), '60 × 40 · not 2:1', '8');
  await open('f.webp', Buffer.from(made.webp), '60 × 40', '8');
  // What this browser reads but does not write.
  const folder = await mkdtemp(join(tmpdir(), 'veltra-web-'));
  const avif = join(folder, 'g.avif');
  await run('ffmpeg', ['-v', 'error', '-f', 'lavfi', '-i', 'testsrc=size=80x40', '-frames:v', '1', '-still-picture', '1', avif]);
  await open('g.avif', await readFile(avif), '80 × 40', '8');
  await rm(folder, { recursive: true });
});

test('alpha of a layer stays straight, through a browser’s decoder too', async ({ studio }) => {
  await studio.getByLabel('Open a panorama').setInputFiles({
    name: 'ghost.png',
    mimeType: 'image/png',
    buffer: Buffer.from(writePng(4, 2, 4, Uint8Array.from({ length: 32 }, (_, i) => [201, 13, 77, 2][i % 4] ?? 0))),
  });
  await expect(studio.locator('#choose-frame')).toHaveValue('file');
  await studio.locator('[data-control="layer"] select').first().selectOption('none');
  await settled(studio);
  await studio.getByRole('button', { name: 'Export', exact: true }).click();
  const png = readPng(new Uint8Array(await exported(studio, 'png8')));
  expect([...png.data.subarray(0, 4)]).toEqual([201, 13, 77, 2]);
});

test('what is no picture is told in clear words and changes nothing', async ({ studio }) => {
  const input = studio.getByLabel('Open a panorama');
  const notice = studio.locator('.notice');
  const whole = writePng(64, 32, 3, Uint8Array.from(gradient(3, 255)));
  const cases: [string, Buffer, RegExp][] = [
    ['notes.txt', Buffer.from('hello'), /notes.txt: not a picture/],
    ['scan.tif', Buffer.from('II*\0aaaaaaaaaaaa'), /cannot read TIFF/],
    ['cut.png', Buffer.from(whole.subarray(0, whole.length - 40)), /cut.png: damaged PNG/],
    ['cut.jpg', Buffer.from([0xff, 0xd8, 0xff, 0xe0, 0, 16]), /this browser cannot read the picture/],
    ['wrong.json', Buffer.from('{"version": 3}'), /wrong.json: version: 1 is expected/],
  ];
  for (const [name, buffer, reason] of cases) {
    await input.setInputFiles({ name, mimeType: '', buffer });
    await expect(notice).toHaveText(reason);
    await expect(studio.locator('#choose-frame')).toHaveValue('example:landscape');
  }
  await expect(studio.getByRole('button', { name: 'Undo', exact: true })).toBeDisabled();
});

test('a text is a layer, and each example can be chosen', async ({ studio }) => {
  await studio.getByRole('button', { name: 'Type a text' }).click();
  await studio.getByLabel('Text of the layer').fill('Grüße aus Köln');
  await settled(studio);
  await studio.getByRole('radio', { name: 'Solo' }).click();
  await settled(studio);
  const layer = control(studio, 'layer').locator('select').first();
  for (const name of ['arrows', 'bars', 'title']) {
    await layer.selectOption(`example:${name}`);
    await settled(studio);
  }
  for (const name of ['room', 'grid']) {
    await studio.locator('#choose-frame').selectOption(`example:${name}`);
    await settled(studio);
  }
});
