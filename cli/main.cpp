// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// The `veltra` program.
#include "cli/commands/commands.h"
#include "system/console.h"

int main(int count, char** values) {
  veltra::PrepareConsole();
  return veltra::cli::RunProgram(veltra::OwnArguments(count, values));
}
