// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Starts the effect and puts the page together.
import { App, type ViewMode } from './app';
import { Engine } from './engine/engine';
import { depths } from './engine/protocol';
import { ExportDialog } from './export/dialog';
import { Panel } from './panel/panel';
import { frameChooser, layerChooser, fileButton } from './pictures/chooser';
import { FileWorker } from './pictures/files';
import { kindOf, PictureFailure } from './pictures/formats';
import { Library, fileNameOf } from './pictures/library';
import { depthOf, Preview } from './preview';
import { VideoFile } from './pictures/video';
import { parseDescription, type EffectDescription } from './scene/controls';
import { sceneFromLink } from './scene/link';
import type { Scene, Source } from './scene/scene';
import { notShown } from './scene/scene_file';
import { readScene } from './scene/scene_reader';
import { Timeline } from './timeline/timeline';
import { el, icon, iconButton } from './ui/dom';
import { Notices } from './ui/notices';
import { Stage } from './views/stage';
import { withoutEffect } from './ui/support';
import { reasonOf } from './reason';

/** Two points that show the bend of a great circle, and a title along it. */
function firstScene(effect: EffectDescription): Scene {
  const layer = effect.controls.find((control) => control.kind === 'layer');
  return {
    frame: { kind: 'example', example: 'landscape' },
    layers: layer === undefined ? {} : { [layer.index]: { kind: 'example', example: 'title' } },
    tracks: {},
    depth: '8',
    firstFrame: 1,
    lastFrame: 120,
    rate: { num: 24, den: 1 },
  };
}

const viewModes: readonly { mode: ViewMode; label: string }[] = [
  { mode: 'both', label: 'Both' },
  { mode: 'flat', label: 'Flat' },
  { mode: 'inside', label: 'Inside' },
  { mode: 'globe', label: 'Globe' },
];

class Page {
  readonly #app: App;
  readonly #library: Library;
  readonly #files = new FileWorker();
  readonly #notices = new Notices();
  readonly #stage: Stage;
  readonly #preview: Preview;
  readonly #timeline: Timeline;
  readonly #export: ExportDialog;

