// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// The scene.json that `veltra render` takes, read; what the page does not edit is kept.
import { depths, type Depth } from '../engine/protocol';
import { fixedOne, hasValue, parseDecimal, slug, toFixed16, type Control, type PopupControl, type Value, type ValueControl } from './controls';
import { objectAt, parseJson, refuseOtherKeys, SceneFailure, textOf, type Json, type JsonObject } from './json';
import { readPoint } from './point';
import { constant, interpolations, paths, type Kept, type Key, type Named, type Rate, type Scene, type Source, type Track } from './scene';
import { outputName } from './scene_file';

function choiceValue(control: PopupControl, json: Json, where: string): number {
  const index = control.choices.findIndex((choice) => slug(choice) === slug(textOf(json)));
  const number = index >= 0 ? index + 1 : Number(textOf(json));
  if (!Number.isInteger(number) || number < 1 || number > control.choices.length) {
    throw new SceneFailure(`${where}: '${textOf(json)}' is not one of ${control.choices.map(slug).join(', ')}`);
  }
  return number;
}

function switchValue(json: Json, where: string): number {
  const text = typeof json === 'boolean' ? String(json) : textOf(json);
  if (!/^(on|true|yes|1|off|false|no|0)$/.test(text)) {
    throw new SceneFailure(`${where}: true or false is expected`);
  }
  return /^(on|true|yes|1)$/.test(text) ? 1 : 0;
}

function readValue(control: ValueControl, json: Json, where: string): Value {
  switch (control.kind) {
    case 'point':
      return readPoint(json, where);
    case 'slider': {
      const number = typeof json === 'number' ? json : (parseDecimal(textOf(json)) ?? NaN);
      const fixed = Number.isFinite(number) ? toFixed16(number) : NaN;
      if (!(fixed >= control.validMin && fixed <= control.validMax)) {
        const limits = `${control.validMin / fixedOne} to ${control.validMax / fixedOne}`;
        throw new SceneFailure(`${where}: '${textOf(json)}' is outside ${limits}`);
      }
      return { x: fixed, y: 0 };
    }
    case 'checkbox':
      return { x: switchValue(json, where), y: 0 };
    case 'popup':
      return { x: choiceValue(control, json, where), y: 0 };
  }
}

/** One of a few words; the first of them where there is none. */
function wordOf<Word extends string>(words: readonly Word[], json: Json | undefined, where: string): Word | undefined {
  const word = words.find((each) => each === json);
  if (word === undefined && json !== undefined) {
    throw new SceneFailure(`${where}: expected ${words.join(', ')}`);
  }
  return word;
}

function readKey(control: ValueControl, json: Json, where: string): Key {
  const key = objectAt(json, where);
  refuseOtherKeys(where, key, ['frame', 'value', 'interpolation', 'path']);
  const frame = key['frame'];
  if (typeof frame !== 'number' || !Number.isInteger(frame) || frame < 0) {
    throw new SceneFailure(`${where}.frame: a whole number is expected`);
  }
  const interpolation = wordOf(interpolations, key['interpolation'], `${where}.interpolation`) ?? 'linear';
  const path = wordOf(paths, key['path'], `${where}.path`);
  if (path !== undefined && control.kind !== 'point') {
    throw new SceneFailure(`${where}.path: only points have one`);
  }
  const value = readValue(control, key['value'] ?? null, `${where}.value`);
  return { frame, value, interpolation, ...(path && { path }) };
}

function readTrack(control: ValueControl, json: Json, where: string): Track {
  if (typeof json !== 'object' || json === null || Array.isArray(json)) {
    return constant(readValue(control, json, where));
  }
  const object = objectAt(json, where);
  refuseOtherKeys(where, object, ['keys']);
  const list = object['keys'];
  if (!Array.isArray(list)) {
    throw new SceneFailure(`${where}: a value or an object with "keys" is expected`);
  }
  const keys = (list as Json[]).map((key, i) => readKey(control, key, `${where}.keys[${i}]`));
  keys.forEach((key, i) => {
    if (i > 0 && key.frame <= (keys[i - 1]?.frame ?? -1)) {
      throw new SceneFailure(`${where}.keys[${i}].frame: must be later than the one before`);
    }
  });
  const [first, ...rest] = keys;
  if (first === undefined) {
    throw new SceneFailure(`${where}.keys: at least one keyframe is expected`);
  }
  return { animated: true, keys: [first, ...rest] };
}

function readFrames(json: Json | undefined): { firstFrame: number; lastFrame: number } | null {
  if (json === undefined) {
    return null;
  }
  const match = /^(\d+)(?:-(\d+))?$/.exec(textOf(json));
  const first = Number(match?.[1]);
  const last = Number(match?.[2] ?? match?.[1]);
  if (match === null || last < first) {
    throw new SceneFailure('frames: a range is expected, such as 1-240');
  }
  return { firstFrame: first, lastFrame: last };
}

function greatestCommon(a: number, b: number): number {
  return b === 0 ? a : greatestCommon(b, a % b);
}

