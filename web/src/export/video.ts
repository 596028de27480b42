// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// The frames of a scene as a WebM or MP4, through the browser's own encoders.
import {
  BufferTarget,
  getFirstEncodableVideoCodec,
  Mp4OutputFormat,
  Output,
  Quality,
  VideoSample,
  VideoSampleSource,
  WebMOutputFormat,
  type VideoCodec,
} from 'mediabunny';
import type { RenderedFrame } from '../engine/engine';
import type { Rate } from '../scene/scene';

/** Why there is no video, in one line. */
export class VideoFailure extends Error {}

export type VideoKind = 'webm' | 'mp4';

const quality = new Quality('high');

/** What most players play goes first. */
const codecs: Record<VideoKind, VideoCodec[]> = {
  webm: ['vp9', 'vp8', 'av1'],
  mp4: ['avc', 'hevc', 'vp9', 'av1'],
};

export interface VideoJob {
  readonly kind: VideoKind;
  readonly width: number;
  readonly height: number;
  readonly rate: Rate;
  readonly count: number;
  /** RGBA of the frame at a place from 0. */
  render(place: number): Promise<RenderedFrame>;
  readonly signal: AbortSignal;
}

/** Transparent pixels over black: the videos have no alpha. */
function overBlack(pixels: Uint8Array): void {
  for (let i = 3; i < pixels.length; i += 4) {
    const alpha = pixels[i] ?? 255;
    if (alpha !== 255) {
      for (let channel = i - 3; channel < i; ++channel) {
        pixels[channel] = Math.round(((pixels[channel] ?? 0) * alpha) / 255);
      }
      pixels[i] = 255;
    }
  }
}

async function codecFor(job: VideoJob): Promise<VideoCodec> {
  const { kind, width, height } = job;
  const codec =
    typeof VideoEncoder === 'undefined'
      ? null
      : await getFirstEncodableVideoCodec(codecs[kind], { width, height, quality });
  if (codec === null) {
    throw new VideoFailure(
      `this browser cannot write ${kind === 'webm' ? 'WebM' : 'MP4'} of ${width} × ${height} (veltra render can)`,
    );
  }
  return codec;
}

/** The bytes of the file. Rejects with VideoFailure when it cannot be or was cancelled. */
export async function encodeVideo(job: VideoJob): Promise<ArrayBuffer> {
  const codec = await codecFor(job);
  const { width, height, rate } = job;
  const target = new BufferTarget();
  const format = job.kind === 'webm' ? new WebMOutputFormat() : new Mp4OutputFormat();
  const output = new Output({ format, target });
  const source = new VideoSampleSource({ codec, quality });
  output.addVideoTrack(source, { frameRate: rate.num / rate.den });
  await output.start();
  for (let place = 0; place < job.count; ++place) {
    if (job.signal.aborted) {
      await output.cancel();
      throw new VideoFailure('cancelled');
    }
    const { pixels } = await job.render(place);
    overBlack(pixels);
    const duration = rate.den / rate.num;
    const sample = new VideoSample(pixels, {
      format: 'RGBA', codedWidth: width, codedHeight: height, timestamp: place * duration, duration,
    });
    await source.add(sample);
    sample.close();
  }
  await output.finalize();
  if (target.buffer === null) {
    throw new VideoFailure('the encoder gave no file');
  }
  return target.buffer;
}
