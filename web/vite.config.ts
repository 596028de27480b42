// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Builds the page into build/web, with relative links, the same bytes each time and its licences.
import { createHash } from 'node:crypto';
import { readdirSync, readFileSync, writeFileSync } from 'node:fs';
import { fileURLToPath } from 'node:url';
import { defineConfig, type Plugin } from 'vite';

const root = fileURLToPath(new URL('.', import.meta.url));
const modules = fileURLToPath(new URL('../build/wasm/bin/', import.meta.url));

/** The compiler's glue is a plain script with one function; workers import it as a module. */
function glueAsModule(): Plugin {
  return {
    name: 'glue-as-module',
    enforce: 'pre',
    load(id) {
      const path = id.split('?')[0] ?? id;
      if (!path.endsWith('/veltra_web.js')) {
        return null;
      }
      return `${readFileSync(path, 'utf8')}\nexport default createVeltra;\n`;
    },
  };
}

/** The worker that keeps the page for times without a network, with the files that there are. */
function offline(): Plugin {
  return {
    name: 'offline',
    apply: 'build',
    writeBundle({ dir = '' }) {
      const files = readdirSync(`${dir}/assets`).sort().map((name) => `./assets/${name}`);
      const page = readFileSync(`${dir}/index.html`);
      const version = createHash('sha256').update(page).update(files.join()).digest('hex').slice(0, 16);
      const source = readFileSync(`${root}service_worker.mjs`, 'utf8')
        .replace("'VERSION'", JSON.stringify(version))
        .replace("['FILES']", JSON.stringify(['./', ...files]));
      writeFileSync(`${dir}/service_worker.js`, source);
    },
  };
}

/** Folders of the packages whose code is in the page or in one of its workers. */
const bundled = new Set<string>();

/** Remembers them. */
function noteBundled(): Plugin {
  return {
    name: 'note-bundled',
    apply: 'build',
    generateBundle(_options, bundle) {
      for (const chunk of Object.values(bundle)) {
        const modules = chunk.type === 'chunk' ? Object.entries(chunk.modules) : [];
        for (const [id, { renderedLength }] of modules) {
          const folder = /^.*\/node_modules\/(?:@[^/]+\/)?[^/]+/.exec(id)?.[0];
          if (folder !== undefined && renderedLength > 0) {
            bundled.add(folder);
          }
        }
      }
    },
  };
}

/** The licences of all that the page is made of, as their texts ask for. */
function licences(): Plugin {
  const textOf = (folder: string): string => {
    const name = readdirSync(folder).find((file) => /^licen[cs]e/i.test(file));
    if (name === undefined) {
      throw new Error(`${folder} has no licence`);
    }
    return readFileSync(`${folder}/${name}`, 'utf8');
  };
  const sectionOf = (folder: string): string => {
    const { name, version, license, homepage } = JSON.parse(readFileSync(`${folder}/package.json`, 'utf8')) as {
      name: string;
      version: string;
      license: string;
      homepage?: string;
    };
    const from = homepage === undefined ? '' : `, ${homepage}`;
    return `${name} ${version} (${license})${from}\n\n${textOf(folder)}`;
  };
  return {
    name: 'licences',
    apply: 'build',
    writeBundle({ dir = '' }) {
      const runtime = readFileSync('/usr/share/doc/emscripten/copyright', 'utf8');
      const sections = [
        `Veltra\n\n${textOf(`${root}..`)}`,
        ...[...bundled].sort().map(sectionOf),
        `The runtime of the WebAssembly compiler, emscripten\n\n${runtime}`,
      ];
      writeFileSync(`${dir}/licences.txt`, sections.join(`\n${'-'.repeat(72)}\n\n`));
    },
  };
}

export default defineConfig({
  root,
  base: './',
  resolve: { alias: { '@wasm': modules } },
  plugins: [glueAsModule(), offline(), noteBundled(), licences()],
  worker: { format: 'es', plugins: () => [glueAsModule(), noteBundled()] },
  build: {
    outDir: fileURLToPath(new URL('../build/web', import.meta.url)),
    emptyOutDir: true,
    target: 'es2022',
    assetsInlineLimit: 0,
    modulePreload: { polyfill: false },
  },
  server: { fs: { allow: ['..'] } },
});
