// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
import { zlibSync } from 'fflate';
import { describe, expect, test } from 'vitest';
import { rateOf } from '../../src/pictures/video';
import { readExr, writeExr } from '../../src/pictures/exr';
import { kindOf, mostSide } from '../../src/pictures/formats';
import { readHdr } from '../../src/pictures/hdr';
import { readPng, writePng } from '../../src/pictures/png';

function text(words: string): Uint8Array {
  return Uint8Array.from(words, (letter) => letter.charCodeAt(0));
}

describe('PNG', () => {
  test.each([8, 16] as const)('%i bit come back as they were, alpha straight', (bits) => {
    const data = bits === 8 ? Uint8Array.of(1, 2, 3, 0, 250, 128, 0, 77) : Uint16Array.of(1, 65535, 258, 0, 515, 4, 5, 40000);
    const png = readPng(writePng(2, 1, 4, data));
    expect([png.width, png.height, png.channels, png.samples]).toEqual([2, 1, 4, bits === 8 ? 'uint8' : 'uint16']);
    expect([...png.data]).toEqual([...data]);
  });
  test('a cut or changed file is told as damaged', () => {
    const file = writePng(8, 8, 3, new Uint8Array(192).map((_, i) => i * 7));
    expect(() => readPng(file.subarray(0, file.length - 30))).toThrow(/damaged PNG/);
    expect(() => readPng(file.subarray(0, 20))).toThrow(/damaged PNG/);
    const changed = file.slice();
    changed[50] = (changed[50] ?? 0) ^ 0x55;
    expect(() => readPng(changed)).toThrow(/damaged PNG/);
  });
  test('a size beyond the page is refused before memory is taken', () => {
    const file = writePng(1, 1, 3, Uint8Array.of(1, 2, 3));
    new DataView(file.buffer).setUint32(16, mostSide + 1);
    expect(() => readPng(file)).toThrow('too large for a page');
  });
});

describe('OpenEXR', () => {
  test('float comes back bit for bit', () => {
    const width = 19;
    const height = 35;
    const data = new Float32Array(width * height * 4).map((_, i) => Math.fround(Math.sin(i * 12.9) * 400));
    const exr = readExr(writeExr(width, height, data));
    expect([exr.width, exr.height, exr.channels]).toEqual([width, height, 4]);
    expect(exr.data).toEqual(data);
  });
  test('a cut file is told, not read', () => {
    const file = writeExr(64, 64, new Float32Array(64 * 64 * 4).map(() => 1 / 3));
    expect(() => readExr(file.slice(0, 200))).toThrow(/not a readable OpenEXR/);
  });
});

describe('Radiance HDR', () => {
  const head = '#?RADIANCE\nFORMAT=32-bit_rle_rgbe\n\n-Y 1 +X 8\n';
  const file = (...rows: number[]): Uint8Array => Uint8Array.from([...text(head), ...rows]);
  test('runs, plain stretches and the common exponent', () => {
    const bytes = file(2, 2, 0, 8, 136, 128, 8, 0, 1, 2, 3, 4, 5, 6, 7, 136, 64, 136, 129);
    const { data } = readHdr(bytes);
    expect([...data.subarray(0, 6)]).toEqual([1, 0, 0.5, 1, 1 / 128, 0.5]);
  });
  test('a cut file, wrong rows and other orders are told', () => {
    expect(() => readHdr(file(2, 2, 0, 8, 136))).toThrow(/damaged Radiance HDR/);
    expect(() => readHdr(file(2, 2, 0, 8, 0, 1))).toThrow(/damaged Radiance HDR/);
    expect(() => readHdr(text('#?RADIANCE\n\n+X 8 -Y 1\n'))).toThrow('expected -Y +X');
  });
});

test('files are told apart by what they begin with', () => {
  const kinds: [Uint8Array, string][] = [
    [writePng(1, 1, 3, Uint8Array.of(1, 2, 3)), 'png'],
    [writeExr(1, 1, new Float32Array(4)), 'exr'],
    [text('#?RADIANCE\n'), 'hdr'],
    [Uint8Array.of(0xff, 0xd8, 0xff, 0xe0), 'browser'],
    [text('\0\0\0\x20ftypavif'), 'browser'],
    [text('\0\0\0\x20ftypisom'), 'video'],
    [text(' {"version":1}'), 'scene'],
    [text('II*\0'), 'tiff'],
    [zlibSync(text('nothing')), 'unknown'],
  ];
  for (const [file, kind] of kinds) {
    expect(kindOf(file.subarray(0, 64))).toBe(kind);
  }
});

test('a video’s rate is the usual one that its times mean', () => {
  expect(rateOf(240 / 23.976, 240)).toEqual({ num: 24000, den: 1001 });
  expect(rateOf(0.2, 5)).toEqual({ num: 25, den: 1 });
  expect(rateOf(33.367, 1000)).toEqual({ num: 30000, den: 1001 });
  expect(rateOf(10, 123)).toEqual({ num: 12300, den: 1000 });
});
