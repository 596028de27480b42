// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// The command that renders the same scene with the program.
import { defaultValue, hasValue, sameValue, slug, type Control } from './controls';
import { hasFrames, trackOf, type Scene } from './scene';
import { outputName, sceneObject, type SceneNames } from './scene_file';

/** A word as a shell takes it unchanged. */
export function quoted(word: string): string {
  return /^[A-Za-z0-9_./,%:=+#-]+$/.test(word) ? word : `'${word.replaceAll("'", "'\\''")}'`;
}

/** Keyframes and what another scene brought are told by a scene file; otherwise controls are options. */
export function commandLine(scene: Scene, controls: readonly Control[], names: SceneNames): string {
  if (hasFrames(scene) || scene.kept !== undefined) {
    return 'veltra render scene.json';
  }
  const words = ['veltra', 'render', '-f', names.frame];
  const values = (sceneObject(scene, controls, names) as { controls: Record<string, unknown> }).controls;
  for (const control of controls) {
    const name = slug(control.name);
    if (control.kind === 'layer') {
      const layer = names.layers[control.index];
      words.push(...(layer === undefined ? [] : [`--${name}`, layer]));
    } else if (hasValue(control)) {
      const { value } = trackOf(scene, control).keys[0];
      if (!sameValue(value, defaultValue(control))) {
        const json = values[name];
        words.push(
          ...(typeof json === 'boolean'
            ? [json ? `--${name}` : `--no-${name}`]
            : [`--${name}=${Array.isArray(json) ? json.join(',') : String(json)}`]),
        );
      }
    }
  }
  if (scene.depth !== '8') {
    words.push('--depth', scene.depth);
  }
  if (scene.depth === 'float') {
    words.push('--output-depth', 'float');
  }
  words.push('-o', outputName(scene));
  return words.map(quoted).join(' ');
}
