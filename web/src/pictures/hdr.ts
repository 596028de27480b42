// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Radiance HDR: run-length coded pixels of three mantissas and a common exponent.
import { checkSize, PictureFailure } from './formats';

export interface HdrPicture {
  readonly width: number;
  readonly height: number;
  /** RGB rows from the top, linear light. */
  readonly data: Float32Array<ArrayBuffer>;
}

const damaged = 'damaged Radiance HDR (the file ends early or its rows are not whole)';

class Bytes {
  readonly #bytes: Uint8Array;
  at = 0;

  constructor(bytes: Uint8Array) {
    this.#bytes = bytes;
  }

  next(): number {
    const byte = this.#bytes[this.at++];
    if (byte === undefined) {
      throw new PictureFailure(damaged);
    }
    return byte;
  }

  peek(ahead: number): number {
    return this.#bytes[this.at + ahead] ?? -1;
  }

  line(): string {
    let text = '';
    for (let byte = this.next(); byte !== 10; byte = this.next()) {
      text += String.fromCharCode(byte);
    }
    return text;
  }
}

function readHeader(bytes: Bytes): { width: number; height: number } {
  for (;;) {
    const line = bytes.line();
    if (line.startsWith('FORMAT=') && line.trim() !== 'FORMAT=32-bit_rle_rgbe') {
      throw new PictureFailure(`${line.slice(7)} is not a known kind of Radiance HDR (expected 32-bit_rle_rgbe)`);
    }
    if (line === '') {
      break;
    }
  }
  const size = /^-Y (\d+) \+X (\d+)$/.exec(bytes.line().trim());
  if (size === null) {
    throw new PictureFailure('the rows of this Radiance HDR do not run from the top left (expected -Y +X)');
  }
  return { height: Number(size[1]), width: Number(size[2]) };
}

/** Four planes of a row, each in runs. */
function readRuns(bytes: Bytes, row: Uint8Array, width: number): void {
  bytes.at += 4;
  for (let channel = 0; channel < 4; ++channel) {
    for (let x = 0; x < width;) {
      const count = bytes.next();
      const repeated = count > 128;
      const length = repeated ? count - 128 : count;
      if (length === 0 || x + length > width) {
        throw new PictureFailure(damaged);
      }
      const value = repeated ? bytes.next() : 0;
      for (let i = 0; i < length; ++i, ++x) {
        row[x * 4 + channel] = repeated ? value : bytes.next();
      }
    }
  }
}

function readPlain(bytes: Bytes, row: Uint8Array): void {
  for (let i = 0; i < row.length; ++i) {
    row[i] = bytes.next();
  }
}

function isRuns(bytes: Bytes, width: number): boolean {
  return (
    width >= 8 &&
    width < 32768 &&
    bytes.peek(0) === 2 &&
    bytes.peek(1) === 2 &&
    (bytes.peek(2) << 8) + bytes.peek(3) === width
  );
}

export function readHdr(file: Uint8Array): HdrPicture {
  const bytes = new Bytes(file);
  const { width, height } = readHeader(bytes);
  checkSize(width, height);
  const data = new Float32Array(width * height * 3);
  const row = new Uint8Array(width * 4);
  for (let y = 0; y < height; ++y) {
    if (isRuns(bytes, width)) {
      readRuns(bytes, row, width);
    } else {
      readPlain(bytes, row);
    }
    for (let x = 0; x < width; ++x) {
      // Mantissas of 8 bits below an exponent with an offset of 128.
      const exponent = row[x * 4 + 3] ?? 0;
      const scale = exponent === 0 ? 0 : 2 ** (exponent - 136);
      for (let c = 0; c < 3; ++c) {
        data[(y * width + x) * 3 + c] = (row[x * 4 + c] ?? 0) * scale;
      }
    }
  }
  return { width, height, data };
}
