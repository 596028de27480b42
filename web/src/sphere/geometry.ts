// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// The sphere's mathematics for handles and outlines: directions, the great circle, the strip.

/** Longitude l and latitude p are (sin l cos p, sin p, -cos l cos p); rows grow towards +y. */
export interface Vector {
  readonly x: number;
  readonly y: number;
  readonly z: number;
}

/** A place in the frame, each from 0 to 1 across it. */
export interface Place {
  readonly x: number;
  readonly y: number;
}

export const degree = Math.PI / 180;

export function dot(a: Vector, b: Vector): number {
  return a.x * b.x + a.y * b.y + a.z * b.z;
}
export function cross(a: Vector, b: Vector): Vector {
  return { x: a.y * b.z - a.z * b.y, y: a.z * b.x - a.x * b.z, z: a.x * b.y - a.y * b.x };
}
export function scaled(a: Vector, f: number): Vector {
  return { x: a.x * f, y: a.y * f, z: a.z * f };
}
export function added(a: Vector, b: Vector): Vector {
  return { x: a.x + b.x, y: a.y + b.y, z: a.z + b.z };
}
export function unit(a: Vector): Vector {
  return scaled(a, 1 / Math.sqrt(Math.max(1e-30, dot(a, a))));
}

export function directionOf(place: Place): Vector {
  const longitude = (2 * place.x - 1) * Math.PI;
  const latitude = (2 * place.y - 1) * (Math.PI / 2);
  return {
    x: Math.sin(longitude) * Math.cos(latitude),
    y: Math.sin(latitude),
    z: -Math.cos(longitude) * Math.cos(latitude),
  };
}

export function placeOf(direction: Vector): Place {
  const { x, y, z } = unit(direction);
  return {
    x: Math.atan2(x, -z) / (2 * Math.PI) + 0.5,
    y: Math.asin(Math.max(-1, Math.min(1, y))) / Math.PI + 0.5,
  };
}

/** The great circle through two points: a start, and a right angle further on the way along it. */
export interface Circle {
  readonly start: Vector;
  readonly along: Vector;
  readonly normal: Vector;
  /** Radians from the first point to the second. */
  readonly length: number;
}

/** Null where the points agree or lie opposite each other, and so no circle is meant. */
export function circleThrough(a: Vector, b: Vector): Circle | null {
  const cosine = Math.max(-1, Math.min(1, dot(a, b)));
  const rest = added(b, scaled(a, -cosine));
  if (dot(rest, rest) < 1e-12) {
    return null;
  }
  const along = unit(rest);
  return { start: a, along, normal: cross(a, along), length: Math.acos(cosine) };
}

/** At an angle along the circle and one across it (positive away from the normal), radians. */
export function pointAt(circle: Circle, angle: number, across = 0): Vector {
  const onCircle = added(
    scaled(circle.start, Math.cos(angle)),
    scaled(circle.along, Math.sin(angle)),
  );
  return across === 0
    ? onCircle
    : added(scaled(onCircle, Math.cos(across)), scaled(circle.normal, -Math.sin(across)));
}

/** Angle along the circle from its start, -pi to pi, and angle across. */
export function coordinatesOn(circle: Circle, direction: Vector): { along: number; across: number } {
  return {
    along: Math.atan2(dot(direction, circle.along), dot(direction, circle.start)),
    across: -Math.asin(Math.max(-1, Math.min(1, dot(direction, circle.normal)))),
  };
}

export type Placement = 'stretch' | 'tile' | 'solo';

export interface StripInputs {
  readonly placement: Placement;
  /** As a share of the path, 1 for 100. */
  readonly travel: number;
  readonly sizeDegrees: number;
  /** Width over height of the layer's picture; only Solo looks at it. */
  readonly layerAspect: number;
}

/** Where the strip lies on its circle, radians from the first point, and half its height. */
export interface Strip {
  readonly from: number;
  readonly to: number;
  readonly halfHeight: number;
}

/** What Solo allows at most. */
const soloMostHeight = 89.5;
const soloMostLength = 179;

export function stripOf(circle: Circle, inputs: StripInputs): Strip {
  const { placement, travel, layerAspect } = inputs;
  const shift = circle.length * travel;
  if (placement !== 'solo') {
    const moved = placement === 'stretch' ? shift : 0;
    const halfHeight = inputs.sizeDegrees * 0.5 * degree;
    return { from: moved, to: circle.length + moved, halfHeight };
  }
  const height = Math.min(
    Math.max(0, inputs.sizeDegrees),
    soloMostHeight,
    soloMostLength / layerAspect,
  );
  const halfHeight = height * 0.5 * degree;
  const halfLength = halfHeight * layerAspect;
  return { from: shift - halfLength, to: shift + halfLength, halfHeight };
}

/** Rotates v about a unit axis by an angle, radians. */
export function rotated(v: Vector, axis: Vector, angle: number): Vector {
  const c = Math.cos(angle);
  const s = Math.sin(angle);
  return added(
    added(scaled(v, c), scaled(cross(axis, v), s)),
    scaled(axis, dot(axis, v) * (1 - c)),
  );
}

/** Both points moved by the rotation that carries one direction to another. */
export function carried(points: readonly Vector[], from: Vector, to: Vector): Vector[] {
  const axis = cross(from, to);
  const sine = Math.sqrt(dot(axis, axis));
  if (sine < 1e-9) {
    return [...points];
  }
  const angle = Math.atan2(sine, dot(from, to));
  return points.map((point) => rotated(point, scaled(axis, 1 / sine), angle));
}
