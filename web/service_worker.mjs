// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Keeps the page's files, so that it opens again without a network. The build puts the names of all
// files and a word that changes with them into the first two lines.
const version = 'VERSION';
const files = ['FILES'];
const cacheName = `veltra-${version}`;

self.addEventListener('install', (event) => {
  event.waitUntil(
    caches
      .open(cacheName)
      .then((cache) => cache.addAll(files))
      .then(() => self.skipWaiting()),
  );
});

self.addEventListener('activate', (event) => {
  const old = (name) => name.startsWith('veltra-') && name !== cacheName;
  event.waitUntil(caches.keys().then((names) => Promise.all(names.filter(old).map((name) => caches.delete(name)))));
});

/** The document comes from the server where there is one; files named by their content need none. */
async function answer(request) {
  const kept = () => caches.match(request, { ignoreSearch: true });
  if (request.mode === 'navigate') {
    try {
      return await fetch(request);
    } catch (error) {
      const page = (await kept()) ?? (await caches.match('./'));
      if (page === undefined) {
        throw error;
      }
      return page;
    }
  }
  return (await kept()) ?? fetch(request);
}

self.addEventListener('fetch', (event) => {
  if (event.request.method === 'GET' && new URL(event.request.url).origin === location.origin) {
    event.respondWith(answer(event.request));
  }
});
