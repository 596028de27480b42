// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Coordinates of points: percent, which the page itself writes, and what scene files may have.
import { fixedOne, fixedText, percentOfPixels, pixelsOfPercent, toFixed16, type Value } from './controls';
import { SceneFailure, type Json } from './json';

export interface Size {
  readonly width: number;
  readonly height: number;
}

/** A coordinate in pixels of the full-resolution frame or in degrees, and as the file has it. */
export interface Written {
  readonly unit: 'pixels' | 'degrees';
  readonly value: number;
  readonly json: Json;
}

type Axis = 'x' | 'y';
const most = 32767.99999;

/** 16.16 pixels of the coordinate of a yaw or pitch, counted as the program counts. */
function pixelsOfWritten(written: Written, axis: Axis, side: number): number {
  if (written.unit === 'pixels') {
    return toFixed16(written.value);
  }
  return toFixed16((axis === 'x' ? 0.5 + written.value / 360 : 0.5 - written.value / 180) * side);
}

/** A point's value as 16.16 pixels of a frame, exact for coordinates that were not in percent. */
export function pixelsOfPoint(value: Value, size: Size): Value {
  const on = (axis: Axis, side: number): number => {
    const written = value.written?.[axis];
    return written === undefined ? pixelsOfPercent(value[axis], side) : pixelsOfWritten(written, axis, side);
  };
  return { x: on('x', size.width), y: on('y', size.height) };
}

/** A point's value as 16.16 percent of a frame of this size. */
export function percentOfPoint(value: Value, size: Size): Value {
  const pixels = pixelsOfPoint(value, size);
  const on = (axis: Axis, side: number): number =>
    value.written?.[axis] === undefined ? value[axis] : percentOfPixels(pixels[axis] / fixedOne, side);
  return { x: on('x', size.width), y: on('y', size.height) };
}

/** A new value of a point; a coordinate that is the same as before stays as it was written. */
export function withPoint(before: Value, shown: Value, value: Value): Value {
  const kept = (axis: Axis): Written | undefined =>
    value[axis] === shown[axis] ? before.written?.[axis] : undefined;
  const [x, y] = [kept('x'), kept('y')];
  return x === undefined && y === undefined
    ? value
    : { ...value, written: { ...(x && { x }), ...(y && { y }) } };
}

export function pointJson(value: Value): Json {
  return (['x', 'y'] as const).map((axis) => value.written?.[axis]?.json ?? `${fixedText(value[axis])}%`);
}

interface Coordinate {
  readonly percent: number;
  readonly written?: Written;
}

function coordinate(json: Json | undefined, axis: Axis, where: string): Coordinate {
  const text = typeof json === 'number' ? String(json) : typeof json === 'string' ? json : '';
  const match = /^([+-]?(?:\d+\.?\d*|\.\d+)(?:e[+-]?\d+)?)(%|deg|\u00b0)?$/i.exec(text);
  const value = Number(match?.[1]);
  if (match === null || json === undefined || Math.abs(value) > most) {
    throw new SceneFailure(`${where}: a coordinate is expected, such as "54%", 512 or "30deg"`);
  }
  if (match[2] === '%') {
    return { percent: toFixed16(value) };
  }
  const unit = match[2] === undefined ? 'pixels' : 'degrees';
  if (unit === 'degrees' && axis === 'y' && Math.abs(value) > 90) {
    throw new SceneFailure(`${where}: a pitch of -90deg to 90deg is expected`);
  }
  return { percent: 0, written: { unit, value, json } };
}

export function readPoint(json: Json, where: string): Value {
  const parts = typeof json === 'string' ? json.split(',') : Array.isArray(json) ? (json as Json[]) : [];
  if (parts.length !== 2) {
    throw new SceneFailure(`${where}: a point is expected, such as ["54%", "17%"]`);
  }
  const [x, y] = [coordinate(parts[0], 'x', where), coordinate(parts[1], 'y', where)];
  const written = { ...(x.written && { x: x.written }), ...(y.written && { y: y.written }) };
  return { x: x.percent, y: y.percent, ...(x.written || y.written ? { written } : {}) };
}
