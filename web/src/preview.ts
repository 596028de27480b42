// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Keeps the picture on the screen up to date: quickly while something moves, fully at rest.
import type { App } from './app';
import { Superseded, type Engine } from './engine/engine';
import type { Depth, FrameRequest, Picture } from './engine/protocol';
import type { Library } from './pictures/library';
import { hostValues, type Scene } from './scene/scene';
import type { Stage } from './views/stage';

/** Milliseconds that a frame may take while something moves: 30 a second, with time to show it. */
const movingBudget = 26;
/** The screen shows no more than this, whatever the picture has. */
const mostScreenWidth = 4096;
const downsamples: readonly number[] = [1, 2, 4, 8];

/** The depth that a picture asks for. */
export function depthOf(picture: Picture): Depth {
  return picture.samples === 'uint8' ? '8' : picture.samples === 'uint16' ? '16' : 'float';
}

export interface Inputs {
  readonly frame: Picture;
  readonly layers: readonly { readonly index: number; readonly picture: Picture }[];
}

/** A frame of a scene as the engine wants it. */
export function requestOf(
  app: App,
  scene: Scene,
  inputs: Inputs,
  frame: number,
  downsample: number,
): FrameRequest {
  const { width, height } = inputs.frame;
  const { rate } = scene;
  return {
    width,
    height,
    depth: scene.depth,
    downsample,
    frame: inputs.frame.id,
    layers: inputs.layers.map(({ index, picture }) => ({ index, picture: picture.id })),
    values: hostValues(scene, app.effect.controls, frame, width, height),
    time: (frame - scene.firstFrame) * rate.den,
    timeStep: rate.den,
    totalTime: (scene.lastFrame - scene.firstFrame + 1) * rate.den,
    timeScale: rate.num,
  };
}

export class Preview {
  readonly #app: App;
  readonly #engine: Engine;
  readonly #library: Library;
  readonly #stage: Stage;
  /** Milliseconds of one worker's work for a million pixels, as the last frames took. */
  #cost = 40;
  #rendering = false;
  #wanted = false;
  #settleTimer = 0;
  #shownKey = '';
  readonly #fail: (reason: string) => void;

  constructor(
    app: App,
    engine: Engine,
    library: Library,
    stage: Stage,
    fail: (reason: string) => void,
  ) {
    this.#app = app;
    this.#engine = engine;
    this.#library = library;
    this.#stage = stage;
    this.#fail = fail;
    app.subscribe(() => this.update());
  }

  /** Whether playing or dragging asks for speed. Set by the timeline. */
  playing = false;

  /** The pictures of the scene; reads or draws what is not there yet. */
  async inputs(scene: Scene): Promise<Inputs> {
    const frame = await this.#library.get(scene.frame);
    const layers = [];
    for (const [index, source] of Object.entries(scene.layers)) {
      if (source !== undefined) {
        layers.push({ index: Number(index), picture: await this.#library.get(source) });
      }
    }
    return { frame, layers };
  }

  /** Shows the present state as soon as can be; the newest call wins. */
  update(): void {
    this.#wanted = true;
    if (!this.#rendering) {
      void this.#run();
    }
  }

  get #moving(): boolean {
    return this.#app.dragging || this.playing;
  }

  async #run(): Promise<void> {
    this.#rendering = true;
    clearTimeout(this.#settleTimer);
    while (this.#wanted) {
      this.#wanted = false;
      try {
        await this.#show();
      } catch (error) {
        if (!(error instanceof Superseded)) {
          this.#fail(error instanceof Error ? error.message : String(error));
        }
      }
    }
    this.#rendering = false;
  }

  async #show(): Promise<void> {
    const { scene, frame, look } = this.#app;
    const inputs = await this.inputs(scene);
    this.#noteSizes(inputs);
    const moving = this.#moving;
    const full = this.#fullDownsample(inputs.frame.width);
    const downsample = moving ? Math.max(full, this.#quickDownsample(inputs.frame)) : full;
    const request = requestOf(this.#app, scene, inputs, frame, downsample);
    const linear = inputs.frame.linear;
    const gain = 2 ** look.exposure;
    const key = JSON.stringify([request, linear, gain]);
    if (key === this.#shownKey) {
      return;
    }
    const begin = performance.now();
    const job = this.#engine.render(
      request,
      { kind: 'screen', linear, gain },
      { replaceable: true, quick: moving },
    );
    // At rest a newer wish need not wait for the full resolution.
    const rendered = await (moving ? job : Promise.race([job, this.#newerWish()]));
    if (rendered === null) {
      job.catch(() => undefined);
      return;
    }
    const took = performance.now() - begin;
    const megapixels = (rendered.width * rendered.height) / 1e6;
    this.#cost += (took / Math.max(0.02, megapixels) - this.#cost) * 0.3;
    this.#shownKey = key;
    this.#stage.setPicture(rendered);
    document.documentElement.dataset['resolution'] = String(downsample);
    document.documentElement.dataset['renderMs'] = took.toFixed(1);
    if (moving && downsample > full) {
      this.#settleTimer = window.setTimeout(() => {
        if (!this.playing) {
          this.#settle();
        }
      }, 250);
    }
  }

  /** Something still held, but at rest: the full resolution after all. */
  #settle(): void {
    if (!this.#rendering && this.#app.dragging) {
      this.#rendering = true;
      void this.#showFull().finally(() => {
        this.#rendering = false;
        if (this.#wanted) {
          this.update();
        }
      });
    }
  }

  async #showFull(): Promise<void> {
    const { scene, frame, look } = this.#app;
    const inputs = await this.inputs(scene);
    const request = requestOf(this.#app, scene, inputs, frame, this.#fullDownsample(inputs.frame.width));
    const delivery = { kind: 'screen', linear: inputs.frame.linear, gain: 2 ** look.exposure } as const;
    const job = this.#engine.render(request, delivery, { replaceable: true });
    const rendered = await Promise.race([job, this.#newerWish()]);
    if (rendered === null) {
      job.catch(() => undefined);
    } else {
      this.#shownKey = JSON.stringify([request, delivery.linear, delivery.gain]);
      this.#stage.setPicture(rendered);
    }
  }

  /** Answers null when something newer is wanted, and never otherwise. */
  #newerWish(): Promise<null> {
    return new Promise((resolve) => {
      const look = (): void => {
        if (this.#wanted) {
          resolve(null);
        } else if (this.#rendering) {
          setTimeout(look, 4);
        }
      };
      look();
    });
  }

  #fullDownsample(width: number): number {
    return downsamples.find((each) => width / each <= mostScreenWidth) ?? 8;
  }

  #quickDownsample(frame: Picture): number {
    const megapixels = (frame.width * frame.height) / 1e6;
    return (
      downsamples.find((each) => (this.#cost * megapixels) / (each * each) <= movingBudget) ?? 8
    );
  }

  #noteSizes(inputs: Inputs): void {
    const { width, height, linear } = inputs.frame;
    const layer = inputs.layers[0]?.picture;
    const layerAspect = layer === undefined ? 4 : layer.width / layer.height;
    const depth = depthOf(inputs.frame);
    const now = this.#app.sizes;
    if (
      now.width !== width || now.height !== height || now.linear !== linear ||
      now.layerAspect !== layerAspect || now.depth !== depth
    ) {
      this.#app.setSizes({ width, height, linear, layerAspect, depth });
    }
  }
}
