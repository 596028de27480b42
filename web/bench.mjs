// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Measures the built page in Chromium: what it loads, its first picture, and frames of 2048 x 1024
// at 8 bit on one and on two render workers: of the page's first scene, and of a strip 20 degrees
// high. Each measurement is a new page.
//
// usage: node web/bench.mjs
import { readdirSync, readFileSync } from 'node:fs';
import { fileURLToPath } from 'node:url';
import { gzipSync } from 'node:zlib';
import { chromium } from '@playwright/test';
import { serve } from './serve.mjs';

const root = fileURLToPath(new URL('../build/web/', import.meta.url));
const frames = 40;

function compressedSize() {
  const files = readdirSync(root, { recursive: true, withFileTypes: true })
    .filter((entry) => entry.isFile() && entry.name !== 'licences.txt');
  return files.reduce((sum, { parentPath, name }) => sum + gzipSync(readFileSync(`${parentPath}/${name}`)).length, 0);
}

const isSettled = () => document.documentElement.dataset.state === 'settled';

/** Milliseconds of the first picture and of full frames, as the page itself takes them. */
async function measure(browser, address, { workers, size, filtered }) {
  const page = await browser.newPage({ viewport: { width: 1280, height: 800 } });
  await page.addInitScript((count) => {
    Object.defineProperty(navigator, 'hardwareConcurrency', { value: count });
    new MutationObserver(() => {
      window.firstPicture ??= document.documentElement.dataset.renderMs && performance.now();
    }).observe(document, { attributes: true, subtree: true });
  }, workers);
  await page.goto(address);
  await page.waitForFunction(isSettled, null, { timeout: 120_000 });
  // Drawing the other views without a graphics card would keep all processors busy meanwhile.
  await page.getByRole('radio', { name: 'Flat' }).check();
  if (size !== undefined) {
    const field = page.locator('[data-control="size-degrees"] .number');
    await field.fill(String(size));
    await field.press('Enter');
    await page.waitForFunction(isSettled, null, { timeout: 120_000 });
  }
  if (filtered) {
    await page.getByRole('checkbox', { name: 'Spherical Filtering' }).check();
  }
  // Within the page, so that nothing else runs meanwhile.
  const times = await page.locator('[data-control="travel"] .number').evaluate(async (field, count) => {
    const page = document.documentElement;
    const taken = [];
    for (let i = 0; i < count; ++i) {
      const settled = new Promise((resolve) => {
        const observer = new MutationObserver(() => {
          if (page.dataset.state === 'settled') {
            observer.disconnect();
            resolve();
          }
        });
        observer.observe(page, { attributes: true, attributeFilter: ['data-state'] });
      });
      field.dispatchEvent(new KeyboardEvent('keydown', { key: 'ArrowUp', bubbles: true, cancelable: true }));
      await settled;
      taken.push(Number(page.dataset.renderMs));
    }
    return taken;
  }, frames);
  const first = await page.evaluate(() => window.firstPicture);
  await page.close();
  times.sort((a, b) => a - b);
  return { first, best: times[0], median: times[frames / 2] };
}

async function report(browser, address, scene) {
  const { first, best, median } = await measure(browser, address, scene);
  const what = [`${scene.workers} worker${scene.workers > 1 ? 's' : ''}`];
  if (scene.size !== undefined) {
    what.push(`${scene.size} degrees high`);
  }
  if (scene.filtered) {
    what.push('filtered');
  }
  console.log(
    `${what.join(', ')}: first picture ${first.toFixed(0)} ms, a frame ${best.toFixed(1)} ms at best, ${median.toFixed(1)} ms median`,
  );
}

const server = await serve(root);
const address = `http://localhost:${server.address().port}/`;
const browser = await chromium.launch({
  executablePath: '/usr/bin/chromium',
  args: ['--no-sandbox', '--disable-gpu', '--enable-unsafe-swiftshader'],
});
try {
  console.log(`to load, gzipped: ${(compressedSize() / 1024).toFixed(0)} KiB`);
  for (const scene of [{}, { size: 20 }, { filtered: true }]) {
    for (const workers of [1, 2]) {
      await report(browser, address, { workers, ...scene });
    }
  }
} finally {
  await browser.close();
  server.close();
}
