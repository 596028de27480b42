// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Reads and writes picture files beside the page.
import type { Picture } from '../engine/protocol';
import { readThroughBrowser } from './browser_image';
import { readExr, writeExr } from './exr';
import { kindOf, PictureFailure } from './formats';
import { readHdr } from './hdr';
import { readPng, writePng } from './png';

declare const self: DedicatedWorkerGlobalScope;

export type FileJob =
  | { readonly type: 'read'; readonly job: number; readonly file: Blob }
  | {
      readonly type: 'png';
      readonly job: number;
      readonly width: number;
      readonly height: number;
      readonly channels: 3 | 4;
      readonly bits: 8 | 16;
      readonly data: ArrayBuffer;
    }
  | {
      readonly type: 'exr';
      readonly job: number;
      readonly width: number;
      readonly height: number;
      readonly data: ArrayBuffer;
    };

export type PictureData = Omit<Picture, 'id' | 'name'>;
export type FileAnswer =
  | { readonly job: number; readonly picture: PictureData }
  | { readonly job: number; readonly bytes: ArrayBuffer }
  | { readonly job: number; readonly reason: string };

function exact(data: ArrayBufferView): ArrayBuffer {
  return data.buffer.slice(data.byteOffset, data.byteOffset + data.byteLength) as ArrayBuffer;
}

async function read(file: Blob): Promise<PictureData> {
  const bytes = new Uint8Array(await file.arrayBuffer());
  const plain = { premultiplied: false, linear: false };
  switch (kindOf(bytes.subarray(0, 64))) {
    case 'png': {
      const png = readPng(bytes);
      return { ...plain, ...png, data: exact(png.data) };
    }
    case 'hdr': {
      const hdr = readHdr(bytes);
      return { ...hdr, ...plain, channels: 3, samples: 'float', linear: true, data: hdr.data.buffer };
    }
    case 'exr': {
      const exr = readExr(bytes);
      return { ...exr, samples: 'float', premultiplied: true, linear: true, data: exr.data.buffer };
    }
    case 'browser': {
      const opaque = bytes[0] === 0xff;
      const picture = await readThroughBrowser(file, opaque);
      return { ...plain, ...picture, channels: 4, samples: 'uint8', data: picture.data.buffer };
    }
    case 'tiff':
      throw new PictureFailure('a page cannot read TIFF (expected JPEG, PNG, WebP, AVIF, HDR or EXR)');
    case 'video':
    case 'scene':
    case 'unknown':
      throw new PictureFailure('not a picture (expected JPEG, PNG, WebP, AVIF, HDR or EXR)');
  }
}

function write(job: Exclude<FileJob, { type: 'read' }>): ArrayBuffer {
  const { width, height } = job;
  return job.type === 'exr'
    ? writeExr(width, height, new Float32Array(job.data)).buffer
    : writePng(
        width,
        height,
        job.channels,
        job.bits === 16 ? new Uint16Array(job.data) : new Uint8Array(job.data),
      ).buffer;
}

async function act(job: FileJob): Promise<void> {
  if (job.type === 'read') {
    const picture = await read(job.file);
    self.postMessage({ job: job.job, picture } satisfies FileAnswer, [picture.data]);
  } else {
    const bytes = write(job);
    self.postMessage({ job: job.job, bytes } satisfies FileAnswer, [bytes]);
  }
}

self.addEventListener('message', (event: MessageEvent<FileJob>) => {
  const { job } = event.data;
  act(event.data).catch((error: unknown) => {
    const known = error instanceof PictureFailure;
    const memory = error instanceof RangeError ? 'not enough memory for this picture' : String(error);
    self.postMessage({ job, reason: known ? error.message : memory } satisfies FileAnswer);
  });
});
