// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// `veltra render`: puts the command line and the scene together and runs them.
#include <algorithm>
#include <array>
#include <filesystem>
#include <map>
#include <memory>
#include <span>
#include <utility>

#include "base/error.h"
#include "base/paths.h"
#include "base/print.h"
#include "base/text.h"
#include "cli/commands/command_line.h"
#include "cli/commands/commands.h"
#include "cli/job/job.h"
#include "cli/settings/hosts.h"
#include "cli/settings/paths.h"
#include "cli/settings/scene.h"
#include "pictures/output_file.h"
#include "system/crash_report.h"
#include "system/interrupt.h"

namespace veltra::cli {
namespace {

constexpr const char* kRenderExamples = R"(examples:
  a title across the street, half as high, softly faded:
    veltra render -f street.png --layer title.png --start 20%,45% --end 70%,45% \
        --degrees 15 --opacity 80 -o out.png
  the same layer alone on transparency, as floating point:
    veltra render --size 4096x2048 --layer title.png --placement solo -o title.exr
  a sequence, every second frame, going on where it stopped:
    veltra render -f shot.####.exr --layer logo.png --frames 1-240x2 --resume -o out.####.exr
  a video with its sound:
    veltra render -f tour.mp4 --layer logo.png --placement solo -o tour-logo.mp4
  keyframes come from a scene file, and options override it:
    veltra render scene.json --depth float -o out.####.exr)";

/// What the command line says, as texts.
struct RenderArguments {
  std::map<std::string, std::string> settings;  ///< by option name
  std::map<PF_ParamIndex, std::string> controls;
  std::string scenePath;
};

// ---- What must be known before the options are: the scene and the effect ----

bool TakesValue(const std::string& argument) {
  if (argument.size() == 2 && argument[0] == '-') {
    const auto specs = RenderOptionSpecs();
    return std::any_of(specs.begin(), specs.end(), [&argument](const OptionSpec& option) {
      return option.shortName[0] == argument[1] && !option.IsFlag();
    });
  }
  const OptionSpec* option = argument.starts_with("--") ? FindOption(argument.substr(2)) : nullptr;
  return option != nullptr && !option->IsFlag();
}

/// What the arguments name before their options are known.
struct NamedFiles {
  std::string effect;
  std::string host;
  std::string scene;
};

/// A first look at the arguments. The options of the controls are not known yet, so a scene is
/// told by its ending.
NamedFiles FindNamedFiles(const Arguments& arguments) {
  NamedFiles named;
  const std::array<std::pair<std::string_view, std::string*>, 2> options{
      {{"--effect", &named.effect}, {"--host", &named.host}}};
  bool isEndSeen = false;
  for (std::size_t i = 0; i < arguments.size(); ++i) {
    const std::string& argument = arguments[i];
    if (!isEndSeen && argument == kEndOfOptions) {
      isEndSeen = true;
      continue;
    }
    if (isEndSeen || !argument.starts_with('-')) {
      named.scene = argument.ends_with(".json") ? argument : named.scene;
      continue;
    }
    for (const auto& [name, value] : options) {
      if (argument == name && i + 1 < arguments.size()) {
        *value = arguments[i + 1];
      } else if (argument.starts_with(Text(name, "="))) {
        *value = argument.substr(name.size() + 1);
      }
    }
    i += TakesValue(argument) ? 1U : 0U;
  }
  return named;
}

Scene LoadScene(const std::string& path) {
  std::unique_ptr<pictures::ByteSource> source;
  try {
    source = pictures::OpenFileSource(path);
  } catch (const RenderError& error) {
    throw UsageError(Text(path, ": ", error.what()));
  }
  constexpr std::uint64_t kLargestScene = std::uint64_t{1} << 28;
  if (source->Size() > kLargestScene) {
    throw UsageError(Text(path, ": too large for a scene"));
  }
  std::string text(static_cast<std::size_t>(source->Size()), '\0');
  text.resize(source->ReadAt(0, text.data(), text.size()));
  try {
    Scene scene = ParseScene(text);
    ResolvePaths(scene, PathOf(path).parent_path());
    return scene;
  } catch (const UsageError& error) {
    throw UsageError(Text(path, ": ", error.what()));
  }
}

// ---- The command line ----

std::string OptionNames(const OptionSpec& option) {
  return option.shortName[0] == '\0' ? Text("--", option.name)
                                     : Text("-", option.shortName, ",--", option.name);
}

void AddRenderOptions(CommandLine& commandLine, RenderArguments& line) {
  for (const OptionSpec& option : RenderOptionSpecs()) {
    std::string& text = line.settings[option.name];
    if (option.IsFlag()) {
      commandLine
          .Flag(
              OptionNames(option), [&text] { text = "on"; }, option.help)
          .Group(option.group);
    } else {
      DeclaredOption declared = commandLine.Option(
          OptionNames(option),
          [&text, &option](const std::string& value) {
            text = option.isList && !text.empty() ? Text(text, ",", value) : value;
          },
          option.help);
      declared.LastCounts().Type(option.placeholder).Group(option.group);
      if (option.isList) {
        declared.CalledEachTime();
      }
    }
  }
}

std::string ControlHelp(const host::Effect& effect, const ControlOption& option) {
  const host::ControlDeclaration& control = *option.declaration;
  return Text(option.VisibleName(), ": ", RangeText(control), " (default ",
              DefaultText(effect, control), ")");
}

/// `help` is what --help says of it.
void AddControl(CommandLine& commandLine, RenderArguments& line, const ControlOption& option,
                const std::string& help) {
  const PF_ParamIndex index = option.declaration->index;
  const auto set = [&line, index](const std::string& value) { line.controls[index] = value; };
  std::string names;
  std::string negated;
  // The one to use first; the others after it.
  std::vector<std::string> ordered = option.names;
  if (ordered.size() > 1) {
    std::rotate(ordered.begin(), ordered.begin() + 1, ordered.end());
  }
  for (const std::string& name : ordered) {
    names += Text(names.empty() ? "" : ",", "--", name);
    negated += Text(negated.empty() ? "" : ",", "--no-", name);
  }
  constexpr const char* kGroup = "Controls of the effect";
  if (option.declaration->type == PF_Param_CHECKBOX) {
    commandLine
        .Flag(
            names, [set] { set("on"); }, help)
        .Group(kGroup);
    commandLine
        .Flag(
            negated, [set] { set("off"); }, "the opposite")
        .Group(kGroup);
    return;
  }
  commandLine.Option(names, set, help)
      .LastCounts()
      .Type(ValuePlaceholder(*option.declaration))
      .Group(kGroup);
}

/// --filtering=off as --no-filtering, which is how the flags are known.
Arguments SpellOutSwitches(const Arguments& arguments, const std::vector<ControlOption>& controls) {
  Arguments spelled;
  const auto end = std::find(arguments.begin(), arguments.end(), kEndOfOptions);
  for (const std::string& argument : std::span(arguments.begin(), end)) {
    const std::size_t equals = argument.find('=');
    const ControlOption* control = argument.starts_with("--") && equals != std::string::npos
                                       ? FindControl(controls, argument.substr(2, equals - 2))
                                       : nullptr;
    if (control == nullptr || control->declaration->type != PF_Param_CHECKBOX) {
      spelled.push_back(argument);
      continue;
    }
    try {
      const bool on = ParseSwitch(argument.substr(equals + 1));
      spelled.push_back(Text(on ? "--" : "--no-", argument.substr(2, equals - 2)));
    } catch (const UsageError& error) {
      throw UsageError(Text(argument.substr(0, equals), ": ", error.what()));
    }
  }
  spelled.insert(spelled.end(), end, arguments.end());
  return spelled;
}

// ---- Putting both together ----

/// Where a text came from, for messages: "--travel: " or "scene.json: controls.travel: ".
template <class Work>
decltype(auto) FromPlace(const std::string& place, const Work& work) {
  try {
    return work();
  } catch (const UsageError& error) {
    throw UsageError(Text(place, ": ", error.what()));
  }
}

/// Puts together one pass.
class PassBuilder {
 public:
  explicit PassBuilder(std::shared_ptr<const host::Effect> effect)
      : controls_(ControlOptions(*effect, TakenNames())) {
    pass_.effect = std::move(effect);
  }

