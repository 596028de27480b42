// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Runs the trial's script in a small stand-in of After Effects' object model, and prints what it
// rendered, said and removed as JSON.
//
// usage: veltra controls --json | after_effects.js KIT [CASE]
//
// CASE takes something away: effect, templates, multiframe, newproject, folder, disk.

'use strict';

const acorn = require('acorn');
const fs = require('fs');
const path = require('path');
const vm = require('vm');

const [kit, missing = 'nothing'] = process.argv.slice(2);
// What the effect declares, from `veltra controls --json` on standard input.
const CONTROLS = JSON.parse(fs.readFileSync(0, 'utf8')).controls.map((control) => control.name);
const told = { rendered: [], alerts: [], removed: [], log: [], imports: [] };

// The script is written for a program that knows no more than this and says nothing of a slip.
function strict(kind, object) {
  return new Proxy(object, {
    get(target, name) {
      if (typeof name !== 'symbol' && !(name in target) && name !== 'toJSON') {
        throw new Error(`${kind} has no ${name}`);
      }
      return target[name];
    },
    set(target, name, value) {
      if (!Object.prototype.hasOwnProperty.call(target, name)) {
        throw new Error(`${kind} has no ${String(name)} to set`);
      }
      target[name] = value;
      return true;
    },
  });
}

// A list as the script knows it: without the methods that came after ECMAScript 3.
function list(...items) {
  return Object.assign(Object.create(null), { ...items, length: items.length });
}

// ---- Files ----

function fileAt(name) {
  const clean = name.replace(/\\/g, '/');
  return strict('File', {
    fsName: clean,
    get parent() { return folderAt(path.dirname(clean)); },
    encoding: '',
    open(mode) { return mode === 'w'; },
    writeln(line) { told.log.push(line); return true; },
    close() { return true; },
    remove() { told.removed.push(path.basename(clean)); return true; },
  });
}

function folderAt(name) {
  return strict('Folder', {
    fsName: name,
    exists: missing !== 'folder',
    create() { return missing !== 'folder'; },
    // One picture of an earlier run lies there.
    getFiles(mask) {
      return mask === '02-tile.*' ? list(fileAt(`${name}/02-tile.0000.png`)) : list();
    },
  });
}

// ---- The project ----

const LINEAR = 6612;
const STRAIGHT = 5413;
const BEST = 4614;
const DONE = 3019;
const FAILED = 3018;
let project = null;
let multiFrame = 'unset';

function makeControl(name) {
  const keys = [];
  const control = {
    name,
    value: undefined,
    keys,
    get numKeys() { return keys.length; },
    setValue(value) {
      if (typeof value === 'boolean' || value === undefined || keys.length > 0) {
        throw new Error(`${name} cannot be set to ${value}`);
      }
      control.value = value;
    },
    setValueAtTime(time, value) { keys.push({ time, value, linear: false }); },
    setInterpolationTypeAtKey(index, before, after) {
      keys[index - 1].linear = before === LINEAR && after === LINEAR;
    },
  };
  return strict('Property', control);
}

function makeLayer(composition, source) {
  const position = makeControl('Position');
  position.setValue([composition.width / 2, composition.height / 2]);
  const effects = [];
  const parade = strict('PropertyGroup', {
    canAddProperty: (name) => name === 'NSVeltra' && missing !== 'effect',
    addProperty(name) {
      if (!parade.canAddProperty(name)) {
        throw new Error(`cannot add ${name}`);
      }
      const controls = CONTROLS.map(makeControl);
      effects.push(controls);
      return strict('Effect', {
        property(wanted) {
          const found = controls.find((control) => control.name === wanted);
          if (!found) { throw new Error(`the effect has no ${wanted}`); }
          return found;
        },
      });
    },
  });
  const layer = strict('Layer', {
    source, position, effects, enabled: true, quality: 0,
    get index() { return composition.list.indexOf(layer) + 1; },
    property(name) {
      const known = { 'Position': position, 'ADBE Effect Parade': parade };
      if (!known[name]) { throw new Error(`the layer has no ${name}`); }
      return known[name];
    },
  });
  return layer;
}

function makeComposition(name, width, height, pixelAspect, duration, frameRate) {
  const composition = strict('Composition', {
    name, width, height, pixelAspect, duration, frameRate, list: [],
    bgColor: null, resolutionFactor: [1, 1], layers: null,
  });
  composition.layers = strict('Layers', {
    add(item) {
      const layer = makeLayer(composition, item);
      composition.list.unshift(layer);  // a new layer comes to the top
      return layer;
    },
  });
  return composition;
}

// ---- The render queue ----

