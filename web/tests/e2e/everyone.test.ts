// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// For everyone: no finding of axe, narrow screens, no network, a browser that lacks something.
import AxeBuilder from '@axe-core/playwright';
import type { Page } from '@playwright/test';
import { control, expect, settled, test } from './page';

async function findings(page: Page): Promise<string[]> {
  const { violations } = await new AxeBuilder({ page }).analyze();
  return violations.map((violation) => `${violation.id}: ${violation.nodes.map((node) => node.html).join(' ').slice(0, 300)}`);
}

for (const [scheme, width, height] of [['dark', 1280, 800], ['light', 320, 640]] as const) {
  test(`no finding of axe, ${scheme}, ${width} wide`, async ({ studio }) => {
    await studio.emulateMedia({ colorScheme: scheme });
    await studio.setViewportSize({ width, height });
    await control(studio, 'travel').getByRole('button', { name: 'Animate Travel' }).click();
    await studio.locator('.key').click();
    await studio.getByRole('button', { name: 'Type a text' }).click();
    await settled(studio);
    expect(await findings(studio)).toEqual([]);
    await studio.getByRole('button', { name: 'Export', exact: true }).click();
    expect(await findings(studio)).toEqual([]);
    const wide = await studio.evaluate(() => document.documentElement.scrollWidth);
    expect(wide).toBeLessThanOrEqual(width);
  });
}

/** Waits until the page's files are kept for times without a network. */
async function kept(page: Page): Promise<void> {
  await page.evaluate(async () => (await navigator.serviceWorker.ready).active?.state);
}

test('after loading nothing is asked for, and it all works without a network', async ({ studio, context }) => {
  const asked: string[] = [];
  studio.on('request', (request) => {
    if (!request.url().startsWith('blob:')) {
      asked.push(request.url());
    }
  });
  await kept(studio);
  await context.setOffline(true);
  await studio.locator('#choose-frame').selectOption('example:grid');
  await settled(studio);
  await control(studio, 'spherical-filtering').getByRole('checkbox').check();
  await settled(studio);
  await studio.getByRole('button', { name: 'Export', exact: true }).click();
  const [download] = await Promise.all([
    studio.waitForEvent('download'),
    studio.locator('[data-export="exr"]').click(),
  ]);
  expect(await download.failure()).toBeNull();
  expect(asked).toEqual([]);
});

test('once it was there, the page opens without a network', async ({ studio, context, address }) => {
  await kept(studio);
  await context.setOffline(true);
  await studio.goto('about:blank');
  await studio.goto(address);
  await settled(studio);
  await studio.getByRole('radio', { name: 'Globe' }).click();
  await settled(studio);
});

test('everything is reached by the keyboard in the order of the screen', async ({ studio }) => {
  const seen: string[] = [];
  for (let i = 0; i < 60; ++i) {
    await studio.keyboard.press('Tab');
    seen.push(
      await studio.evaluate(() => {
        const at = document.activeElement;
        return at?.getAttribute('aria-label') ?? at?.id ?? '';
      }),
    );
  }
  const order = ['Light or dark', 'Start Point', 'End Point', 'choose-frame', 'Travel slider', 'depth'];
  const places = order.map((name) => seen.indexOf(name));
  expect(places).toEqual([...places].sort((a, b) => a - b));
  expect(Math.min(...places)).toBeGreaterThanOrEqual(0);
});

test('a browser without SIMD or exceptions gets one clear line', async ({ page, address }) => {
  await page.addInitScript(() => {
    WebAssembly.validate = () => false;
  });
  await page.goto(address);
  await expect(page.getByRole('alert')).toContainText('without SIMD');
});
