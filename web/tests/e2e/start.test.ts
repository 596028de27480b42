// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// The first picture, and the same bytes as on every other system.
import { readFileSync } from 'node:fs';
import { expect, repository, settled, test } from './page';

test('the first picture comes by itself, and the panel is the effect’s own', async ({ studio }) => {
  await expect(studio.locator('.side [data-control]')).toHaveCount(12);
  await expect(studio.getByRole('radio', { name: 'Stretch' })).toBeChecked();
  const shot = await studio.locator('.pane-flat').screenshot();
  expect(shot.byteLength).toBeGreaterThan(20_000);
});

test('a draft is on the screen while the first panorama is drawn', async ({ page, address }) => {
  await page.addInitScript(() => {
    const seen: string[] = [];
    (window as unknown as { seen: string[] }).seen = seen;
    new MutationObserver((changes) => {
      for (const { attributeName } of changes) {
        const state = document.documentElement.dataset['state'];
        seen.push(attributeName === 'data-render-ms' ? `picture while ${state}` : `${state}`);
      }
    }).observe(document, { attributes: true, subtree: true, attributeFilter: ['data-state', 'data-render-ms'] });
  });
  await page.goto(address);
  await settled(page);
  const seen = await page.evaluate(() => (window as unknown as { seen: string[] }).seen);
  expect(seen.filter((each) => each === 'picture while busy').length).toBeGreaterThan(1);
  expect(seen.indexOf('settled')).toBe(seen.length - 1);
});

test('the fixed scenes have the hashes of every other system in the browser', async ({ page, address }) => {
  const modules = `${repository}build/wasm/bin/`;
  await page.route('**/scene_hashes.*', (route) => {
    const name = new URL(route.request().url()).pathname.slice(1);
    const contentType = name.endsWith('.wasm') ? 'application/wasm' : 'text/javascript';
    return route.fulfill({ body: readFileSync(modules + name), contentType });
  });
  await page.goto(address);
  await page.addScriptTag({ url: `${address}scene_hashes.js` });
  const lines = await page.evaluate(async () => {
    const printed: string[] = [];
    const create = (window as unknown as Record<string, (options: object) => Promise<{ callMain(words: string[]): void }>>)['createSceneHashes'];
    const module = await create?.({ print: (line: string) => printed.push(line), quit: () => undefined });
    module?.callMain(['--library=linked']);
    return printed;
  });
  const table = readFileSync(`${repository}tests/conformance/scene_hashes.txt`, 'utf8')
    .split('\n')
    .filter((line) => line !== '' && !line.startsWith('#'));
  expect(lines.sort()).toEqual(table.sort());
});
