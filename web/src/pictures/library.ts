// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Every picture of the scene, made or read once and known to the render workers.
import type { Engine } from '../engine/engine';
import type { Picture } from '../engine/protocol';
import type { Source } from '../scene/scene';
import { findExample } from './examples';
import { PictureFailure } from './formats';
import { drawText } from './text_layer';
import type { VideoFile } from './video';
import type { PictureData } from './worker';

/** The name of a source, the same for the same picture. */
export function keyOf(source: Source): string {
  switch (source.kind) {
    case 'example':
      return `example:${source.example}`;
    case 'text':
      return `text:${JSON.stringify(source.text)}`;
    case 'file':
    case 'video':
      return `${source.kind}:${source.id}`;
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
    case 'video':
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
    case 'video':
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
  readonly #videos = new Map<string, VideoFile>();
  readonly #making = new Map<string, Promise<Picture>>();
  #lastId = 0;
  /** Text changes with every letter; the ones before are kept a while for undo. */
  static readonly #mostTexts = 12;
  /** Every worker has a copy, and a frame may have a hundred megabytes. */
  static readonly #mostVideoFrames = 3;

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

  /** Keeps a video; its frames are decoded when they are asked for. */
  addVideo(name: string, video: VideoFile): Source {
    const source: Source = { kind: 'video', id: String(++this.#lastId), name };
    this.#videos.set(keyOf(source), video);
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

  /** The picture of a source; of a video that of a frame from 1. */
  async get(source: Source, frame: number): Promise<Picture> {
    const key = source.kind === 'video' ? `${keyOf(source)}@${frame}` : keyOf(source);
    const known = this.#pictures.get(key);
    if (known !== undefined) {
      return known;
    }
    const making = this.#making.get(key) ?? this.#make(source, key, frame);
    this.#making.set(key, making);
    try {
      return await making;
    } finally {
      this.#making.delete(key);
    }
  }

  async #make(source: Source, key: string, frame: number): Promise<Picture> {
    switch (source.kind) {
      case 'example': {
        const example = findExample(source.example);
        if (example === undefined) {
          throw new PictureFailure(`there is no example '${source.example}'`);
        }
        return this.#keep(key, example.label, await example.draw(this.#engine));
      }
      case 'text':
        this.#dropOld('text:', Library.#mostTexts);
        return this.#keep(key, source.text.text, drawText(source.text));
      case 'video': {
        const data = await this.#videos.get(keyOf(source))?.frame(frame);
        if (data === undefined) {
          throw new PictureFailure(`${source.name} is not open any more (choose it again)`);
        }
        this.#dropOld('video:', Library.#mostVideoFrames);
        return this.#keep(key, source.name, data);
      }
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

  #dropOld(start: string, most: number): void {
    const kept = [...this.#pictures.keys()].filter((key) => key.startsWith(start));
    for (const key of kept.slice(0, Math.max(0, kept.length - most))) {
      const picture = this.#pictures.get(key);
      this.#pictures.delete(key);
      this.#engine.forget(picture?.id ?? '');
    }
  }
}
