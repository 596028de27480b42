// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// What can be dragged on the picture: both points, the line, travel and size.
import type { App } from '../app';
import {
  clampToValid,
  fixedOne,
  slug,
  toFixed16,
  type PointControl,
  type SliderControl,
} from '../scene/controls';
import {
  carried,
  circleThrough,
  coordinatesOn,
  degree,
  directionOf,
  placeOf,
  pointAt,
  stripOf,
  type Circle,
  type Place,
  type Placement,
  type Strip,
  type Vector,
} from '../sphere/geometry';

export type HandleName = 'start' | 'end' | 'travel' | 'size' | 'line';

/** The scene's geometry at the moment; the circle is null where the points do not tell one. */
export interface Layout {
  readonly start: Vector;
  readonly end: Vector;
  readonly circle: Circle | null;
  readonly strip: Strip | null;
}

const placements: readonly Placement[] = ['stretch', 'tile', 'solo'];

function placeAt(app: App, control: PointControl): Place {
  const value = app.value(control);
  return { x: value.x / fixedOne / 100, y: value.y / fixedOne / 100 };
}

function sliderAt(app: App, control: SliderControl | null, fallback: number): number {
  return control === null ? fallback : app.value(control).x / fixedOne;
}

function placementAt(app: App): Placement {
  const control = app.roles.placement;
  if (control === null) {
    return 'stretch';
  }
  const name = slug(control.choices[app.value(control).x - 1] ?? '');
  return placements.find((each) => each === name) ?? 'stretch';
}

/** Null for an effect without two points. */
export function layoutOf(app: App): Layout | null {
  const { start, end, travel, size } = app.roles;
  if (start === null || end === null) {
    return null;
  }
  const from = directionOf(placeAt(app, start));
  const to = directionOf(placeAt(app, end));
  const circle = circleThrough(from, to);
  const strip =
    circle &&
    stripOf(circle, {
      placement: placementAt(app),
      travel: sliderAt(app, travel, 0) / 100,
      sizeDegrees: sliderAt(app, size, 0),
      layerAspect: app.sizes.layerAspect,
    });
  return { start: from, end: to, circle, strip };
}

/** Where the travel handle sits: the strip's middle, or on a tiled line where the first tile begins. */
export function travelAngle(app: App, layout: Layout): number | null {
  if (layout.circle === null || layout.strip === null || app.roles.travel === null) {
    return null;
  }
  const { from, to } = layout.strip;
  return placementAt(app) === 'tile'
    ? ((to - from) * (((sliderAt(app, app.roles.travel, 0) / 100) % 1) + 1)) % (to - from)
    : (from + to) / 2;
}

/** Where a handle is, or null when there is none at the moment. The line has no place of its own. */
export function handleDirection(app: App, layout: Layout, name: HandleName): Vector | null {
  switch (name) {
    case 'start':
      return layout.start;
    case 'end':
      return layout.end;
    case 'travel': {
      const angle = travelAngle(app, layout);
      return angle === null || layout.circle === null ? null : pointAt(layout.circle, angle);
    }
    case 'size':
      return layout.circle === null || layout.strip === null || app.roles.size === null
        ? null
        : pointAt(
            layout.circle,
            (layout.strip.from + layout.strip.to) / 2,
            -layout.strip.halfHeight,
          );
    case 'line':
      return null;
  }
}

function setPlace(app: App, control: PointControl, place: Place): void {
  app.setValue(control, { x: toFixed16(place.x * 100), y: toFixed16(place.y * 100) });
}

/** What a drag starts from, so that it ends where the pointer is and not where rounding led. */
export interface Grip {
  readonly name: HandleName;
  readonly layout: Layout;
  readonly from: Vector;
  readonly travel: number;
}

export function grip(app: App, name: HandleName, from: Vector): Grip | null {
  const layout = layoutOf(app);
  return (
    layout && { name, layout, from, travel: sliderAt(app, app.roles.travel, 0) }
  );
}

function turnBetween(a: number, b: number): number {
  const turn = b - a;
  return turn > Math.PI ? turn - 2 * Math.PI : turn < -Math.PI ? turn + 2 * Math.PI : turn;
}

/** Rounds to what the panel shows, so that a drag gives numbers that people would type. */
function rounded(value: number, control: SliderControl): number {
  const unit = 10 ** control.precision;
  return clampToValid(control, toFixed16(Math.round(value * unit) / unit));
}

export function dragTo(app: App, held: Grip, to: Vector): void {
  const { start, end, travel, size } = app.roles;
  const { layout, name } = held;
  if (start === null || end === null) {
    return;
  }
  switch (name) {
    case 'start':
      setPlace(app, start, placeOf(to));
      break;
    case 'end':
      setPlace(app, end, placeOf(to));
      break;
    case 'line': {
      const [a = layout.start, b = layout.end] = carried([layout.start, layout.end], held.from, to);
      setPlace(app, start, placeOf(a));
      setPlace(app, end, placeOf(b));
      break;
    }
    case 'travel':
      if (layout.circle !== null && travel !== null) {
        const before = coordinatesOn(layout.circle, held.from).along;
        const after = coordinatesOn(layout.circle, to).along;
        const moved = (turnBetween(before, after) / layout.circle.length) * 100;
        app.setValue(travel, { x: rounded(held.travel + moved, travel), y: 0 });
      }
      break;
    case 'size':
      if (layout.circle !== null && size !== null) {
        const { across } = coordinatesOn(layout.circle, to);
        app.setValue(size, { x: rounded((Math.abs(across) * 2) / degree, size), y: 0 });
      }
      break;
  }
}

/** One step of an arrow key: points move by degrees of the picture, travel and size by units. */
export function nudge(app: App, name: HandleName, dx: number, dy: number, coarse: boolean): void {
  const { start, end, travel, size } = app.roles;
  const steps = coarse ? 10 : 1;
  const move = (control: PointControl | null): void => {
    if (control !== null) {
      const value = app.value(control);
      const step = steps * toFixed16(0.1);
      app.setValue(control, { x: value.x + dx * step, y: value.y + dy * step });
    }
  };
  const slide = (control: SliderControl | null, by: number): void => {
    if (control !== null) {
      const fixed = app.value(control).x + by * steps * fixedOne;
      app.setValue(control, { x: clampToValid(control, fixed), y: 0 });
    }
  };
  switch (name) {
    case 'start':
      move(start);
      break;
    case 'end':
      move(end);
      break;
    case 'line':
      move(start);
      move(end);
      break;
    case 'travel':
      slide(travel, dx - dy);
      break;
    case 'size':
      slide(size, dx - dy);
      break;
  }
}