function readRate(json: Json | undefined): Rate | null {
  if (json === undefined) {
    return null;
  }
  const match = /^(\d+)(?:\/(\d+))?$/.exec(textOf(json));
  const rate = { num: Number(match?.[1]), den: Number(match?.[2] ?? 1) };
  if (match !== null && rate.num > 0 && rate.den > 0) {
    return rate;
  }
  // In millionths, as the program takes it.
  const millionths = Math.round((parseDecimal(textOf(json)) ?? 0) * 1_000_000);
  if (!(millionths > 0 && millionths <= 1_000_000_000)) {
    throw new SceneFailure('rate: frames per second are expected, such as 24 or 30000/1001');
  }
  const common = greatestCommon(millionths, 1_000_000);
  return { num: millionths / common, den: 1_000_000 / common };
}

/** A word of a control's name that no other control has. */
function shortName(controls: readonly Control[], name: string): Control | undefined {
  const matches = controls.filter((control) => slug(control.name).split('-').includes(name));
  return matches.length === 1 ? matches[0] : undefined;
}

interface ReadControls {
  readonly tracks: Readonly<Record<number, Track | undefined>>;
  readonly layers: Readonly<Record<number, string | undefined>>;
}

function layerName(json: Json, where: string): string | undefined {
  if (typeof json !== 'string') {
    throw new SceneFailure(`${where}: a file name or "none" is expected`);
  }
  return json === 'none' ? undefined : json;
}

function readControls(json: JsonObject, controls: readonly Control[]): ReadControls {
  const tracks: Record<number, Track> = {};
  const layers: Record<number, string | undefined> = {};
  const seen = new Map<Control, string>();
  for (const [name, value] of Object.entries(json)) {
    const control = controls.find((each) => slug(each.name) === name) ?? shortName(controls, name);
    if (control === undefined) {
      throw new SceneFailure(`controls.${name}: there is no such control`);
    }
    const before = seen.get(control);
    if (before !== undefined) {
      throw new SceneFailure(`controls.${name}: is set already, as ${before}`);
    }
    seen.set(control, name);
    if (control.kind === 'layer') {
      layers[control.index] = layerName(value, `controls.${name}`);
    } else if (hasValue(control)) {
      tracks[control.index] = readTrack(control, value, `controls.${name}`);
    }
  }
  return { tracks, layers };
}

/** Keys that the page edits; all others are settings that it keeps. */
const ownKeys = ['version', 'frame', 'frames', 'rate', 'depth', 'controls'];

function keptSettings(json: JsonObject, scene: Scene): JsonObject {
  // What the page itself would write is not somebody's choice.
  const usual: JsonObject = { output: outputName(scene), 'output-depth': scene.depth };
  return Object.fromEntries(
    Object.entries(json).filter(([key, value]) => !ownKeys.includes(key) && usual[key] !== value),
  );
}

/** Shown as a layer that is not chosen yet. */
const standIn: Source = { kind: 'example', example: 'title' };

function layerNames(read: ReadControls, before: Scene): Record<number, Named | undefined> {
  return Object.fromEntries(
    Object.entries(read.layers).map(([index, name]) => [
      index,
      name === undefined ? undefined : { name, standIn: before.layers[Number(index)] ?? standIn },
    ]),
  );
}

export interface ReadScene {
  /** The scene before, with what the file says put in its place. */
  readonly scene: Scene;
  /** The files that it names; the page asks for those that are not open. */
  readonly named: readonly string[];
}

/** Pictures that the file names are stood in for by those of the scene before. */
export function readScene(text: string, before: Scene, controls: readonly Control[]): ReadScene {
  const json = objectAt(parseJson(text), 'scene');
  if (json['version'] !== 1) {
    throw new SceneFailure('version: 1 is expected');
  }
  if (json['layers'] !== undefined) {
    throw new SceneFailure('layers: this page edits one layer; veltra render takes several');
  }
  const read = readControls(objectAt(json['controls'] ?? {}, 'controls'), controls);
  const depth = json['depth'] === undefined ? before.depth : depths.find((each) => each === textOf(json['depth']));
  if (depth === undefined) {
    throw new SceneFailure('depth: 8, 16 or float is expected');
  }
  const frame = textOf(json['frame']);
  const named = layerNames(read, before);
  const scene: Scene = {
    frame: before.frame,
    layers: Object.fromEntries(Object.entries(named).map(([index, each]) => [index, each?.standIn])),
    tracks: read.tracks,
    firstFrame: before.firstFrame,
    lastFrame: before.lastFrame,
    ...(readFrames(json['frames']) ?? {}),
    rate: readRate(json['rate']) ?? before.rate,
    depth: depth satisfies Depth,
  };
  const kept: Kept = {
    settings: keptSettings(json, scene),
    frame: { name: frame, standIn: before.frame },
    layers: named,
    frames: json['frames'] !== undefined,
    openRate: json['rate'] === undefined,
    openDepth: json['depth'] === undefined,
  };
  const names = [frame, ...Object.values(read.layers)];
  return {
    scene: { ...scene, kept },
    named: names.filter((name): name is string => name !== undefined && name !== ''),
  };
}
