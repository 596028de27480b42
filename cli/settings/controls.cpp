// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Names of controls, derived from their declarations.
#include "cli/settings/controls.h"

#include <algorithm>
#include <cctype>
#include <map>

#include "base/error.h"
#include "base/text.h"

namespace veltra::cli {
namespace {

using host::ControlDeclaration;

bool CanBeSet(const ControlDeclaration& control) {
  return control.type == PF_Param_LAYER || control.HasValue();
}

std::vector<std::string> Words(const std::string& slug) {
  std::vector<std::string> words;
  std::size_t start = 0;
  while (start < slug.size()) {
    const std::size_t end = std::min(slug.find('-', start), slug.size());
    words.push_back(slug.substr(start, end - start));
    start = end + 1;
  }
  return words;
}

template <class Range>
bool Contains(const Range& range, const std::string& value) {
  return std::find(range.begin(), range.end(), value) != range.end();
}

/// A word short enough to be a preposition names nothing.
bool NamesSomething(const std::string& word) {
  constexpr std::size_t kShortestName = 3;
  return word.size() >= kShortestName && word != "with" && word != "and" && word != "the" &&
         word != "for" && word != "from" && std::isalpha(static_cast<unsigned char>(word[0])) != 0;
}

void AddShortNames(std::vector<ControlOption>& options, const std::vector<std::string>& taken) {
  std::map<std::string, int> uses;
  for (const ControlOption& option : options) {
    std::vector<std::string> words = Words(option.LongName());
    std::sort(words.begin(), words.end());
    words.erase(std::unique(words.begin(), words.end()), words.end());
    for (const std::string& word : words) {
      ++uses[word];
    }
  }
  for (ControlOption& option : options) {
    for (const std::string& word : Words(option.LongName())) {
      if (uses[word] == 1 && NamesSomething(word) && !Contains(taken, word) &&
          !Contains(option.names, word)) {
        option.names.push_back(word);
      }
    }
  }
}

/// The long name, made different from the program's own options and from controls before it.
std::string UniqueName(const ControlDeclaration& control, const std::vector<ControlOption>& before,
                       const std::vector<std::string>& taken) {
  const std::string slug = Slug(control.name.empty() ? control.label : control.name);
  std::string name = slug.empty() ? Text("control-", control.index) : slug;
  const bool used = Contains(taken, name) ||
                    std::any_of(before.begin(), before.end(), [&](const ControlOption& other) {
                      return other.LongName() == name;
                    });
  return used ? Text(name, "-", control.index) : name;
}

}  // namespace

std::string Slug(std::string_view visible) {
  std::string slug;
  for (const char c : visible) {
    const auto letter = static_cast<unsigned char>(c);
    if (std::isalnum(letter) != 0) {
      slug += static_cast<char>(std::tolower(letter));
    } else if (!slug.empty() && slug.back() != '-') {
      slug += '-';
    }
  }
  while (slug.ends_with('-')) {
    slug.pop_back();
  }
  return slug;
}

std::vector<ControlOption> ControlOptions(const host::Effect& effect,
                                          const std::vector<std::string>& taken) {
  std::vector<ControlOption> options;
  for (const ControlDeclaration& control : effect.Controls()) {
    if (CanBeSet(control)) {
      options.push_back({&control, {UniqueName(control, options, taken)}});
    }
  }
  AddShortNames(options, taken);
  return options;
}

std::vector<ControlOption> ButtonOptions(const host::Effect& effect) {
  std::vector<ControlOption> buttons;
  for (const ControlDeclaration& control : effect.Controls()) {
    if (control.type == PF_Param_BUTTON) {
      buttons.push_back({&control, {UniqueName(control, buttons, {})}});
    }
  }
  return buttons;
}

bool CanBePressed(const ControlDeclaration& button) {
  return (button.flags & PF_ParamFlag_SUPERVISE) != 0;
}

namespace {

PF_ParamIndex ParseButton(const std::vector<ControlOption>& buttons, std::string_view name) {
  const ControlOption* button = FindControl(buttons, name);
  if (button == nullptr) {
    std::string known;
    for (const ControlOption& other : buttons) {
      if (CanBePressed(*other.declaration)) {
        known += Text(known.empty() ? "" : ", ", other.LongName());
      }
    }
    ThrowNotA(name, "a button of the effect",
              known.empty() ? "none: it has no buttons to press" : known);
  }
  if (!CanBePressed(*button->declaration)) {
    throw UsageError(Text("'", name, "' is a button that the effect does not listen to"));
  }
  return button->declaration->index;
}

}  // namespace

std::vector<PF_ParamIndex> ParseButtons(const host::Effect& effect, std::string_view names) {
  const std::vector<ControlOption> buttons = ButtonOptions(effect);
  std::vector<PF_ParamIndex> pressed;
  while (!names.empty()) {
    const std::size_t comma = std::min(names.find(','), names.size());
    pressed.push_back(ParseButton(buttons, names.substr(0, comma)));
    names.remove_prefix(std::min(comma + 1, names.size()));
  }
  return pressed;
}

const ControlOption* FindControl(const std::vector<ControlOption>& options, std::string_view name) {
  for (const ControlOption& option : options) {
    if (Contains(option.names, std::string(name))) {
      return &option;
    }
  }
  return nullptr;
}

}  // namespace veltra::cli
