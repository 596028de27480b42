// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// `veltra controls` and `veltra about`: what an effect tells about itself.
#include <algorithm>
#include <array>
#include <charconv>
#include <chrono>
#include <exception>
#include <nlohmann/json.hpp>

#include "base/error.h"
#include "base/print.h"
#include "base/text.h"
#include "cli/commands/command_line.h"
#include "cli/commands/commands.h"
#include "cli/settings/controls.h"
#include "cli/settings/hosts.h"
#include "cli/settings/options.h"
#include "system/process.h"
#include "system/program_file.h"

namespace veltra::cli {
namespace {

using Json = nlohmann::ordered_json;

struct InfoOptions {
  std::string effect;
  std::string host{host::DefaultHost().name};
  bool json = false;
  bool inChild = false;
};

/// False when help was asked for, of the command or of the hosts, and printed.
bool ParseInfo(const char* name, const char* description, const Arguments& arguments,
               InfoOptions& options) {
  CommandLine commandLine(description, name);
  commandLine
      .Option("--effect", options.effect,
              "the effect library (default: the one beside this program)")
      .Type("FILE");
  commandLine.Option("--host", options.host, HostOptionHelp()).LastCounts().Type("NAME");
  commandLine.Flag("--json", options.json, "for programs");
  commandLine.Flag("--in-child", options.inChild).Group("");
  if (!commandLine.Read(arguments)) {
    return false;
  }
  if (options.host == kListHosts) {
    Print(stdout, HostsText());
    return false;
  }
  try {
    ParseHost(options.host);
  } catch (const UsageError& error) {
    throw UsageError(Text("--host: ", error.what()));
  }
  return true;
}

// ---- A process of its own for the effect, which may crash ----

constexpr std::chrono::seconds kTimeout{60};
constexpr std::string_view kTextWord = "text ";
constexpr std::string_view kErrorWord = "error ";
constexpr std::string_view kDoneWord = "done";

void ReportText(std::string_view text) {
  while (!text.empty()) {
    const std::size_t end = std::min(text.find('\n'), text.size());
    ReportLine(Text(kTextWord, text.substr(0, end)));
    text.remove_prefix(std::min(end + 1, text.size()));
  }
}

/// The child's part: asks the effect and reports what is to be printed.
int ReportInfo(const InfoOptions& options, std::string (*describe)(const InfoOptions&)) {
  PrepareChild();
  try {
    ReportText(describe(options));
  } catch (const std::exception& error) {
    ReportLine(Text(kErrorWord, error.what()));
  }
  ReportLine(kDoneWord);
  return kExitDone;
}

/// Why the process ended before it had reported everything.
std::string TroubleText(const ProcessEnd& end) {
  switch (end.how) {
    case ProcessEnd::How::kNotStarted:
      return Text("no process could be started for it: ", end.signal);
    case ProcessEnd::How::kTimedOut:
      return Text("hung: no answer after ", kTimeout.count(), " seconds");
    case ProcessEnd::How::kSignalled:
      return Text("crashed: ", end.signal);
    case ProcessEnd::How::kExited:
      break;
  }
  return Text("ended the program with exit status ", end.status);
}

/// Prints what a process of its own finds out, all of it or nothing: an effect that crashes is an
/// error like any other, and what it prints itself stays out of the answer.
int PrintInfo(const char* command, const InfoOptions& options) {
  Arguments arguments{command, "--in-child", Text("--host=", options.host)};
  if (!options.effect.empty()) {
    arguments.push_back(Text("--effect=", options.effect));  // whatever the path begins with
  }
  if (options.json) {
    arguments.emplace_back("--json");
  }
  std::string text;
  std::string error;
  bool done = false;
  const ProcessEnd end = RunChild(ProgramFile(), arguments, kTimeout, [&](std::string_view line) {
    if (line.starts_with(kTextWord)) {
      text += Text(line.substr(kTextWord.size()), "\n");
    } else if (line.starts_with(kErrorWord)) {
      error = line.substr(kErrorWord.size());
    } else {
      done = done || line == kDoneWord;
    }
  });
  if (error.empty() && !done) {
    error = Text(options.effect.empty() ? "the effect" : options.effect, ": ", TroubleText(end));
  }
  if (!error.empty()) {
    throw RenderError(error);
  }
  Print(stdout, text);
  return kExitDone;
}

std::string JsonText(const Json& json) {
  return Text(json.dump(2, ' ', false, Json::error_handler_t::replace), "\n");
}

// ---- What is told ----

double Real(A_long fixed) {
  return static_cast<double>(fixed) / kFixedOne;
}

Json ControlJson(const host::Effect& effect, const ControlOption& option) {
  const host::ControlDeclaration& control = *option.declaration;
  Json json = {{"index", control.index},
               {"id", control.id},
               {"type", TypeName(control.type)},
               {"name", option.VisibleName()},
               {"options", option.names}};
  switch (control.type) {
    case PF_Param_BUTTON:
      json["options"] = Json::array();
      if (CanBePressed(control)) {
        json["press"] = option.LongName();
      }
      json["default"] = nullptr;
      break;
    case PF_Param_FIX_SLIDER:
      json["default"] = Real(control.defaultValue);
      json["minimum"] = Real(control.validMin);
      json["maximum"] = Real(control.validMax);
      json["slider_minimum"] = Real(control.sliderMin);
      json["slider_maximum"] = Real(control.sliderMax);
      json["precision"] = control.precision;
      break;
    case PF_Param_SLIDER:
      json["default"] = control.defaultValue;
      json["minimum"] = control.validMin;
      json["maximum"] = control.validMax;
      json["slider_minimum"] = control.sliderMin;
      json["slider_maximum"] = control.sliderMax;
      break;
    case PF_Param_FLOAT_SLIDER:
      json["default"] = control.defaultNumber;
      json["minimum"] = control.validMinNumber;
      json["maximum"] = control.validMaxNumber;
      json["slider_minimum"] = control.sliderMinNumber;
      json["slider_maximum"] = control.sliderMaxNumber;
      json["precision"] = control.precision;
      break;
    case PF_Param_ANGLE:
      json["default"] = Real(control.defaultValue);
      break;
    case PF_Param_COLOR:
      json["default"] = ColorText(control.defaultColor);
      break;
    case PF_Param_POINT_3D:
      json["default_percent"] = control.defaultPoint3d;
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
      if (control.HasValue()) {
        json["default"] = DefaultText(effect, control);
      }
  }
  return json;
}

using Row = std::array<std::string, 5>;

std::string NamesText(const ControlOption& option) {
  if (option.declaration->type == PF_Param_BUTTON) {
    return CanBePressed(*option.declaration) ? Text("--press ", option.LongName()) : "";
  }
  std::string names;
  for (const std::string& name : option.names) {
    names += Text(names.empty() ? "" : ", ", "--", name);
  }
  return names;
}

std::string TableText(const std::vector<Row>& rows) {
  std::array<std::size_t, std::tuple_size_v<Row>> widths{};
  for (const Row& row : rows) {
    for (std::size_t i = 0; i < row.size(); ++i) {
      widths[i] = std::max(widths[i], row[i].size());
    }
  }
  std::string text;
  for (const Row& row : rows) {
    std::string line;
    for (std::size_t i = 0; i < row.size(); ++i) {
      line += row[i];
      if (i + 1 < row.size()) {
        line.append(widths[i] + 2 - row[i].size(), ' ');
      }
    }
    text += Text(line.substr(0, line.find_last_not_of(' ') + 1), "\n");
  }
  return text;
}

std::string VersionText(A_u_long version) {
  constexpr unsigned kPartMask = 15;
  std::string text = Text(VersionPart(version), ".", (version >> 15U) & kPartMask);
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

std::string IdentityText(const host::Effect& effect) {
  const host::Registration& identity = effect.Library().Identity();
  return TableText(
      {{"name", identity.name, "", "", ""},
       {"match name", identity.matchName, "", "", ""},
       {"category", identity.category, "", "", ""},
       {"version", VersionText(effect.Version()), "", "", ""},
       {"interface", Text(identity.apiMajor, ".", identity.apiMinor), "", "", ""},
       {"entry point", identity.entryPoint, "", "", ""},
       {"support", identity.supportUrl, "", "", ""},
       {"depths", DepthsText(effect), "", "", ""},
       {"smart render", effect.SupportsSmartRender() ? "yes" : "no", "", "", ""},
       {"flags", Text(Hexadecimal(effect.OutFlags()), ", ", Hexadecimal(effect.OutFlags2())), "",
        "", ""},
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

/// All controls as they were declared; groups and the like have no name.
std::vector<ControlOption> WithThoseWithoutValue(const host::Effect& effect) {
  std::vector<ControlOption> named = ControlOptions(effect, TakenNames());
  const std::vector<ControlOption> buttons = ButtonOptions(effect);
  named.insert(named.end(), buttons.begin(), buttons.end());
  std::vector<ControlOption> all;
  for (const host::ControlDeclaration& control : effect.Controls()) {
    const auto found = std::find_if(named.begin(), named.end(), [&](const ControlOption& option) {
      return option.declaration->index == control.index;
    });
    all.push_back(found != named.end() ? *found : ControlOption{&control, {}});
  }
  return all;
}

std::string ControlsText(const InfoOptions& options) {
  const auto effect = LoadEffect(options.effect, ParseHost(options.host));
  const std::vector<ControlOption> controls = WithThoseWithoutValue(*effect);
  if (options.json) {
    Json list = Json::array();
    for (const ControlOption& control : controls) {
      list.push_back(ControlJson(*effect, control));
    }
    return JsonText({{"effect", effect->Library().Identity().name}, {"controls", list}});
  }
  std::vector<Row> rows = {{"CONTROL", "TYPE", "DEFAULT", "RANGE", "OPTIONS"}};
  for (const ControlOption& control : controls) {
    if (control.declaration->type != PF_Param_GROUP_END) {
      rows.push_back({std::string(control.VisibleName()), TypeName(control.declaration->type),
                      OneLine(DefaultText(*effect, *control.declaration)),
                      RangeText(*control.declaration), NamesText(control)});
    }
  }
  return TableText(rows);
}

std::string AboutText(const InfoOptions& options) {
  const auto effect = LoadEffect(options.effect, ParseHost(options.host));
  auto about = effect->About();
  if (!about) {
    throw RenderError(about.ErrorText());
  }
  std::string text = *about;
  std::replace(text.begin(), text.end(), '\r', '\n');  // the host's line break
  return options.json ? JsonText(IdentityJson(*effect, text))
                      : Text(text, "\n\n", IdentityText(*effect));
}

}  // namespace

int RunControls(const Arguments& arguments) {
  InfoOptions options;
  if (!ParseInfo("veltra controls", "Lists the controls that the effect declares.", arguments,
                 options)) {
    return kExitDone;
  }
  return options.inChild ? ReportInfo(options, ControlsText) : PrintInfo("controls", options);
}

int RunAbout(const Arguments& arguments) {
  InfoOptions options;
  if (!ParseInfo("veltra about", "Shows what the effect says about itself.", arguments, options)) {
    return kExitDone;
  }
  return options.inChild ? ReportInfo(options, AboutText) : PrintInfo("about", options);
}

}  // namespace veltra::cli
