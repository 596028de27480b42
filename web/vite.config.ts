// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Builds the page into build/web, with relative links and the same bytes each time.
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

export default defineConfig({
  root,
  base: './',
  resolve: { alias: { '@wasm': modules } },
  plugins: [glueAsModule(), offline()],
  worker: { format: 'es', plugins: () => [glueAsModule()] },
  build: {
    outDir: fileURLToPath(new URL('../build/web', import.meta.url)),
    emptyOutDir: true,
    target: 'es2022',
    assetsInlineLimit: 0,
    modulePreload: { polyfill: false },
  },
  server: { fs: { allow: ['..'] } },
});
