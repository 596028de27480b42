// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Cuts what comes through a pipe into lines.
#include "system/process_lines.h"

#include <algorithm>
#include <cstddef>

namespace veltra {

void TakeLines(std::string& text, const std::function<void(std::string_view)>& onLine) {
  std::size_t start = 0;
  for (std::size_t end = text.find('\n'); end != std::string::npos; end = text.find('\n', start)) {
    onLine(std::string_view(text).substr(start, end - start));
    start = end + 1;
  }
  text.erase(0, start);
}

void KeepTail(std::string& text) {
  constexpr std::size_t kKept = 4096;
  if (text.size() > kKept) {
    text.erase(0, text.size() - kKept);
  }
}

std::string AsOneLine(std::string_view text) {
  std::string line(text);
  std::replace_if(
      line.begin(), line.end(), [](char c) { return c == '\n' || c == '\r'; }, ' ');
  return line += '\n';
}

}  // namespace veltra
