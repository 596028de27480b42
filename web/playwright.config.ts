// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// The built page in Debian's Chromium.
import { defineConfig } from '@playwright/test';

export default defineConfig({
  testDir: 'tests/e2e',
  outputDir: 'test-results',
  reporter: 'list',
  // A machine with two busy cores renders slowly; what is wrong fails at once all the same.
  timeout: 240_000,
  expect: { timeout: 60_000 },
  forbidOnly: process.env['CI'] !== undefined,
  workers: 2,
  fullyParallel: true,
  use: {
    viewport: { width: 1280, height: 800 },
    locale: 'en-GB',
    colorScheme: 'dark',
    acceptDownloads: true,
    launchOptions: {
      executablePath: '/usr/bin/chromium',
      args: [
        '--no-sandbox',
        '--disable-gpu',
        '--enable-unsafe-swiftshader',
        '--disable-quic',
        '--no-first-run',
        '--disable-background-networking',
        '--disable-component-update',
        '--disable-sync',
      ],
    },
  },
});