  /// Takes over a scene's controls; `place` is where they stand, as "scene.json: controls".
  void AddScene(const std::vector<SceneControl>& controls, const std::string& place,
                const std::filesystem::path& folder) {
    for (const SceneControl& control : controls) {
      AddSceneControl(control, Text(place, ".", control.name), folder);
    }
  }

  void AddCommandLine(const std::map<PF_ParamIndex, std::string>& controls) {
    for (const auto& [index, text] : controls) {
      const ControlOption& control = ControlAt(index);
      FromPlace(Text("--", control.ShownName()), [&, &value = text] {
        SetControl(control, {control.LongName(), value, {}});
      });
    }
  }

  /// The timing and the like: the options', unless the layer has its own.
  RenderPass Finish(RenderOptions options, const std::map<std::string, std::string>& own,
                    const std::string& place) {
    for (const auto& [name, text] : own) {
      FromPlace(Text(place, ".", name),
                [&, &option = name, &value = text] { FindOption(option)->apply(options, value); });
    }
    pass_.timing = options.layerTiming;
    pass_.layerPixelAspect = options.layerPixelAspect;
    FromPlace(own.contains("press") ? Text(place, ".press") : "--press",
              [&] { pass_.pressed = ParseButtons(*pass_.effect, options.press); });
    return pass_;
  }

