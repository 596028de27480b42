// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Types of serve.mjs.
import type { Server } from 'node:http';

/** Starts serving a folder; port 0 takes any that is free. */
export function serve(folder: string, port?: number): Promise<Server>;
