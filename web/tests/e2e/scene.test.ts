// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// What the page exports is what the program renders, and what the page opens again.
import { execFile } from 'node:child_process';
import { mkdtemp, readFile, rm, writeFile } from 'node:fs/promises';
import { tmpdir } from 'node:os';
import { join } from 'node:path';
import { promisify } from 'node:util';
import type { Page } from '@playwright/test';
import { ALL_FORMATS, BufferSource, Input, type InputVideoTrack } from 'mediabunny';
import { readExr } from '../../src/pictures/exr';
import { readPng, writePng } from '../../src/pictures/png';
import { control, expect, exported, repository, settled, test } from './page';

const run = promisify(execFile);
const program = `${repository}build/release/bin/veltra`;

async function type(page: Page, name: string, label: RegExp, value: string): Promise<void> {
  const field = control(page, name).getByLabel(label).last();
  await field.fill(value);
  await field.press('Enter');
}

async function go(page: Page, frame: number): Promise<void> {
  await page.getByLabel('Frame number').fill(String(frame));
  await page.getByLabel('Frame number').press('Enter');
}

interface File {
  readonly name: string;
  readonly buffer: Buffer;
}

async function openPictures(page: Page, frame: File, layer: File): Promise<void> {
  await page.getByLabel('Open a panorama').setInputFiles({ ...frame, mimeType: '' });
  await expect(page.locator('#choose-frame')).toHaveValue('file');
  await page.getByLabel('Open a layer').setInputFiles({ ...layer, mimeType: '' });
  await expect(control(page, 'layer').locator('select').first()).toHaveValue('file');
}

/** Soft colours with soft alpha at some places. */
function picture(width: number, height: number, alpha: boolean, full: number): number[] {
  return Array.from({ length: width * height * 4 }, (_, i) => {
    const x = (i >> 2) % width;
    const y = Math.floor((i >> 2) / width);
    const value = [x / width, y / height, ((x ^ y) & 31) / 31, alpha ? Math.abs(Math.sin(x / 9)) : 1][i & 3] ?? 0;
    return Math.round(value * full);
  });
}

for (const depth of ['8', '16', 'float'] as const) {
  test(`the exported scene renders natively to the same bytes, ${depth}`, async ({ studio }) => {
    const folder = await mkdtemp(join(tmpdir(), 'veltra-web-'));
    const frame = Buffer.from(
      depth === '8'
        ? writePng(512, 256, 4, Uint8Array.from(picture(512, 256, false, 255)))
        : writePng(512, 256, 4, Uint16Array.from(picture(512, 256, true, 65535))),
    );
    const layer = Buffer.from(writePng(200, 60, 4, Uint8Array.from(picture(200, 60, true, 255))));
    await openPictures(studio, { name: 'frame.png', buffer: frame }, { name: 'layer.png', buffer: layer });
    await studio.getByRole('radio', { name: 'Tile' }).click();
    await type(studio, 'start-point', /X$/, '71.3');
    await type(studio, 'end-point', /Y$/, '-14.9');
    await type(studio, 'travel', /Travel/, '-37.7');
    await type(studio, 'opacity', /Opacity/, '83.3');
    await studio.getByText('Spherical Filtering').click();
    await studio.locator('#depth').selectOption(depth);
    await settled(studio);
    await studio.getByRole('button', { name: 'Export', exact: true }).click();
    const scene = await exported(studio, 'scene');
    const own = await exported(studio, depth === '8' ? 'png8' : depth === '16' ? 'png16' : 'exr');
    await writeFile(join(folder, 'frame.png'), frame);
    await writeFile(join(folder, 'layer.png'), layer);
    await writeFile(join(folder, 'scene.json'), scene);
    await run(program, ['render', 'scene.json', '--quiet'], { cwd: folder });
    const file = new Uint8Array(await readFile(join(folder, depth === 'float' ? 'out.exr' : 'out.png')));
    const read = (bytes: Uint8Array<ArrayBuffer>): { data: ArrayLike<number> } =>
      depth === 'float' ? readExr(bytes) : readPng(bytes);
    const ours = Uint8Array.from(own);
    expect(Buffer.from(Float64Array.from(read(ours).data).buffer).equals(
      Buffer.from(Float64Array.from(read(file).data).buffer),
    )).toBe(true);
    await rm(folder, { recursive: true });
  });
}

