// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// One line at the bottom that says what happened, also to screen readers.
import { el, iconButton } from './dom';

export class Notices {
  readonly element = el('div', { class: 'notices', role: 'status', 'aria-live': 'polite' });
  static readonly #staysFor = 9000;

  show(text: string, kind: 'news' | 'trouble' = 'news'): void {
    const notice = el('div', { class: `notice ${kind}` }, el('span', { text }));
    notice.append(iconButton('close', 'Dismiss', () => notice.remove()));
    this.element.replaceChildren(notice);
    if (kind === 'news') {
      setTimeout(() => notice.remove(), Notices.#staysFor);
    }
  }

  clear(): void {
    this.element.replaceChildren();
  }
}
