// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
import { describe, expect, test } from 'vitest';
import { viewOf, type Camera, type ViewKind } from '../../src/sphere/camera';
import {
  carried, circleThrough, coordinatesOn, degree, directionOf, dot, placeOf, pointAt, stripOf,
} from '../../src/sphere/geometry';

const camera: Camera = { yaw: 40, pitch: -20, fieldOfView: 90 };

describe('views', () => {
  test.each(['flat', 'inside', 'globe'] as ViewKind[])('%s: what is seen at a point is shown there', (kind) => {
    const view = viewOf(kind, camera, 1.6, 2);
    for (const point of [{ x: 0.5, y: 0.5 }, { x: 0.4, y: 0.62 }, { x: 0.55, y: 0.35 }]) {
      const seen = view.see(point);
      const shown = seen && view.show(seen);
      expect(shown?.x).toBeCloseTo(point.x, 6);
      expect(shown?.y).toBeCloseTo(point.y, 6);
    }
  });
  test('looking ahead shows the middle of the frame, to the right what lies right of it', () => {
    const ahead = viewOf('inside', { yaw: 0, pitch: 0, fieldOfView: 90 }, 1, 2);
    const middle = ahead.see({ x: 0.5, y: 0.5 });
    expect(middle && placeOf(middle)).toEqual({ x: 0.5, y: 0.5 });
    const right = ahead.see({ x: 1, y: 0.5 });
    expect(right && placeOf(right).x).toBeCloseTo(0.625, 6);
    const above = ahead.see({ x: 0.5, y: 0 });
    expect(above && placeOf(above).y).toBeCloseTo(0.25, 6);
  });
  test('what lies behind is not shown', () => {
    const back = directionOf({ x: 0, y: 0.5 });
    const front: Camera = { yaw: 0, pitch: 0, fieldOfView: 90 };
    expect(viewOf('inside', front, 1, 2).show(back)).toBeNull();
    expect(viewOf('globe', front, 1, 2).show(back)).toBeNull();
  });
});

describe('the strip', () => {
  const a = directionOf({ x: 0.3, y: 0.4 });
  const b = directionOf({ x: 0.7, y: 0.55 });
  const circle = circleThrough(a, b);
  if (circle === null) {
    throw new Error('no circle');
  }
  test('the circle runs through both points', () => {
    expect(dot(pointAt(circle, 0), a)).toBeCloseTo(1, 12);
    expect(dot(pointAt(circle, circle.length), b)).toBeCloseTo(1, 12);
    const at = coordinatesOn(circle, pointAt(circle, 0.7, -0.2));
    expect(at.along).toBeCloseTo(0.7, 9);
    expect(at.across).toBeCloseTo(-0.2, 9);
  });
  test('equal and opposite points tell no circle', () => {
    expect(circleThrough(a, a)).toBeNull();
    expect(circleThrough(a, { x: -a.x, y: -a.y, z: -a.z })).toBeNull();
  });
  test('stretch fills the path, solo keeps the layer’s shape and its limits', () => {
    const inputs = { travel: 0.5, sizeDegrees: 20, layerAspect: 4 };
    const stretch = stripOf(circle, { ...inputs, placement: 'stretch' });
    expect(stretch.to - stretch.from).toBeCloseTo(circle.length, 12);
    const solo = stripOf(circle, { ...inputs, placement: 'solo' });
    expect(solo.to - solo.from).toBeCloseTo(80 * degree, 12);
    const large = stripOf(circle, { ...inputs, placement: 'solo', sizeDegrees: 90 });
    expect(large.to - large.from).toBeCloseTo(179 * degree, 12);
  });
  test('a carried line keeps its length', () => {
    const [p, q] = carried([a, b], a, directionOf({ x: 0.1, y: 0.8 }));
    expect(p && q ? dot(p, q) : NaN).toBeCloseTo(dot(a, b), 12);
  });
});
