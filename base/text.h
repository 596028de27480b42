// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Puts lines of text together.
#pragma once

#include <cctype>
#include <concepts>
#include <cstring>
#include <string>
#include <string_view>

namespace veltra {

inline void AppendPart(std::string& text, std::string_view part) {
  text.append(part);
}

template <std::integral Number>
void AppendPart(std::string& text, Number part) {
  text.append(std::to_string(part));
}

/// The parts one after the other; numbers as decimals.
template <class... Parts>
std::string Text(const Parts&... parts) {
  std::string text;
  (AppendPart(text, parts), ...);
  return text;
}

/// What an errno means, in lower case, as all messages are.
inline std::string ReasonText(int failure) {
  std::string text = std::strerror(failure);
  text[0] = static_cast<char>(std::tolower(static_cast<unsigned char>(text[0])));
  return text;
}

/// Spaces, line breaks and other control characters, runs of them as one space; none at the ends.
inline std::string OneLine(std::string_view text) {
  std::string line;
  for (const char c : text) {
    const bool breaks = static_cast<unsigned char>(c) < ' ' || c == ' ';
    if (!breaks) {
      line.push_back(c);
    } else if (!line.empty() && line.back() != ' ') {
      line.push_back(' ');
    }
  }
  line.erase(line.find_last_not_of(' ') + 1);
  return line;
}

/// A quantity of something: "1 frame", "2 frames".
inline std::string Count(std::size_t number, std::string_view thing) {
  return Text(number, " ", thing, number == 1 ? "" : "s");
}

}  // namespace veltra
