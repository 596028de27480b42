// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Elements in one expression.

type Child = Node | string | null;

interface Attributes {
  readonly class?: string;
  readonly text?: string;
  /** Any attribute; true is one without a value, false and null none at all. */
  readonly [name: string]: string | number | boolean | null | undefined | ((event: never) => void);
}

function apply(element: Element, name: string, value: Attributes[string]): void {
  if (value === null || value === undefined || value === false) {
    return;
  }
  if (typeof value === 'function') {
    element.addEventListener(name.replace(/^on/, ''), value as (event: Event) => void);
  } else if (name === 'text') {
    element.textContent = String(value);
  } else {
    element.setAttribute(name, value === true ? '' : String(value));
  }
}

export function el<Name extends keyof HTMLElementTagNameMap>(
  name: Name,
  attributes: Attributes = {},
  ...children: Child[]
): HTMLElementTagNameMap[Name] {
  const element = document.createElement(name);
  for (const [key, value] of Object.entries(attributes)) {
    apply(element, key, value);
  }
  element.append(...children.filter((child): child is Node | string => child !== null));
  return element;
}

const svgNamespace = 'http://www.w3.org/2000/svg';

export function svg<Name extends keyof SVGElementTagNameMap>(
  name: Name,
  attributes: Attributes = {},
  ...children: Element[]
): SVGElementTagNameMap[Name] {
  const element = document.createElementNS(svgNamespace, name);
  for (const [key, value] of Object.entries(attributes)) {
    apply(element, key, value);
  }
  element.append(...children);
  return element;
}

/** Line drawings of 24 units, stroked in the colour of the text. */
const drawings = {
  undo: 'M9 7 4 12l5 5M4 12h10a6 6 0 0 1 6 6',
  redo: 'm15 7 5 5-5 5M20 12H10a6 6 0 0 0-6 6',
  reset: 'M4 4v6h6M4.6 10A8 8 0 1 1 4 14',
  key: 'M12 4 20 12 12 20 4 12Z',
  play: 'M7 5v14l12-7Z',
  pause: 'M8 5v14M16 5v14',
  first: 'M6 5v14M19 5l-10 7 10 7Z',
  last: 'M18 5v14M5 5l10 7-10 7Z',
  loop: 'M4 11V9a3 3 0 0 1 3-3h12l-3-3M20 13v2a3 3 0 0 1-3 3H5l3 3',
  export: 'M12 15V4m0 0L7.500 8.500M12 4l4.500 4.500M5 15v4a1 1 0 0 0 1 1h12a1 1 0 0 0 1-1v-4',
  image: 'M4 5h16v14H4ZM4 16l5-5 5 5 3-3 3 3M15.500 9.500h.01',
  layer: 'M12 4 3 9l9 5 9-5ZM4 14l8 4.500L20 14',
  text: 'M5 7V5h14v2M12 5v14M9 19h6',
  sun: 'M12 8a4 4 0 1 0 0 8 4 4 0 0 0 0-8ZM12 3v1.500M12 19.500V21M3 12h1.500M19.500 12H21M5.600 5.600l1 1M17.400 17.400l1 1M5.600 18.400l1-1M17.400 6.600l1-1',
  moon: 'M20 14.500A8 8 0 1 1 9.500 4a6.500 6.500 0 0 0 10.500 10.500Z',
  close: 'M6 6l12 12M18 6 6 18',
  trash: 'M5 7h14M10 7V4h4v3M7 7l1 13h8l1-13',
  copy: 'M9 9h11v11H9ZM15 9V4H4v11h5',
  help: 'M9 9a3 3 0 1 1 4.500 2.600c-1 .600-1.500 1.200-1.500 2.400M12 17.500h.01M12 21a9 9 0 1 0 0-18 9 9 0 0 0 0 18Z',
} as const;
export type IconName = keyof typeof drawings;

export function icon(name: IconName): SVGElement {
  return svg(
    'svg',
    { viewBox: '0 0 24 24', class: 'icon', 'aria-hidden': 'true' },
    svg('path', { d: drawings[name] }),
  );
}

export function iconButton(
  name: IconName,
  label: string,
  onclick: () => void,
  attributes: Attributes = {},
): HTMLButtonElement {
  return el(
    'button',
    { type: 'button', class: 'icon-button', 'aria-label': label, title: label, onclick, ...attributes },
    icon(name),
  );
}
