// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// A video as a row of pictures, through the browser's own decoders.
import {
  BlobSource,
  EncodedPacketSink,
  Input,
  MATROSKA,
  MP4,
  QTFF,
  VideoSampleSink,
  WEBM,
  type InputVideoTrack,
} from 'mediabunny';
import type { Rate } from '../scene/scene';
import { checkSize, PictureFailure } from './formats';
import type { PictureData } from './worker';

const usualRates: readonly Rate[] = [
  ...[24, 25, 30, 48, 50, 60, 100, 120].map((num) => ({ num, den: 1 })),
  ...[24000, 30000, 48000, 60000, 120000].map((num) => ({ num, den: 1001 })),
];

/** The usual rate nearest to what was measured; thousandths where there is none near. */
export function rateOf(seconds: number, frames: number): Rate {
  const measured = frames / seconds;
  const off = ({ num, den }: Rate): number => Math.abs(num / den / measured - 1);
  const nearest = usualRates.reduce((best, rate) => (off(rate) < off(best) ? rate : best));
  // Many files tell times in milliseconds.
  const near = off(nearest) < Math.max(3e-4, 0.001 / seconds);
  return near ? nearest : { num: Math.max(1, Math.round(measured * 1000)), den: 1000 };
}

async function videoTrack(file: Blob): Promise<InputVideoTrack> {
  const input = new Input({ source: new BlobSource(file), formats: [MP4, QTFF, WEBM, MATROSKA] });
  let track: InputVideoTrack | null;
  try {
    track = await input.getPrimaryVideoTrack();
  } catch {
    throw new PictureFailure('not a video that a page can read (expected MP4, MOV or WebM, whole)');
  }
  if (track === null) {
    throw new PictureFailure('holds no pictures');
  }
  if (typeof VideoDecoder === 'undefined' || !(await track.canDecode())) {
    throw new PictureFailure(`this browser cannot decode ${(await track.getCodec()) ?? 'its codec'} (veltra render takes it through ffmpeg)`);
  }
  return track;
}

export class VideoFile {
  readonly width: number;
  readonly height: number;
  readonly rate: Rate;
  /** Of the frames in the order in which they are shown, seconds. */
  readonly #times: readonly number[];
  readonly #sink: VideoSampleSink;
  /** One after the other: a decoder has one place at a time. */
  #line: Promise<unknown> = Promise.resolve();

  private constructor(
    track: InputVideoTrack, width: number, height: number, times: readonly number[], seconds: number,
  ) {
    this.width = width;
    this.height = height;
    this.#times = times;
    this.rate = rateOf(seconds, times.length);
    this.#sink = new VideoSampleSink(track);
  }

  /** Throws PictureFailure for what is no video, or none that this browser decodes. */
  static async open(file: Blob): Promise<VideoFile> {
    const track = await videoTrack(file);
    const [width, height] = [await track.getDisplayWidth(), await track.getDisplayHeight()];
    checkSize(width, height);
    const times: number[] = [];
    try {
      for await (const packet of new EncodedPacketSink(track).packets(undefined, undefined, { metadataOnly: true })) {
        times.push(packet.timestamp);
      }
    } catch {
      throw new PictureFailure('the video is damaged or cut short');
    }
    if (times.length === 0) {
      throw new PictureFailure('holds no pictures');
    }
    times.sort((a, b) => a - b);
    const seconds = (await track.computeDuration()) - (times[0] ?? 0);
    return new VideoFile(track, width, height, times, seconds);
  }

  get count(): number {
    return this.#times.length;
  }

  /** The frame of a number from 1, in 8 bit. */
  frame(number: number): Promise<PictureData> {
    const picture = this.#line.then(() => this.#decode(number));
    this.#line = picture.catch(() => undefined);
    return picture;
  }

  async #decode(number: number): Promise<PictureData> {
    const time = this.#times[number - 1];
    if (time === undefined) {
      throw new PictureFailure(`the video has no frame ${number} (it has 1 to ${this.count})`);
    }
    const sample = await this.#sink.getSample(time).catch(() => null);
    if (sample === null) {
      throw new PictureFailure(`frame ${number} of the video cannot be decoded`);
    }
    try {
      const { width, height } = this;
      const data = new Uint8Array(width * height * 4);
      // Through a canvas, which turns and scales as the file asks; a video's frame is opaque.
      const context = new OffscreenCanvas(width, height).getContext('2d', { willReadFrequently: true });
      if (context === null) {
        throw new PictureFailure('this browser gives no pixels of its videos');
      }
      sample.draw(context, 0, 0, width, height);
      data.set(context.getImageData(0, 0, width, height).data);
      return { width, height, channels: 4, samples: 'uint8', premultiplied: false, linear: false, data: data.buffer };
    } finally {
      sample.close();
    }
  }
}
