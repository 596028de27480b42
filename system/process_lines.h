// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// What is said between a process and one that it has started, a line at a time.
#pragma once

#include <functional>
#include <string>
#include <string_view>

namespace veltra {

/// Calls onLine for each line that `text` holds whole, and leaves in it the one that is cut.
void TakeLines(std::string& text, const std::function<void(std::string_view)>& onLine);

/// Leaves the last 4 KiB.
void KeepTail(std::string& text);

/// The text with its line breaks as blanks, and one at its end.
std::string AsOneLine(std::string_view text);

}  // namespace veltra
