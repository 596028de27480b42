// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// `veltra controls` and `veltra about`: what an effect tells about itself.
#include <CLI/CLI.hpp>
#include <algorithm>
#include <array>
#include <charconv>
#include <nlohmann/json.hpp>

#include "base/error.h"
#include "base/print.h"
#include "base/text.h"
#include "cli/commands/commands.h"
#include "cli/settings/controls.h"
#include "cli/settings/options.h"

namespace veltra::cli {
namespace {

using Json = nlohmann::ordered_json;

struct InfoOptions {
  std::string effect;
  bool json = false;
};

/// False when help was asked for.
bool ParseInfo(const char* name, const char* description, const Arguments& arguments,
               InfoOptions& options) {
  CLI::App app(description, name);
  app.add_option("--effect", options.effect,
                 "the effect library (default: the one beside this program)")
      ->type_name("FILE");
  app.add_flag("--json", options.json, "for programs");
  return ParseArguments(app, arguments);
}

void PrintJson(const Json& json) {
  Print(stdout, json.dump(2, ' ', false, Json::error_handler_t::replace), "\n");
}

double Real(A_long fixed) {
  return static_cast<double>(fixed) / kFixedOne;
}

Json ControlJson(const ControlOption& option) {
  const host::ControlDeclaration& control = *option.declaration;
  Json json = {{"index", control.index},
               {"id", control.id},
               {"type", TypeName(control.type)},
               {"name", option.VisibleName()},
               {"options", option.names}};
  switch (control.type) {
    case PF_Param_FIX_SLIDER:
      json["default"] = Real(control.defaultValue);
      json["minimum"] = Real(control.validMin);
      json["maximum"] = Real(control.validMax);
      json["slider_minimum"] = Real(control.sliderMin);
      json["slider_maximum"] = Real(control.sliderMax);
      json["precision"] = control.precision;
      break;
    case PF_Param_POINT:
      json["default_percent"] = {Real(control.defaultX), Real(control.defaultY)};
      json["restrict_bounds"] = control.restrictBounds;
      break;
    case PF_Param_CHECKBOX:
      json["default"] = control.defaultValue != 0;
      break;
    case PF_Param_POPUP:
      json["default"] = control.defaultValue;
      json["choices"] = control.choices;
      break;
    default:
      json["default"] = nullptr;
  }
  return json;
}

using Row = std::array<std::string, 5>;

std::string NamesText(const ControlOption& option) {
  std::string names;
  for (const std::string& name : option.names) {
    names += Text(names.empty() ? "" : ", ", "--", name);
  }
  return names;
}

void PrintTable(const std::vector<Row>& rows) {
  std::array<std::size_t, std::tuple_size_v<Row>> widths{};
  for (const Row& row : rows) {
    for (std::size_t i = 0; i < row.size(); ++i) {
      widths[i] = std::max(widths[i], row[i].size());
    }
  }
  for (const Row& row : rows) {
    std::string line;
    for (std::size_t i = 0; i < row.size(); ++i) {
      line += row[i];
      if (i + 1 < row.size()) {
        line.append(widths[i] + 2 - row[i].size(), ' ');
      }
    }
    Print(stdout, line.substr(0, line.find_last_not_of(' ') + 1), "\n");
  }
}

std::string VersionText(A_u_long version) {
  constexpr unsigned kVersionMask = 7;
  constexpr unsigned kPartMask = 15;
  std::string text = Text((version >> 19U) & kVersionMask, ".", (version >> 15U) & kPartMask);
  const unsigned bugfix = (version >> 11U) & kPartMask;
  return bugfix == 0 ? text : Text(text, ".", bugfix);
}

std::string Hexadecimal(A_long flags) {
  constexpr int kBase = 16;
  constexpr std::size_t kDigits = 8;
  std::array<char, kDigits> buffer{};
  const auto [end, error] = std::to_chars(buffer.data(), buffer.data() + buffer.size(),
                                          static_cast<A_u_long>(flags), kBase);
  const std::string digits(buffer.data(), end);
  return Text("0x", std::string(kDigits - digits.size(), '0'), digits);
}

std::string DepthsText(const host::Effect& effect) {
  std::string text;
  for (const host::Depth depth : host::kAllDepths) {
    if (effect.SupportsDepth(depth)) {
      text += Text(text.empty() ? "" : ", ", host::DepthName(depth));
    }
  }
  return text;
}

void PrintIdentity(const host::Effect& effect) {
  const host::Registration& identity = effect.Library().Identity();
  Print(stdout, "\n");
  PrintTable({{"name", identity.name, "", "", ""},
              {"match name", identity.matchName, "", "", ""},
              {"category", identity.category, "", "", ""},
              {"version", VersionText(effect.Version()), "", "", ""},
              {"interface", Text(identity.apiMajor, ".", identity.apiMinor), "", "", ""},
              {"entry point", identity.entryPoint, "", "", ""},
              {"support", identity.supportUrl, "", "", ""},
              {"depths", DepthsText(effect), "", "", ""},
              {"smart render", effect.SupportsSmartRender() ? "yes" : "no", "", "", ""},
              {"flags", Text(Hexadecimal(effect.OutFlags()), ", ", Hexadecimal(effect.OutFlags2())),
               "", "", ""},
              {"library", effect.Library().Path().string(), "", "", ""}});
}

Json IdentityJson(const host::Effect& effect, const std::string& about) {
  const host::Registration& identity = effect.Library().Identity();
  return {{"name", identity.name},
          {"match_name", identity.matchName},
          {"category", identity.category},
          {"version", VersionText(effect.Version())},
          {"interface", Text(identity.apiMajor, ".", identity.apiMinor)},
          {"entry_point", identity.entryPoint},
          {"support_url", identity.supportUrl},
          {"depths", DepthsText(effect)},
          {"smart_render", effect.SupportsSmartRender()},
          {"out_flags", effect.OutFlags()},
          {"out_flags2", effect.OutFlags2()},
          {"about", about},
          {"library", effect.Library().Path().string()}};
}

}  // namespace

int RunControls(const Arguments& arguments) {
  InfoOptions options;
  if (!ParseInfo("veltra controls", "Lists the controls that the effect declares.", arguments,
                 options)) {
    return kExitDone;
  }
  const auto effect = LoadEffect(options.effect);
  const std::vector<ControlOption> controls = ControlOptions(*effect, TakenNames());
  if (options.json) {
    Json list = Json::array();
    for (const ControlOption& control : controls) {
      list.push_back(ControlJson(control));
    }
    PrintJson({{"effect", effect->Library().Identity().name}, {"controls", list}});
    return kExitDone;
  }
  std::vector<Row> rows = {{"CONTROL", "TYPE", "DEFAULT", "RANGE", "OPTIONS"}};
  for (const ControlOption& control : controls) {
    rows.push_back({std::string(control.VisibleName()), TypeName(control.declaration->type),
                    DefaultText(*control.declaration), RangeText(*control.declaration),
                    NamesText(control)});
  }
  PrintTable(rows);
  return kExitDone;
}

int RunAbout(const Arguments& arguments) {
  InfoOptions options;
  if (!ParseInfo("veltra about", "Shows what the effect says about itself.", arguments, options)) {
    return kExitDone;
  }
  const auto effect = LoadEffect(options.effect);
  auto about = effect->About();
  if (!about) {
    throw RenderError(about.ErrorText());
  }
  std::string text = *about;
  std::replace(text.begin(), text.end(), '\r', '\n');  // the host's line break
  if (options.json) {
    PrintJson(IdentityJson(*effect, text));
    return kExitDone;
  }
  Print(stdout, text, "\n");
  PrintIdentity(*effect);
  return kExitDone;
}

}  // namespace veltra::cli