  constructor(engine: Engine, effect: EffectDescription) {
    this.#app = new App(effect, firstScene(effect));
    this.#library = new Library(engine);
    this.#stage = new Stage(this.#app);
    const fail = (reason: string): void => this.#notices.show(reason, 'trouble');
    this.#preview = new Preview(this.#app, engine, this.#library, this.#stage, fail);
    this.#timeline = new Timeline(this.#app, this.#preview);
    this.#export = new ExportDialog(
      this.#app, engine, this.#preview, this.#files, this.#library, this.#notices,
    );
  }

  /** The first panorama takes a while to draw; a quarter of its pixels is there at once. */
  async drawDraft(engine: Engine): Promise<void> {
    const { frame } = this.#app.scene;
    const [width, height] = [1024, 512];
    const data = await engine.drawSample(false, width, height);
    this.#library.addDraft(frame, {
      width, height, channels: 4, samples: 'uint8', premultiplied: false, linear: false, data,
    });
  }

  mount(root: HTMLElement): void {
    root.replaceChildren(
      this.#header(),
      el(
        'main',
        { class: 'work' },
        el('h1', { class: 'visually-hidden', text: 'Veltra: a layer along a great circle of your panorama' }),
        this.#stage.element,
        this.#side(),
        this.#timeline.element,
      ),
      this.#notices.element,
      this.#export.element,
    );
    this.#takeDrops();
    this.#takeKeys();
    this.openLink();
    window.addEventListener('hashchange', () => this.openLink());
    this.#preview.update();
  }

  #header(): HTMLElement {
    const app = this.#app;
    const undo = iconButton('undo', 'Undo', () => app.undo());
    const redo = iconButton('redo', 'Redo', () => app.redo());
    const update = (): void => {
      undo.disabled = !app.canUndo;
      redo.disabled = !app.canRedo;
    };
    app.subscribe(update);
    update();
    return el(
      'header',
      { class: 'top' },
      el('div', { class: 'brand' }, el('span', { class: 'brand-mark', 'aria-hidden': 'true' }), el('span', { text: 'Veltra' })),
      el('div', { class: 'top-tools', role: 'toolbar', 'aria-label': 'Scene' }, undo, redo, this.#viewChoice(), this.#themeButton()),
      el(
        'button',
        { type: 'button', class: 'button primary', onclick: () => this.#export.open() },
        icon('export'),
        el('span', { text: 'Export' }),
      ),
    );
  }

  #viewChoice(): HTMLElement {
    const radios = viewModes.map(({ mode, label }) => {
      const radio = el('input', { type: 'radio', name: 'view', value: mode });
      radio.addEventListener('change', () => this.#app.setLook({ view: mode }));
      return { radio, mode, label: el('label', {}, radio, el('span', { text: label })) };
    });
    this.#app.subscribe(() => {
      for (const each of radios) {
        each.radio.checked = each.mode === this.#app.look.view;
      }
    });
    const [first] = radios;
    if (first !== undefined) {
      first.radio.checked = true;
    }
    return el(
      'div',
      { class: 'segments views', role: 'radiogroup', 'aria-label': 'View' },
      ...radios.map((each) => each.label),
    );
  }

  #themeButton(): HTMLElement {
    const isDark = (): boolean => {
      const { theme } = document.documentElement.dataset;
      return theme === undefined ? matchMedia('(prefers-color-scheme: dark)').matches : theme === 'dark';
    };
    const button = iconButton('sun', 'Light or dark', () => {
      document.documentElement.dataset['theme'] = isDark() ? 'light' : 'dark';
      button.replaceChildren(icon(isDark() ? 'sun' : 'moon'));
    });
    button.replaceChildren(icon(isDark() ? 'sun' : 'moon'));
    return button;
  }

  #side(): HTMLElement {
    const app = this.#app;
    const choosing = { openFile: (file: File, use: 'frame' | 'layer') => void this.#open(file, use) };
    const panel = new Panel(app, (control) => layerChooser(app, control, choosing));
    panel.element.prepend(frameChooser(app, choosing));
    return el(
      'aside',
      { class: 'side', 'aria-label': 'Controls' },
      panel.element,
      this.#renderFields(),
      el(
        'div',
        { class: 'control' },
        el('div', { class: 'control-head' }, el('span', { class: 'label', text: 'Saved scene' })),
        fileButton('Open scene.json', '.json,application/json', (file) => void this.#openScene(file)),
      ),
    );
  }

  /** Depth of the project, and exposure where it matters. */
  #renderFields(): HTMLElement {
    const app = this.#app;
    const depth = el(
      'select',
      { id: 'depth' },
      ...depths.map((name) => el('option', { value: name, text: name === 'float' ? '32-bit float' : `${name} bit` })),
    );
    depth.addEventListener('change', () => {
      const chosen = depths.find((each) => each === depth.value) ?? '8';
      app.changeScene((scene) => ({
        ...scene,
        depth: chosen,
        ...(scene.kept && { kept: { ...scene.kept, openDepth: false } }),
      }));
    });
    const exposure = el('input', { type: 'range', id: 'exposure', min: -8, max: 8, step: 0.1 });
    const stops = el('output', { for: 'exposure' });
    exposure.addEventListener('input', () => app.setLook({ exposure: Number(exposure.value) }));
    const exposureRow = el(
      'div',
      { class: 'control', 'data-control': 'exposure' },
      el('div', { class: 'control-head' }, el('label', { for: 'exposure', text: 'Exposure of the view' }), stops),
      exposure,
    );
    const update = (): void => {
      depth.value = app.scene.depth;
      exposureRow.hidden = !app.sizes.linear || app.scene.depth !== 'float';
      exposure.value = String(app.look.exposure);
      exposure.style.setProperty('--share', `${((app.look.exposure + 8) / 16) * 100}%`);
      stops.textContent = `${app.look.exposure.toFixed(1)} stops`;
    };
    app.subscribe(update);
    update();
    return el(
      'div',
      { class: 'controls project' },
      el(
        'div',
        { class: 'control', 'data-control': 'depth' },
        el('div', { class: 'control-head' }, el('label', { for: 'depth', text: 'Bits per channel' })),
        depth,
      ),
      exposureRow,
    );
  }

  // ---- Files in ----

  async #open(file: File, use: 'frame' | 'layer'): Promise<void> {
    const kind = kindOf(new Uint8Array(await file.slice(0, 64).arrayBuffer()));
    if (kind === 'scene') {
      await this.#openScene(file);
      return;
    }
    this.#notices.show(`Reading ${file.name}…`);
    try {
      if (kind === 'video') {
        await this.#openVideo(file, use);
        return;
      }
      const source = this.#library.addFile(file.name, await this.#files.read(file));
      this.#use(source, use);
      this.#notices.clear();
      if (use === 'frame') {
        this.#tellShape(file.name, await this.#library.get(source, 1));
      }
    } catch (error) {
      const reason = reasonOf(error);
      this.#notices.show(`${file.name}: ${reason}`, 'trouble');
    }
  }

  #tellShape(name: string, { width, height }: { readonly width: number; readonly height: number }): void {
    if (width !== 2 * height) {
      this.#notices.show(`${name} is ${width} × ${height}, not 2:1. It is used as the whole sphere all the same.`);
    }
  }

  async #openVideo(file: File, use: 'frame' | 'layer'): Promise<void> {
    if (use === 'layer') {
      throw new PictureFailure('a video cannot be the layer here, only the panorama (veltra render takes both)');
    }
    const video = await VideoFile.open(file);
    await video.frame(1);
    const frame = this.#library.addVideo(file.name, video);
    this.#app.changeScene((scene) => {
      const kept = { settings: {}, layers: {}, ...scene.kept, frames: true, openRate: true, openDepth: false };
      return { ...scene, frame, depth: '8', firstFrame: 1, lastFrame: video.count, rate: video.rate, kept };
    });
    this.#app.setFrame(1);
    this.#notices.clear();
    this.#tellShape(file.name, video);
  }

  #use(source: Source, use: 'frame' | 'layer'): void {
    const layer = this.#app.layerControl;
    if (use === 'frame') {
      const picture = this.#library.find(source);
      this.#app.changeScene((scene) => ({
        ...scene,
        frame: source,
        depth: picture === undefined ? scene.depth : depthOf(picture),
      }));
    } else if (layer !== null) {
      this.#app.changeScene((scene) => ({ ...scene, layers: { ...scene.layers, [layer.index]: source } }));
    }
  }

  async #openScene(file: File): Promise<void> {
    const app = this.#app;
    try {
      const before = app.scene;
      const read = readScene(await file.text(), before, app.effect.controls);
      app.changeScene(() => read.scene);
      app.setFrame(app.frame);
      const open = [before.frame, ...Object.values(before.layers)].flatMap((source) =>
        source === undefined ? [] : [fileNameOf(source)],
      );
      const missing = read.named.filter((name) => !open.includes(name));
      const hidden = notShown(read.scene);
      this.#notices.show(
        [
          `${file.name} is open.`,
          missing.length === 0 ? '' : `Choose its pictures too: ${missing.join(', ')}.`,
          hidden.length === 0 ? '' : `Kept, but not shown here: ${hidden.join(', ')}.`,
        ].join(' ').trim(),
      );
    } catch (error) {
      const reason = reasonOf(error);
      this.#notices.show(`${file.name}: ${reason}`, 'trouble');
    }
  }

  openLink(): void {
    const app = this.#app;
    try {
      const linked = sceneFromLink(location.hash, app.scene, app.effect.controls);
      if (linked === null) {
        return;
      }
      app.changeScene(() => linked.scene);
      app.setFrame(linked.scene.firstFrame);
      if (linked.missing.length > 0) {
        this.#notices.show(`The link's pictures stay with whoever made it. Choose yours for ${linked.missing.join(', ')}.`);
      }
    } catch (error) {
      this.#notices.show(reasonOf(error), 'trouble');
    }
  }

  /** A file dropped on the panel's layer is a layer; anywhere else the panorama. */
  #takeDrops(): void {
    const over = (event: DragEvent): 'frame' | 'layer' =>
      event.target instanceof Element && event.target.closest('[data-control="layer"]') !== null ? 'layer' : 'frame';
    window.addEventListener('dragover', (event) => {
      event.preventDefault();
      document.body.dataset['drop'] = over(event);
    });
    window.addEventListener('dragleave', (event) => {
      if (event.relatedTarget === null) {
        delete document.body.dataset['drop'];
      }
    });
    window.addEventListener('drop', (event) => {
      event.preventDefault();
      delete document.body.dataset['drop'];
      const file = event.dataTransfer?.files[0];
      if (file !== undefined) {
        void this.#open(file, over(event));
      }
    });
  }

  #takeKeys(): void {
    window.addEventListener('keydown', (event) => {
      const typing = event.target instanceof Element && event.target.matches('input[type="text"], textarea, select');
      const command = event.ctrlKey || event.metaKey;
      const key = event.key.toLowerCase();
      if (command && key === 'z' && !typing) {
        event.preventDefault();
        if (event.shiftKey) {
          this.#app.redo();
        } else {
          this.#app.undo();
        }
      } else if (command && key === 'y' && !typing) {
        event.preventDefault();
        this.#app.redo();
      } else if (key === ' ' && (event.target === document.body || event.target === document.documentElement)) {
        event.preventDefault();
        this.#timeline.togglePlaying();
      }
    });
  }
}

/** The next visit needs no network; without such a worker it does, and all else is the same. */
function keepForOffline(): void {
  if (import.meta.env.PROD && 'serviceWorker' in navigator) {
    navigator.serviceWorker.register('./service_worker.js').catch(() => undefined);
  }
}

async function start(root: HTMLElement): Promise<void> {
  const trouble = withoutEffect();
  if (trouble !== null) {
    root.replaceChildren(el('p', { class: 'starting trouble', role: 'alert', text: trouble }));
    return;
  }
  try {
    const engine = await Engine.start();
    const page = new Page(engine, parseDescription(engine.description));
    await page.drawDraft(engine);
    page.mount(root);
    keepForOffline();
  } catch (error) {
    const reason = reasonOf(error);
    root.replaceChildren(
      el('p', { class: 'starting trouble', role: 'alert', text: `The effect could not start: ${reason}` }),
    );
  }
}

const root = document.getElementById('page');
if (root !== null) {
  void start(root);
}
