// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// `veltra render`: puts the command line and the scene together and runs them.
#include <CLI/CLI.hpp>
#include <algorithm>
#include <filesystem>

#include "base/error.h"
#include "base/text.h"
#include "cli/commands/commands.h"
#include "cli/job/job.h"
#include "cli/settings/paths.h"
#include "cli/settings/scene.h"
#include "pictures/output_file.h"
#include "system/interrupt.h"

namespace veltra::cli {
namespace {

constexpr const char* kExamples = R"(examples:
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
struct CommandLine {
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
  std::string scene;
};

/// A first look at the arguments. The options of the controls are not known yet, so a scene is
/// told by its ending.
NamedFiles FindNamedFiles(const Arguments& arguments) {
  constexpr std::string_view kEffectEquals = "--effect=";
  NamedFiles named;
  for (std::size_t i = 0; i < arguments.size(); ++i) {
    const std::string& argument = arguments[i];
    if (argument == "--effect" && i + 1 < arguments.size()) {
      named.effect = arguments[i + 1];
    } else if (argument.starts_with(kEffectEquals)) {
      named.effect = argument.substr(kEffectEquals.size());
    } else if (!argument.starts_with('-') && argument.ends_with(".json")) {
      named.scene = argument;
    }
    i += TakesValue(argument) ? 1U : 0U;
  }
  return named;
}

Scene LoadScene(const std::string& path) {
  std::unique_ptr<ByteSource> source;
  try {
    source = OpenFileSource(path);
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
    ResolvePaths(scene, std::filesystem::path(path).parent_path().string());
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

void AddOptions(CLI::App& app, CommandLine& line) {
  for (const OptionSpec& option : RenderOptionSpecs()) {
    std::string& text = line.settings[option.name];
    if (option.IsFlag()) {
      app.add_flag_callback(
             OptionNames(option), [&text] { text = "on"; }, option.help)
          ->group(option.group);
    } else {
      app.add_option_function<std::string>(
             OptionNames(option), [&text](const std::string& value) { text = value; }, option.help)
          ->multi_option_policy(CLI::MultiOptionPolicy::TakeLast)
          ->type_name(option.placeholder)
          ->group(option.group);
    }
  }
}

std::string ControlHelp(const ControlOption& option) {
  const host::ControlDeclaration& control = *option.declaration;
  return Text(option.VisibleName(), ": ", RangeText(control), " (default ", DefaultText(control),
              ")");
}

void AddControl(CLI::App& app, CommandLine& line, const ControlOption& option) {
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
    app.add_flag_callback(
           names, [set] { set("on"); }, ControlHelp(option))
        ->group(kGroup);
    app.add_flag_callback(
           negated, [set] { set("off"); }, "the opposite")
        ->group(kGroup);
    return;
  }
  app.add_option_function<std::string>(names, set, ControlHelp(option))
      ->multi_option_policy(CLI::MultiOptionPolicy::TakeLast)
      ->type_name(ValuePlaceholder(*option.declaration))
      ->group(kGroup);
}

/// --filtering=off as --no-filtering, which is how the flags are known.
Arguments SpellOutSwitches(const Arguments& arguments, const std::vector<ControlOption>& controls) {
  Arguments spelled;
  for (const std::string& argument : arguments) {
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
  return spelled;
}

// ---- Putting both together ----

/// Where a text came from, for messages: "--travel: " or "scene.json: controls.travel: ".
template <class Work>
auto FromPlace(const std::string& place, const Work& work) {
  try {
    return work();
  } catch (const UsageError& error) {
    throw UsageError(Text(place, ": ", error.what()));
  }
}

class JobBuilder {
 public:
  JobBuilder(RenderJob& job, std::vector<ControlOption> controls)
      : job_(job), controls_(std::move(controls)) {}

  /// Takes over a scene and keeps it for --save-scene.
  void AddScene(const Scene& scene, const std::string& path) {
    const std::string folder = std::filesystem::path(path).parent_path().string();
    for (const auto& [name, text] : scene.settings) {
      FromPlace(Text(path, ": ", name), [&, &name = name, &text = text] { Apply(name, text); });
    }
    for (const SceneControl& control : scene.controls) {
      AddSceneControl(control, path, folder);
    }
  }

  void AddCommandLine(const CommandLine& line) {
    for (const auto& [name, text] : line.settings) {
      if (!text.empty()) {
        FromPlace(Text("--", name), [&, &option = name, &value = text] { Apply(option, value); });
      }
    }
    for (const auto& [index, text] : line.controls) {
      const ControlOption& control = ControlAt(index);
      FromPlace(Text("--", control.ShownName()), [&, &value = text] {
        SetControl(control, {control.LongName(), value, {}});
      });
    }
  }

  /// Everything as a scene.
  Scene ToScene() const {
    Scene scene;
    scene.settings = settings_;
    for (const ControlOption& control : controls_) {
      const auto found = sceneControls_.find(control.declaration->index);
      if (found != sceneControls_.end()) {
        scene.controls.push_back(found->second);
        scene.controls.back().name = control.ShownName();
      }
    }
    return scene;
  }

  /// Which of the controls are file names.
  bool IsLayer(const std::string& name) const {
    const ControlOption* control = FindControl(controls_, name);
    return control != nullptr && control->declaration->type == PF_Param_LAYER;
  }

 private:
  const ControlOption& ControlAt(PF_ParamIndex index) const {
    return *std::find_if(controls_.begin(), controls_.end(), [index](const ControlOption& option) {
      return option.declaration->index == index;
    });
  }

  void Apply(const std::string& name, const std::string& text) {
    const OptionSpec* option = FindOption(name);
    option->apply(job_.options, text);
    if (option->inScene) {
      settings_[name] = text;
    }
  }

  void AddSceneControl(SceneControl control, const std::string& path, const std::string& folder) {
    const std::string place = Text(path, ": controls.", control.name);
    const ControlOption* option = FindControl(controls_, control.name);
    if (option == nullptr) {
      std::string list;
      for (const ControlOption& known : controls_) {
        list += Text(list.empty() ? "" : ", ", known.ShownName());
      }
      throw UsageError(Text(place, ": no such control (expected ", list, ")"));
    }
    if (option->declaration->type == PF_Param_LAYER) {
      control.value = FromFolder(control.value, folder);
    }
    if (const auto [other, isNew] = sceneNames_.emplace(option->declaration->index, control.name);
        !isNew) {
      throw UsageError(Text(place, ": is the control ", option->ShownName(), ", which controls.",
                            other->second, " sets already"));
    }
    FromPlace(place, [&] { SetControl(*option, control); });
  }

  void SetControl(const ControlOption& option, const SceneControl& control) {
    const host::ControlDeclaration& declaration = *option.declaration;
    const PF_ParamIndex index = declaration.index;
    if (declaration.type == PF_Param_LAYER) {
      SetLayer(declaration, control);
    } else {
      job_.tracks[index] = MakeTrack(declaration, control);
    }
    sceneControls_[index] = control;
  }

  void SetLayer(const host::ControlDeclaration& declaration, const SceneControl& control) {
    if (!control.keys.empty()) {
      throw UsageError("a layer has no keyframes (name a sequence of files instead)");
    }
    const std::string path = ParseControl(declaration, control.value).path;
    if (path.empty()) {
      job_.layers.erase(declaration.index);
    } else {
      job_.layers[declaration.index] = path;
    }
  }

  static Track MakeTrack(const host::ControlDeclaration& declaration, const SceneControl& control) {
    Track track;
    if (control.keys.empty()) {
      track.keys.push_back({0, ParseControl(declaration, control.value), Interpolation::kHold});
      return track;
    }
    const bool steps = declaration.type == PF_Param_CHECKBOX || declaration.type == PF_Param_POPUP;
    for (std::size_t i = 0; i < control.keys.size(); ++i) {
      const SceneKey& key = control.keys[i];
      if (key.path != KeyPath::kStraight && declaration.type != PF_Param_POINT) {
        throw UsageError(Text("keys[", i, "].path: only points go along a great circle"));
      }
      FromPlace(Text("keys[", i, "].value"), [&] {
        // There is nothing between two choices.
        track.keys.push_back({key.frame, ParseControl(declaration, key.value),
                              steps ? Interpolation::kHold : key.interpolation, key.path});
      });
    }
    return track;
  }

  RenderJob& job_;
  std::vector<ControlOption> controls_;
  std::map<std::string, std::string> settings_;
  std::map<PF_ParamIndex, SceneControl> sceneControls_;
  std::map<PF_ParamIndex, std::string> sceneNames_;  ///< what the scene calls the controls it sets
};

// ---- Checking and saving ----

void CheckJob(const RenderJob& job) {
  const RenderOptions& options = job.options;
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

void SaveScene(Scene scene, const JobBuilder& builder, const std::string& path) {
  const std::filesystem::path folder = std::filesystem::path(path).parent_path();
  for (auto& [name, text] : scene.settings) {
    if (FindOption(name)->isPath) {
      text = ToFolder(text, folder);
    }
  }
  for (SceneControl& control : scene.controls) {
    if (builder.IsLayer(control.name)) {
      control.value = ToFolder(control.value, folder);
    }
  }
  const std::string text = SceneText(scene);
  OutputFile file(path);
  file.Write(text.data(), text.size());
  file.Commit();
}

bool AsksForHelp(const Arguments& arguments) {
  return std::any_of(arguments.begin(), arguments.end(), [](const std::string& argument) {
    return argument == "--help" || argument == "-h";
  });
}

}  // namespace

int RunRender(const Arguments& arguments) {
  const NamedFiles named = FindNamedFiles(arguments);
  const bool help = AsksForHelp(arguments);
  Scene scene;
  if (!named.scene.empty() && !help) {
    scene = LoadScene(named.scene);
  }
  const auto sceneEffect = scene.settings.find("effect");
  RenderJob job;
  try {
    job.effect = LoadEffect(!named.effect.empty()                 ? named.effect
                            : sceneEffect != scene.settings.end() ? sceneEffect->second
                                                                  : "");
  } catch (const RenderError&) {
    if (!help) {
      throw;
    }
  }
  CommandLine line;
  CLI::App app("Places a layer onto 360-degree (equirectangular) footage along a great circle.",
               "veltra render");
  app.footer(kExamples);
  app.add_option("scene", line.scenePath, "a scene file that the options override")
      ->type_name("[SCENE.json]");
  std::vector<ControlOption> controls;
  if (job.effect != nullptr) {
    controls = ControlOptions(*job.effect, TakenNames());
    for (const ControlOption& control : controls) {
      AddControl(app, line, control);
    }
  }
  AddOptions(app, line);
  if (!ParseArguments(app, SpellOutSwitches(arguments, controls))) {
    return kExitDone;
  }
  if (line.scenePath != named.scene) {
    throw UsageError(Text("'", line.scenePath, "' is not a scene file (expected NAME.json)"));
  }
  JobBuilder builder(job, controls);
  builder.AddScene(scene, named.scene);
  builder.AddCommandLine(line);
  CheckJob(job);
  if (!job.options.saveScene.empty()) {
    SaveScene(builder.ToScene(), builder, job.options.saveScene);
  }
  if (!job.options.output.empty()) {
    CatchInterrupts();
    RunJob(job);
  }
  return kExitDone;
}

}  // namespace veltra::cli
