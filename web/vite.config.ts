// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Builds the page into build/web, with relative links and the same bytes each time.
import { readFileSync } from 'node:fs';
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

export default defineConfig({
  root,
  base: './',
  resolve: { alias: { '@wasm': modules } },
  plugins: [glueAsModule()],
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
