// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Everything that leaves the page: pictures, the scene, the command, a link.
import type { App } from '../app';
import type { Engine, RenderedFrame } from '../engine/engine';
import type { Delivery } from '../engine/protocol';
import type { FileWorker } from '../pictures/files';
import { fileNameOf, type Library } from '../pictures/library';
import { requestOf, type Preview } from '../preview';
import { commandLine } from '../scene/command_line';
import { linkOf } from '../scene/link';
import type { Source } from '../scene/scene';
import { namesOf, notShown, sceneText } from '../scene/scene_file';
import { el, icon, iconButton } from '../ui/dom';
import { encodeVideo, type VideoKind } from './video';
import type { Notices } from '../ui/notices';
import { reasonOf } from '../reason';

export function save(bytes: BlobPart, name: string, type: string): void {
  const address = URL.createObjectURL(new Blob([bytes], { type }));
  const link = el('a', { href: address, download: name });
  link.click();
  setTimeout(() => URL.revokeObjectURL(address), 60_000);
}

type PictureKind = 'png8' | 'png16' | 'exr';

export class ExportDialog {
  readonly element: HTMLDialogElement;
  readonly #app: App;
  readonly #engine: Engine;
  readonly #preview: Preview;
  readonly #files: FileWorker;
  readonly #library: Library;
  readonly #notices: Notices;
  readonly #command = el('textarea', { readonly: true, rows: 3, id: 'command-line', spellcheck: 'false' });
  readonly #cancel = el('button', { type: 'button', class: 'button quiet', hidden: true, text: 'Cancel' });
  #encoding: AbortController | null = null;
  readonly #kept = el('p', { class: 'hint', 'data-export': 'kept' });
  readonly #progress = el('p', { class: 'hint', role: 'status' });

  constructor(
    app: App,
    engine: Engine,
    preview: Preview,
    files: FileWorker,
    library: Library,
    notices: Notices,
  ) {
    this.#app = app;
    this.#engine = engine;
    this.#preview = preview;
    this.#files = files;
    this.#library = library;
    this.#notices = notices;
    this.element = el(
      'dialog',
      { class: 'dialog', 'aria-labelledby': 'export-title' },
      el(
        'div',
        { class: 'dialog-head' },
        el('h2', { id: 'export-title', text: 'Export' }),
        iconButton('close', 'Close', () => this.element.close()),
      ),
      this.#pictureSection(),
      this.#videoSection(),
      this.#sceneSection(),
      this.#linkSection(),
      this.#progress,
    );
    this.element.addEventListener('close', () => this.#encoding?.abort());
  }

  open(): void {
    this.#command.value = commandLine(this.#app.scene, this.#app.effect.controls, namesOf(this.#app.scene, fileNameOf));
    this.#progress.textContent = '';
    const hidden = notShown(this.#app.scene);
    this.#kept.hidden = hidden.length === 0;
    this.#kept.textContent = `scene.json keeps ${hidden.join(', ')}, which the picture here does not follow.`;
    this.element.showModal();
  }

  #button(text: string, onclick: () => void, name: string): HTMLButtonElement {
    return el('button', { type: 'button', class: 'button', onclick, 'data-export': name }, icon('export'), text);
  }

  #pictureSection(): HTMLElement {
    return el(
      'section',
      {},
      el('h3', { text: 'This frame, full resolution' }),
      el(
        'div',
        { class: 'buttons' },
        this.#button('PNG, 8 bit', () => void this.#picture('png8'), 'png8'),
        this.#button('PNG, 16 bit', () => void this.#picture('png16'), 'png16'),
        this.#button('OpenEXR, float', () => void this.#picture('exr'), 'exr'),
      ),
      el('p', { class: 'hint', text: 'Rendered in the depth that the scene has, as veltra render does.' }),
    );
  }

