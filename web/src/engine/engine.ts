// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// The render workers behind one door: a frame is cut into bands, the newest request wins.
import wasmUrl from '@wasm/veltra_web.wasm?url';
import {
  bytesPerSample,
  reducedLength,
  type Delivery,
  type FrameRequest,
  type FromWorker,
  type Picture,
  type Region,
  type ToWorker,
} from './protocol';

/** Somebody asked for something newer. */
export class Superseded extends Error {}

export interface RenderedFrame {
  readonly width: number;
  readonly height: number;
  readonly pixels: Uint8Array<ArrayBuffer>;
  /** Milliseconds of one worker's work in all. */
  readonly work: number;
}

interface Job {
  readonly number: number;
  readonly messages: ToWorker[];
  /** Bands that came back, out of all. */
  left: number;
  work: number;
  readonly rowBytes: number;
  readonly pixels: Uint8Array<ArrayBuffer>;
  readonly replaceable: boolean;
  readonly resolve: (work: number) => void;
  readonly reject: (error: Error) => void;
}

interface Helper {
  readonly worker: Worker;
  /** The jobs of the bands that it was given, which it works on in this order. */
  readonly given: Job[];
}

const mostWorkers = 4;
/** Small enough that a newer request need not wait long, large enough to be worth a message. */
const bandPixels = 400_000;
/** A worker has its next band at hand, so that it need not wait for a page that is drawing. */
const bandsAhead = 2;

export class Engine {
  readonly #helpers: Helper[] = [];
  readonly #pictures = new Set<string>();
  #jobs: Job[] = [];
  #lastJob = 0;
  #description = '';

  /** Loads the module and starts the workers; the first is ready when this returns. */
  static async start(): Promise<Engine> {
    const module = await WebAssembly.compileStreaming(fetch(wasmUrl));
    const engine = new Engine();
    const count = Math.min(mostWorkers, Math.max(1, navigator.hardwareConcurrency || 1));
    await Promise.any(Array.from({ length: count }, () => engine.#addHelper(module)));
    return engine;
  }

  /** The effect's identity and controls as JSON. */
  get description(): string {
    return this.#description;
  }

  get workers(): number {
    return this.#helpers.length;
  }

  /** Hands a picture to every worker, before anything that uses it. */
  addPicture(picture: Picture): void {
    if (!this.#pictures.has(picture.id)) {
      this.#pictures.add(picture.id);
      this.#tellAll({ type: 'picture', picture });
    }
  }

  forget(id: string): void {
    if (this.#pictures.delete(id)) {
      this.#tellAll({ type: 'forget', id });
    }
  }

  /**
   * Renders a whole frame. A replaceable one is given up when another replaceable one comes, and
   * rejects with Superseded.
   */
  async render(
    request: FrameRequest,
    delivery: Delivery,
    options: { readonly replaceable: boolean; readonly quick?: boolean },
  ): Promise<RenderedFrame> {
    if (options.replaceable) {
      this.#dropReplaceable();
    }
    const width = reducedLength(request.width, request.downsample);
    const height = reducedLength(request.height, request.downsample);
    const pixelBytes =
      delivery.kind === 'screen'
        ? 4
        : (delivery.alpha ? 4 : 3) * bytesPerSample(delivery.samples);
    const pixels = new Uint8Array(width * height * pixelBytes);
    const bands = this.#bandsOf(width, height, options.quick === true);
    const work = await this.#queue(
      bands.map((region) => ({ type: 'render', job: 0, request, region, delivery })),
      pixels,
      width * pixelBytes,
      options.replaceable,
    );
    return { width, height, pixels, work };
  }

  /** 8-bit RGBA pixels of one of the pictures that the effect's program draws to try things with. */
  async drawSample(layer: boolean, width: number, height: number): Promise<ArrayBuffer> {
    const pixels = new Uint8Array(width * height * 4);
    await this.#queue([{ type: 'sample', job: 0, layer, width, height }], pixels, width * 4, false);
    return pixels.buffer;
  }

  #bandsOf(width: number, height: number, quick: boolean): Region[] {
    const wanted = quick ? this.#helpers.length : Math.ceil((width * height) / bandPixels);
    const rows = Math.ceil(height / Math.max(1, wanted));
    const bands: Region[] = [];
    for (let top = 0; top < height; top += rows) {
      bands.push({ left: 0, top, right: width, bottom: Math.min(height, top + rows) });
    }
    return bands;
  }

  #queue(
    messages: ToWorker[],
    pixels: Uint8Array<ArrayBuffer>,
    rowBytes: number,
    replaceable: boolean,
  ): Promise<number> {
    return new Promise((resolve, reject) => {
      const number = ++this.#lastJob;
      const numbered = messages.map((message) => ({ ...message, job: number }) as ToWorker);
      const left = messages.length;
      this.#jobs.push(
        { number, messages: numbered, left, work: 0, rowBytes, pixels, replaceable, resolve, reject },
      );
      this.#dispatch();
    });
  }

  #dropReplaceable(): void {
    for (const job of this.#jobs.filter((each) => each.replaceable)) {
      this.#end(job);
      job.reject(new Superseded());
    }
  }

  #end(job: Job): void {
    this.#jobs = this.#jobs.filter((each) => each !== job);
  }

  #dispatch(): void {
    for (let given = 0; given < bandsAhead; ++given) {
      for (const helper of this.#helpers.filter((each) => each.given.length === given)) {
        // What the person at the screen waits for goes first.
        const waiting = this.#jobs.filter((job) => job.messages.length > 0);
        const job = waiting.find((each) => each.replaceable) ?? waiting[0];
        const message = job?.messages.shift();
        if (job === undefined || message === undefined) {
          return;
        }
        helper.given.push(job);
        helper.worker.postMessage(message);
      }
    }
  }

  #hear(helper: Helper, message: FromWorker): void {
    if (message.type === 'started' || (message.type === 'failed' && message.job === null)) {
      return;
    }
    const job = helper.given.shift();
    if (job !== undefined && this.#jobs.includes(job)) {
      if (message.type === 'failed') {
        this.#end(job);
        job.reject(new Error(message.reason));
      } else {
        this.#take(job, message);
      }
    }
    this.#dispatch();
  }

  #take(job: Job, message: Extract<FromWorker, { type: 'done' }>): void {
    job.pixels.set(new Uint8Array(message.pixels), message.region.top * job.rowBytes);
    job.work += message.took;
    if (--job.left === 0) {
      this.#end(job);
      job.resolve(job.work);
    }
  }

  #tellAll(message: ToWorker): void {
    for (const { worker } of this.#helpers) {
      worker.postMessage(message);
    }
  }

  /** A helper takes part from the moment it is started; messages before that wait in line. */
  #addHelper(module: WebAssembly.Module): Promise<void> {
    const worker = new Worker(new URL('./worker.ts', import.meta.url), { type: 'module' });
    const helper: Helper = { worker, given: [] };
    this.#helpers.push(helper);
    return new Promise((resolve, reject) => {
      worker.addEventListener('message', (event: MessageEvent<FromWorker>) => {
        const message = event.data;
        if (message.type === 'started') {
          this.#description = message.description;
          resolve();
        } else if (message.type === 'failed' && message.job === null) {
          reject(new Error(message.reason));
        }
        this.#hear(helper, message);
      });
      worker.addEventListener('error', (event) => {
        reject(new Error(event.message || 'a worker could not start'));
      });
      worker.postMessage({ type: 'start', module } satisfies ToWorker);
    });
  }
}
