// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// PNG with 8 and 16 bits, straight alpha, in and out.
import { decode, encode, convertIndexedToRgb } from 'fast-png';
import { checkSize, PictureFailure } from './formats';
import { reasonOf } from '../reason';

export interface PngPicture {
  readonly width: number;
  readonly height: number;
  readonly channels: 1 | 2 | 3 | 4;
  readonly samples: 'uint8' | 'uint16';
  readonly data: Uint8Array | Uint16Array;
}

/** Width and height from the first chunk, before anything is unpacked. */
function checkHeader(file: Uint8Array): void {
  const view = new DataView(file.buffer, file.byteOffset, file.byteLength);
  if (file.byteLength < 33) {
    throw new PictureFailure('damaged PNG (the file ends early)');
  }
  checkSize(view.getUint32(16), view.getUint32(20));
}

function decoded(file: Uint8Array): ReturnType<typeof decode> {
  try {
    return decode(file, { checkCrc: true });
  } catch (error) {
    const reason = reasonOf(error);
    throw new PictureFailure(`damaged PNG (${reason.toLowerCase()})`);
  }
}

/** Grey of fewer than 8 bits, spread over all of them. */
function unpackGrey(data: Uint8Array, width: number, height: number, depth: number): Uint8Array {
  const rowBytes = Math.ceil((width * depth) / 8);
  const most = (1 << depth) - 1;
  const grey = new Uint8Array(width * height);
  for (let y = 0; y < height; ++y) {
    for (let x = 0; x < width; ++x) {
      const bit = x * depth;
      const byte = data[y * rowBytes + (bit >> 3)] ?? 0;
      const value = (byte >> (8 - depth - (bit & 7))) & most;
      grey[y * width + x] = (value * 255) / most;
    }
  }
  return grey;
}

/** A colour that stands for "transparent" becomes an alpha channel. */
function withTransparency(picture: PngPicture, colour: Uint16Array): PngPicture {
  const { width, height, channels, samples, data } = picture;
  const pixels = width * height;
  const out = samples === 'uint8' ? new Uint8Array(pixels * (channels + 1)) : new Uint16Array(pixels * (channels + 1));
  const full = samples === 'uint8' ? 255 : 65535;
  for (let i = 0; i < pixels; ++i) {
    let same = true;
    for (let c = 0; c < channels; ++c) {
      const value = data[i * channels + c] ?? 0;
      out[i * (channels + 1) + c] = value;
      same = same && value === colour[c];
    }
    out[i * (channels + 1) + channels] = same ? 0 : full;
  }
  return { ...picture, channels: channels === 1 ? 2 : 4, data: out };
}

export function readPng(file: Uint8Array): PngPicture {
  checkHeader(file);
  const png = decoded(file);
  const { width, height, depth } = png;
  if (png.palette !== undefined) {
    const data = convertIndexedToRgb(png);
    return { width, height, channels: png.palette[0]?.length === 4 ? 4 : 3, samples: 'uint8', data };
  }
  const data =
    depth < 8
      ? unpackGrey(png.data as Uint8Array, width, height, depth)
      : (png.data as Uint8Array | Uint16Array);
  const picture: PngPicture = {
    width,
    height,
    channels: png.channels as 1 | 2 | 3 | 4,
    samples: depth === 16 ? 'uint16' : 'uint8',
    data,
  };
  const colour = png.transparency;
  if (colour === undefined || (picture.channels !== 1 && picture.channels !== 3)) {
    return picture;
  }
  // The colour is told in the file's own scale.
  const scale = depth < 8 ? 255 / ((1 << depth) - 1) : 1;
  return withTransparency(picture, colour.map((value) => value * scale));
}

/** RGBA or RGB rows from the top; 16 bit as the machine's own order has them. */
export function writePng(
  width: number,
  height: number,
  channels: 3 | 4,
  data: Uint8Array | Uint16Array,
): Uint8Array<ArrayBuffer> {
  const depth = data instanceof Uint16Array ? 16 : 8;
  return new Uint8Array(encode({ width, height, data, channels, depth }));
}
