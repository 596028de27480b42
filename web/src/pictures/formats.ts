// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Picture files told apart by their first bytes, and their failures in clear words.

/** One line for people: what was wrong and what would be right. */
export class PictureFailure extends Error {}

export type FileKind = 'png' | 'hdr' | 'exr' | 'browser' | 'video' | 'scene' | 'tiff' | 'unknown';

/** As the host's worlds, and what a page's memory bears. */
export const mostSide = 16384;

function startsWith(bytes: Uint8Array, text: string, at = 0): boolean {
  return Array.from(text).every((letter, i) => bytes[at + i] === letter.charCodeAt(0));
}

export function kindOf(head: Uint8Array): FileKind {
  if (startsWith(head, '\x89PNG\r\n\x1a\n')) {
    return 'png';
  }
  if (startsWith(head, '#?RADIANCE') || startsWith(head, '#?RGBE')) {
    return 'hdr';
  }
  if (startsWith(head, 'v/1\x01')) {
    return 'exr';
  }
  if (startsWith(head, '\xff\xd8\xff') || (startsWith(head, 'RIFF') && startsWith(head, 'WEBP', 8))) {
    return 'browser';
  }
  if (startsWith(head, 'ftyp', 4)) {
    return startsWith(head, 'avif', 8) || startsWith(head, 'avis', 8) ? 'browser' : 'video';
  }
  if (startsWith(head, '\x1a\x45\xdf\xa3')) {
    return 'video';
  }
  if (startsWith(head, 'GIF8') || startsWith(head, 'BM')) {
    return 'browser';
  }
  if (startsWith(head, 'II*\0') || startsWith(head, 'MM\0*')) {
    return 'tiff';
  }
  const text = new TextDecoder().decode(head).trimStart();
  return text.startsWith('{') ? 'scene' : 'unknown';
}

export function checkSize(width: number, height: number): void {
  if (width < 1 || height < 1) {
    throw new PictureFailure('the picture has no pixels');
  }
  if (width > mostSide || height > mostSide) {
    throw new PictureFailure(
      `${width} x ${height} is too large for a page (at most ${mostSide} pixels a side; the program renders larger ones)`,
    );
  }
}
