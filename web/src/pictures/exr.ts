// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// OpenEXR: read by a library, written as 32-bit float.
import { zlibSync } from 'fflate';
import { FloatType } from 'three';
import { EXRLoader } from 'three/addons/loaders/EXRLoader.js';
import { checkSize, PictureFailure } from './formats';
import { reasonOf } from '../reason';

export interface ExrPicture {
  readonly width: number;
  readonly height: number;
  readonly channels: 1 | 4;
  /** Rows from the top; colour is multiplied by alpha. */
  readonly data: Float32Array<ArrayBuffer>;
}

interface Window2 {
  readonly xMin: number;
  readonly yMin: number;
  readonly xMax: number;
  readonly yMax: number;
}
interface Parsed {
  readonly header: { readonly dataWindow: Window2; readonly displayWindow: Window2 };
  readonly width: number;
  readonly height: number;
  readonly data: Float32Array;
}

function parsed(file: Uint8Array<ArrayBuffer>): Parsed {
  try {
    const loader = new EXRLoader();
    loader.setDataType(FloatType);
    return loader.parse(file.slice().buffer) as unknown as Parsed;
  } catch (error) {
    const reason = reasonOf(error);
    throw new PictureFailure(`not a readable OpenEXR file (${reason.replace(/^THREE\.EXRLoader(\.parse)?:\s*/, '')})`);
  }
}

/** The picture is the display window; what the data window leaves out is transparent. */
export function readExr(file: Uint8Array<ArrayBuffer>): ExrPicture {
  const exr = parsed(file);
  const { dataWindow, displayWindow } = exr.header;
  const width = displayWindow.xMax - displayWindow.xMin + 1;
  const height = displayWindow.yMax - displayWindow.yMin + 1;
  checkSize(width, height);
  const channels = exr.data.length === exr.width * exr.height ? 1 : 4;
  const data = new Float32Array(width * height * channels);
  const offsetX = dataWindow.xMin - displayWindow.xMin;
  const offsetY = dataWindow.yMin - displayWindow.yMin;
  const left = Math.max(0, offsetX);
  const right = Math.min(width, offsetX + exr.width);
  for (let y = Math.max(0, offsetY); y < Math.min(height, offsetY + exr.height) && left < right; ++y) {
    // The library's rows run from the bottom.
    const row = exr.height - 1 - (y - offsetY);
    const from = (row * exr.width + (left - offsetX)) * channels;
    const count = (right - left) * channels;
    data.set(exr.data.subarray(from, from + count), (y * width + left) * channels);
  }
  return { width, height, channels, data };
}

// ---- Writing: one part, scan lines, float channels, ZIP ----

class Writer {
  readonly #parts: Uint8Array[] = [];
  length = 0;

  bytes(bytes: Uint8Array): void {
    this.#parts.push(bytes);
    this.length += bytes.length;
  }
  text(text: string): void {
    this.bytes(new TextEncoder().encode(`${text}\0`));
  }
  int(...values: number[]): void {
    const view = new DataView(new ArrayBuffer(values.length * 4));
    values.forEach((value, i) => view.setInt32(i * 4, value, true));
    this.bytes(new Uint8Array(view.buffer));
  }
  float(...values: number[]): void {
    const view = new DataView(new ArrayBuffer(values.length * 4));
    values.forEach((value, i) => view.setFloat32(i * 4, value, true));
    this.bytes(new Uint8Array(view.buffer));
  }
  byte(value: number): void {
    this.bytes(Uint8Array.of(value));
  }
  attribute(name: string, type: string, write: (to: Writer) => void): void {
    const value = new Writer();
    write(value);
    this.text(name);
    this.text(type);
    this.int(value.length);
    this.bytes(value.whole());
  }
  whole(): Uint8Array<ArrayBuffer> {
    const all = new Uint8Array(this.length);
    let at = 0;
    for (const part of this.#parts) {
      all.set(part, at);
      at += part.length;
    }
    return all;
  }
}

const rowsOfBlock = 16;
const zipCompression = 3;
const floatPixels = 2;

function header(width: number, height: number): Writer {
  const to = new Writer();
  to.int(20000630, 2);
  to.attribute('channels', 'chlist', (list) => {
    for (const name of ['A', 'B', 'G', 'R']) {
      list.text(name);
      list.int(floatPixels, 0, 1, 1);
    }
    list.byte(0);
  });
  to.attribute('compression', 'compression', (value) => value.byte(zipCompression));
  const window = (value: Writer): void => value.int(0, 0, width - 1, height - 1);
  to.attribute('dataWindow', 'box2i', window);
  to.attribute('displayWindow', 'box2i', window);
  to.attribute('lineOrder', 'lineOrder', (value) => value.byte(0));
  to.attribute('pixelAspectRatio', 'float', (value) => value.float(1));
  to.attribute('screenWindowCenter', 'v2f', (value) => value.float(0, 0));
  to.attribute('screenWindowWidth', 'float', (value) => value.float(1));
  to.byte(0);
  return to;
}

/** Bytes as the format's ZIP wants them: even ones, then odd ones, each less the one before. */
function predicted(raw: Uint8Array): Uint8Array {
  const half = (raw.length + 1) >> 1;
  const split = new Uint8Array(raw.length);
  for (let i = 0; i < raw.length; ++i) {
    split[(i & 1) === 0 ? i >> 1 : half + (i >> 1)] = raw[i] ?? 0;
  }
  for (let i = raw.length - 1; i > 0; --i) {
    split[i] = ((split[i] ?? 0) - (split[i - 1] ?? 0) + 128) & 255;
  }
  return split;
}

/** Rows of the four channels one after the other, in the order of their names. */
function blockOf(data: Float32Array, width: number, top: number, bottom: number): Uint8Array {
  const block = new Float32Array((bottom - top) * width * 4);
  let at = 0;
  for (let y = top; y < bottom; ++y) {
    for (const channel of [3, 2, 1, 0]) {
      for (let x = 0; x < width; ++x) {
        block[at++] = data[(y * width + x) * 4 + channel] ?? 0;
      }
    }
  }
  return new Uint8Array(block.buffer);
}

/** `data` is RGBA with colour multiplied by alpha, rows from the top. */
export function writeExr(width: number, height: number, data: Float32Array): Uint8Array<ArrayBuffer> {
  const to = header(width, height);
  const blocks: { top: number; bytes: Uint8Array }[] = [];
  for (let top = 0; top < height; top += rowsOfBlock) {
    const raw = blockOf(data, width, top, Math.min(height, top + rowsOfBlock));
    const packed = zlibSync(predicted(raw), { level: 4 });
    blocks.push({ top, bytes: packed.length < raw.length ? packed : raw });
  }
  let offset = to.length + blocks.length * 8;
  for (const block of blocks) {
    to.int(offset % 4294967296 | 0, Math.floor(offset / 4294967296));
    offset += 8 + block.bytes.length;
  }
  for (const block of blocks) {
    to.int(block.top, block.bytes.length);
    to.bytes(block.bytes);
  }
  return to.whole();
}
