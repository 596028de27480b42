// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// The console that the program was started from.
#pragma once

#include <string>
#include <vector>

namespace veltra {

/// To be called first of all: what is printed is UTF-8 with plain line ends, on any system.
void PrepareConsole();

/// What the program was started with, its own name apart, as UTF-8; `count` and `values` are those
/// of main(). Nothing is taken for a pattern of file names.
std::vector<std::string> OwnArguments(int count, char** values);

/// Whether somebody may be watching standard error.
bool ErrorsGoToTerminal();

/// Columns of the terminal behind standard error; 80 where they cannot be known.
int TerminalWidth();

}  // namespace veltra
