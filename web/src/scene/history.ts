// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Undo and redo over values that are never changed.

export class History<T> {
  #past: T[] = [];
  #future: T[] = [];
  #present: T;
  /** The value before a gesture whose steps count as one. */
  #gestureStart: T | null = null;
  static readonly #most = 200;

  constructor(present: T) {
    this.#present = present;
  }

  get present(): T {
    return this.#present;
  }
  get canUndo(): boolean {
    return this.#past.length > 0;
  }
  get canRedo(): boolean {
    return this.#future.length > 0;
  }

  /** A step of its own, or a part of the gesture that is going on. */
  set(value: T): void {
    if (value === this.#present) {
      return;
    }
    if (this.#gestureStart === null) {
      this.#remember(this.#present);
    }
    this.#present = value;
  }

  /** What is set from now on is undone as one. */
  beginGesture(): void {
    this.#gestureStart ??= this.#present;
  }

  endGesture(): void {
    const start = this.#gestureStart;
    this.#gestureStart = null;
    if (start !== null && start !== this.#present) {
      this.#remember(start);
    }
  }

  /** Back to where the gesture began, as if it had not been. */
  cancelGesture(): void {
    if (this.#gestureStart !== null) {
      this.#present = this.#gestureStart;
      this.#gestureStart = null;
    }
  }

  undo(): boolean {
    this.endGesture();
    const before = this.#past.pop();
    if (before === undefined) {
      return false;
    }
    this.#future.push(this.#present);
    this.#present = before;
    return true;
  }

  redo(): boolean {
    const after = this.#future.pop();
    if (after === undefined) {
      return false;
    }
    this.#past.push(this.#present);
    this.#present = after;
    return true;
  }

  #remember(value: T): void {
    this.#past.push(value);
    this.#future = [];
    if (this.#past.length > History.#most) {
      this.#past.shift();
    }
  }
}
