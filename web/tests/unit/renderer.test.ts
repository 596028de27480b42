// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
import { beforeAll, expect, test } from 'vitest';
import type { Delivery, FrameRequest, Picture } from '../../src/engine/protocol';
import type { Renderer } from '../../src/engine/renderer';
import { defaultValue, hasValue, type EffectDescription } from '../../src/scene/controls';
import { loadEffect, loadModule } from './effect';

let renderer: Renderer;
let effect: EffectDescription;

beforeAll(async () => {
  ({ renderer, effect } = await loadEffect());
});

const bytes: Delivery = { kind: 'file', samples: 'uint8', alpha: true, premultiplied: false };

function picture(id: string, width: number, height: number, colour: number[]): Picture {
  const data = new Uint8Array(width * height * 4);
  for (let i = 0; i < data.length; ++i) {
    data[i] = colour[i % 4] ?? 0;
  }
  return {
    id, name: id, width, height, channels: 4, samples: 'uint8',
    premultiplied: false, linear: false, data: data.buffer,
  };
}

function request(part: Partial<FrameRequest>): FrameRequest {
  return {
    width: 64, height: 32, depth: '8', downsample: 1, frame: 'frame',
    layers: [{ index: 1, picture: 'layer' }], values: [],
    time: 0, timeStep: 1, totalTime: 1, timeScale: 24, ...part,
  };
}

const whole = { left: 0, top: 0, right: 64, bottom: 32 };

test('the effect tells its nine controls, their kinds and their defaults', () => {
  expect(effect.controls.map((control) => `${control.kind} ${control.name}`)).toEqual([
    'layer Layer', 'point Start Point', 'point End Point', 'popup Layer Placement', 'slider Travel',
    'slider Size (Degrees)', 'checkbox Spherical Filtering', 'slider Opacity',
    'checkbox Composite with Original',
  ]);
  const size = effect.controls.filter(hasValue).find((control) => control.name === 'Size (Degrees)');
  expect(size && defaultValue(size)).toEqual({ x: 30 * 65536, y: 0 });
});

test('bands of a frame are the whole frame', () => {
  renderer.addPicture(picture('frame', 64, 32, [10, 20, 30, 255]));
  renderer.addPicture(picture('layer', 16, 8, [200, 100, 50, 180]));
  const at = request({});
  const all = new Uint8Array(renderer.render(at, whole, bytes));
  const bands = [0, 7, 19].map((top, i, tops) =>
    new Uint8Array(renderer.render(at, { ...whole, top, bottom: tops[i + 1] ?? 32 }, bytes)),
  );
  expect(bands.flatMap((band) => [...band])).toEqual([...all]);
  expect(new Set(all.filter((_, i) => i % 4 === 0)).size).toBeGreaterThan(1);
});

test('straight alpha goes through untouched, also below next to none', () => {
  renderer.addPicture(picture('ghost', 4, 2, [255, 7, 99, 1]));
  const out = renderer.render(
    request({ width: 4, height: 2, frame: 'ghost', layers: [] }), { left: 0, top: 0, right: 4, bottom: 2 }, bytes,
  );
  expect([...new Uint8Array(out).subarray(0, 4)]).toEqual([255, 7, 99, 1]);
});

test('a picture that is not there is one clear word and loses nothing', () => {
  expect(() => renderer.render(request({ frame: 'nothing' }), whole, bytes)).toThrow('no picture nothing');
  expect(renderer.render(request({}), whole, bytes).byteLength).toBe(64 * 32 * 4);
});

test('numbers that are no render are refused by the module itself', async () => {
  const module = await loadModule();
  const address = module._malloc(8);
  expect(module._VeltraRender(address, 2)).toBe(0);
  expect(module.UTF8ToString(module._VeltraError())).toBe("not a render's numbers");
  expect(module._VeltraMakePicture(40000, 1, 4, 0, 0, 0, address)).toBe(0);
  expect(module.UTF8ToString(module._VeltraError())).not.toBe('');
});
