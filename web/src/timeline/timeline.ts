// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Time: the frame shown, playing, and the keyframes of every animated control.
import type { App } from '../app';
import type { Preview } from '../preview';
import { hasValue, slug, type ValueControl } from '../scene/controls';
import {
  interpolations,
  isAnimated,
  paths,
  trackOf,
  withKeyMoved,
  withoutKey,
  withWay,
  type Key,
  type Scene,
} from '../scene/scene';
import { rateText } from '../scene/scene_file';
import { el, icon, iconButton } from '../ui/dom';

interface Selection {
  readonly control: ValueControl;
  readonly frame: number;
}

export class Timeline {
  readonly element: HTMLElement;
  readonly #app: App;
  readonly #preview: Preview;
  readonly #scrubber = el('input', { type: 'range', step: 1, class: 'scrubber', 'aria-label': 'Frame' });
  readonly #frameField = el('input', { type: 'number', class: 'number', 'aria-label': 'Frame number' });
  readonly #last = el('input', { type: 'number', class: 'number', 'aria-label': 'Last frame', min: 1 });
  readonly #rate = el('select', { 'aria-label': 'Frames per second' });
  readonly #tracks = el('div', { class: 'tracks', role: 'list', 'aria-label': 'Keyframes' });
  readonly #details = el('div', { class: 'key-details' });
  readonly #play = iconButton('play', 'Play', () => this.togglePlaying());
  readonly #loop = iconButton('loop', 'Loop', () => this.#toggleLoop(), { 'aria-pressed': 'true' });
  #selected: Selection | null = null;
  #looping = true;
  #playStart = { time: 0, frame: 0 };
  #shownTracks = '';

  constructor(app: App, preview: Preview) {
    this.#app = app;
    this.#preview = preview;
    for (const rate of ['24', '25', '30', '50', '60', '24000/1001', '30000/1001', '60000/1001']) {
      const [num = 24, den = 1] = rate.split('/').map(Number);
      this.#rate.append(el('option', { value: rate, text: `${Number((num / den).toFixed(3))} fps` }));
    }
    this.element = el(
      'section',
      { class: 'timeline', 'aria-label': 'Timeline' },
      el(
        'div',
        { class: 'transport' },
        iconButton('first', 'To the first frame', () => this.#go(app.scene.firstFrame)),
        this.#play,
        iconButton('last', 'To the last frame', () => this.#go(app.scene.lastFrame)),
        this.#loop,
        this.#frameField,
        this.#scrubber,
        this.#last,
        this.#rate,
      ),
      this.#tracks,
      this.#details,
    );
    this.#connect();
    app.subscribe(() => this.update());
    this.update();
  }

  get playing(): boolean {
    return this.#preview.playing;
  }

  togglePlaying(): void {
    if (this.playing) {
      this.stop();
    } else {
      this.start();
    }
  }

  start(): void {
    const { scene, frame } = this.#app;
    this.#preview.playing = true;
    this.#playStart = { time: performance.now(), frame: frame >= scene.lastFrame ? scene.firstFrame : frame };
    this.#showPlaying();
    requestAnimationFrame(() => this.#tick());
  }

  stop(): void {
    this.#preview.playing = false;
    this.#showPlaying();
  }

  #showPlaying(): void {
    const name = this.playing ? 'Pause' : 'Play';
    this.#play.replaceChildren(icon(this.playing ? 'pause' : 'play'));
    this.#play.setAttribute('aria-label', name);
    this.#play.title = name;
  }

  #tick(): void {
    if (!this.playing) {
      return;
    }
    const { scene } = this.#app;
    const count = scene.lastFrame - scene.firstFrame + 1;
    const seconds = (performance.now() - this.#playStart.time) / 1000;
    const passed = Math.floor((seconds * scene.rate.num) / scene.rate.den);
    const at = this.#playStart.frame - scene.firstFrame + passed;
    if (at >= count && !this.#looping) {
      this.#app.setFrame(scene.lastFrame);
      this.stop();
      return;
    }
    const frame = scene.firstFrame + (at % count);
    if (frame !== this.#app.frame) {
      this.#app.setFrame(frame);
    }
    requestAnimationFrame(() => this.#tick());
  }

  #toggleLoop(): void {
    this.#looping = !this.#looping;
    this.#loop.setAttribute('aria-pressed', String(this.#looping));
  }

  #go(frame: number): void {
    if (this.playing) {
      this.stop();
    }
    this.#app.setFrame(frame);
  }

  #connect(): void {
    const app = this.#app;
    this.#scrubber.addEventListener('pointerdown', () => app.beginGesture());
    this.#scrubber.addEventListener('change', () => app.endGesture());
    this.#scrubber.addEventListener('input', () => this.#go(Number(this.#scrubber.value)));
    this.#frameField.addEventListener('change', () => this.#go(Number(this.#frameField.value)));
    this.#last.addEventListener('change', () => {
      const last = Math.max(app.scene.firstFrame, Math.min(9999999, Math.round(Number(this.#last.value))));
      app.changeScene((scene) => ({ ...scene, lastFrame: last }));
      app.setFrame(app.frame);
    });
    this.#rate.addEventListener('change', () => {
      const [num = 24, den = 1] = this.#rate.value.split('/').map(Number);
      app.changeScene((scene) => ({
        ...scene,
        rate: { num, den },
        ...(scene.kept && { kept: { ...scene.kept, openRate: false } }),
      }));
    });
  }

