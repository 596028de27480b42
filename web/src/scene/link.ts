// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// All settings as the part of an address after the #, which no server ever sees.
import { deflateSync, inflateSync, strFromU8, strToU8 } from 'fflate';
import type { Control } from './controls';
import type { Scene, Source } from './scene';
import { SceneFailure } from './json';
import { sceneText } from './scene_file';
import { readScene } from './scene_reader';

interface Linked {
  /** The scene as a file has it. */
  readonly s: string;
  readonly f: Source;
  readonly l: Readonly<Record<string, Source | undefined>>;
  readonly r: readonly [number, number, number, number];
  /** What a scene file left open: frames named, rate open, depth open. Absent for a scene made here. */
  readonly k?: readonly [boolean, boolean, boolean];
}

const mostLinked = 100_000;

function toBase64Url(bytes: Uint8Array): string {
  const text = Array.from(bytes, (byte) => String.fromCharCode(byte)).join('');
  return btoa(text).replaceAll('+', '-').replaceAll('/', '_').replace(/=+$/, '');
}

function fromBase64Url(text: string): Uint8Array {
  const plain = atob(text.replaceAll('-', '+').replaceAll('_', '/'));
  return Uint8Array.from(plain, (letter) => letter.charCodeAt(0));
}

/** Pictures of one's own stay on the machine: only their names go along. */
export function linkOf(scene: Scene, controls: readonly Control[]): string {
  const names = { frame: 'frame', layers: {} };
  const { kept } = scene;
  const linked: Linked = {
    s: sceneText(scene, controls, names),
    f: scene.frame,
    l: scene.layers,
    r: [scene.firstFrame, scene.lastFrame, scene.rate.num, scene.rate.den],
    ...(kept && { k: [kept.frames, kept.openRate, kept.openDepth] }),
  };
  return `#scene=${toBase64Url(deflateSync(strToU8(JSON.stringify(linked)), { level: 9 }))}`;
}

function isText(value: unknown): value is string {
  return typeof value === 'string' && value.length < 1000;
}

/** A source from outside is believed only as far as it has the right shape. */
function sourceFrom(json: unknown): Source | null {
  const source = json as { [key: string]: unknown } | null;
  if (source?.['kind'] === 'example' && isText(source['example'])) {
    return { kind: 'example', example: source['example'] };
  }
  const text = source?.['text'] as { [key: string]: unknown } | undefined;
  if (source?.['kind'] === 'text' && isText(text?.['text']) && isText(text['font']) && isText(text['colour'])) {
    return {
      kind: 'text',
      text: {
        text: text['text'],
        font: text['font'],
        colour: text['colour'],
        panel: isText(text['panel']) ? text['panel'] : null,
        bold: text['bold'] === true,
      },
    };
  }
  return null;
}

export interface FromLink {
  readonly scene: Scene;
  /** Names of pictures that were somebody's own and have to be chosen again. */
  readonly missing: readonly string[];
}

/** Null when the address holds no scene. Throws SceneFailure for one that is damaged. */
export function sceneFromLink(hash: string, before: Scene, controls: readonly Control[]): FromLink | null {
  const match = /^#scene=([A-Za-z0-9_-]+)$/.exec(hash);
  if (match === null) {
    return null;
  }
  let linked: Linked;
  try {
    const bytes = inflateSync(fromBase64Url(match[1] ?? ''), { out: new Uint8Array(mostLinked) });
    linked = JSON.parse(strFromU8(bytes)) as Linked;
  } catch {
    throw new SceneFailure('the link is not whole (was all of it copied?)');
  }
  const { scene } = readScene(linked.s, before, controls);
  const { kept: read, ...plain } = scene;
  const missing: string[] = [];
  const source = (json: unknown): Source | null => {
    const found = sourceFrom(json);
    const name = (json as { name?: unknown } | null)?.name;
    if (found === null && isText(name)) {
      missing.push(name);
    }
    return found;
  };
  const layers = Object.fromEntries(
    Object.entries(linked.l).map(([index, json]) => [Number(index), source(json) ?? undefined]),
  );
  const [firstFrame, lastFrame, num, den] = linked.r.map(Number);
  const frames =
    firstFrame !== undefined && lastFrame !== undefined && lastFrame >= firstFrame && num && den
      ? { firstFrame, lastFrame, rate: { num, den } }
      : {};
  const [named = false, openRate = false, openDepth = false] = linked.k ?? [];
  const kept = linked.k && {
    kept: { settings: read?.settings ?? {}, layers: {}, frames: named, openRate, openDepth },
  };
  return { scene: { ...plain, ...kept, ...frames, frame: source(linked.f) ?? before.frame, layers }, missing };
}