test('a scene from elsewhere renders as the program renders it, and goes out as it came', async ({ studio }) => {
  const folder = await mkdtemp(join(tmpdir(), 'veltra-web-'));
  const frame = Buffer.from(writePng(500, 250, 4, Uint8Array.from(picture(500, 250, false, 255))));
  const layer = Buffer.from(writePng(120, 60, 4, Uint8Array.from(picture(120, 60, true, 255))));
  const scene = {
    version: 1,
    frame: 'street.png',
    output: 'made/####.png',
    frames: '1-9',
    compression: '3',
    controls: {
      layer: 'sign.png',
      'start-point': {
        keys: [
          { frame: 1, value: ['-150deg', '33.3deg'], interpolation: 'smooth', path: 'great-circle' },
          { frame: 9, value: [421.77, '20%'] },
        ],
      },
      'end-point': [77.123, '-41deg'],
    },
  };
  const json = Buffer.from(JSON.stringify(scene));
  await studio.getByLabel('Open scene.json').setInputFiles({ name: 'scene.json', mimeType: '', buffer: json });
  await expect(studio.locator('.notice')).toContainText('Choose its pictures too: street.png, sign.png.');
  await openPictures(studio, { name: 'street.png', buffer: frame }, { name: 'sign.png', buffer: layer });
  await studio.getByLabel('Frame number').fill('4');
  await studio.getByLabel('Frame number').press('Enter');
  await expect(control(studio, 'panorama').locator('.hint')).toHaveText('500 × 250');
  await expect(control(studio, 'end-point').getByLabel('End Point X')).toHaveValue('77.1');
  await settled(studio);
  await studio.getByRole('button', { name: 'Export', exact: true }).click();
  const own = await exported(studio, 'png8');
  const out = await exported(studio, 'scene');
  expect(JSON.parse(out.toString())).toMatchObject(scene);
  await writeFile(join(folder, 'street.png'), frame);
  await writeFile(join(folder, 'sign.png'), layer);
  await writeFile(join(folder, 'scene.json'), json);
  await run(program, ['render', 'scene.json', '--frames', '4', '-o', 'four.png', '--quiet'], { cwd: folder });
  const native = readPng(new Uint8Array(await readFile(join(folder, 'four.png'))));
  expect(Buffer.from(readPng(Uint8Array.from(own)).data).equals(Buffer.from(native.data))).toBe(true);
  await rm(folder, { recursive: true });
});

