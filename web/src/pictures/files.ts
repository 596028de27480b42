// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// The page's side of the file worker.
import { PictureFailure } from './formats';
import type { FileAnswer, FileJob, PictureData } from './worker';

type Unnumbered<Job> = Job extends unknown ? Omit<Job, 'job'> : never;

interface Waiting {
  readonly resolve: (answer: FileAnswer) => void;
  readonly reject: (error: Error) => void;
}

export class FileWorker {
  readonly #worker = new Worker(new URL('./worker.ts', import.meta.url), { type: 'module' });
  readonly #waiting = new Map<number, Waiting>();
  #lastJob = 0;

  constructor() {
    this.#worker.addEventListener('message', (event: MessageEvent<FileAnswer>) => {
      const waiting = this.#waiting.get(event.data.job);
      this.#waiting.delete(event.data.job);
      waiting?.resolve(event.data);
    });
    this.#worker.addEventListener('error', (event) => {
      for (const { reject } of this.#waiting.values()) {
        reject(new Error(event.message || 'the file worker stopped'));
      }
      this.#waiting.clear();
    });
  }

  async read(file: Blob): Promise<PictureData> {
    const answer = await this.#ask({ type: 'read', file });
    if (!('picture' in answer)) {
      throw new PictureFailure('the file worker gave no picture');
    }
    return answer.picture;
  }

  async write(job: Exclude<Unnumbered<FileJob>, { type: 'read' }>): Promise<ArrayBuffer> {
    const answer = await this.#ask(job, [job.data]);
    if (!('bytes' in answer)) {
      throw new PictureFailure('the file worker gave no file');
    }
    return answer.bytes;
  }

  async #ask(job: Unnumbered<FileJob>, transfer: Transferable[] = []): Promise<FileAnswer> {
    const number = ++this.#lastJob;
    const answer = await new Promise<FileAnswer>((resolve, reject) => {
      this.#waiting.set(number, { resolve, reject });
      this.#worker.postMessage({ ...job, job: number }, transfer);
    });
    if ('reason' in answer) {
      throw new PictureFailure(answer.reason);
    }
    return answer;
  }
}
