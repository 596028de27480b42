// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Words for whatever was thrown.

/** An error's message, or what was thrown in its stead. */
export function reasonOf(error: unknown): string {
  return error instanceof Error ? error.message : String(error);
}
