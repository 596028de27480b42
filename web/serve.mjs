// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Serves a folder on this machine alone, with the headers that the page should be served with.
//
// usage: node serve.mjs FOLDER [PORT]
import { createReadStream } from 'node:fs';
import { stat } from 'node:fs/promises';
import { createServer } from 'node:http';
import { extname, join, normalize, resolve, sep } from 'node:path';
import { fileURLToPath } from 'node:url';

const types = {
  '.html': 'text/html; charset=utf-8',
  '.js': 'text/javascript; charset=utf-8',
  '.css': 'text/css; charset=utf-8',
  '.json': 'application/json',
  '.svg': 'image/svg+xml',
  '.png': 'image/png',
  '.jpg': 'image/jpeg',
  '.wasm': 'application/wasm',
};

const policy = [
  "default-src 'none'",
  "script-src 'self' 'wasm-unsafe-eval'",
  "style-src 'self'",
  "img-src 'self' blob: data:",
  'media-src blob:',
  "connect-src 'self'",
  "worker-src 'self'",
  "base-uri 'none'",
  "form-action 'none'",
  "frame-ancestors 'none'",
].join('; ');

const headers = {
  'Content-Security-Policy': policy,
  'Cross-Origin-Opener-Policy': 'same-origin',
  'Cross-Origin-Embedder-Policy': 'require-corp',
  'Cross-Origin-Resource-Policy': 'same-origin',
  'Referrer-Policy': 'no-referrer',
  'X-Content-Type-Options': 'nosniff',
};

/** The file that an address stands for; null outside of the folder. */
function fileOf(folder, address) {
  let path;
  try {
    path = decodeURIComponent(new URL(address, 'http://localhost').pathname);
  } catch {
    return null;
  }
  const file = normalize(join(folder, path.endsWith('/') ? `${path}index.html` : path));
  return file.startsWith(folder + sep) ? file : null;
}

async function answer(folder, request, response) {
  const file = fileOf(folder, request.url ?? '/');
  const info = file === null ? null : await stat(file).catch(() => null);
  if (!['GET', 'HEAD'].includes(request.method ?? '')) {
    response.writeHead(405, headers).end();
  } else if (info === null || !info.isFile()) {
    response.writeHead(404, { ...headers, 'Content-Type': 'text/plain' }).end('not found\n');
  } else {
    // Names of files under assets/ change with what is in them.
    const lasting = file.includes(`${sep}assets${sep}`);
    response.writeHead(200, {
      ...headers,
      'Content-Type': types[extname(file)] ?? 'application/octet-stream',
      'Content-Length': info.size,
      'Cache-Control': lasting ? 'public, max-age=31536000, immutable' : 'no-cache',
    });
    request.method === 'HEAD' ? response.end() : createReadStream(file).pipe(response);
  }
}

/** Starts serving; port 0 takes any that is free. Resolves to the server. */
export function serve(folder, port = 0) {
  const root = resolve(folder);
  const server = createServer((request, response) => void answer(root, request, response));
  return new Promise((done, fail) => {
    server.once('error', fail);
    server.listen(port, '127.0.0.1', () => done(server));
  });
}

if (process.argv[1] === fileURLToPath(import.meta.url)) {
  const [folder, port = '8360'] = process.argv.slice(2);
  if (folder === undefined || !/^\d{1,5}$/.test(port)) {
    process.stderr.write('usage: node serve.mjs FOLDER [PORT]\n');
    process.exit(2);
  }
  try {
    const server = await serve(folder, Number(port));
    process.stdout.write(`http://localhost:${server.address().port}/ (Ctrl-C ends it)\n`);
  } catch (error) {
    process.stderr.write(`port ${port}: ${error.code === 'EADDRINUSE' ? 'in use (give another one)' : error.message}\n`);
    process.exit(1);
  }
}