  /// The controls that were set, by the names to show; layers relative to `folder`.
  std::vector<SceneControl> ToScene(const std::filesystem::path& folder) const {
    std::vector<SceneControl> controls;
    for (const ControlOption& option : controls_) {
      const auto found = sceneControls_.find(option.declaration->index);
      if (found == sceneControls_.end()) {
        continue;
      }
      SceneControl& control = controls.emplace_back(found->second);
      control.name = option.ShownName();
      if (option.declaration->type == PF_Param_LAYER) {
        control.value = ToFolder(control.value, folder);
      }
    }
    return controls;
  }

  const std::string& ShownName(PF_ParamIndex index) const { return ControlAt(index).ShownName(); }

 private:
  const ControlOption& ControlAt(PF_ParamIndex index) const {
    return *std::find_if(controls_.begin(), controls_.end(), [index](const ControlOption& option) {
      return option.declaration->index == index;
    });
  }

  void AddSceneControl(SceneControl control, const std::string& place,
                       const std::filesystem::path& folder) {
    const ControlOption* option = FindControl(controls_, control.name);
    if (option == nullptr) {
      std::string list;
      for (const ControlOption& known : controls_) {
        list += Text(list.empty() ? "" : ", ", known.ShownName());
      }
      throw UsageError(Text(place, ": no such control (expected ", list, ")"));
    }
    if (const auto other = sceneControls_.find(option->declaration->index);
        other != sceneControls_.end()) {
      throw UsageError(Text(place, ": is the control ", option->ShownName(), ", which controls.",
                            other->second.name, " sets already"));
    }
    if (option->declaration->type == PF_Param_LAYER) {
      control.value = FromFolder(control.value, folder);
    }
    FromPlace(place, [&] { SetControl(*option, control); });
  }

  void SetControl(const ControlOption& option, const SceneControl& control) {
    const host::ControlDeclaration& declaration = *option.declaration;
    const PF_ParamIndex index = declaration.index;
    if (declaration.type == PF_Param_LAYER) {
      SetLayer(declaration, control);
    } else {
      pass_.tracks[index] = MakeTrack(declaration, control);
      pass_.supervised.erase(index);
      if (control.keys.empty() && (declaration.flags & PF_ParamFlag_SUPERVISE) != 0) {
        pass_.supervised.insert(index);
      }
    }
    sceneControls_[index] = control;
  }

  void SetLayer(const host::ControlDeclaration& declaration, const SceneControl& control) {
    if (!control.keys.empty()) {
      throw UsageError("a layer has no keyframes (name a sequence of files instead)");
    }
    const std::string path = ParseControl(*pass_.effect, declaration, control.value).path;
    if (path.empty()) {
      pass_.layers.erase(declaration.index);
    } else {
      pass_.layers[declaration.index] = path;
    }
  }

  Track MakeTrack(const host::ControlDeclaration& declaration, const SceneControl& control) const {
    Track track;
    const host::Effect& effect = *pass_.effect;
    if (control.keys.empty()) {
      track.keys.push_back(
          {0, ParseControl(effect, declaration, control.value), Interpolation::kHold});
      return track;
    }
    if ((declaration.flags & PF_ParamFlag_CANNOT_TIME_VARY) != 0 && control.keys.size() > 1) {
      throw UsageError("has the same value at all times (give one value instead of keys)");
    }
    for (std::size_t i = 0; i < control.keys.size(); ++i) {
      const SceneKey& key = control.keys[i];
      if (key.path != KeyPath::kStraight && declaration.type != PF_Param_POINT) {
        throw UsageError(Text("keys[", i, "].path: only points go along a great circle"));
      }
      FromPlace(Text("keys[", i, "].value"), [&] {
        // There is nothing between two choices.
        track.keys.push_back(
            {key.frame, ParseControl(effect, declaration, key.value),
             declaration.CanInterpolate() ? key.interpolation : Interpolation::kHold, key.path});
      });
    }
    return track;
  }