test('an animated scene goes out, comes back by file and by link, and renders as a sequence', async ({ studio, address }) => {
  const frameNumber = studio.getByLabel('Frame number');
  await studio.getByRole('spinbutton', { name: 'Last frame' }).fill('9');
  await studio.getByRole('spinbutton', { name: 'Last frame' }).press('Enter');
  await control(studio, 'travel').getByRole('button', { name: 'Animate Travel' }).click();
  await frameNumber.fill('9');
  await frameNumber.press('Enter');
  await type(studio, 'travel', /Travel/, '80');
  await expect(studio.locator('.key')).toHaveCount(2);
  await studio.locator('.key').first().click();
  await studio.getByLabel('Interpolation after this keyframe').selectOption('smooth');
  await frameNumber.fill('3');
  await frameNumber.press('Enter');
  // 3 t^2 - 2 t^3 of a quarter is 0.15625.
  await expect(control(studio, 'travel').locator('.number')).toHaveValue('12.5');
  await studio.locator('.key').first().press('ArrowRight');
  await expect(studio.locator('.key').first()).toHaveAttribute('aria-label', /keyframe at 2/);
  await settled(studio);

  await studio.getByRole('button', { name: 'Export', exact: true }).click();
  await expect(studio.locator('#command-line')).toHaveValue('veltra render scene.json');
  const scene = await exported(studio, 'scene');
  const [frame, layer] = [studio.waitForEvent('download'), studio.waitForEvent('download', { predicate: (each) => each.suggestedFilename() === 'layer.png' })];
  await studio.locator('[data-export="pictures"]').click();
  const folder = await mkdtemp(join(tmpdir(), 'veltra-web-'));
  await (await frame).saveAs(join(folder, 'frame.png'));
  await (await layer).saveAs(join(folder, 'layer.png'));
  await writeFile(join(folder, 'scene.json'), scene);
  await run(program, ['render', 'scene.json', '--frames', '2', '-o', 'two.png', '--quiet'], { cwd: folder });
  expect(readPng(new Uint8Array(await readFile(join(folder, 'two.png')))).width).toBe(2048);
  await rm(folder, { recursive: true });

  const link = await studio.evaluate(async () => {
    let copied = '';
    navigator.clipboard.writeText = (text) => {
      copied = text;
      return Promise.resolve();
    };
    document.querySelectorAll('button').forEach((button) => {
      if (button.textContent === 'Copy the link') {
        button.click();
      }
    });
    await Promise.resolve();
    return copied;
  });
  expect(link.startsWith(`${address}#scene=`)).toBe(true);
  await studio.goto('about:blank');
  await studio.goto(link);
  await settled(studio);
  await expect(studio.locator('.key')).toHaveCount(2);
  await control(studio, 'travel').getByRole('button', { name: 'Reset Travel' }).click();
  await expect(studio.locator('.key')).toHaveCount(0);
  await studio.getByLabel('Open scene.json').setInputFiles({ name: 'scene.json', mimeType: '', buffer: scene });
  await expect(studio.locator('.key')).toHaveCount(2);
  await expect(studio.locator('.notice')).toContainText('scene.json is open');
});

test('a keyframe is dragged past others, which stay, and back in one step', async ({ studio }) => {
  await studio.getByRole('spinbutton', { name: 'Last frame' }).fill('9');
  await studio.getByRole('spinbutton', { name: 'Last frame' }).press('Enter');
  await control(studio, 'travel').getByRole('button', { name: 'Animate Travel' }).click();
  const frameNumber = studio.getByLabel('Frame number');
  for (const [frame, value] of [['5', '40'], ['9', '80']] as const) {
    await frameNumber.fill(frame);
    await frameNumber.press('Enter');
    await type(studio, 'travel', /Travel/, value);
  }
  const frames = async (): Promise<string[]> =>
    (await studio.locator('.key').evaluateAll((keys) => keys.map((key) => key.getAttribute('data-key') ?? ''))).sort();
  expect(await frames()).toEqual(['travel@1', 'travel@5', 'travel@9']);
  const lane = await studio.locator('.lane').boundingBox();
  const key = await studio.locator('[data-key="travel@1"]').boundingBox();
  if (lane === null || key === null) {
    throw new Error('the keyframes are not on the screen');
  }
  await studio.mouse.move(key.x + key.width / 2, key.y + key.height / 2);
  await studio.mouse.down();
  for (let frame = 2; frame <= 7; ++frame) {
    await studio.mouse.move(lane.x + (lane.width * (frame - 1)) / 8, key.y + key.height / 2);
  }
  await studio.mouse.up();
  await expect.poll(frames).toEqual(['travel@5', 'travel@7', 'travel@9']);
  await expect(frameNumber).toHaveValue('7');
  await studio.keyboard.press('Control+z');
  await expect.poll(frames).toEqual(['travel@1', 'travel@5', 'travel@9']);
});

test('playing runs through the frames at the scene’s rate, and loops', async ({ studio }) => {
  await studio.getByRole('spinbutton', { name: 'Last frame' }).fill('4');
  await studio.getByRole('spinbutton', { name: 'Last frame' }).press('Enter');
  await control(studio, 'opacity').getByRole('button', { name: 'Animate Opacity' }).click();
  await studio.getByRole('button', { name: 'Play' }).click();
  const field = studio.getByLabel('Frame number');
  const seen = new Set<string>();
  await expect.poll(async () => seen.add(await field.inputValue()).size).toBeGreaterThan(2);
  await studio.getByRole('button', { name: 'Pause' }).click();
  await settled(studio);
});

