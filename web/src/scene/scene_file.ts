// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// The scene.json that `veltra render` takes, out and in.
import { depths, type Depth } from '../engine/protocol';
import {
  fixedOne,
  fixedText,
  hasValue,
  percentOfPixels,
  slug,
  toFixed16,
  type Control,
  type PopupControl,
  type Value,
  type ValueControl,
} from './controls';
import { constant, interpolations, isAnimated, trackOf, type Key, type Rate, type Scene, type Track } from './scene';

/** What a scene file says wrong: the key and what would be right. */
export class SceneFailure extends Error {}

type Json = string | number | boolean | null | readonly Json[] | { readonly [key: string]: Json };

/** The names of the pictures in the file. */
export interface SceneNames {
  readonly frame: string;
  readonly layers: Readonly<Record<number, string | undefined>>;
}

function choiceName(control: PopupControl, value: number): string {
  return slug(control.choices[value - 1] ?? String(value));
}

function valueJson(control: ValueControl, value: Value): Json {
  switch (control.kind) {
    case 'point':
      return [`${fixedText(value.x)}%`, `${fixedText(value.y)}%`];
    case 'slider':
      return Number(fixedText(value.x));
    case 'checkbox':
      return value.x !== 0;
    case 'popup':
      return choiceName(control, value.x);
  }
}

function trackJson(control: ValueControl, track: Track): Json {
  if (!track.animated) {
    return valueJson(control, track.keys[0].value);
  }
  return {
    keys: track.keys.map((key, index) => ({
      frame: key.frame,
      value: valueJson(control, key.value),
      ...(index + 1 < track.keys.length ? { interpolation: key.interpolation } : {}),
    })),
  };
}

export function rateText(rate: Rate): string {
  return rate.den === 1 ? String(rate.num) : `${rate.num}/${rate.den}`;
}

/** Where the program writes: a sequence when something moves. */
export function outputName(scene: Scene): string {
  const ending = scene.depth === 'float' ? 'exr' : 'png';
  return isAnimated(scene) ? `out.####.${ending}` : `out.${ending}`;
}

export function sceneObject(scene: Scene, controls: readonly Control[], names: SceneNames): Json {
  const settings: Record<string, Json> = {};
  for (const control of controls) {
    if (control.kind === 'layer') {
      settings[slug(control.name)] = names.layers[control.index] ?? 'none';
    } else if (hasValue(control)) {
      settings[slug(control.name)] = trackJson(control, trackOf(scene, control));
    }
  }
  const animated = isAnimated(scene);
  return {
    version: 1,
    frame: names.frame,
    output: outputName(scene),
    ...(animated ? { frames: `${scene.firstFrame}-${scene.lastFrame}`, rate: rateText(scene.rate) } : {}),
    depth: scene.depth,
    ...(scene.depth === 'float' ? { 'output-depth': 'float' } : {}),
    controls: settings,
  };
}

/** Objects of one level a line; keyframes stay on one line each. */
export function sceneText(scene: Scene, controls: readonly Control[], names: SceneNames): string {
  const text = JSON.stringify(sceneObject(scene, controls, names), null, 2);
  const onOneLine = (match: string): string => match.replace(/\s*\n\s*/g, ' ').replace(/([[{]) | ([\]}])/g, '$1$2');
  return `${text
    .replace(/\[\s*"[^"\]]*%",\s*"[^"\]]*%"\s*\]/g, onOneLine)
    .replace(/\{\s*"frame": \d+,[^{}]*\}/g, onOneLine)}\n`;
}

// ---- Reading ----

/** What people may write as a text or as a number; anything else is no value at all. */
function textOf(json: Json | undefined): string {
  return typeof json === 'string' ? json : typeof json === 'number' ? String(json) : '';
}

function objectAt(json: Json | undefined, where: string): Readonly<Record<string, Json>> {
  if (typeof json !== 'object' || json === null || Array.isArray(json)) {
    throw new SceneFailure(`${where}: an object is expected`);
  }
  return json as Readonly<Record<string, Json>>;
}

function coordinate(json: Json | undefined, side: number, where: string): number {
  const text = typeof json === 'number' ? String(json) : typeof json === 'string' ? json.trim() : '';
  const match = /^([+-]?\d*\.?\d+(?:e[+-]?\d+)?)(%?)$/i.exec(text);
  if (match === null) {
    throw new SceneFailure(`${where}: a coordinate is expected, such as "54%" or 512`);
  }
  const value = Number(match[1]);
  return match[2] === '%' ? toFixed16(value) : percentOfPixels(value, side);
}

function pointValue(json: Json, size: Size, where: string): Value {
  const parts = typeof json === 'string' ? json.split(',') : Array.isArray(json) ? (json as Json[]) : [];
  if (parts.length !== 2) {
    throw new SceneFailure(`${where}: a point is expected, such as ["54%", "17%"]`);
  }
  return {
    x: coordinate(parts[0], size.width, where),
    y: coordinate(parts[1], size.height, where),
  };
}

function choiceValue(control: PopupControl, json: Json, where: string): number {
  const index = control.choices.findIndex((choice) => slug(choice) === slug(textOf(json)));
  const number = index >= 0 ? index + 1 : Number(textOf(json));
  if (!Number.isInteger(number) || number < 1 || number > control.choices.length) {
    throw new SceneFailure(`${where}: '${textOf(json)}' is not one of ${control.choices.map(slug).join(', ')}`);
  }
  return number;
}

interface Size {
  readonly width: number;
  readonly height: number;
}

