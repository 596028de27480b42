// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// The effect of the page in node: its module as the build left it.
import { readFileSync } from 'node:fs';
import { createRequire } from 'node:module';
import type { VeltraModule, VeltraOptions } from '@wasm/veltra_web.js';
import { Renderer } from '../../src/engine/renderer';
import { parseDescription, type EffectDescription } from '../../src/scene/controls';

export const modules = new URL('../../../build/wasm/bin/', import.meta.url);
const require = createRequire(import.meta.url);

export async function loadModule(): Promise<VeltraModule> {
  const create = require(new URL('veltra_web.js', modules).pathname) as (
    options: VeltraOptions,
  ) => Promise<VeltraModule>;
  return create({ wasmBinary: readFileSync(new URL('veltra_web.wasm', modules)) });
}

export async function loadEffect(): Promise<{ renderer: Renderer; effect: EffectDescription }> {
  const renderer = new Renderer(await loadModule());
  return { renderer, effect: parseDescription(renderer.describe()) };
}