// What a composition holds when it is rendered, the layers from the top.
function snapshot(item) {
  const { composition, module } = item;
  return {
    name: composition.name, size: [composition.width, composition.height],
    pixelAspect: composition.pixelAspect,
    frames: composition.duration * composition.frameRate, rate: composition.frameRate,
    resolution: composition.resolutionFactor, bits: project.bitsPerChannel, multiFrame,
    settings: item.template, module: module.template, file: module.file.fsName,
    workingSpace: project.workingSpace, linearBlending: project.linearBlending,
    layers: composition.list.map((layer) => ({
      source: layer.source.name, enabled: layer.enabled, best: layer.quality === BEST,
      position: layer.position.value,
      effects: layer.effects.map((controls) => Object.fromEntries(controls.map(
          ({ name, value, keys }) => [name, keys.length > 0 ? { keys } : value]))),
    })),
  };
}

function makeItem(composition) {
  const module = {
    template: null, file: null,
    templates: missing === 'templates' ? list('Lossless')
        : list('Lossless', 'Veltra PNG 8', 'Veltra PNG 16', 'Veltra OpenEXR'),
    applyTemplate(name) { module.template = name; },
  };
  const item = {
    composition, module, comp: composition, status: 3015, template: null, render: true,
    templates: list('Best Settings', 'Current Settings'),
    applyTemplate(name) { item.template = name; },
    outputModule(index) {
      if (index !== 1) { throw new Error('an item has one output module'); }
      return strict('OutputModule', module);
    },
  };
  return strict('RenderQueueItem', item);
}

function makeProject() {
  const items = [];
  const queue = strict('RenderQueue', {
    items: strict('Items', {
      add(composition) {
        items.push(makeItem(composition));
        return items[items.length - 1];
      },
    }),
    render() {
      for (const item of items.filter((one) => one.render)) {
        told.rendered.push(snapshot(item));
        item.status = missing === 'disk' ? FAILED : DONE;
        item.render = false;
      }
    },
  });
  return strict('Project', {
    workingSpace: 'sRGB', linearBlending: true, bitsPerChannel: 8, renderQueue: queue,
    items: strict('Items', { addComp: makeComposition }),
    importFile({ file }) {
      const source = strict('Source', { hasAlpha: true, alphaMode: 0 });
      const name = path.basename(file.fsName);
      const { width, height } = pictureSize(file.fsName);
      const item = strict('Footage', { name, width, height, pixelAspect: 2, mainSource: source });
      told.imports.push(item);
      return item;
    },
  });
}

// The first chunk of a PNG holds its size.
function pictureSize(file) {
  const bytes = fs.readFileSync(file);
  return { width: bytes.readUInt32BE(16), height: bytes.readUInt32BE(20) };
}

// ---- The script ----

const app = {
  version: '24.0x1',
  get project() { return project; },
  newProject() {
    if (missing === 'newproject') { return null; }
    project = makeProject();
    return project;
  },
  setMultiFrameRenderingConfig(on, percent) {
    if (typeof on !== 'boolean' || !(percent >= 1 && percent <= 100)) {
      throw new Error('multi-frame rendering takes a boolean and a percentage');
    }
    multiFrame = on;
  },
};
const world = {
  app: missing === 'multiframe' ? { ...app, setMultiFrameRenderingConfig: undefined }
      : strict('Application', app),
  $: strict('$', { fileName: `${kit}/veltra-trial.jsx`, os: 'Windows' }),
  File: function File(name) { return fileAt(name); },
  Folder: function Folder(name) { return folderAt(name); },
  ImportOptions: function ImportOptions(file) { return { file }; },
  AlphaMode: strict('AlphaMode', { STRAIGHT }),
  KeyframeInterpolationType: strict('KeyframeInterpolationType', { LINEAR }),
  LayerQuality: strict('LayerQuality', { BEST }),
  RQItemStatus: strict('RQItemStatus', { DONE }),
  alert: (text) => { told.alerts.push(text); },
};
if (missing === 'multiframe') {
  Object.defineProperty(world.app, 'project', { get: () => project });
}

const included = fs.readFileSync(`${kit}/veltra-trial.jsx`, 'utf8').replace(
    /^\/\/@include "(.*)"\r?$/m, (whole, name) => fs.readFileSync(`${kit}/${name}`, 'utf8'));
acorn.parse(included, { ecmaVersion: 3 });

const context = vm.createContext(world);
// What came after ECMAScript 3 is not there.
vm.runInContext(`
  delete JSON; delete Map; delete Set; delete Promise; delete Object.keys;
  ['indexOf', 'forEach', 'map', 'filter', 'some', 'every', 'reduce', 'includes', 'find'].forEach(
      function (name) { delete Array.prototype[name]; });
  delete Array.isArray; delete String.prototype.trim; delete Function.prototype.bind;
`, context);
vm.runInContext(included, context, { filename: 'veltra-trial.jsx' });

const imports = told.imports.map((item) => ({
  name: item.name, pixelAspect: item.pixelAspect,
  straight: item.mainSource.alphaMode === STRAIGHT,
}));
console.log(JSON.stringify({ ...told, imports }));
