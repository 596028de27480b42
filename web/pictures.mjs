// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Takes the pictures of the page for the documentation, from build/web into docs/images.
//
// usage: node web/pictures.mjs
import { fileURLToPath } from 'node:url';
import { chromium, devices } from '@playwright/test';
import { serve } from './serve.mjs';

const root = fileURLToPath(new URL('..', import.meta.url));

async function settled(page) {
  await page.waitForSelector('html[data-state="settled"]', { timeout: 120_000 });
  // What is rendered is on the screen two pictures of it later.
  await page.evaluate(() => new Promise((done) => requestAnimationFrame(() => requestAnimationFrame(done))));
}

async function type(page, control, value) {
  const field = page.locator(`[data-control="${control}"] .number`).first();
  await field.fill(String(value));
  await field.press('Enter');
}

/** A title that travels along the line, seen in the middle of its way. */
async function pose(page) {
  await settled(page);
  await page.getByRole('radio', { name: 'Solo' }).click();
  await page.getByRole('button', { name: 'Animate Travel' }).click();
  await page.getByLabel('Frame number').fill('120');
  await page.getByLabel('Frame number').press('Enter');
  await type(page, 'travel', 100);
  await page.getByLabel('Frame number').fill('50');
  await page.getByLabel('Frame number').press('Enter');
  await page.locator('body').click({ position: { x: 2, y: 2 } });
  await settled(page);
}

const server = await serve(`${root}build/web`);
const browser = await chromium.launch({
  executablePath: '/usr/bin/chromium',
  args: ['--no-sandbox', '--disable-gpu', '--enable-unsafe-swiftshader'],
});
try {
  const shots = [
    ['page', { viewport: { width: 1280, height: 800 }, colorScheme: 'dark' }],
    ['page-phone', { ...devices['Pixel 7'], colorScheme: 'light', deviceScaleFactor: 1 }],
  ];
  for (const [name, options] of shots) {
    const page = await browser.newPage(options);
    await page.goto(`http://localhost:${server.address().port}/`);
    await pose(page);
    await page.screenshot({ path: `${root}docs/images/${name}.jpg`, type: 'jpeg', quality: 82 });
    await page.close();
  }
} finally {
  await browser.close();
  server.close();
}
