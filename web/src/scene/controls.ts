// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// The controls as the effect declares them, and their values as people read and write them.
import type { Written } from './point';

interface Common {
  readonly index: number;
  readonly name: string;
  readonly default: number;
}
export interface LayerControl extends Common {
  readonly kind: 'layer';
}
export interface PointControl extends Common {
  readonly kind: 'point';
  readonly defaultX: number;
  readonly defaultY: number;
}
export interface SliderControl extends Common {
  readonly kind: 'slider';
  readonly validMin: number;
  readonly validMax: number;
  readonly sliderMin: number;
  readonly sliderMax: number;
  readonly precision: number;
}
export interface CheckboxControl extends Common {
  readonly kind: 'checkbox';
}
export interface PopupControl extends Common {
  readonly kind: 'popup';
  readonly choices: readonly string[];
}
export interface OtherControl extends Common {
  readonly kind: 'other';
}
export type Control =
  | LayerControl
  | PointControl
  | SliderControl
  | CheckboxControl
  | PopupControl
  | OtherControl;
/** A control that has a value of its own; a layer has a picture instead. */
export type ValueControl = PointControl | SliderControl | CheckboxControl | PopupControl;

export interface EffectDescription {
  readonly name: string;
  readonly matchName: string;
  readonly category: string;
  readonly about: string;
  readonly controls: readonly Control[];
}

/**
 * The value of a control in its own units: 16.16 for a slider, 0 or 1, a choice from 1; of a point
 * 16.16 percent of the frame in both directions.
 */
export interface Value {
  readonly x: number;
  readonly y: number;
  /** Coordinates that a scene file has in another unit; they count, and x or y means nothing. */
  readonly written?: { readonly x?: Written; readonly y?: Written };
}

export const fixedOne = 65536;
const mostFixed = 2147483647;

export function parseDescription(json: string): EffectDescription {
  return JSON.parse(json) as EffectDescription;
}

export function hasValue(control: Control): control is ValueControl {
  return control.kind !== 'layer' && control.kind !== 'other';
}

export function defaultValue(control: ValueControl): Value {
  return control.kind === 'point'
    ? { x: control.defaultX, y: control.defaultY }
    : { x: control.default, y: 0 };
}

/** The long name of a control on the command line and in scenes. */
export function slug(name: string): string {
  return name
    .toLowerCase()
    .replace(/[^a-z0-9]+/g, '-')
    .replace(/^-+|-+$/g, '');
}

/** A value in another unit is a value of its own. */
export function sameValue(a: Value, b: Value): boolean {
  return a.x === b.x && a.y === b.y && a.written === undefined && b.written === undefined;
}

/** To the nearest integer; halves go away from zero, as in the host. */
export function roundHalfAway(value: number): number {
  return value < 0 ? -Math.round(-value) : Math.round(value);
}

/** As 16.16, kept inside what 32 bits hold. */
export function toFixed16(value: number): number {
  return Math.max(-mostFixed, Math.min(mostFixed, roundHalfAway(value * fixedOne)));
}

/** 16.16 percent of a side as 16.16 pixels, as the host and the program count. */
export function pixelsOfPercent(percent: number, side: number): number {
  return toFixed16((percent * side) / 100 / fixedOne);
}

/** 16.16 percent of a side from pixels. */
export function percentOfPixels(pixels: number, side: number): number {
  return toFixed16((pixels / side) * 100);
}

/** 16.16 as the shortest decimal that reads back the same. */
export function fixedText(fixed: number): string {
  const exact = fixed / fixedOne;
  for (let digits = 0; digits <= 5; ++digits) {
    const text = exact.toFixed(digits);
    if (toFixed16(Number(text)) === fixed) {
      return text === '-0' ? '0' : text;
    }
  }
  return String(exact);
}

/** A decimal that a person typed, or null. A comma is taken for the point. */
export function parseDecimal(text: string): number | null {
  const plain = text.trim().replace(',', '.');
  return /^[+-]?(\d+\.?\d*|\.\d+)$/.test(plain) ? Number(plain) : null;
}

/** Inside what may be typed. */
export function clampToValid(control: SliderControl, fixed: number): number {
  return Math.max(control.validMin, Math.min(control.validMax, fixed));
}
