// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// A scene as the page holds it: pictures, values over time, frames. Never changed, only replaced.
import type { Depth, HostValue } from '../engine/protocol';
import { circleThrough, directionOf, placeOf, pointAt } from '../sphere/geometry';
import {
  defaultValue,
  fixedOne,
  hasValue,
  roundHalfAway,
  type Control,
  type Value,
  type ValueControl,
} from './controls';
import type { JsonObject } from './json';
import { percentOfPoint, pixelsOfPoint, withPoint, type Size } from './point';

export type Interpolation = 'hold' | 'linear' | 'smooth';
export const interpolations: readonly Interpolation[] = ['hold', 'linear', 'smooth'];

export interface Key {
  readonly frame: number;
  readonly value: Value;
  /** From here to the next. */
  readonly interpolation: Interpolation;
  /** Of points only; straight when it is absent. */
  readonly path?: Path;
}

/** How a point goes from a keyframe to the next: through the frame, or the shortest way on the sphere. */
export type Path = 'straight' | 'great-circle';
export const paths: readonly Path[] = ['straight', 'great-circle'];

/** One value for all frames, or keyframes in the order of their frames. */
export interface Track {
  readonly animated: boolean;
  readonly keys: readonly [Key, ...Key[]];
}

/** Where a picture comes from, so that it can be made again. */
export type Source =
  | { readonly kind: 'example'; readonly example: string }
  | { readonly kind: 'text'; readonly text: TextStyle }
  | { readonly kind: 'file'; readonly id: string; readonly name: string }
  /** Frame 1 of the scene is the video's first. */
  | { readonly kind: 'video'; readonly id: string; readonly name: string };

export interface TextStyle {
  readonly text: string;
  readonly font: string;
  readonly colour: string;
  readonly panel: string | null;
  readonly bold: boolean;
}

export interface Rate {
  readonly num: number;
  readonly den: number;
}

/** A picture's name in a scene file, and what the page shows until that picture is chosen. */
export interface Named {
  readonly name: string;
  readonly standIn: Source | undefined;
}

/** What a scene file had that the page does not edit; it goes out again as it came. */
export interface Kept {
  readonly settings: JsonObject;
  readonly frame?: Named;
  readonly layers: Readonly<Record<number, Named | undefined>>;
  /** Whether the file names its frames. */
  readonly frames: boolean;
  /** What the file left to the program, and the person has not chosen since. */
  readonly openRate: boolean;
  readonly openDepth: boolean;
}

export interface Scene {
  readonly frame: Source;
  /** By the index of the layer control; absent is no layer. */
  readonly layers: Readonly<Record<number, Source | undefined>>;
  /** By the index of the control; one that is absent has its default. */
  readonly tracks: Readonly<Record<number, Track | undefined>>;
  readonly depth: Depth;
  readonly firstFrame: number;
  readonly lastFrame: number;
  readonly rate: Rate;
  /** Absent for a scene that was made here. */
  readonly kept?: Kept;
}

export function constant(value: Value): Track {
  return { animated: false, keys: [{ frame: 1, value, interpolation: 'linear' }] };
}

export function trackOf(scene: Scene, control: ValueControl): Track {
  return scene.tracks[control.index] ?? constant(defaultValue(control));
}

function progress(interpolation: Interpolation, t: number): number {
  switch (interpolation) {
    case 'hold':
      return 0;
    case 'linear':
      return t;
    case 'smooth':
      return t * t * (3 - 2 * t);
  }
}

/** Checkboxes and popups do not lie between two values. */
function holds(control: ValueControl): boolean {
  return control.kind === 'checkbox' || control.kind === 'popup';
}

/** Where a frame lies between keyframes: on the way from the first, or at it for want of a second. */
interface Span {
  readonly from: Key;
  readonly to?: Key;
  readonly share: number;
}

function spanAt(control: ValueControl, track: Track, frame: number): Span {
  let from = track.keys[0];
  let to: Key | undefined;
  for (const key of track.keys) {
    if (key.frame > frame) {
      to = key;
      break;
    }
    from = key;
  }
  if (to === undefined || frame < from.frame) {
    return { from, share: 0 };
  }
  const t = (frame - from.frame) / (to.frame - from.frame);
  return { from, to, share: progress(holds(control) ? 'hold' : from.interpolation, t) };
}

function mixed(start: Value, end: Value, share: number): Value {
  const mix = (a: number, b: number): number => roundHalfAway(a + (b - a) * share);
  return { x: mix(start.x, end.x), y: mix(start.y, end.y) };
}

/** Percent on the shorter arc between two points; columns go on beyond the frame's edge. */
function onArc(start: Value, end: Value, share: number): Value {
  const whole = 100 * fixedOne;
  const place = (value: Value): { x: number; y: number } => ({ x: value.x / whole, y: value.y / whole });
  const circle = circleThrough(directionOf(place(start)), directionOf(place(end)));
  if (circle === null || share <= 0) {
    return { x: start.x, y: start.y };
  }
  const at = placeOf(pointAt(circle, circle.length * share));
  const x = at.x + Math.round(start.x / whole - at.x);
  return { x: Math.round(x * whole), y: Math.round(at.y * whole) };
}

