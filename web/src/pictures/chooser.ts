// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// The fields that choose the panorama and the layer: examples, files, text.
import type { App } from '../app';
import type { Control } from '../scene/controls';
import type { Source, TextStyle } from '../scene/scene';
import { el, icon, iconButton } from '../ui/dom';
import { examples } from './examples';
import { labelOf } from './library';
import { fonts } from './text_layer';

const accepted = 'image/*,.hdr,.exr';
const acceptedFrame = `${accepted},video/*,.mov,.mkv`;

export interface Choosing {
  /** Opens a file that was chosen; tells the person of its own failures. */
  openFile(file: File, use: 'frame' | 'layer'): void;
}

/** A button that opens the system's file dialog. */
export function fileButton(label: string, accept: string, take: (file: File) => void): HTMLElement {
  const input = el('input', { type: 'file', accept, class: 'file-input', 'aria-label': label, title: label });
  input.addEventListener('change', () => {
    const file = input.files?.[0];
    input.value = '';
    if (file !== undefined) {
      take(file);
    }
  });
  return el('span', { class: 'file-button' }, icon('image'), el('span', { 'aria-hidden': 'true', text: 'Open…' }), input);
}

function exampleSelect(use: 'frame' | 'layer', extra: HTMLOptionElement[], id: string): HTMLSelectElement {
  const own = examples.filter((example) => example.use === use);
  return el(
    'select',
    { id },
    ...extra,
    el(
      'optgroup',
      { label: 'Examples' },
      ...own.map((example) => el('option', { value: `example:${example.name}`, text: example.label })),
    ),
  );
}

function selectValue(source: Source | undefined): string {
  if (source === undefined) {
    return 'none';
  }
  if (source.kind === 'example') {
    return `example:${source.example}`;
  }
  return source.kind === 'video' ? 'file' : source.kind;
}

/** Shows the file's name as a choice of its own while one is open. */
function showFile(select: HTMLSelectElement, source: Source | undefined): void {
  const old = select.querySelector('option[value="file"]');
  if (source?.kind === 'file' || source?.kind === 'video') {
    const option = old ?? el('option', { value: 'file' });
    option.textContent = labelOf(source);
    select.prepend(option);
  } else {
    old?.remove();
  }
  select.value = selectValue(source);
}

export function frameChooser(app: App, choosing: Choosing): HTMLElement {
  const select = exampleSelect('frame', [], 'choose-frame');
  select.addEventListener('change', () => {
    const [kind, name] = select.value.split(':');
    if (kind === 'example' && name !== undefined) {
      app.changeScene((scene) => ({ ...scene, frame: { kind: 'example', example: name } }));
    }
  });
  const size = el('p', { class: 'hint' });
  const update = (): void => {
    showFile(select, app.scene.frame);
    const { width, height } = app.sizes;
    const odd = width !== 2 * height ? ' · not 2:1, used as the whole sphere all the same' : '';
    size.textContent = `${width} × ${height}${odd}`;
  };
  app.subscribe(update);
  update();
  return el(
    'div',
    { class: 'control control-picture', 'data-control': 'panorama' },
    el('div', { class: 'control-head' }, el('label', { for: 'choose-frame', text: 'Panorama' })),
    el(
      'div',
      { class: 'picture-fields' },
      select,
      fileButton('Open a panorama', acceptedFrame, (file) => choosing.openFile(file, 'frame')),
    ),
    size,
  );
}

const firstText: TextStyle = { text: 'Your title', font: 'Sans serif', colour: '#ffffff', panel: null, bold: true };

function textFields(app: App, control: Control): { element: HTMLElement; update(): void } {
  const current = (): TextStyle => {
    const source = app.scene.layers[control.index];
    return source?.kind === 'text' ? source.text : firstText;
  };
  const change = (part: Partial<TextStyle>): void => {
    const text = { ...current(), ...part };
    app.changeScene((scene) => ({
      ...scene,
      layers: { ...scene.layers, [control.index]: { kind: 'text', text } },
    }));
  };
  const words = el('input', { type: 'text', maxlength: 120, 'aria-label': 'Text of the layer', class: 'words' });
  words.addEventListener('focus', () => app.beginGesture());
  words.addEventListener('blur', () => app.endGesture());
  words.addEventListener('input', () => change({ text: words.value }));
  const font = el('select', { 'aria-label': 'Font' }, ...fonts.map((name) => el('option', { text: name })));
  font.addEventListener('change', () => change({ font: font.value }));
  const colour = el('input', { type: 'color', 'aria-label': 'Text colour', title: 'Text colour' });
  colour.addEventListener('input', () => change({ colour: colour.value }));
  const ground = el('input', { type: 'color', 'aria-label': 'Panel colour', title: 'Panel colour' });
  ground.addEventListener('input', () => change({ panel: ground.value }));
  const panel = el('input', { type: 'checkbox' });
  panel.addEventListener('change', () => change({ panel: panel.checked ? '#14243c' : null }));
  const bold = el('input', { type: 'checkbox' });
  bold.addEventListener('change', () => change({ bold: bold.checked }));
  const element = el(
    'div',
    { class: 'text-fields' },
    words,
    el(
      'div',
      { class: 'text-style' },
      font,
      el('label', { class: 'check small' }, bold, el('span', { text: 'Bold' })),
      colour,
      el('label', { class: 'check small' }, panel, el('span', { text: 'Panel' })),
      ground,
    ),
  );
  const update = (): void => {
    const source = app.scene.layers[control.index];
    element.hidden = source?.kind !== 'text';
    const style = current();
    if (words.value !== style.text) {
      words.value = style.text;
    }
    font.value = style.font;
    colour.value = style.colour;
    bold.checked = style.bold;
    panel.checked = style.panel !== null;
    ground.hidden = style.panel === null;
    ground.value = style.panel ?? '#14243c';
  };
  return { element, update };
}

export function layerChooser(app: App, control: Control, choosing: Choosing): HTMLElement {
  const id = `control-${control.index}`;
  const select = exampleSelect(
    'layer',
    [el('option', { value: 'none', text: 'None' }), el('option', { value: 'text', text: 'Text…' })],
    id,
  );
  const choose = (source: Source | undefined): void => {
    app.changeScene((scene) => ({ ...scene, layers: { ...scene.layers, [control.index]: source } }));
  };
  const text = textFields(app, control);
  select.addEventListener('change', () => {
    const [kind, name] = select.value.split(':');
    if (kind === 'example' && name !== undefined) {
      choose({ kind: 'example', example: name });
    } else if (kind === 'text') {
      choose({ kind: 'text', text: firstText });
      const words = text.element.querySelector<HTMLInputElement>('.words');
      queueMicrotask(() => words?.select());
    } else if (kind === 'none') {
      choose(undefined);
    }
  });
  const update = (): void => {
    showFile(select, app.scene.layers[control.index]);
    text.update();
  };
  app.subscribe(update);
  update();
  return el(
    'div',
    { class: 'control control-picture', 'data-control': 'layer' },
    el(
      'div',
      { class: 'control-head' },
      el('label', { for: id, text: control.name }),
      iconButton('text', 'Type a text', () => {
        choose({ kind: 'text', text: firstText });
        queueMicrotask(() => text.element.querySelector<HTMLInputElement>('.words')?.select());
      }),
    ),
    el(
      'div',
      { class: 'picture-fields' },
      select,
      fileButton('Open a layer', accepted, (file) => choosing.openFile(file, 'layer')),
    ),
    text.element,
  );
}