  #videoSection(): HTMLElement {
    this.#cancel.addEventListener('click', () => this.#encoding?.abort());
    return el(
      'section',
      {},
      el('h3', { text: 'All frames as a video' }),
      el(
        'div',
        { class: 'buttons' },
        this.#button('WebM', () => void this.#video('webm'), 'webm'),
        this.#button('MP4', () => void this.#video('mp4'), 'mp4'),
        this.#cancel,
      ),
      el('p', {
        class: 'hint',
        text: 'Full resolution, 8 bit, as the view shows it, without alpha and sound. For more render the scene with veltra.',
      }),
    );
  }

  #sceneSection(): HTMLElement {
    return el(
      'section',
      {},
      el('h3', { text: 'The scene, for the program and After Effects' }),
      el(
        'div',
        { class: 'buttons' },
        this.#button('scene.json', () => this.#scene(), 'scene'),
        this.#button('Pictures that the page drew', () => void this.#drawnPictures(), 'pictures'),
      ),
      this.#kept,
      el('label', { for: 'command-line', text: 'Command line' }),
      this.#command,
      el('div', { class: 'buttons' }, this.#copyButton('Copy the command', () => this.#command.value)),
    );
  }

  #linkSection(): HTMLElement {
    return el(
      'section',
      {},
      el('h3', { text: 'Link' }),
      el('p', {
        class: 'hint',
        text: 'Holds all settings and texts. Pictures of your own stay on this machine; whoever opens the link chooses theirs.',
      }),
      el('div', { class: 'buttons' }, this.#copyButton('Copy the link', () => this.#link())),
    );
  }

  #copyButton(text: string, value: () => string): HTMLButtonElement {
    return el(
      'button',
      {
        type: 'button',
        class: 'button quiet',
        onclick: () => {
          navigator.clipboard.writeText(value()).then(
            () => (this.#progress.textContent = 'Copied.'),
            () => (this.#progress.textContent = 'The browser did not allow copying; select the text instead.'),
          );
        },
      },
      icon('copy'),
      text,
    );
  }

  #link(): string {
    const hash = linkOf(this.#app.scene, this.#app.effect.controls);
    history.replaceState(null, '', hash);
    return location.href;
  }

  #scene(): void {
    const text = sceneText(this.#app.scene, this.#app.effect.controls, namesOf(this.#app.scene, fileNameOf));
    save(text, 'scene.json', 'application/json');
    this.#progress.textContent = 'Saved scene.json.';
  }

  async #guarded(what: string, work: () => Promise<void>): Promise<void> {
    this.#progress.textContent = `${what}…`;
    try {
      await work();
      this.#progress.textContent = 'Saved.';
    } catch (error) {
      const reason = reasonOf(error);
      this.#progress.textContent = `Not saved: ${reason}`;
      this.#notices.show(`Not saved: ${reason}`, 'trouble');
    }
  }

  /** The examples and texts of the scene as the files that it names. */
  async #drawnPictures(): Promise<void> {
    const { scene } = this.#app;
    const sources = [scene.frame, ...Object.values(scene.layers)].filter(
      (source): source is Source => source !== undefined && source.kind !== 'file' && source.kind !== 'video',
    );
    if (sources.length === 0) {
      this.#progress.textContent = 'All pictures of this scene are your own.';
      return;
    }
    await this.#guarded('Writing the pictures', async () => {
      for (const source of sources) {
        const { width, height, data } = await this.#library.get(source, 1);
        const bytes = await this.#files.write({
          type: 'png', width, height, channels: 4, bits: 8, data: data.slice(0),
        });
        save(bytes, fileNameOf(source), 'image/png');
      }
    });
  }

  async #picture(kind: PictureKind): Promise<void> {
    await this.#guarded('Rendering', async () => {
      const { scene, frame } = this.#app;
      const inputs = await this.#preview.inputs(scene, frame);
      const request = requestOf(this.#app, scene, inputs, frame, 1);
      const delivery: Delivery = {
        kind: 'file',
        samples: kind === 'png8' ? 'uint8' : kind === 'png16' ? 'uint16' : 'float',
        alpha: true,
        premultiplied: kind === 'exr',
      };
      const { width, height, pixels } = await this.#engine.render(request, delivery, { replaceable: false });
      const data = pixels.buffer;
      if (kind === 'exr') {
        save(await this.#files.write({ type: 'exr', width, height, data }), 'out.exr', 'image/x-exr');
        return;
      }
      const bits = kind === 'png8' ? 8 : 16;
      const bytes = await this.#files.write({ type: 'png', width, height, channels: 4, bits, data });
      save(bytes, 'out.png', 'image/png');
    });
  }

  async #video(kind: VideoKind): Promise<void> {
    if (this.#encoding !== null) {
      return;
    }
    const encoding = new AbortController();
    this.#encoding = encoding;
    this.#cancel.hidden = false;
    await this.#guarded('Starting the video', async () => {
      const { scene, look } = this.#app;
      const { width, height, linear } = (await this.#preview.inputs(scene, scene.firstFrame)).frame;
      const count = scene.lastFrame - scene.firstFrame + 1;
      const delivery: Delivery = { kind: 'screen', linear, gain: 2 ** look.exposure };
      const render = async (place: number): Promise<RenderedFrame> => {
        this.#progress.textContent = `Frame ${place + 1} of ${count}…`;
        const frame = scene.firstFrame + place;
        const inputs = await this.#preview.inputs(scene, frame);
        const request = requestOf(this.#app, scene, inputs, frame, 1);
        return this.#engine.render(request, delivery, { replaceable: false });
      };
      const { rate } = scene;
      const bytes = await encodeVideo({ kind, width, height, rate, count, render, signal: encoding.signal });
      save(bytes, `out.${kind}`, `video/${kind}`);
    });
    this.#cancel.hidden = true;
    this.#encoding = null;
  }
}
