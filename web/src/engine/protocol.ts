// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// What the page and its render workers say to each other.

/** Bits per channel, in the order of the module's numbers. */
export type Depth = '8' | '16' | 'float';
export const depths: readonly Depth[] = ['8', '16', 'float'];

/** Samples of a picture's rows: bytes, 16 bit with 65535 as full scale, or 32-bit float. */
export type Samples = 'uint8' | 'uint16' | 'float';

/** A picture as a file has it, rows from the top without gaps. */
export interface Picture {
  /** Never used twice for different pixels. */
  readonly id: string;
  readonly name: string;
  readonly width: number;
  readonly height: number;
  readonly channels: 1 | 2 | 3 | 4;
  readonly samples: Samples;
  readonly premultiplied: boolean;
  /** Linear light, as HDR formats store it; shown through an exposure. */
  readonly linear: boolean;
  readonly data: ArrayBuffer;
}

/** A value as the host takes it: 16.16, 0 or 1, a choice from 1, or a point's 16.16 pixels. */
export interface HostValue {
  readonly index: number;
  readonly x: number;
  readonly y: number;
  /** On the way to another point along their great circle, at this share of it. */
  readonly arc?: { readonly x: number; readonly y: number; readonly share: number };
}

/** One frame. Pictures are ids that the workers were given, or null. */
export interface FrameRequest {
  readonly width: number;
  readonly height: number;
  readonly depth: Depth;
  readonly downsample: number;
  readonly frame: string | null;
  readonly layers: readonly { readonly index: number; readonly picture: string | null }[];
  readonly values: readonly HostValue[];
  /** In units of 1 / timeScale seconds. */
  readonly time: number;
  readonly timeStep: number;
  readonly totalTime: number;
  readonly timeScale: number;
}

/** How the pixels come back: for the screen, or as a file wants them. */
export type Delivery =
  | { readonly kind: 'screen'; readonly linear: boolean; readonly gain: number }
  | {
      readonly kind: 'file';
      readonly samples: Samples;
      readonly alpha: boolean;
      readonly premultiplied: boolean;
    };

export interface Region {
  readonly left: number;
  readonly top: number;
  readonly right: number;
  readonly bottom: number;
}

export type ToWorker =
  | { readonly type: 'start'; readonly module: WebAssembly.Module }
  | { readonly type: 'picture'; readonly picture: Picture }
  | { readonly type: 'forget'; readonly id: string }
  | {
      readonly type: 'render';
      readonly job: number;
      readonly request: FrameRequest;
      readonly region: Region;
      readonly delivery: Delivery;
    }
  | {
      readonly type: 'sample';
      readonly job: number;
      readonly layer: boolean;
      readonly width: number;
      readonly height: number;
    };

export type FromWorker =
  | { readonly type: 'started'; readonly description: string }
  | { readonly type: 'failed'; readonly job: number | null; readonly reason: string }
  | {
      readonly type: 'done';
      readonly job: number;
      readonly region: Region;
      readonly pixels: ArrayBuffer;
      /** Milliseconds that the render took. */
      readonly took: number;
    };

export function bytesPerSample(samples: Samples): number {
  return samples === 'uint8' ? 1 : samples === 'uint16' ? 2 : 4;
}

/** A side at 1 / factor of the resolution, as the host rounds it. */
export function reducedLength(length: number, factor: number): number {
  return Math.max(1, Math.floor((2 * length + factor) / (2 * factor)));
}
