// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// A scene as the page holds it: pictures, values over time, frames. Never changed, only replaced.
import type { Depth, HostValue } from '../engine/protocol';
import {
  defaultValue,
  hasValue,
  pixelsOfPercent,
  roundHalfAway,
  type Control,
  type Value,
  type ValueControl,
} from './controls';

export type Interpolation = 'hold' | 'linear' | 'smooth';
export const interpolations: readonly Interpolation[] = ['hold', 'linear', 'smooth'];

export interface Key {
  readonly frame: number;
  readonly value: Value;
  /** From here to the next. */
  readonly interpolation: Interpolation;
}

/** One value for all frames, or keyframes in the order of their frames. */
export interface Track {
  readonly animated: boolean;
  readonly keys: readonly [Key, ...Key[]];
}

/** Where a picture comes from, so that it can be made again. */
export type Source =
  | { readonly kind: 'example'; readonly example: string }
  | { readonly kind: 'text'; readonly text: TextStyle }
  | { readonly kind: 'file'; readonly id: string; readonly name: string };

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

function mixed(control: ValueControl, track: Track, frame: number, unit: (v: Value) => Value): Value {
  let from = track.keys[0];
  let to: Key | undefined;
  for (const key of track.keys) {
    if (key.frame > frame) {
      to = key;
      break;
    }
    from = key;
  }
  const start = unit(from.value);
  if (to === undefined || frame < from.frame) {
    return start;
  }
  const end = unit(to.value);
  const t = (frame - from.frame) / (to.frame - from.frame);
  const share = progress(holds(control) ? 'hold' : from.interpolation, t);
  const mix = (a: number, b: number): number => roundHalfAway(a + (b - a) * share);
  return { x: mix(start.x, end.x), y: mix(start.y, end.y) };
}

/** The value at a frame in the control's own units, for the panel and the handles. */
export function valueAt(scene: Scene, control: ValueControl, frame: number): Value {
  return mixed(control, trackOf(scene, control), frame, (value) => value);
}

/** The value at a frame as the host takes it. Points are interpolated in pixels, as the program does. */
export function hostValueAt(
  scene: Scene,
  control: ValueControl,
  frame: number,
  width: number,
  height: number,
): HostValue {
  const pixels = (value: Value): Value =>
    control.kind === 'point'
      ? { x: pixelsOfPercent(value.x, width), y: pixelsOfPercent(value.y, height) }
      : value;
  return { index: control.index, ...mixed(control, trackOf(scene, control), frame, pixels) };
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
export function withValue(scene: Scene, control: ValueControl, frame: number, value: Value): Scene {
  const track = trackOf(scene, control);
  if (!track.animated) {
    return withTrack(scene, control.index, constant(value));
  }
  const others = track.keys.filter((key) => key.frame !== frame);
  const before = [...track.keys].reverse().find((key) => key.frame <= frame);
  const interpolation = before?.interpolation ?? 'linear';
  return withTrack(scene, control.index, {
    animated: true,
    keys: sorted([...others, { frame, value, interpolation }]),
  });
}

/** Starts or ends animation; ending keeps the value of this frame. */
export function withAnimation(scene: Scene, control: ValueControl, frame: number, on: boolean): Scene {
  const value = valueAt(scene, control, frame);
  return withTrack(
    scene,
    control.index,
    on ? { animated: true, keys: [{ frame, value, interpolation: 'linear' }] } : constant(value),
  );
}

/** Takes a keyframe away; without the last one the control is no longer animated. */
export function withoutKey(scene: Scene, control: ValueControl, frame: number): Scene {
  const track = trackOf(scene, control);
  const keys = track.keys.filter((key) => key.frame !== frame);
  const [first, ...rest] = keys;
  return withTrack(
    scene,
    control.index,
    first === undefined
      ? constant(valueAt(scene, control, frame))
      : { animated: true, keys: [first, ...rest] },
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

export function withInterpolation(
  scene: Scene,
  control: ValueControl,
  frame: number,
  interpolation: Interpolation,
): Scene {
  const track = trackOf(scene, control);
  const [first, ...rest] = track.keys.map((key) =>
    key.frame === frame ? { ...key, interpolation } : key,
  );
  return first === undefined
    ? scene
    : withTrack(scene, control.index, { ...track, keys: [first, ...rest] });
}

export function isAnimated(scene: Scene): boolean {
  return Object.values(scene.tracks).some((track) => track?.animated === true);
}
