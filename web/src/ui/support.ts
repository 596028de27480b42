// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// What a browser must have to run the effect at all.

/** The smallest module that uses SIMD: a function that gives a vector of zeros. */
const simdModule = [
  0, 97, 115, 109, 1, 0, 0, 0, 1, 5, 1, 96, 0, 1, 123, 3, 2, 1, 0, 10, 10, 1, 8, 0, 65, 0, 253, 15,
  253, 98, 11,
];
/** The smallest module with an exception handler: a try block with catch_all. */
const exceptionsModule = [
  0, 97, 115, 109, 1, 0, 0, 0, 1, 4, 1, 96, 0, 0, 3, 2, 1, 0, 10, 8, 1, 6, 0, 6, 64, 25, 11, 11,
];

function understands(module: readonly number[]): boolean {
  return WebAssembly.validate(Uint8Array.from(module));
}

/** One line for people, or null when the effect can run. */
export function withoutEffect(): string | null {
  if (typeof WebAssembly !== 'object') {
    return 'This browser does not run WebAssembly, which the effect is compiled to. A current Firefox, Chrome, Edge or Safari does.';
  }
  if (!understands(simdModule)) {
    return 'This browser runs WebAssembly without SIMD, which the effect needs. A current Firefox, Chrome, Edge or Safari has it.';
  }
  if (!understands(exceptionsModule)) {
    return 'This browser runs WebAssembly without exceptions, which the effect needs. A current Firefox, Chrome, Edge or Safari has them.';
  }
  return null;
}
