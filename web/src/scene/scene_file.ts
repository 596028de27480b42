// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// The scene.json that `veltra render` takes, written.
import { fixedText, hasValue, slug, type Control, type PopupControl, type Value, type ValueControl } from './controls';
import type { Json } from './json';
import { pointJson } from './point';
import { hasFrames, isAnimated, trackOf, type Named, type Rate, type Scene, type Source, type Track } from './scene';

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
      return pointJson(value);
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
      ...(key.path === undefined ? {} : { path: key.path }),
    })),
  };
}

export function rateText(rate: Rate): string {
  return rate.den === 1 ? String(rate.num) : `${rate.num}/${rate.den}`;
}

/** Where the program writes: a sequence when something moves. */
export function outputName(scene: Scene): string {
  const ending = scene.depth === 'float' ? 'exr' : 'png';
  return hasFrames(scene) ? `out.####.${ending}` : `out.${ending}`;
}

/** Settings that decide where and how files are written, and no pixel. */
const fileSettings = ['output', 'output-depth', 'compression', 'jpeg-quality', 'video-options', 'skip-missing'];

/** What the scene sets and the page does not show. */
export function notShown(scene: Scene): string[] {
  return Object.keys(scene.kept?.settings ?? {}).filter((name) => !fileSettings.includes(name));
}

/** Whether `chosen` is the file, or one of the sequence, that a name in a scene file means. */
function isMeantBy(name: string, chosen: string): boolean {
  const base = name.slice(Math.max(name.lastIndexOf('/'), name.lastIndexOf('\\')) + 1);
  const escaped = base.replace(/[.*+?^${}()|[\]\\]/g, '\\$&');
  return new RegExp(`^${escaped.replace(/#+|%0?\d*d/, '\\d+')}$`).test(chosen);
}

/** A picture's name for a file: the one that the scene came with, as long as it means that picture. */
function nameOf(source: Source, named: Named | undefined, fileName: (source: Source) => string): string {
  const meant = named !== undefined && (source === named.standIn || isMeantBy(named.name, fileName(source)));
  return meant ? named.name : fileName(source);
}

/** `fileName` tells how a picture of the page is called in a file. */
export function namesOf(scene: Scene, fileName: (source: Source) => string): SceneNames {
  const { kept } = scene;
  const layers: Record<number, string | undefined> = {};
  for (const [key, source] of Object.entries(scene.layers)) {
    const index = Number(key);
    layers[index] = source && nameOf(source, kept?.layers[index], fileName);
  }
  return { frame: nameOf(scene.frame, kept?.frame, fileName), layers };
}

function timeJson(scene: Scene): Record<string, Json> {
  const { kept } = scene;
  const frames = hasFrames(scene) || kept?.frames === true;
  const rate = kept === undefined ? isAnimated(scene) : !kept.openRate;
  return {
    ...(frames ? { frames: `${scene.firstFrame}-${scene.lastFrame}` } : {}),
    ...(rate ? { rate: rateText(scene.rate) } : {}),
  };
}

export function sceneObject(scene: Scene, controls: readonly Control[], names: SceneNames): Json {
  const { kept } = scene;
  const settings: Record<string, Json> = {};
  for (const control of controls) {
    if (control.kind === 'layer') {
      settings[slug(control.name)] = names.layers[control.index] ?? 'none';
    } else if (hasValue(control)) {
      settings[slug(control.name)] = trackJson(control, trackOf(scene, control));
    }
  }
  return {
    version: 1,
    ...(names.frame === '' ? {} : { frame: names.frame }),
    output: outputName(scene),
    ...timeJson(scene),
    ...(kept?.openDepth === true ? {} : { depth: scene.depth }),
    ...(scene.depth === 'float' && kept?.settings['output'] === undefined ? { 'output-depth': 'float' } : {}),
    ...kept?.settings,
    controls: settings,
  };
}

/** Objects of one level a line; keyframes stay on one line each. */
export function sceneText(scene: Scene, controls: readonly Control[], names: SceneNames): string {
  const text = JSON.stringify(sceneObject(scene, controls, names), null, 2);
  const onOneLine = (match: string): string => match.replace(/\s*\n\s*/g, ' ').replace(/([[{]) | ([\]}])/g, '$1$2');
  return `${text
    .replace(/\[\s*[^\s,[\]{}]+,\s*[^\s,[\]{}]+\s*\]/g, onOneLine)
    .replace(/\{\s*"frame": \d+,[^{}]*\}/g, onOneLine)}\n`;
}