test('all frames go out as a video at the scene’s rate, which comes in again frame by frame', async ({ studio }) => {
  const frame = Buffer.from(writePng(320, 160, 4, Uint8Array.from(picture(320, 160, false, 255))));
  const layer = Buffer.from(writePng(40, 20, 4, Uint8Array.from(picture(40, 20, true, 255))));
  await openPictures(studio, { name: 'street.png', buffer: frame }, { name: 'sign.png', buffer: layer });
  const last = studio.getByRole('spinbutton', { name: 'Last frame' });
  await last.fill('6');
  await last.press('Enter');
  await studio.getByLabel('Frames per second').selectOption('25');
  await control(studio, 'travel').getByRole('button', { name: 'Animate Travel' }).click();
  await go(studio, 6);
  await type(studio, 'travel', /Travel/, '400');
  await settled(studio);
  await studio.getByRole('button', { name: 'Export', exact: true }).click();
  const video = await exported(studio, 'webm');
  const input = new Input({ source: new BufferSource(Uint8Array.from(video)), formats: ALL_FORMATS });
  const track = (await input.getPrimaryVideoTrack()) as InputVideoTrack;
  expect([await track.getCodec(), await track.getDisplayWidth(), await track.getDisplayHeight()]).toEqual(['vp9', 320, 160]);
  const { packetCount } = await track.computePacketStats();
  expect(packetCount).toBe(6);
  expect(await track.computeDuration()).toBeCloseTo(6 / 25, 2);

  await studio.getByRole('button', { name: 'Close' }).click();
  await control(studio, 'travel').getByRole('button', { name: 'Reset Travel' }).click();
  await last.fill('2');
  await last.press('Enter');
  await control(studio, 'layer').locator('select').first().selectOption('none');
  await studio.getByLabel('Open a panorama').setInputFiles({ name: 'street.webm', mimeType: '', buffer: video });
  await expect(last).toHaveValue('6');
  await expect(studio.getByLabel('Frames per second')).toHaveValue('25');
  const shown: Buffer[] = [];
  for (const number of [1, 6]) {
    await go(studio, number);
    await settled(studio);
    await studio.getByRole('button', { name: 'Export', exact: true }).click();
    shown.push(Buffer.from(readPng(Uint8Array.from(await exported(studio, 'png8'))).data));
    await studio.getByRole('button', { name: 'Close' }).click();
  }
  // The travelling layer is in the frames; where it was not, they are alike but for the codec.
  const changed = [...shown[0] ?? []].filter((value, i) => Math.abs(value - (shown[1]?.[i] ?? 0)) > 40).length;
  expect(changed).toBeGreaterThan(1000);
  await studio.getByRole('button', { name: 'Export', exact: true }).click();
  const scene = JSON.parse((await exported(studio, 'scene')).toString()) as object;
  expect(scene).toMatchObject({ frame: 'street.webm', frames: '1-6', output: 'out.####.png' });
  expect(scene).not.toHaveProperty('rate');
});

test('videos that cannot be are told of in one line', async ({ studio }) => {
  const notice = studio.locator('.notice');
  const cut = Buffer.concat([Buffer.from([0, 0, 0, 24]), Buffer.from('ftypisom0000isomavc1')]);
  await studio.getByLabel('Open a panorama').setInputFiles({ name: 'cut.mp4', mimeType: '', buffer: cut });
  await expect(notice).toContainText(/cut.mp4: (not a video|holds no pictures|the video is damaged)/);
  await studio.getByLabel('Open a layer').setInputFiles({ name: 'cut.mp4', mimeType: '', buffer: cut });
  await expect(notice).toContainText('cut.mp4: a video cannot be the layer here');
  await studio.getByRole('button', { name: 'Export', exact: true }).click();
  await studio.evaluate(() => {
    Object.defineProperty(globalThis, 'VideoEncoder', { value: undefined });
  });
  await studio.locator('[data-export="mp4"]').click();
  await expect(studio.locator('.dialog [role="status"]')).toContainText('Not saved: this browser cannot write MP4 of 2048 × 1024');
});
