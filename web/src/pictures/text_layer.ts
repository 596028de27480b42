// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// A line of text as a layer, with straight alpha.
import type { TextStyle } from '../scene/scene';
import type { PictureData } from './worker';

export const fonts: readonly string[] = ['Sans serif', 'Serif', 'Monospace', 'Condensed'];

const families: Record<string, string> = {
  'Sans serif': 'system-ui, "Helvetica Neue", Arial, sans-serif',
  Serif: 'Georgia, "Times New Roman", serif',
  Monospace: 'ui-monospace, Menlo, Consolas, monospace',
  Condensed: '"Arial Narrow", "Roboto Condensed", "Liberation Sans Narrow", sans-serif-condensed, sans-serif',
};

const height = 256;
const mostWidth = 8192;

function fontOf(style: TextStyle, size: number): string {
  const family = families[style.font] ?? families['Sans serif'] ?? 'sans-serif';
  return `${style.bold ? '700' : '400'} ${size}px ${family}`;
}

/** A channel of a colour written #rrggbb. */
function channels(colour: string): [number, number, number] {
  const value = Number.parseInt(colour.slice(1), 16) || 0;
  return [(value >> 16) & 255, (value >> 8) & 255, value & 255];
}

type Context = OffscreenCanvasRenderingContext2D;

/** How much of each pixel the shape covers, 0 to 255: drawn white, so that nothing is lost. */
function coverage(width: number, draw: (context: Context) => void): Uint8ClampedArray {
  const context = new OffscreenCanvas(width, height).getContext('2d', { willReadFrequently: true });
  if (context === null) {
    throw new Error('this browser draws no text');
  }
  context.fillStyle = '#fff';
  draw(context);
  return context.getImageData(0, 0, width, height).data;
}

/** Text over its panel, composited with straight alpha. */
function composite(
  width: number,
  style: TextStyle,
  text: Uint8ClampedArray,
  panel: Uint8ClampedArray | null,
): Uint8Array<ArrayBuffer> {
  const out = new Uint8Array(width * height * 4);
  const ink = channels(style.colour);
  const ground = channels(style.panel ?? style.colour);
  for (let i = 0; i < width * height; ++i) {
    const top = (text[i * 4 + 3] ?? 0) / 255;
    const below = ((panel?.[i * 4 + 3] ?? 0) / 255) * (1 - top);
    const alpha = top + below;
    for (let c = 0; c < 3; ++c) {
      const colour = alpha === 0 ? (ink[c] ?? 0) : ((ink[c] ?? 0) * top + (ground[c] ?? 0) * below) / alpha;
      out[i * 4 + c] = Math.round(colour);
    }
    out[i * 4 + 3] = Math.round(alpha * 255);
  }
  return out;
}

export function drawText(style: TextStyle): PictureData {
  const measuring = new OffscreenCanvas(1, 1).getContext('2d');
  if (measuring === null) {
    throw new Error('this browser draws no text');
  }
  const text = style.text === '' ? ' ' : style.text;
  const margin = style.panel === null ? 0.1 * height : 0.35 * height;
  let size = height * (style.panel === null ? 0.72 : 0.56);
  measuring.font = fontOf(style, size);
  const natural = measuring.measureText(text).width;
  size *= Math.min(1, (mostWidth - 2 * margin) / natural);
  measuring.font = fontOf(style, size);
  const width = Math.max(64, Math.ceil(measuring.measureText(text).width + 2 * margin));
  const ink = coverage(width, (context) => {
    context.font = fontOf(style, size);
    context.textBaseline = 'middle';
    context.fillText(text, margin, height * 0.52);
  });
  const panel =
    style.panel === null
      ? null
      : coverage(width, (context) => {
          context.beginPath();
          context.roundRect(2, 2, width - 4, height - 4, height * 0.18);
          context.fill();
        });
  return {
    width,
    height,
    channels: 4,
    samples: 'uint8',
    premultiplied: false,
    linear: false,
    data: composite(width, style, ink, panel).buffer,
  };
}
