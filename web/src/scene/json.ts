// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// What JSON holds, and how a scene file that is wrong is told.

export type Json = string | number | boolean | null | readonly Json[] | JsonObject;
export interface JsonObject {
  readonly [key: string]: Json;
}

/** What a scene file says wrong: the key and what would be right. */
export class SceneFailure extends Error {}

/** What people may write as a text or as a number; anything else is no value at all. */
export function textOf(json: Json | undefined): string {
  return typeof json === 'string' ? json : typeof json === 'number' ? String(json) : '';
}

export function objectAt(json: Json | undefined, where: string): JsonObject {
  if (typeof json !== 'object' || json === null || Array.isArray(json)) {
    throw new SceneFailure(`${where}: an object is expected`);
  }
  return json as JsonObject;
}

export function refuseOtherKeys(where: string, object: JsonObject, known: readonly string[]): void {
  const other = Object.keys(object).find((key) => !known.includes(key));
  if (other !== undefined) {
    throw new SceneFailure(`${where}.${other}: unknown key (expected ${known.join(', ')})`);
  }
}

export function parseJson(text: string): Json {
  try {
    return JSON.parse(text) as Json;
  } catch {
    throw new SceneFailure('not valid JSON');
  }
}
