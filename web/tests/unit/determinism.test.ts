// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
import { readFileSync } from 'node:fs';
import { createRequire } from 'node:module';
import { expect, test } from 'vitest';
import { modules } from './effect';

interface Options {
  print(line: string): void;
  quit(): void;
  wasmBinary: Uint8Array;
}
type Create = (options: Options) => Promise<{ callMain(words: string[]): void }>;

/** Lines of "hash name", remarks apart. */
export function table(text: string): string[] {
  return text.split('\n').filter((line) => line !== '' && !line.startsWith('#')).sort();
}

test('the fixed scenes have the hashes of every other system in node', async () => {
  const create = createRequire(import.meta.url)(new URL('scene_hashes.js', modules).pathname) as Create;
  const lines: string[] = [];
  const module = await create({
    print: (line) => lines.push(line),
    quit: () => undefined,
    wasmBinary: readFileSync(new URL('scene_hashes.wasm', modules)),
  });
  module.callMain(['--library=linked']);
  const expected = new URL('../../../tests/conformance/scene_hashes.txt', import.meta.url);
  expect(lines.sort()).toEqual(table(readFileSync(expected, 'utf8')));
});