/** The value at a frame in the control's own units, for the panel and the handles. */
export function valueAt(scene: Scene, control: ValueControl, frame: number, size: Size): Value {
  const { from, to, share } = spanAt(control, trackOf(scene, control), frame);
  const shown = (key: Key): Value => (control.kind === 'point' ? percentOfPoint(key.value, size) : key.value);
  if (to === undefined) {
    return shown(from);
  }
  return (from.path === 'great-circle' ? onArc : mixed)(shown(from), shown(to), share);
}

/** The value at a frame as the host takes it, mixed as the program mixes. */
export function hostValueAt(
  scene: Scene,
  control: ValueControl,
  frame: number,
  width: number,
  height: number,
): HostValue {
  const { from, to, share } = spanAt(control, trackOf(scene, control), frame);
  const host = (key: Key): Value =>
    control.kind === 'point' ? pixelsOfPoint(key.value, { width, height }) : { x: key.value.x, y: key.value.y };
  const { index } = control;
  if (to === undefined) {
    return { index, ...host(from) };
  }
  return from.path === 'great-circle'
    ? { index, ...host(from), arc: { ...host(to), share } }
    : { index, ...mixed(host(from), host(to), share) };
}

export function hostValues(
  scene: Scene,
  controls: readonly Control[],
  frame: number,
  width: number,
  height: number,
): HostValue[] {
  return controls
    .filter(hasValue)
    .map((control) => hostValueAt(scene, control, frame, width, height));
}

// ---- Changes: each gives a new scene ----

export function withTrack(scene: Scene, index: number, track: Track | undefined): Scene {
  return { ...scene, tracks: { ...scene.tracks, [index]: track } };
}

function sorted(keys: readonly Key[]): [Key, ...Key[]] {
  return [...keys].sort((a, b) => a.frame - b.frame) as [Key, ...Key[]];
}

/** Sets the value: everywhere, or where the control is animated as a keyframe at this frame. */
export function withValue(scene: Scene, control: ValueControl, frame: number, value: Value, size: Size): Scene {
  const track = trackOf(scene, control);
  const old = track.animated ? track.keys.find((key) => key.frame === frame) : track.keys[0];
  const kept =
    old === undefined ? value : withPoint(old.value, valueAt(scene, control, frame, size), value);
  if (!track.animated) {
    return withTrack(scene, control.index, constant(kept));
  }
  const others = track.keys.filter((key) => key.frame !== frame);
  const before = [...track.keys].reverse().find((key) => key.frame <= frame);
  const { interpolation = 'linear', path } = before ?? {};
  return withTrack(scene, control.index, {
    animated: true,
    keys: sorted([...others, { frame, value: kept, interpolation, ...(path && { path }) }]),
  });
}

/** The value at a frame, in the unit that it was written in where there is such. */
function writtenAt(scene: Scene, control: ValueControl, frame: number, size: Size): Value {
  const { from, to } = spanAt(control, trackOf(scene, control), frame);
  return to === undefined || from.frame === frame ? from.value : valueAt(scene, control, frame, size);
}

/** Starts or ends animation; ending keeps the value of this frame. */
export function withAnimation(scene: Scene, control: ValueControl, frame: number, on: boolean, size: Size): Scene {
  const value = writtenAt(scene, control, frame, size);
  return withTrack(
    scene,
    control.index,
    on ? { animated: true, keys: [{ frame, value, interpolation: 'linear' }] } : constant(value),
  );
}

/** Takes a keyframe away; without the last one the control is no longer animated. */
export function withoutKey(scene: Scene, control: ValueControl, frame: number): Scene {
  const track = trackOf(scene, control);
  const gone = track.keys.find((key) => key.frame === frame) ?? track.keys[0];
  const [first, ...rest] = track.keys.filter((key) => key.frame !== frame);
  return withTrack(
    scene,
    control.index,
    first === undefined ? constant(gone.value) : { animated: true, keys: [first, ...rest] },
  );
}

/** Moves a keyframe in time; one that lies there already gives way. */
export function withKeyMoved(scene: Scene, control: ValueControl, from: number, to: number): Scene {
  const track = trackOf(scene, control);
  const key = track.keys.find((each) => each.frame === from);
  if (key === undefined || from === to) {
    return scene;
  }
  const others = track.keys.filter((each) => each.frame !== from && each.frame !== to);
  return withTrack(scene, control.index, {
    animated: true,
    keys: sorted([...others, { ...key, frame: to }]),
  });
}

/** Changes what a keyframe tells of the way to the next. */
export function withWay(
  scene: Scene,
  control: ValueControl,
  frame: number,
  way: { readonly interpolation?: Interpolation; readonly path?: Path },
): Scene {
  const track = trackOf(scene, control);
  const [first, ...rest] = track.keys.map((key) => (key.frame === frame ? { ...key, ...way } : key));
  return first === undefined
    ? scene
    : withTrack(scene, control.index, { ...track, keys: [first, ...rest] });
}

/** Whether its frames may differ. */
export function hasFrames(scene: Scene): boolean {
  const named = scene.kept?.frames === true && scene.lastFrame > scene.firstFrame;
  return isAnimated(scene) || scene.frame.kind === 'video' || named;
}

export function isAnimated(scene: Scene): boolean {
  return Object.values(scene.tracks).some((track) => track?.animated === true);
}
