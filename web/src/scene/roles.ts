// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Which of the effect's controls the handles on the picture move, found by their names.
import { slug, type Control, type PointControl, type PopupControl, type SliderControl } from './controls';

/** Each is null when the effect has no such control; its handle is then not shown. */
export interface Roles {
  readonly start: PointControl | null;
  readonly end: PointControl | null;
  readonly travel: SliderControl | null;
  readonly size: SliderControl | null;
  readonly placement: PopupControl | null;
}

export function findRoles(controls: readonly Control[]): Roles {
  const find = <Kind extends Control['kind']>(
    kind: Kind,
    name: string,
  ): Extract<Control, { kind: Kind }> | null =>
    controls.find(
      (control): control is Extract<Control, { kind: Kind }> =>
        control.kind === kind && slug(control.name) === name,
    ) ?? null;
  return {
    start: find('point', 'start-point'),
    end: find('point', 'end-point'),
    travel: find('slider', 'travel'),
    size: find('slider', 'size-degrees'),
    placement: find('popup', 'layer-placement'),
  };
}
