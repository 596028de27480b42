// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// The effect's controls, built from what the effect declares and nothing else.
import type { App } from '../app';
import {
  clampToValid,
  defaultValue,
  fixedOne,
  fixedText,
  hasValue,
  parseDecimal,
  percentOfPixels,
  pixelsOfPercent,
  sameValue,
  slug,
  toFixed16,
  type CheckboxControl,
  type Control,
  type PointControl,
  type PopupControl,
  type SliderControl,
  type ValueControl,
} from '../scene/controls';
import { trackOf, withAnimation, withTrack } from '../scene/scene';
import { el, iconButton } from '../ui/dom';

/** One control's line in the panel. */
interface Row {
  readonly element: HTMLElement;
  update(): void;
}

/** Decimals of a point's pixels, as After Effects shows them. */
const pointDigits = 1;

export class Panel {
  readonly element: HTMLElement;
  readonly #app: App;
  readonly #rows: Row[] = [];

  /** `layerRow` is what stands for a layer control: choosing pictures is not the panel's. */
  constructor(app: App, layerRow: (control: Control) => HTMLElement) {
    this.#app = app;
    this.element = el('div', { class: 'controls' });
    for (const control of app.effect.controls) {
      if (control.kind === 'layer') {
        this.element.append(layerRow(control));
      } else if (hasValue(control)) {
        const row = this.#makeRow(control);
        this.#rows.push(row);
        this.element.append(row.element);
      }
    }
    app.subscribe(() => this.update());
    this.update();
  }

  update(): void {
    for (const row of this.#rows) {
      row.update();
    }
  }

