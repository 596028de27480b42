// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// A render worker: one instance of the module, fed by the page.
import createVeltra, { type VeltraModule } from '@wasm/veltra_web.js';
import type { FromWorker, ToWorker } from './protocol';
import { Renderer } from './renderer';
import { reasonOf } from '../reason';

declare const self: DedicatedWorkerGlobalScope;

let renderer: Renderer | undefined;

function say(message: FromWorker, transfer: Transferable[] = []): void {
  self.postMessage(message, transfer);
}

function instantiate(module: WebAssembly.Module): Promise<VeltraModule> {
  return createVeltra({
    instantiateWasm(imports, receive) {
      void WebAssembly.instantiate(module, imports).then(receive);
      return {};
    },
  });
}

function started(): Renderer {
  if (renderer === undefined) {
    throw new Error('the effect is not ready');
  }
  return renderer;
}

async function act(message: ToWorker): Promise<void> {
  switch (message.type) {
    case 'start':
      renderer = new Renderer(await instantiate(message.module));
      say({ type: 'started', description: renderer.describe() });
      break;
    case 'picture':
      started().addPicture(message.picture);
      break;
    case 'forget':
      started().forget(message.id);
      break;
    case 'render': {
      const begin = performance.now();
      const pixels = started().render(message.request, message.region, message.delivery);
      const { job, region } = message;
      say({ type: 'done', job, region, pixels, took: performance.now() - begin }, [pixels]);
      break;
    }
    case 'sample': {
      const { job, width, height } = message;
      const pixels = started().drawSample(message.layer, width, height);
      const region = { left: 0, top: 0, right: width, bottom: height };
      say({ type: 'done', job, region, pixels, took: 0 }, [pixels]);
      break;
    }
  }
}

/** One after the other, so that nothing overtakes the start. */
let line: Promise<void> = Promise.resolve();

self.addEventListener('message', (event: MessageEvent<ToWorker>) => {
  const message = event.data;
  line = line
    .then(() => act(message))
    .catch((error: unknown) => {
      const job = 'job' in message ? message.job : null;
      say({ type: 'failed', job, reason: reasonOf(error) });
    });
});