  update(): void {
    const { scene, frame } = this.#app;
    for (const field of [this.#scrubber, this.#frameField]) {
      field.min = String(scene.firstFrame);
      field.max = String(scene.lastFrame);
      field.value = String(frame);
    }
    const count = Math.max(1, scene.lastFrame - scene.firstFrame);
    this.#scrubber.style.setProperty('--share', `${((frame - scene.firstFrame) / count) * 100}%`);
    this.#last.value = String(scene.lastFrame);
    const rate = rateText(scene.rate);
    if (![...this.#rate.options].some((option) => option.value === rate)) {
      this.#rate.append(el('option', { value: rate, text: `${Number((scene.rate.num / scene.rate.den).toFixed(3))} fps` }));
    }
    this.#rate.value = rate;
    this.element.classList.toggle('empty', !isAnimated(scene));
    this.element.style.setProperty('--now', `${((frame - scene.firstFrame) / count) * 100}%`);
    this.#updateTracks();
  }

  #updateTracks(): void {
    const { scene } = this.#app;
    const key = JSON.stringify([scene.tracks, scene.firstFrame, scene.lastFrame, this.#selected?.control.index, this.#selected?.frame]);
    if (key === this.#shownTracks) {
      return;
    }
    this.#shownTracks = key;
    const focused = document.activeElement?.getAttribute('data-key') ?? null;
    const animated = this.#app.effect.controls
      .filter(hasValue)
      .filter((control) => trackOf(scene, control).animated);
    this.#tracks.replaceChildren(...animated.map((control) => this.#trackRow(control)));
    if (focused !== null) {
      this.#tracks.querySelector<HTMLElement>(`[data-key="${focused}"]`)?.focus();
    }
    this.#showDetails();
  }

  #trackRow(control: ValueControl): HTMLElement {
    const lane = el('div', { class: 'lane' });
    lane.append(...trackOf(this.#app.scene, control).keys.map((key) => this.#keyButton(control, key, lane)));
    return el('div', { class: 'track', role: 'listitem' }, el('span', { class: 'track-name', text: control.name }), lane);
  }

  #shareOf(frame: number): number {
    const { firstFrame, lastFrame } = this.#app.scene;
    return (frame - firstFrame) / Math.max(1, lastFrame - firstFrame);
  }

  #keyButton(control: ValueControl, key: Key, lane: HTMLElement): HTMLButtonElement {
    const chosen = this.#selected?.control.index === control.index && this.#selected.frame === key.frame;
    const button = el('button', {
      type: 'button',
      class: `key key-${key.interpolation}`,
      'data-key': `${slug(control.name)}@${key.frame}`,
      'aria-label': `${control.name}, keyframe at ${key.frame}, ${key.interpolation}`,
      'aria-pressed': String(chosen),
    });
    button.style.left = `${this.#shareOf(key.frame) * 100}%`;
    button.addEventListener('click', () => this.#select(control, key.frame));
    button.addEventListener('keydown', (event) => {
      const step = event.key === 'ArrowLeft' ? -1 : event.key === 'ArrowRight' ? 1 : 0;
      if (step !== 0) {
        event.preventDefault();
        this.#move(this.#app.scene, control, key.frame, key.frame + step * (event.shiftKey ? 10 : 1));
      } else if (event.key === 'Delete' || event.key === 'Backspace') {
        event.preventDefault();
        this.#remove(control, key.frame);
      }
    });
    this.#makeDraggable(button, control, key.frame, lane);
    return button;
  }

  #makeDraggable(button: HTMLElement, control: ValueControl, start: number, lane: HTMLElement): void {
    button.addEventListener('pointerdown', (event) => {
      if (event.button !== 0) {
        return;
      }
      event.preventDefault();
      const app = this.#app;
      let at = start;
      // Each step begins from here, so that keyframes on the way stay as they are.
      const before = app.scene;
      app.beginGesture();
      // The button itself is made anew with every change, so the window follows the pointer.
      const move = (now: PointerEvent): void => {
        const box = lane.isConnected ? lane.getBoundingClientRect() : this.#laneBox();
        const { firstFrame, lastFrame } = before;
        const share = Math.max(0, Math.min(1, (now.clientX - box.left) / box.width));
        const frame = Math.round(firstFrame + share * (lastFrame - firstFrame));
        if (frame !== at) {
          this.#move(before, control, start, frame);
          at = frame;
        }
      };
      const up = (): void => {
        window.removeEventListener('pointermove', move);
        window.removeEventListener('pointerup', up);
        app.endGesture();
        this.#select(control, at);
      };
      window.addEventListener('pointermove', move);
      window.addEventListener('pointerup', up);
    });
  }

  #laneBox(): DOMRect {
    return (this.#tracks.querySelector('.lane') ?? this.#tracks).getBoundingClientRect();
  }

  #select(control: ValueControl, frame: number): void {
    this.#selected = { control, frame };
    this.#app.setFrame(frame);
    this.#updateTracks();
  }

  #move(before: Scene, control: ValueControl, from: number, to: number): void {
    const { firstFrame, lastFrame } = before;
    const kept = Math.max(firstFrame, Math.min(lastFrame, to));
    this.#selected = { control, frame: kept };
    this.#app.changeScene(() => withKeyMoved(before, control, from, kept));
    const name = `${slug(control.name)}@${kept}`;
    queueMicrotask(() => this.#tracks.querySelector<HTMLElement>(`[data-key="${name}"]`)?.focus());
  }

  #remove(control: ValueControl, frame: number): void {
    this.#selected = null;
    this.#app.changeScene((scene) => withoutKey(scene, control, frame));
  }

