// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Pictures that the project draws itself, to try things with.
import type { Engine } from '../engine/engine';
import type { PictureData } from './worker';

export interface Example {
  readonly name: string;
  readonly label: string;
  /** The file's name in a scene. */
  readonly file: string;
  readonly use: 'frame' | 'layer';
  draw(engine: Engine): Promise<PictureData>;
}

function rgba(width: number, height: number, data: ArrayBuffer): PictureData {
  return { width, height, channels: 4, samples: 'uint8', premultiplied: false, linear: false, data };
}

async function sample(
  engine: Engine,
  layer: boolean,
  width: number,
  height: number,
): Promise<PictureData> {
  return rgba(width, height, await engine.drawSample(layer, width, height));
}

type Colour = readonly [number, number, number, number];
type Paint = (x: number, y: number) => Colour;

/** Rows of a picture from a colour at each place, 0 to 1 across it. */
function painted(width: number, height: number, paint: Paint): Promise<PictureData> {
  const data = new Uint8Array(width * height * 4);
  for (let y = 0, at = 0; y < height; ++y) {
    for (let x = 0; x < width; ++x, at += 4) {
      data.set(paint((x + 0.5) / width, (y + 0.5) / height), at);
    }
  }
  return Promise.resolve(rgba(width, height, data.buffer));
}

function mix(a: Colour, b: Colour, t: number): Colour {
  const at = (i: 0 | 1 | 2 | 3): number => a[i] + (b[i] - a[i]) * t;
  return [at(0), at(1), at(2), at(3)];
}

function smooth(low: number, high: number, value: number): number {
  const t = Math.max(0, Math.min(1, (value - low) / (high - low)));
  return t * t * (3 - 2 * t);
}

/** A white room with lit panels: much space to lay something on. */
const room: Paint = (x, y) => {
  const longitude = (2 * x - 1) * Math.PI;
  const latitude = (y - 0.5) * Math.PI;
  const d = [Math.sin(longitude) * Math.cos(latitude), Math.sin(latitude), -Math.cos(longitude) * Math.cos(latitude)];
  const [dx = 0, dy = 0, dz = 0] = d;
  const side = Math.max(Math.abs(dx), Math.abs(dz));
  const wall = Math.max(side, Math.abs(dy) / 0.55);
  const [px, py, pz] = [dx / wall, dy / wall / 0.55, dz / wall];
  const horizontal = Math.abs(py) > 0.999;
  const u = horizontal ? px : Math.abs(dx) > Math.abs(dz) ? pz : px;
  const v = horizontal ? pz : py;
  const cellX = Math.abs(((u * 3 + 30) % 1) - 0.5);
  const cellY = Math.abs(((v * (horizontal ? 3 : 1.5) + 30.5) % 1) - 0.5);
  const joint = smooth(0.47, 0.495, Math.max(cellX, horizontal ? cellY : 0));
  const corner = 1 - 0.45 * smooth(0.55, 1, Math.abs(u)) * smooth(0.3, 1, Math.abs(v));
  const lamp = horizontal && py < 0 ? smooth(0.3, 0.22, Math.max(cellX, cellY)) : 0;
  const tone: Colour = horizontal && py > 0 ? [104, 84, 70, 255] : [212, 214, 216, 255];
  const shaded = mix([30, 34, 42, 255], tone, corner * (1 - 0.35 * joint));
  return mix(shaded, [255, 250, 236, 255], lamp);
};

/** Longitude and latitude every 15 degrees, for exact placing. */
const grid: Paint = (x, y) => {
  const line = (position: number, step: number, half: number): number => {
    const off = Math.abs(position / step - Math.round(position / step)) * step;
    return smooth(half, half * 0.4, off);
  };
  const longitude = x * 360;
  const latitude = y * 180;
  const fine = Math.max(line(longitude, 15, 0.16), line(latitude, 15, 0.16));
  const strong = Math.max(line(longitude, 90, 0.35), line(latitude, 90, 0.35));
  const ground = mix([22, 28, 44, 255], [44, 62, 80, 255], y);
  return mix(mix(ground, [96, 130, 150, 255], fine), [236, 196, 110, 255], strong);
};

/** An arrow on a ribbon that repeats without a seam. */
const arrows: Paint = (x, y) => {
  const v = Math.abs(y - 0.5) * 2;
  const u = x * 4;
  const tip = (((u - (1 - v) * 0.35) % 1) + 1) % 1;
  const arrow = smooth(0.02, 0.04, tip) * smooth(0.36, 0.34, tip) * smooth(0.78, 0.74, v);
  const edge = smooth(0.88, 0.91, v) * smooth(1, 0.97, v);
  const alpha = Math.max(170 * smooth(0.99, 0.97, v), 255 * Math.max(arrow, edge));
  return [...mix([24, 34, 60, 255], [255, 198, 64, 255], Math.max(arrow, edge)).slice(0, 3), alpha] as unknown as Colour;
};

/** Bars of the six colours and greys, and a frame that shows the layer's very edge. */
const bars: Paint = (x, y) => {
  const edge = x < 0.008 || x > 0.992 || y < 0.03 || y > 0.97;
  if (edge) {
    return [255, 255, 255, 255];
  }
  if (y > 0.72) {
    const grey = Math.floor(x * 12) * 23;
    return [grey, grey, grey, 255];
  }
  const bar = Math.floor(x * 7);
  const bits = 7 - bar;
  return [(bits & 2) * 110, (bits & 4) * 55, (bits & 1) * 220, 255];
};

export const examples: readonly Example[] = [
  {
    name: 'landscape', label: 'Landscape at dusk', file: 'frame.png', use: 'frame',
    draw: (engine) => sample(engine, false, 2048, 1024),
  },
  { name: 'room', label: 'White room', file: 'room.png', use: 'frame', draw: () => painted(2048, 1024, room) },
  { name: 'grid', label: 'Grid of 15°', file: 'grid.png', use: 'frame', draw: () => painted(2048, 1024, grid) },
  {
    name: 'title', label: 'Title', file: 'layer.png', use: 'layer',
    draw: (engine) => sample(engine, true, 1024, 256),
  },
  { name: 'arrows', label: 'Ribbon of arrows', file: 'arrows.png', use: 'layer', draw: () => painted(1024, 256, arrows) },
  { name: 'bars', label: 'Colour bars', file: 'bars.png', use: 'layer', draw: () => painted(1024, 512, bars) },
];

export function findExample(name: string): Example | undefined {
  return examples.find((example) => example.name === name);
}
