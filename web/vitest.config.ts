// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// The tests of the page's own logic, in node.
import { defineConfig } from 'vitest/config';

export default defineConfig({ test: { include: ['tests/unit/**/*.test.ts'], pool: 'threads' } });