  #showDetails(): void {
    const selected = this.#selected;
    const track = selected && trackOf(this.#app.scene, selected.control);
    const key = track?.animated === true ? track.keys.find((each) => each.frame === selected?.frame) : undefined;
    if (selected === null || key === undefined) {
      this.#details.replaceChildren();
      return;
    }
    const { control } = selected;
    const select = this.#wayField('Interpolation after this keyframe', interpolations, key.interpolation, (interpolation) =>
      this.#app.changeScene((scene) => withWay(scene, control, key.frame, { interpolation })),
    );
    const path = this.#wayField('Way to the next keyframe', paths, key.path ?? 'straight', (way) =>
      this.#app.changeScene((scene) => withWay(scene, control, key.frame, { path: way })),
    );
    this.#details.replaceChildren(
      el('span', { text: `${control.name}, frame ${key.frame}, then` }),
      select,
      ...(control.kind === 'point' ? [path] : []),
      iconButton('trash', 'Remove the keyframe', () => this.#remove(control, key.frame)),
    );
  }

  #wayField<Word extends string>(
    label: string,
    words: readonly Word[],
    value: Word,
    take: (word: Word) => void,
  ): HTMLSelectElement {
    const options = words.map((name) => el('option', { value: name, text: name.replace('-', ' ') }));
    const select = el('select', { 'aria-label': label }, ...options);
    select.value = value;
    select.addEventListener('change', () => {
      const word = words.find((each) => each === select.value);
      if (word !== undefined) {
        take(word);
      }
    });
    return select;
  }
}
