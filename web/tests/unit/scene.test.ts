// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
import { beforeAll, describe, expect, test } from 'vitest';
import {
  fixedText, hasValue, parseDecimal, percentOfPixels, pixelsOfPercent, slug, toFixed16,
  type EffectDescription, type Value, type ValueControl,
} from '../../src/scene/controls';
import { commandLine } from '../../src/scene/command_line';
import { History } from '../../src/scene/history';
import { linkOf, sceneFromLink } from '../../src/scene/link';
import {
  constant, hostValueAt, trackOf, valueAt as valueOn, withAnimation as withAnimationOn, withKeyMoved, withoutKey,
  withTrack, withValue as withValueOn, withWay, type Scene, type Source,
} from '../../src/scene/scene';
import { namesOf, notShown, sceneText } from '../../src/scene/scene_file';
import { readScene } from '../../src/scene/scene_reader';
import { loadEffect } from './effect';

let effect: EffectDescription;
beforeAll(async () => {
  ({ effect } = await loadEffect());
});

function control(name: string): ValueControl {
  const found = effect.controls.filter(hasValue).find((each) => slug(each.name) === name);
  if (found === undefined) {
    throw new Error(name);
  }
  return found;
}

const empty: Scene = {
  frame: { kind: 'example', example: 'landscape' },
  layers: { 1: { kind: 'example', example: 'title' } },
  tracks: {},
  depth: '8',
  firstFrame: 1,
  lastFrame: 120,
  rate: { num: 24, den: 1 },
};
const size = { width: 2048, height: 1024 };
const valueAt = (scene: Scene, each: ValueControl, frame: number): Value => valueOn(scene, each, frame, size);
const withValue = (scene: Scene, each: ValueControl, frame: number, value: Value): Scene =>
  withValueOn(scene, each, frame, value, size);
const withAnimation = (scene: Scene, each: ValueControl, frame: number, on: boolean): Scene =>
  withAnimationOn(scene, each, frame, on, size);
const names = { frame: 'frame.png', layers: { 1: 'layer.png' } };

describe('numbers', () => {
  test('16.16 is written as the shortest decimal that reads back the same', () => {
    for (const fixed of [0, 1, -1, 65536, 6554, -429496, 2147483647, 32768]) {
      expect(toFixed16(Number(fixedText(fixed)))).toBe(fixed);
    }
    expect(fixedText(toFixed16(0.1))).toBe('0.1');
    expect(fixedText(toFixed16(-0.000001))).toBe('0');
  });
  test('points count in pixels as the host counts them, and come back to the same percent', () => {
    expect(pixelsOfPercent(54 * 65536, 2048)).toBe(Math.round(54 * 65536 * 20.48));
    for (const side of [2048, 1000, 7680]) {
      const percent = percentOfPixels(321.5, side);
      expect(pixelsOfPercent(percent, side) / 65536).toBeCloseTo(321.5, 1);
    }
  });
  test('a comma is a decimal point, and what is no number is none', () => {
    expect(parseDecimal(' 12,5 ')).toBe(12.5);
    for (const text of ['', 'a', '1e5', '0x10', '1 2', '--1', 'Infinity']) {
      expect(parseDecimal(text)).toBeNull();
    }
  });
});

