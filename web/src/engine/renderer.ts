// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// The effect and its host: pictures kept by name, frames and parts of frames rendered.
import type { VeltraModule } from '@wasm/veltra_web.js';
import {
  bytesPerSample,
  depths,
  type Delivery,
  type Depth,
  type FrameRequest,
  type HostValue,
  type Picture,
  type Region,
  type Samples,
} from './protocol';

/** The numbers of pictures/picture.h. */
const sampleNumbers: Record<Samples, number> = { uint8: 0, uint16: 1, float: 3 };

/** A module's failure, in its own words. */
export class RenderFailure extends Error {}

export class Renderer {
  readonly #module: VeltraModule;
  readonly #pictures = new Map<string, Picture>();
  /** Worlds by picture, depth and resolution, the one used last at the end. */
  readonly #worlds = new Map<string, number>();
  static readonly #mostWorlds = 6;

  constructor(module: VeltraModule) {
    this.#module = module;
  }

  describe(): string {
    const text = this.#module._VeltraDescribe();
    if (text === 0) {
      throw this.#failure();
    }
    return this.#module.UTF8ToString(text);
  }

  addPicture(picture: Picture): void {
    this.#pictures.set(picture.id, picture);
  }

  forget(id: string): void {
    this.#pictures.delete(id);
    for (const [key, world] of this.#worlds) {
      if (key.startsWith(`${id}/`)) {
        this.#module._VeltraFreePicture(world);
        this.#worlds.delete(key);
      }
    }
  }

  render(request: FrameRequest, region: Region, delivery: Delivery): ArrayBuffer {
    const numbers = this.#numbersOf(request, region);
    const picture = this.#withMemory(numbers.byteLength, (address) => {
      this.#module.HEAP32.set(numbers, address >> 2);
      return this.#need(this.#module._VeltraRender(address, numbers.length));
    });
    try {
      return this.#deliver(picture, delivery);
    } finally {
      this.#module._VeltraFreePicture(picture);
    }
  }

  /** 8-bit RGBA rows of a picture that is drawn by code. */
  drawSample(layer: boolean, width: number, height: number): ArrayBuffer {
    const module = this.#module;
    const picture = this.#need(module._VeltraDrawSample(layer ? 1 : 0, width, height));
    try {
      return this.#deliver(picture, {
        kind: 'file',
        samples: 'uint8',
        alpha: true,
        premultiplied: false,
      });
    } finally {
      module._VeltraFreePicture(picture);
    }
  }

  #numbersOf(request: FrameRequest, region: Region): Int32Array {
    const { depth, downsample } = request;
    const layers = request.layers.flatMap((layer) => [
      layer.index,
      this.#world(layer.picture, depth, downsample),
    ]);
    const values = request.values.flatMap((value) => [value.index, ...this.#placeOf(value, request)]);
    return Int32Array.from([
      ...[request.width, request.height, depths.indexOf(depth), 0, downsample],
      ...[region.left, region.top, region.right, region.bottom],
      ...[1, 1, request.time, request.timeStep, request.totalTime, request.timeScale],
      this.#world(request.frame, depth, downsample),
      ...[request.layers.length, ...layers],
      ...[request.values.length, ...values],
    ]);
  }

  /** Points on an arc are found by the program's own routine, for the same bits. */
  #placeOf({ x, y, arc }: HostValue, { width, height }: FrameRequest): readonly number[] {
    return arc === undefined
      ? [x, y]
      : this.#withMemory(8, (address) => {
          this.#need(this.#module._VeltraOnGreatCircle(x, y, arc.x, arc.y, arc.share, width, height, address));
          return [...this.#module.HEAP32.subarray(address >> 2, (address >> 2) + 2)];
        });
  }

  /** The number of a picture's world; made when it is first asked for. */
  #world(id: string | null, depth: Depth, downsample: number): number {
    if (id === null) {
      return 0;
    }
    const key = `${id}/${depth}/${downsample}`;
    const known = this.#worlds.get(key);
    const world =
      known ??
      (downsample === 1
        ? this.#makeWorld(id, depth)
        : this.#need(
            this.#module._VeltraReducePicture(this.#world(id, depth, 1), downsample),
          ));
    this.#worlds.delete(key);
    this.#worlds.set(key, world);
    this.#dropOldest();
    return world;
  }

  #dropOldest(): void {
    for (const [key, world] of this.#worlds) {
      if (this.#worlds.size <= Renderer.#mostWorlds) {
        return;
      }
      this.#module._VeltraFreePicture(world);
      this.#worlds.delete(key);
    }
  }

  #makeWorld(id: string, depth: Depth): number {
    const picture = this.#pictures.get(id);
    if (picture === undefined) {
      throw new RenderFailure(`no picture ${id}`);
    }
    return this.#withMemory(picture.data.byteLength, (address) => {
      this.#module.HEAPU8.set(new Uint8Array(picture.data), address);
      return this.#need(
        this.#module._VeltraMakePicture(
          picture.width,
          picture.height,
          picture.channels,
          sampleNumbers[picture.samples],
          picture.premultiplied ? 1 : 0,
          depths.indexOf(depth),
          address,
        ),
      );
    });
  }

  #deliver(picture: number, delivery: Delivery): ArrayBuffer {
    const module = this.#module;
    const pixels = module._VeltraPictureWidth(picture) * module._VeltraPictureHeight(picture);
    const bytes =
      delivery.kind === 'screen'
        ? pixels * 4
        : pixels * (delivery.alpha ? 4 : 3) * bytesPerSample(delivery.samples);
    return this.#withMemory(bytes, (address) => {
      this.#need(
        delivery.kind === 'screen'
          ? module._VeltraShowPicture(picture, delivery.linear ? 1 : 0, delivery.gain, address)
          : module._VeltraPackPicture(
              picture,
              sampleNumbers[delivery.samples],
              delivery.alpha ? 1 : 0,
              delivery.premultiplied ? 1 : 0,
              address,
            ),
      );
      return module.HEAPU8.slice(address, address + bytes).buffer;
    });
  }

  #withMemory<T>(bytes: number, use: (address: number) => T): T {
    const address = this.#module._malloc(Math.max(1, bytes)) >>> 0;
    if (address === 0) {
      throw new RenderFailure('not enough memory');
    }
    try {
      return use(address);
    } finally {
      this.#module._free(address);
    }
  }

  #need(answer: number): number {
    if (answer === 0) {
      throw this.#failure();
    }
    return answer;
  }

  #failure(): RenderFailure {
    return new RenderFailure(this.#module.UTF8ToString(this.#module._VeltraError()));
  }
}
