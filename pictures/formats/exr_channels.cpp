// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Looks for the channels part by part.
#include "pictures/formats/exr_channels.h"

#include <algorithm>
#include <optional>
#include <string_view>

#include "base/error.h"
#include "base/text.h"

namespace veltra::pictures {
namespace {

using Names = std::vector<std::string>;

bool Has(const Names& names, const std::string& name) {
  return std::find(names.begin(), names.end(), name) != names.end();
}

Names Split(std::string_view text) {
  Names names;
  for (;;) {
    const std::size_t comma = text.find(',');
    names.emplace_back(text.substr(0, comma));
    if (comma == std::string_view::npos) {
      return names;
    }
    text.remove_prefix(comma + 1);
  }
}

/// R, G, B or Y, and A behind a prefix such as "left.".
std::optional<Names> ColoursOf(const ExrPart& part, const std::string& prefix) {
  const auto has = [&](const char* name) { return Has(part.channels, prefix + name); };
  Names names;
  if (has("R") || has("G") || has("B")) {
    names = {prefix + "R", prefix + "G", prefix + "B"};
  } else if (has("Y")) {
    if (has("RY")) {
      throw RenderError("an OpenEXR file in luminance and chroma; convert it to RGB first");
    }
    names = {prefix + "Y"};
  } else {
    return std::nullopt;
  }
  if (has("A")) {
    names.push_back(prefix + "A");
  }
  return names;
}

/// What a text without a part's name stands for in this part.
std::optional<Names> NamesIn(const ExrPart& part, const std::string& wanted) {
  if (wanted.empty()) {
    return ColoursOf(part, "");
  }
  const Names names = Split(wanted);
  if (names.size() <= 4 && std::all_of(names.begin(), names.end(), [&](const std::string& name) {
        return Has(part.channels, name);
      })) {
    return names;
  }
  return names.size() == 1 ? ColoursOf(part, wanted + ".") : std::nullopt;
}

/// "R, G, B, depth:Z", without the channels of `except`.
Names Shown(const std::vector<ExrPart>& parts, const ExrChoice* except) {
  Names shown;
  for (std::size_t i = 0; i < parts.size(); ++i) {
    const bool taken = except != nullptr && static_cast<std::size_t>(except->part) == i;
    if (except != nullptr && !taken) {
      shown.push_back(Text("part ", parts[i].name.empty() ? Text(i) : parts[i].name));
      continue;
    }
    for (const std::string& channel : parts[i].channels) {
      if (!taken || !Has(except->names, channel)) {
        shown.push_back(parts.size() > 1 && !taken ? Text(parts[i].name, ":", channel) : channel);
      }
    }
  }
  return shown;
}

std::string Joined(const Names& names) {
  std::string text;
  for (const std::string& name : names) {
    text += Text(text.empty() ? "" : ", ", name);
  }
  return text;
}

[[noreturn]] void ThrowNone(const std::vector<ExrPart>& parts, const std::string& wanted) {
  const std::string there = Joined(Shown(parts, nullptr));
  if (wanted.empty()) {
    throw RenderError(Text("an OpenEXR file without the channels R, G, B or Y (choose from ", there,
                           " with --channels)"));
  }
  throw RenderError(Text("no channels '", wanted, "' (expected some of ", there, ")"));
}

}  // namespace

ExrChoice ChooseExrChannels(const std::vector<ExrPart>& parts, const std::string& wanted) {
  const std::size_t colon = wanted.find(':');
  const bool named = colon != std::string::npos;
  ExrChoice choice;
  // As a channel or a layer of any part, or of the one that is named; then as a part's own name.
  for (const bool asPart : {false, true}) {
    for (std::size_t i = 0; i < parts.size(); ++i) {
      const ExrPart& part = parts[i];
      const std::string partName = named ? wanted.substr(0, colon) : asPart ? wanted : part.name;
      if (!part.readable || part.name != partName || (asPart && (named || wanted.empty()))) {
        continue;
      }
      const auto names = NamesIn(part, asPart ? "" : named ? wanted.substr(colon + 1) : wanted);
      if (names) {
        choice.part = static_cast<int>(i);
        choice.names = *names;
        choice.alpha = names->size() == 2 || names->size() == 4;
        choice.leftOut = Shown(parts, &choice);
        return choice;
      }
    }
  }
  ThrowNone(parts, wanted);
}

}  // namespace veltra::pictures
