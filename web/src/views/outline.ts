// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// The great circle and the strip's edges as lines of a pane.
import { pointAt, type Circle, type Strip, type Vector } from '../sphere/geometry';
import type { View } from '../sphere/camera';

/** Steps of a whole turn; fine enough that a line looks bent and not broken. */
const stepsOfTurn = 240;

function path(view: View, width: number, height: number, directions: readonly Vector[]): string {
  let text = '';
  let before: { x: number; y: number } | null = null;
  for (const direction of directions) {
    const point = view.show(direction);
    if (point === null) {
      before = null;
      continue;
    }
    // Where the flat picture ends the line goes on at its other side.
    const joined = before !== null && Math.abs(point.x - before.x) < 0.5;
    text += `${joined ? 'L' : 'M'}${(point.x * width).toFixed(1)} ${(point.y * height).toFixed(1)}`;
    before = point;
  }
  return text;
}

function along(circle: Circle, from: number, to: number, across: number): Vector[] {
  const steps = Math.max(2, Math.min(4 * stepsOfTurn, Math.ceil((Math.abs(to - from) / (2 * Math.PI)) * stepsOfTurn)));
  return Array.from({ length: steps + 1 }, (_, i) =>
    pointAt(circle, from + ((to - from) * i) / steps, across),
  );
}

function across(circle: Circle, at: number, half: number): Vector[] {
  const steps = 24;
  return Array.from({ length: steps + 1 }, (_, i) =>
    pointAt(circle, at, half * ((2 * i) / steps - 1)),
  );
}

export interface Outline {
  /** All around. */
  readonly circle: string;
  /** From the start point to the end point. */
  readonly span: string;
  /** The strip's four edges. */
  readonly edges: string;
}

export function outlineOf(
  circle: Circle,
  strip: Strip,
  view: View,
  width: number,
  height: number,
): Outline {
  const draw = (directions: readonly Vector[]): string => path(view, width, height, directions);
  const { from, to, halfHeight } = strip;
  return {
    circle: draw(along(circle, 0, 2 * Math.PI, 0)),
    span: draw(along(circle, 0, circle.length, 0)),
    edges: [
      ...[along(circle, from, to, -halfHeight), along(circle, from, to, halfHeight)],
      ...[across(circle, from, halfHeight), across(circle, to, halfHeight)],
    ]
      .map(draw)
      .join(''),
  };
}