function readValue(control: ValueControl, json: Json, size: Size, where: string): Value {
  switch (control.kind) {
    case 'point':
      return pointValue(json, size, where);
    case 'slider': {
      const number = typeof json === 'number' ? json : typeof json === 'string' && json !== '' ? Number(json) : NaN;
      const fixed = Number.isFinite(number) ? toFixed16(number) : NaN;
      if (!(fixed >= control.validMin && fixed <= control.validMax)) {
        const limits = `${control.validMin / fixedOne} to ${control.validMax / fixedOne}`;
        throw new SceneFailure(`${where}: '${JSON.stringify(json)}' is outside ${limits}`);
      }
      return { x: fixed, y: 0 };
    }
    case 'checkbox':
      if (typeof json !== 'boolean') {
        throw new SceneFailure(`${where}: true or false is expected`);
      }
      return { x: json ? 1 : 0, y: 0 };
    case 'popup':
      return { x: choiceValue(control, json, where), y: 0 };
  }
}

function readKey(control: ValueControl, json: Json, size: Size, where: string): Key {
  const key = objectAt(json, where);
  const frame = key['frame'];
  if (typeof frame !== 'number' || !Number.isInteger(frame) || frame < 0) {
    throw new SceneFailure(`${where}.frame: a whole number is expected`);
  }
  const name = key['interpolation'] ?? 'linear';
  const interpolation = interpolations.find((each) => each === name);
  if (interpolation === undefined) {
    throw new SceneFailure(`${where}.interpolation: expected ${interpolations.join(', ')}`);
  }
  const value = readValue(control, key['value'] ?? null, size, `${where}.value`);
  return { frame, value, interpolation };
}

function readTrack(control: ValueControl, json: Json, size: Size, where: string): Track {
  if (typeof json !== 'object' || json === null || Array.isArray(json)) {
    return constant(readValue(control, json, size, where));
  }
  const list = objectAt(json, where)['keys'];
  if (!Array.isArray(list)) {
    throw new SceneFailure(`${where}: a value or an object with "keys" is expected`);
  }
  const keys = (list as Json[]).map((key, i) => readKey(control, key, size, `${where}.keys[${i}]`));
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

function readRate(json: Json | undefined): Rate | null {
  if (json === undefined) {
    return null;
  }
  const match = /^(\d+)(?:\/(\d+))?$/.exec(textOf(json));
  const rate = { num: Number(match?.[1]), den: Number(match?.[2] ?? 1) };
  if (match !== null && rate.num > 0 && rate.den > 0) {
    return rate;
  }
  const decimal = Number(textOf(json));
  if (!(decimal > 0 && decimal < 1000)) {
    throw new SceneFailure('rate: frames per second are expected, such as 24 or 30000/1001');
  }
  return { num: Math.round(decimal * 1000), den: 1000 };
}

export interface ReadScene {
  /** The scene before, with what the file says put in its place. */
  readonly scene: Scene;
  /** The pictures' names in the file; the page asks for those that are not open. */
  readonly names: SceneNames;
  /** Keys that the page does not use and leaves to the program. */
  readonly unused: readonly string[];
}

const knownKeys = ['version', 'frame', 'output', 'frames', 'rate', 'depth', 'controls', 'output-depth'];

function parse(text: string): Json {
  try {
    return JSON.parse(text) as Json;
  } catch {
    throw new SceneFailure('not valid JSON');
  }
}

function readControls(
  json: Readonly<Record<string, Json>>,
  controls: readonly Control[],
  size: Size,
): { tracks: Record<number, Track>; layers: Record<number, string> } {
  const tracks: Record<number, Track> = {};
  const layers: Record<number, string> = {};
  for (const [name, value] of Object.entries(json)) {
    const control = controls.find((each) => slug(each.name) === name) ?? shortName(controls, name);
    if (control === undefined) {
      throw new SceneFailure(`controls.${name}: there is no such control`);
    }
    if (control.kind === 'layer') {
      if (typeof value === 'string' && value !== 'none') {
        layers[control.index] = value;
      }
    } else if (hasValue(control)) {
      tracks[control.index] = readTrack(control, value, size, `controls.${name}`);
    }
  }
  return { tracks, layers };
}

/** A word of a control's name that no other control has. */
function shortName(controls: readonly Control[], name: string): Control | undefined {
  const matches = controls.filter((control) => slug(control.name).split('-').includes(name));
  return matches.length === 1 ? matches[0] : undefined;
}

/** Points in pixels are those of a frame of this size. */
export function readScene(
  text: string,
  before: Scene,
  controls: readonly Control[],
  size: Size,
): ReadScene {
  const json = objectAt(parse(text), 'scene');
  if (json['version'] !== 1) {
    throw new SceneFailure('version: 1 is expected');
  }
  const { tracks, layers } = readControls(objectAt(json['controls'] ?? {}, 'controls'), controls, size);
  const depth = json['depth'] === undefined ? before.depth : depths.find((each) => each === textOf(json['depth']));
  if (depth === undefined) {
    throw new SceneFailure('depth: 8, 16 or float is expected');
  }
  const scene: Scene = {
    ...before,
    ...(readFrames(json['frames']) ?? {}),
    rate: readRate(json['rate']) ?? before.rate,
    depth: depth satisfies Depth,
    tracks,
  };
  const frame = json['frame'];
  return {
    scene,
    names: { frame: typeof frame === 'string' ? frame : '', layers },
    unused: Object.keys(json).filter((key) => !knownKeys.includes(key)),
  };
}