describe('keyframes', () => {
  test('hold, linear and smooth go from one to the next, and stay beyond the ends', () => {
    const opacity = control('opacity');
    let scene = withAnimation(empty, opacity, 1, true);
    scene = withValue(scene, opacity, 1, { x: 0, y: 0 });
    scene = withValue(scene, opacity, 11, { x: 1000, y: 0 });
    const at = (frame: number): number => valueAt(scene, opacity, frame).x;
    expect([at(1), at(3), at(6), at(11), at(50)]).toEqual([0, 200, 500, 1000, 1000]);
    scene = withWay(scene, opacity, 1, { interpolation: 'smooth' });
    expect([at(3), at(6)]).toEqual([104, 500]);
    scene = withWay(scene, opacity, 1, { interpolation: 'hold' });
    expect([at(10), at(11)]).toEqual([0, 1000]);
  });
  test('checkboxes and popups hold whatever the keyframe says', () => {
    const filtering = control('spherical-filtering');
    let scene = withAnimation(empty, filtering, 1, true);
    scene = withValue(scene, filtering, 10, { x: 1, y: 0 });
    expect(valueAt(scene, filtering, 9).x).toBe(0);
  });
  test('points are mixed in pixels, as the program mixes them', () => {
    const start = control('start-point');
    let scene = withAnimation(empty, start, 1, true);
    scene = withValue(scene, start, 1, { x: 0, y: 0 });
    scene = withValue(scene, start, 4, { x: 65536, y: 3 });
    const third = hostValueAt(scene, start, 2, 2048, 1024);
    expect(third.x).toBe(Math.round(pixelsOfPercent(65536, 2048) / 3));
  });
  test('a moved keyframe replaces what lies there; without the last one nothing is animated', () => {
    const travel = control('travel');
    let scene = withAnimation(empty, travel, 1, true);
    scene = withValue(scene, travel, 20, { x: 5, y: 0 });
    scene = withKeyMoved(scene, travel, 1, 20);
    expect(trackOf(scene, travel).keys).toHaveLength(1);
    expect(trackOf(withoutKey(scene, travel, 20), travel).animated).toBe(false);
  });
});

describe('undo and redo', () => {
  test('a gesture is one step, a cancelled one none', () => {
    const history = new History(0);
    history.beginGesture();
    [1, 2, 3].forEach((value) => history.set(value));
    history.endGesture();
    history.beginGesture();
    history.set(9);
    history.cancelGesture();
    expect(history.present).toBe(3);
    expect(history.undo()).toBe(true);
    expect([history.present, history.canUndo, history.canRedo]).toEqual([0, false, true]);
    history.redo();
    history.set(7);
    expect([history.present, history.canRedo]).toEqual([7, false]);
  });
});

