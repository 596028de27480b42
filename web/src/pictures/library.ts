// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Every picture of the scene, made or read once and known to the render workers.
import type { Engine } from '../engine/engine';
import type { Picture } from '../engine/protocol';
import type { Source } from '../scene/scene';
import { findExample } from './examples';
import { PictureFailure } from './formats';
import { drawText } from './text_layer';
import type { PictureData } from './worker';

/** The name of a source, the same for the same picture. */
export function keyOf(source: Source): string {
  switch (source.kind) {
    case 'example':
      return `example:${source.example}`;
    case 'text':
      return `text:${JSON.stringify(source.text)}`;
    case 'file':
      return `file:${source.id}`;
  }
}

/** How the source is called in a scene file. */
export function fileNameOf(source: Source): string {
  switch (source.kind) {
    case 'example':
      return findExample(source.example)?.file ?? `${source.example}.png`;
    case 'text':
      return 'title.png';
    case 'file':
      return source.name;
  }
}

export function labelOf(source: Source): string {
  switch (source.kind) {
    case 'example':
      return findExample(source.example)?.label ?? source.example;
    case 'text':
      return `“${source.text.text}”`;
    case 'file':
      return source.name;
  }
}

interface Draft {
  readonly source: Source;
  readonly picture: Picture;
}

export class Library {
  readonly #engine: Engine;
  readonly #pictures = new Map<string, Picture>();
  readonly #drafts = new Map<string, Draft>();
  readonly #making = new Map<string, Promise<Picture>>();
  #lastId = 0;
  /** Text changes with every letter; the ones before are kept a while for undo. */
  static readonly #mostTexts = 12;

  constructor(engine: Engine) {
    this.#engine = engine;
  }

  /** Keeps a picture that was read from a file, and gives the source that stands for it. */
  addFile(name: string, data: PictureData): Source {
    const id = String(++this.#lastId);
    const source: Source = { kind: 'file', id, name };
    this.#keep(keyOf(source), name, data);
    return source;
  }

  /** Keeps a small version of a picture that is shown until the picture itself is drawn. */
  addDraft(of: Source, data: PictureData): void {
    const source = this.addFile(labelOf(of), data);
    const picture = this.find(source);
    if (picture !== undefined) {
      this.#drafts.set(keyOf(of), { source, picture });
    }
  }

  /** The small version of a picture that is not drawn yet. */
  draftOf(source: Source): Draft | undefined {
    return this.#pictures.has(keyOf(source)) ? undefined : this.#drafts.get(keyOf(source));
  }

  find(source: Source): Picture | undefined {
    return this.#pictures.get(keyOf(source));
  }

  async get(source: Source): Promise<Picture> {
    const key = keyOf(source);
    const known = this.#pictures.get(key);
    if (known !== undefined) {
      return known;
    }
    const making = this.#making.get(key) ?? this.#make(source);
    this.#making.set(key, making);
    try {
      return await making;
    } finally {
      this.#making.delete(key);
    }
  }

  async #make(source: Source): Promise<Picture> {
    switch (source.kind) {
      case 'example': {
        const example = findExample(source.example);
        if (example === undefined) {
          throw new PictureFailure(`there is no example '${source.example}'`);
        }
        return this.#keep(keyOf(source), example.label, await example.draw(this.#engine));
      }
      case 'text':
        this.#dropOldTexts();
        return this.#keep(keyOf(source), source.text.text, drawText(source.text));
      case 'file':
        throw new PictureFailure(`${source.name} is not open any more (choose it again)`);
    }
  }

  #keep(key: string, name: string, data: PictureData): Picture {
    const picture: Picture = { ...data, id: `${++this.#lastId}:${key}`, name };
    const before = this.#pictures.get(key);
    if (before !== undefined) {
      this.#engine.forget(before.id);
    }
    this.#pictures.set(key, picture);
    this.#engine.addPicture(picture);
    return picture;
  }

  #dropOldTexts(): void {
    const texts = [...this.#pictures.keys()].filter((key) => key.startsWith('text:'));
    for (const key of texts.slice(0, Math.max(0, texts.length - Library.#mostTexts))) {
      const picture = this.#pictures.get(key);
      this.#pictures.delete(key);
      this.#engine.forget(picture?.id ?? '');
    }
  }
}