  #makeRow(control: ValueControl): Row {
    switch (control.kind) {
      case 'point':
        return this.#pointRow(control);
      case 'slider':
        return this.#sliderRow(control);
      case 'checkbox':
        return this.#checkboxRow(control);
      case 'popup':
        return this.#popupRow(control);
    }
  }

  /** The name, the control's own fields, and what every control has: keyframes and reset. */
  #frameOf(
    control: ValueControl,
    label: HTMLElement,
    ...fields: HTMLElement[]
  ): { readonly element: HTMLElement; readonly updateCommon: () => void } {
    const animate = iconButton('key', `Animate ${control.name}`, () => {
      this.#app.changeScene((scene) =>
        withAnimation(scene, control, this.#app.frame, !trackOf(scene, control).animated, this.#app.sizes),
      );
    });
    const reset = iconButton('reset', `Reset ${control.name}`, () => {
      this.#app.changeScene((scene) => withTrack(scene, control.index, undefined));
    });
    const element = el(
      'div',
      { class: `control control-${control.kind}`, 'data-control': slug(control.name) },
      el('div', { class: 'control-head' }, label, animate, reset),
      ...fields,
    );
    return {
      element,
      updateCommon: () => {
        const track = trackOf(this.#app.scene, control);
        animate.setAttribute('aria-pressed', String(track.animated));
        animate.classList.toggle(
          'on-key',
          track.animated && track.keys.some((key) => key.frame === this.#app.frame),
        );
        const value = this.#app.value(control);
        reset.disabled = !track.animated && sameValue(value, defaultValue(control));
      },
    };
  }

  #sliderRow(control: SliderControl): Row {
    const id = `control-${control.index}`;
    const number = this.#numberField({ id });
    const unit = 10 ** -control.precision;
    const range = el('input', {
      type: 'range',
      min: control.sliderMin / fixedOne,
      max: control.sliderMax / fixedOne,
      step: unit,
      'aria-label': `${control.name} slider`,
    });
    range.addEventListener('pointerdown', () => this.#app.beginGesture());
    range.addEventListener('change', () => this.#app.endGesture());
    range.addEventListener('pointerup', () => this.#app.endGesture());
    range.addEventListener('input', () => {
      this.#app.setValue(control, { x: toFixed16(Number(range.value)), y: 0 });
    });
    const limits = `${fixedText(control.validMin)} to ${fixedText(control.validMax)}`;
    number.title = limits;
    this.#onCommit(number, (typed) => {
      const fixed = toFixed16(typed);
      const kept = clampToValid(control, fixed);
      this.#app.setValue(control, { x: kept, y: 0 });
      return kept === fixed ? null : `${control.name} takes ${limits}`;
    });
    const { element, updateCommon } = this.#frameOf(
      control,
      el('label', { for: id, text: control.name }),
      el('div', { class: 'slider-fields' }, range, number),
    );
    const update = (): void => {
      updateCommon();
      const { x } = this.#app.value(control);
      show(number, fixedText(x));
      range.value = String(x / fixedOne);
      const share = (x - control.sliderMin) / (control.sliderMax - control.sliderMin);
      range.style.setProperty('--share', `${Math.max(0, Math.min(1, share)) * 100}%`);
    };
    return { element, update };
  }

  #pointRow(control: PointControl): Row {
    const axes = (['x', 'y'] as const).map((axis) => {
      const field = this.#numberField({ 'aria-label': `${control.name} ${axis.toUpperCase()}` });
      const side = (): number => this.#app.sizes[axis === 'x' ? 'width' : 'height'];
      this.#onCommit(field, (typed) => {
        const value = this.#app.value(control);
        this.#app.setValue(control, { ...value, [axis]: percentOfPixels(typed, side()) });
        return null;
      });
      const update = (): void => {
        const pixels = pixelsOfPercent(this.#app.value(control)[axis], side()) / fixedOne;
        show(field, pixels.toFixed(pointDigits));
      };
      const box = el('span', { class: 'axis' }, el('span', { 'aria-hidden': 'true', text: axis.toUpperCase() }), field);
      return { box, update };
    });
    const { element, updateCommon } = this.#frameOf(
      control,
      el('span', { class: 'label', text: control.name }),
      el('div', { class: 'point-fields', role: 'group', 'aria-label': control.name }, ...axes.map((axis) => axis.box)),
    );
    const update = (): void => {
      updateCommon();
      axes.forEach((axis) => axis.update());
    };
    return { element, update };
  }

  #checkboxRow(control: CheckboxControl): Row {
    const id = `control-${control.index}`;
    const box = el('input', { type: 'checkbox', id });
    box.addEventListener('change', () => {
      this.#app.setValue(control, { x: box.checked ? 1 : 0, y: 0 });
    });
    const label = el('label', { for: id, class: 'check' }, box, el('span', { text: control.name }));
    const { element, updateCommon } = this.#frameOf(control, label);
    const update = (): void => {
      updateCommon();
      box.checked = this.#app.value(control).x !== 0;
    };
    return { element, update };
  }

  #popupRow(control: PopupControl): Row {
    const name = `control-${control.index}`;
    const choices = control.choices.map((choice, index) => {
      const radio = el('input', { type: 'radio', name, value: index + 1 });
      radio.addEventListener('change', () => {
        this.#app.setValue(control, { x: index + 1, y: 0 });
      });
      return { radio, label: el('label', {}, radio, el('span', { text: choice })) };
    });
    const { element, updateCommon } = this.#frameOf(
      control,
      el('span', { class: 'label', text: control.name }),
      el(
        'div',
        { class: 'segments', role: 'radiogroup', 'aria-label': control.name },
        ...choices.map((choice) => choice.label),
      ),
    );
    const update = (): void => {
      updateCommon();
      const { x } = this.#app.value(control);
      choices.forEach((choice, index) => {
        choice.radio.checked = index + 1 === x;
      });
    };
    return { element, update };
  }

  #numberField(attributes: Record<string, string>): HTMLInputElement {
    return el('input', {
      type: 'text',
      inputmode: 'decimal',
      autocomplete: 'off',
      spellcheck: 'false',
      class: 'number',
      ...attributes,
    });
  }

  /** Takes what was typed on Enter or when the field is left; arrows step, Escape gives up. */
  #onCommit(field: HTMLInputElement, take: (typed: number) => string | null): void {
    const commit = (): void => {
      const typed = parseDecimal(field.value);
      if (field.value === field.dataset['shown']) {
        return;
      }
      const complaint = typed === null ? 'a number is expected, such as 12.5' : take(typed);
      field.setCustomValidity(complaint ?? '');
      if (complaint !== null) {
        field.reportValidity();
      }
      field.dataset['shown'] = '';
      this.update();
    };
    field.addEventListener('change', commit);
    field.addEventListener('input', () => field.setCustomValidity(''));
    field.addEventListener('keydown', (event) => {
      const step = event.key === 'ArrowUp' ? 1 : event.key === 'ArrowDown' ? -1 : 0;
      const typed = parseDecimal(field.value);
      if (step !== 0 && typed !== null) {
        event.preventDefault();
        field.value = String(typed + step * (event.shiftKey ? 10 : 1));
        commit();
      } else if (event.key === 'Escape') {
        field.value = field.dataset['shown'] ?? '';
        field.blur();
      }
    });
  }
}

/** Shows a text unless somebody is typing there. */
function show(field: HTMLInputElement, text: string): void {
  const typing = document.activeElement === field && field.value !== field.dataset['shown'];
  if (!typing || field.dataset['shown'] === '') {
    field.value = text;
    field.dataset['shown'] = text;
  }
}
