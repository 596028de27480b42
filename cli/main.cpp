// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// The `veltra` program.
#include "cli/commands/commands.h"

int main(int count, char** values) {
  return veltra::cli::RunProgram(
      veltra::cli::Arguments(values + (count > 0 ? 1 : 0), values + count));
}