  RenderPass pass_;
  std::vector<ControlOption> controls_;
  std::map<PF_ParamIndex, SceneControl> sceneControls_;
};

/// Puts together the job: the scene first, then the command line.
class JobBuilder {
 public:
  JobBuilder(Scene scene, std::string scenePath)
      : scene_(std::move(scene)), path_(std::move(scenePath)) {
    for (const auto& [name, text] : scene_.settings) {
      FromPlace(Text(path_, ": ", name), [&, &name = name, &text = text] { Apply(name, text); });
    }
  }

  /// `effect` is what passes have that name none of their own; those have theirs from `host`.
  void AddPasses(const std::shared_ptr<const host::Effect>& effect, const host::HostProfile& host) {
    const std::filesystem::path folder = PathOf(path_).parent_path();
    if (scene_.layers.empty()) {
      passes_.emplace_back(effect).AddScene(scene_.controls, Text(path_, ": controls"), folder);
    }
    for (std::size_t i = 0; i < scene_.layers.size(); ++i) {
      const SceneLayer& layer = scene_.layers[i];
      const auto own = layer.settings.find("effect");
      passes_.emplace_back(own == layer.settings.end() ? effect : LoadEffect(own->second, host))
          .AddScene(layer.controls, Text(LayerPlace(i), ".controls"), folder);
    }
  }

  void AddCommandLine(const RenderArguments& line) {
    for (const auto& [name, text] : line.settings) {
      if (text.empty()) {
        continue;
      }
      if (passes_.size() > 1 && IsLayerSetting(name)) {
        ThrowManyLayers(name);
      }
      FromPlace(Text("--", name), [&, &option = name, &value = text] { Apply(option, value); });
    }
    if (passes_.size() > 1 && !line.controls.empty()) {
      ThrowManyLayers(passes_.front().ShownName(line.controls.begin()->first));
    }
    passes_.front().AddCommandLine(line.controls);
  }

  RenderJob Finish() {
    RenderJob job;
    job.options = options_;
    for (std::size_t i = 0; i < passes_.size(); ++i) {
      static const std::map<std::string, std::string> kNone;
      job.passes.push_back(passes_[i].Finish(
          options_, scene_.layers.empty() ? kNone : scene_.layers[i].settings, LayerPlace(i)));
    }
    return job;
  }

  /// Everything as a scene that stands in `folder`.
  Scene ToScene(const std::filesystem::path& folder) const {
    Scene scene;
    scene.settings = RelativeSettings(settings_, folder);
    if (scene_.layers.empty()) {
      scene.controls = passes_.front().ToScene(folder);
      return scene;
    }
    for (std::size_t i = 0; i < passes_.size(); ++i) {
      scene.layers.push_back(
          {RelativeSettings(scene_.layers[i].settings, folder), passes_[i].ToScene(folder)});
    }
    return scene;
  }

 private:
  using SettingTexts = std::map<std::string, std::string>;

  std::string LayerPlace(std::size_t i) const { return Text(path_, ": layers[", i, "]"); }

  [[noreturn]] void ThrowManyLayers(const std::string& name) const {
    throw UsageError(
        Text("--", name, ": the scene has ", passes_.size(), " layers (change it in one of them)"));
  }

  void Apply(const std::string& name, const std::string& text) {
    const OptionSpec* option = FindOption(name);
    option->apply(options_, text);
    if (option->inScene) {
      settings_[name] = text;
    }
  }

  static SettingTexts RelativeSettings(SettingTexts settings, const std::filesystem::path& folder) {
    for (auto& [name, text] : settings) {
      if (FindOption(name)->isPath) {
        text = ToFolder(text, folder);
      }
    }
    return settings;
  }

