// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// The page opened for a test, its server, and what tests ask of it.
import type { Server } from 'node:http';
import type { AddressInfo } from 'node:net';
import { fileURLToPath } from 'node:url';
import { test as plain, expect, type Page, type Locator } from '@playwright/test';
import { serve } from '../../serve.mjs';

export const repository = fileURLToPath(new URL('../../../', import.meta.url));

/** Every test has the page open, and fails when the page complains of anything. */
export const test = plain.extend<{ address: string; studio: Page }, { server: Server }>({
  server: [
    async ({}, use) => {
      const server = await serve(`${repository}build/web`);
      await use(server);
      server.close();
    },
    { scope: 'worker' },
  ],
  address: async ({ server }, use) => {
    await use(`http://localhost:${(server.address() as AddressInfo).port}/`);
  },
  studio: async ({ page, address }, use) => {
    const troubles: string[] = [];
    page.on('pageerror', (error) => troubles.push(error.message));
    page.on('console', (message) => {
      if (message.type() === 'error') {
        troubles.push(message.text());
      }
    });
    await page.goto(address);
    await settled(page);
    await use(page);
    expect(troubles).toEqual([]);
  },
});
export { expect };

/** Waits until the picture of the present state is on the screen in full resolution. */
export async function settled(page: Page): Promise<void> {
  await expect(page.locator('html')).toHaveAttribute('data-state', 'settled');
}

export function control(page: Page, name: string): Locator {
  return page.locator(`[data-control="${name}"]`);
}

export async function number(field: Locator): Promise<number> {
  return Number(await field.inputValue());
}

/** Drags with the mouse from the middle of an element. */
export async function drag(page: Page, from: Locator, dx: number, dy: number): Promise<void> {
  const box = await from.boundingBox();
  if (box === null) {
    throw new Error('nothing to drag');
  }
  const x = box.x + box.width / 2;
  const y = box.y + box.height / 2;
  await page.mouse.move(x, y);
  await page.mouse.down();
  await page.mouse.move(x + dx / 2, y + dy / 2, { steps: 3 });
  await page.mouse.move(x + dx, y + dy, { steps: 3 });
  await page.mouse.up();
}

/** What the export dialog's button saves. */
export async function exported(page: Page, name: string): Promise<Buffer> {
  const [download] = await Promise.all([
    page.waitForEvent('download'),
    page.locator(`[data-export="${name}"]`).click(),
  ]);
  const stream = await download.createReadStream();
  const parts: Buffer[] = [];
  for await (const part of stream) {
    parts.push(part as Buffer);
  }
  return Buffer.concat(parts);
}
