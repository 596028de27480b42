// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Keeps the picture on the screen up to date: quickly while something moves, fully at rest.
import type { App } from './app';
import { Superseded, type Engine } from './engine/engine';
import type { Depth, FrameRequest, Picture } from './engine/protocol';
import type { Library } from './pictures/library';
import { hostValues, type Scene } from './scene/scene';
import type { Stage } from './views/stage';
import { reasonOf } from './reason';

/** Milliseconds that a frame may take while something moves: 30 a second, with time to show it. */
const movingBudget = 26;
/** The screen shows no more than this, whatever the picture has. */
const mostScreenWidth = 4096;
/** Milliseconds after which what is held counts as resting. */
const restAfter = 220;
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
  readonly #fail: (reason: string) => void;
  /** Milliseconds for a million pixels, as the last frames took. */
  #cost = 40;
  #running = false;
  #wanted = false;
  /** Something is held but has not moved for a while. */
  #resting = false;
  #restTimer = 0;
  #interrupt: (() => void) | null = null;
  #shownKey = '';
  #playing = false;

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

  get playing(): boolean {
    return this.#playing;
  }
  set playing(on: boolean) {
    this.#playing = on;
    this.update();
  }

  /** The pictures of the scene; reads or draws what is not there yet. */
  async inputs(scene: Scene, frame: number): Promise<Inputs> {
    const layers = [];
    for (const [index, source] of Object.entries(scene.layers)) {
      if (source !== undefined) {
        layers.push({ index: Number(index), picture: await this.#library.get(source, frame) });
      }
    }
    return { frame: await this.#library.get(scene.frame, frame), layers };
  }

  /** Shows the present state as soon as can be; the newest call wins. */
  update(): void {
    this.#resting = false;
    this.#wish();
    clearTimeout(this.#restTimer);
    if (this.#app.dragging && !this.playing) {
      this.#restTimer = window.setTimeout(() => {
        this.#resting = true;
        this.#wish();
      }, restAfter);
    }
  }

  #wish(): void {
    this.#wanted = true;
    document.documentElement.dataset['state'] = 'busy';
    this.#interrupt?.();
    if (!this.#running) {
      void this.#run();
    }
  }

  get #moving(): boolean {
    return (this.#app.dragging || this.playing) && !this.#resting;
  }

  async #run(): Promise<void> {
    this.#running = true;
    let shown = true;
    while (this.#wanted) {
      this.#wanted = false;
      try {
        await this.#show();
        shown = true;
      } catch (error) {
        shown = false;
        if (!(error instanceof Superseded)) {
          this.#fail(reasonOf(error));
        }
      }
    }
    this.#running = false;
    const isDraft = shown && this.#library.draftOf(this.#app.scene.frame) !== undefined;
    if (!this.#moving && !isDraft) {
      document.documentElement.dataset['state'] = shown ? 'settled' : 'failed';
    }
  }

  async #show(): Promise<void> {
    const { scene, frame, look } = this.#app;
    const inputs = await this.#inputsNow(scene, frame);
    const moving = this.#moving;
    const full = downsamples.find((each) => inputs.frame.width / each <= mostScreenWidth) ?? 8;
    const downsample = moving ? Math.max(full, this.#quickDownsample(inputs.frame)) : full;
    const request = requestOf(this.#app, scene, inputs, frame, downsample);
    const delivery = { kind: 'screen', linear: inputs.frame.linear, gain: 2 ** look.exposure } as const;
    const key = JSON.stringify([request, delivery]);
    if (key === this.#shownKey) {
      return;
    }
    const begin = performance.now();
    const job = this.#engine.render(request, delivery, { replaceable: true, quick: moving });
    // What is on the move is always shown; at rest a newer wish need not wait for what is under way.
    const rendered = moving ? await job : await this.#unlessInterrupted(job);
    if (rendered !== null) {
      const took = performance.now() - begin;
      const megapixels = Math.max(0.02, (rendered.width * rendered.height) / 1e6);
      this.#cost += (took / megapixels - this.#cost) * 0.3;
      this.#shownKey = key;
      this.#stage.setPicture(rendered);
      document.documentElement.dataset['resolution'] = String(downsample);
      document.documentElement.dataset['renderMs'] = took.toFixed(1);
      this.#replaceDraft(scene, frame);
    }
  }

  async #unlessInterrupted<T>(job: Promise<T>): Promise<T | null> {
    job.catch(() => undefined);
    if (this.#wanted) {
      return null;
    }
    const interrupted = new Promise<null>((resolve) => {
      this.#interrupt = () => resolve(null);
    });
    try {
      return await Promise.race([job, interrupted]);
    } finally {
      this.#interrupt = null;
    }
  }

  /** For the screen a draft of the frame will do until it is drawn. */
  async #inputsNow(scene: Scene, frame: number): Promise<Inputs> {
    const draft = this.#library.draftOf(scene.frame);
    if (draft === undefined) {
      const inputs = await this.inputs(scene, frame);
      this.#noteSizes(inputs);
      return inputs;
    }
    return { ...(await this.inputs({ ...scene, frame: draft.source }, frame)), frame: draft.picture };
  }

  /** Not before the draft is on the screen: a single worker would be busy with the picture. */
  #replaceDraft(scene: Scene, frame: number): void {
    if (this.#library.draftOf(scene.frame) !== undefined) {
      this.#library.get(scene.frame, frame).then(
        () => this.update(),
        (error: unknown) => {
          document.documentElement.dataset['state'] = 'failed';
          this.#fail(reasonOf(error));
        },
      );
    }
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
    const sizes = {
      width,
      height,
      linear,
      layerAspect: layer === undefined ? 4 : layer.width / layer.height,
    };
    if (JSON.stringify(sizes) !== JSON.stringify(this.#app.sizes)) {
      this.#app.setSizes(sizes);
    }
  }
}