describe('scene files', () => {
  const rich = (): Scene => {
    let scene: Scene = { ...empty, depth: 'float', rate: { num: 30000, den: 1001 }, lastFrame: 48 };
    scene = withTrack(scene, control('size-degrees').index, constant({ x: toFixed16(12.5), y: 0 }));
    scene = withTrack(scene, control('layer-placement').index, constant({ x: 3, y: 0 }));
    scene = withTrack(scene, control('composite-with-original').index, constant({ x: 0, y: 0 }));
    scene = withAnimation(scene, control('end-point'), 1, true);
    return withValue(scene, control('end-point'), 48, { x: toFixed16(33.3), y: toFixed16(-4) });
  };
  test('what is written is read back as it was', () => {
    const scene = rich();
    const read = readScene(sceneText(scene, effect.controls, names), empty, effect.controls);
    for (const each of effect.controls.filter(hasValue)) {
      expect(trackOf(read.scene, each)).toEqual(trackOf(scene, each));
    }
    expect(read.named).toEqual(['frame.png', 'layer.png']);
    expect(sceneText(read.scene, effect.controls, namesOf(read.scene, () => 'another.png'))).toBe(
      sceneText(scene, effect.controls, names),
    );
    expect([read.scene.depth, read.scene.lastFrame, read.scene.rate]).toEqual(['float', 48, scene.rate]);
  });
  test('short names, texts and pixels are read as the program reads them', () => {
    const text = JSON.stringify({
      version: 1,
      controls: { degrees: 20, start: '25%,512', placement: 2, filtering: true, layer: 'none' },
    });
    const { scene } = readScene(text, empty, effect.controls);
    expect(valueAt(scene, control('size-degrees'), 1).x).toBe(20 * 65536);
    expect(valueAt(scene, control('start-point'), 1)).toEqual({ x: 25 * 65536, y: 50 * 65536 });
    expect(valueAt(scene, control('layer-placement'), 1).x).toBe(2);
    expect(valueAt(scene, control('spherical-filtering'), 1).x).toBe(1);
  });
  /** What other programs write, and the page does not. */
  const foreign = {
    version: 1,
    frame: 'footage/street.####.exr',
    output: 'renders/street.####.exr',
    frames: '1001-1100',
    rate: '30000/1001',
    depth: 'float',
    'output-depth': 'half',
    size: '4096x2048',
    'layer-start': 1001,
    'layer-end': 'loop',
    classic: true,
    'from-a-later-version': { deep: [1, 'two'] },
  };
  const foreignControls = {
    layer: 'titles/name.png',
    'start-point': ['30deg', '-10.5deg'],
    'end-point': {
      keys: [
        { frame: 1001, value: ['-60deg', '20deg'], interpolation: 'smooth', path: 'great-circle' },
        { frame: 1100, value: [3200.25, '25%'] },
      ],
    },
  };
  const opened = (json: object): Scene => readScene(JSON.stringify(json), empty, effect.controls).scene;
  const written = (scene: Scene): { controls: object } =>
    JSON.parse(sceneText(scene, effect.controls, namesOf(scene, (source) => (source.kind === 'file' ? source.name : 'other.png')))) as { controls: object };

  test('what the page does not edit goes out as it came in', () => {
    const scene = opened({ ...foreign, controls: foreignControls });
    const { controls, ...settings } = written(scene);
    expect(settings).toEqual(foreign);
    expect(controls).toMatchObject(foreignControls);
    expect(notShown(scene)).toEqual(['size', 'layer-start', 'layer-end', 'classic', 'from-a-later-version']);
    expect(commandLine(scene, effect.controls, names)).toBe('veltra render scene.json');
    const linked = sceneFromLink(linkOf(scene, effect.controls), empty, effect.controls);
    const { frame, ...rest } = foreign;
    expect(written(linked?.scene ?? empty)).toMatchObject(rest);
    expect(frame).toContain('street');
  });
  test('what a scene leaves to the program stays so', () => {
    const bare = { version: 1, frame: 'clip.mov', output: 'out.mov', controls: {} };
    const { controls, ...settings } = written(opened(bare));
    expect({ ...settings, controls: {} }).toEqual(bare);
    expect(controls).toMatchObject({ layer: 'none' });
    expect(opened(bare).layers[1]).toBeUndefined();
  });
  test('a picture that the scene means has its name, another one its own', () => {
    const scene = opened({ ...foreign, controls: foreignControls });
    const file = (name: string): Source => ({ kind: 'file', id: name, name });
    expect(written({ ...scene, frame: file('street.1001.exr') })).toMatchObject({ frame: foreign.frame });
    expect(written({ ...scene, frame: file('sea.exr') })).toMatchObject({ frame: 'sea.exr' });
    expect(written({ ...scene, layers: { 1: file('name.png') } }).controls).toMatchObject({ layer: 'titles/name.png' });
  });
  test('pixels and degrees count for whatever frame there is, until they are changed', () => {
    const start = control('start-point');
    let scene = opened({ version: 1, controls: { start: [512, '45deg'] } });
    expect(valueOn(scene, start, 1, { width: 2048, height: 1024 })).toEqual({ x: 25 * 65536, y: 25 * 65536 });
    expect(valueOn(scene, start, 1, { width: 1024, height: 512 })).toEqual({ x: 50 * 65536, y: 25 * 65536 });
    expect(hostValueAt(scene, start, 1, 1000, 500)).toEqual({ index: start.index, x: 512 * 65536, y: 125 * 65536 });
    scene = withValue(scene, start, 1, { ...valueAt(scene, start, 1), x: 10 * 65536 });
    expect(written(scene).controls).toMatchObject({ 'start-point': ['10%', '45deg'] });
  });
  test('a way along a great circle goes on beyond the edge of the frame', () => {
    const start = control('start-point');
    const keys = [
      { frame: 1, value: ['170deg', '0deg'], path: 'great-circle' },
      { frame: 3, value: ['-170deg', '0deg'] },
    ];
    const scene = opened({ version: 1, controls: { start: { keys } } });
    expect(valueAt(scene, start, 2).x / 65536).toBeCloseTo(100, 3);
    const third = hostValueAt(scene, start, 2, 2048, 1024);
    expect(third.arc?.share).toBe(0.5);
  });
  test.each([
    ['{', 'not valid JSON'],
    ['[]', 'scene: an object is expected'],
    ['{"version":2}', 'version: 1 is expected'],
    ['{"version":1,"controls":{"travle":1}}', 'controls.travle: there is no such control'],
    ['{"version":1,"controls":{"travel":20000}}', "controls.travel: '20000' is outside -10000 to 10000"],
    ['{"version":1,"controls":{"start":"5%"}}', 'controls.start: a point is expected'],
    ['{"version":1,"controls":{"opacity":{"keys":[]}}}', 'at least one keyframe'],
    ['{"version":1,"depth":"12"}', 'depth: 8, 16 or float is expected'],
    ['{"version":1,"frames":"9-2"}', 'frames: a range is expected'],
    ['{"version":1,"layers":[]}', 'layers: this page edits one layer'],
    ['{"version":1,"controls":{"start":["10deg","91deg"]}}', 'controls.start: a pitch of -90deg to 90deg'],
    ['{"version":1,"controls":{"start":["4 px","1"]}}', 'controls.start: a coordinate is expected'],
    ['{"version":1,"controls":{"travel":1,"travel-":2}}', 'controls.travel-: there is no such control'],
    ['{"version":1,"controls":{"degrees":1,"size-degrees":2}}', 'controls.size-degrees: is set already, as degrees'],
    ['{"version":1,"controls":{"travel":{"keys":[{"frame":1,"value":0,"ease":1}]}}}', 'keys[0].ease: unknown key'],
    ['{"version":1,"controls":{"travel":{"keys":[{"frame":1,"value":0,"path":"straight"}]}}}', 'only points have one'],
    ['{"version":1,"controls":{"start":{"keys":[{"frame":1,"value":[1,2],"path":"round"}]}}}', 'expected straight, great-circle'],
  ])('%s says what is wrong', (text, reason) => {
    expect(() => readScene(text, empty, effect.controls)).toThrow(reason);
  });
  test('the command line tells what differs from the defaults', () => {
    let scene = withValue(empty, control('size-degrees'), 1, { x: toFixed16(12), y: 0 });
    scene = withValue(scene, control('composite-with-original'), 1, { x: 0, y: 0 });
    scene = withValue(scene, control('start-point'), 1, { x: toFixed16(-5), y: toFixed16(50) });
    expect(commandLine(scene, effect.controls, { ...names, frame: 'my street.jpg' })).toBe(
      "veltra render -f 'my street.jpg' --layer layer.png --start-point=-5%,50% --size-degrees=12 --no-composite-with-original -o out.png",
    );
    expect(commandLine(rich(), effect.controls, names)).toBe('veltra render scene.json');
  });
});

describe('links', () => {
  test('hold all settings; pictures of one’s own are named and asked for', () => {
    const text = { text: 'Grüße & <b>', font: 'Serif', colour: '#ff0000', panel: null, bold: true };
    let scene: Scene = {
      ...empty,
      frame: { kind: 'file', id: '7', name: 'street.jpg' },
      layers: { 1: { kind: 'text', text } },
    };
    scene = withValue(scene, control('travel'), 1, { x: toFixed16(-25), y: 0 });
    const linked = sceneFromLink(linkOf(scene, effect.controls), empty, effect.controls);
    expect(linked?.missing).toEqual(['street.jpg']);
    expect(linked?.scene.layers[1]).toEqual({ kind: 'text', text });
    expect(linked && valueAt(linked.scene, control('travel'), 1).x).toBe(toFixed16(-25));
  });
  test('a cut link says so, another fragment is none', () => {
    const link = linkOf(empty, effect.controls);
    expect(() => sceneFromLink(link.slice(0, 60), empty, effect.controls)).toThrow('the link is not whole');
    expect(sceneFromLink('#help', empty, effect.controls)).toBeNull();
  });
});
