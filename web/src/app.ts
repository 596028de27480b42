// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// What the page holds: the scene with its history, the moment, the way to look at it.
import type { Control, EffectDescription, Value, ValueControl } from './scene/controls';
import { History } from './scene/history';
import { findRoles, type Roles } from './scene/roles';
import { valueAt, withValue, type Scene } from './scene/scene';
import type { Camera } from './sphere/camera';

export type ViewMode = 'both' | 'flat' | 'inside' | 'globe';

/** What belongs to the page and not to the scene. */
export interface Look {
  readonly view: ViewMode;
  readonly camera: Camera;
  /** In stops; only for float pictures in linear light. */
  readonly exposure: number;
}

/** The size of the frame's picture, and of the layer's, once they are read. */
export interface Sizes {
  readonly width: number;
  readonly height: number;
  /** Whether the frame is linear light, which the view shows through an exposure. */
  readonly linear: boolean;
  /** Width over height of the layer's picture. */
  readonly layerAspect: number;
}

export class App {
  readonly effect: EffectDescription;
  readonly roles: Roles;
  readonly #history: History<Scene>;
  readonly #listeners = new Set<() => void>();
  #frame = 1;
  #look: Look = {
    view: 'both',
    camera: { yaw: 84, pitch: 20, fieldOfView: 90 },
    exposure: 0,
  };
  #sizes: Sizes = { width: 2048, height: 1024, linear: false, layerAspect: 4 };
  #dragging = false;
  #announced = false;

  constructor(effect: EffectDescription, scene: Scene) {
    this.effect = effect;
    this.roles = findRoles(effect.controls);
    this.#history = new History(scene);
    this.#frame = scene.firstFrame;
  }

  get scene(): Scene {
    return this.#history.present;
  }
  get frame(): number {
    return this.#frame;
  }
  get look(): Look {
    return this.#look;
  }
  get sizes(): Sizes {
    return this.#sizes;
  }
  /** Whether something is on the move, so that speed counts more than resolution. */
  get dragging(): boolean {
    return this.#dragging;
  }
  get canUndo(): boolean {
    return this.#history.canUndo;
  }
  get canRedo(): boolean {
    return this.#history.canRedo;
  }
  get layerControl(): Control | null {
    return this.effect.controls.find((control) => control.kind === 'layer') ?? null;
  }

  /** Called once after any number of changes, before the next picture of the screen. */
  subscribe(listener: () => void): void {
    this.#listeners.add(listener);
  }

  changeScene(change: (scene: Scene) => Scene): void {
    this.#history.set(change(this.scene));
    this.#announce();
  }

  setValue(control: ValueControl, value: Value): void {
    this.changeScene((scene) => withValue(scene, control, this.#frame, value, this.#sizes));
  }

  value(control: ValueControl): Value {
    return valueAt(this.scene, control, this.#frame, this.#sizes);
  }

  setFrame(frame: number): void {
    const { firstFrame, lastFrame } = this.scene;
    this.#frame = Math.max(firstFrame, Math.min(lastFrame, Math.round(frame)));
    this.#announce();
  }

  setLook(look: Partial<Look>): void {
    this.#look = { ...this.#look, ...look };
    this.#announce();
  }

  setSizes(sizes: Partial<Sizes>): void {
    this.#sizes = { ...this.#sizes, ...sizes };
    this.#announce();
  }

  beginGesture(): void {
    this.#dragging = true;
    this.#history.beginGesture();
  }
  endGesture(): void {
    this.#dragging = false;
    this.#history.endGesture();
    this.#announce();
  }
  cancelGesture(): void {
    this.#dragging = false;
    this.#history.cancelGesture();
    this.#announce();
  }

  undo(): void {
    this.#history.undo();
    this.setFrame(this.#frame);
  }
  redo(): void {
    this.#history.redo();
    this.setFrame(this.#frame);
  }

  #announce(): void {
    if (this.#announced) {
      return;
    }
    this.#announced = true;
    queueMicrotask(() => {
      this.#announced = false;
      for (const listener of this.#listeners) {
        listener();
      }
    });
  }
}