  Scene scene_;
  std::string path_;
  RenderOptions options_;
  SettingTexts settings_;
  std::vector<PassBuilder> passes_;
};

// ---- Checking and saving ----

void CheckTogether(const RenderOptions& options) {
  if (options.output.empty() && options.saveScene.empty()) {
    throw UsageError("nothing to write (give -o FILE)");
  }
  if (options.frame.empty() && !options.size) {
    throw UsageError("nothing to render on (give --frame FILE, or --size WxH for transparency)");
  }
  if (!options.frame.empty() && options.size) {
    throw UsageError("--frame and --size exclude each other");
  }
}

bool AsksForHelp(const Arguments& arguments) {
  const auto end = std::find(arguments.begin(), arguments.end(), kEndOfOptions);
  return std::any_of(arguments.begin(), end, [](const std::string& argument) {
    return argument == "--help" || argument == "-h" || argument == kManualSection ||
           argument == kCompletionCase;
  });
}

/// What effects are to be told that their host is; the command line before the scene.
const host::HostProfile& HostOf(const NamedFiles& named, const Scene& scene) {
  if (!named.host.empty()) {
    return FromPlace(
        "--host", [&]() -> const auto& { return ParseHost(named.host); });
  }
  const auto set = scene.settings.find("host");
  if (set == scene.settings.end()) {
    return host::DefaultHost();
  }
  return FromPlace(
      Text(named.scene, ": host"), [&]() -> const auto& { return ParseHost(set->second); });
}

/// Puts the scene and the command line together; nothing when help was asked for and printed.
std::unique_ptr<JobBuilder> ReadJob(const Arguments& arguments) {
  const NamedFiles named = FindNamedFiles(arguments);
  const bool help = AsksForHelp(arguments);
  if (named.host == kListHosts) {
    Print(stdout, HostsText());
    return nullptr;
  }
  Scene scene;
  if (!named.scene.empty() && !help) {
    scene = LoadScene(named.scene);
  }
  const host::HostProfile& host = HostOf(named, scene);
  const auto sceneEffect = scene.settings.find("effect");
  std::shared_ptr<const host::Effect> effect;
  ReportCrashes(!named.effect.empty() ? named.effect : "the effect");
  try {
    effect = LoadEffect(!named.effect.empty()                 ? named.effect
                        : sceneEffect != scene.settings.end() ? sceneEffect->second
                                                              : "",
                        host);
  } catch (const RenderError&) {
    if (!help) {
      throw;
    }
  }
  RenderArguments line;
  CommandLine commandLine(
      "Places a layer onto 360-degree (equirectangular) footage along a great circle.",
      "veltra render");
  commandLine.Footer(kRenderExamples);
  commandLine.Option("scene", line.scenePath, "a scene file that the options override")
      .Type("[SCENE.json]");
  std::vector<ControlOption> controls;
  if (effect != nullptr) {
    controls = ControlOptions(*effect, TakenNames());
    for (const ControlOption& control : controls) {
      AddControl(commandLine, line, control, help ? ControlHelp(*effect, control) : "");
    }
  }
  AddRenderOptions(commandLine, line);
  if (!commandLine.Read(SpellOutSwitches(arguments, controls))) {
    return nullptr;
  }
  if (line.scenePath != named.scene) {
    throw UsageError(Text("'", line.scenePath, "' is not a scene file (expected NAME.json)"));
  }
  auto builder = std::make_unique<JobBuilder>(std::move(scene), named.scene);
  builder->AddPasses(effect, host);
  builder->AddCommandLine(line);
  return builder;
}

Arguments SceneAlone(const std::string& path) {
  return {std::string(kEndOfOptions), path};
}

}  // namespace

RenderJob JobOfScene(const std::string& path) {
  RenderJob job = ReadJob(SceneAlone(path))->Finish();
  if (job.options.output.empty()) {
    throw UsageError(Text(path, ": names no output"));
  }
  CheckTogether(job.options);
  return job;
}

void FreezeScene(const std::string& from, const std::string& frames, const std::string& to) {
  const std::unique_ptr<JobBuilder> builder = ReadJob(SceneAlone(from));
  Scene scene = builder->ToScene(PathOf(to).parent_path());
  const RenderJob job = builder->Finish();
  const std::string shared = scene.settings["effect"];
  const auto effectOf = [&job](std::size_t pass, const std::string& named) {
    const std::size_t choice = named.find("::");  // among the effects of a library
    return std::filesystem::absolute(job.passes[pass].effect->Library().Path()).string() +
           (choice == std::string::npos ? std::string() : named.substr(choice));
  };
  if (!frames.empty()) {
    scene.settings["frames"] = frames;
  }
  for (std::size_t i = 0; i < scene.layers.size(); ++i) {
    std::string& effect = scene.layers[i].settings["effect"];
    effect = effectOf(i, effect.empty() ? shared : effect);
  }
  scene.settings["effect"] =
      scene.layers.empty() ? effectOf(0, shared) : scene.layers.front().settings["effect"];
  pictures::WriteText(to, SceneText(scene));
}

int RunRender(const Arguments& arguments) {
  const std::unique_ptr<JobBuilder> builder = ReadJob(arguments);
  if (builder == nullptr) {
    return kExitDone;
  }
  const RenderJob job = builder->Finish();
  CheckTogether(job.options);
  if (!job.options.saveScene.empty()) {
    const std::string& path = job.options.saveScene;
    pictures::WriteText(path, SceneText(builder->ToScene(PathOf(path).parent_path())));
  }
  if (!job.options.output.empty()) {
    CatchInterrupts();
    RunJob(job);
  }
  return kExitDone;
}

}  // namespace veltra::cli
