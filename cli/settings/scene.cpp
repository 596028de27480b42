// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Reading, checking and writing of scene files.
#include "cli/settings/scene.h"

#include <algorithm>
#include <array>
#include <nlohmann/json.hpp>
#include <set>

#include "base/error.h"
#include "base/text.h"
#include "cli/settings/options.h"
#include "cli/settings/paths.h"

namespace veltra::cli {
namespace {

using Json = nlohmann::ordered_json;

constexpr std::array<const char*, 6> kLayerSettings = {
    "effect", "layer-end", "layer-pixel-aspect", "layer-speed", "layer-start", "press"};

[[noreturn]] void Fail(std::string_view key, std::string_view message) {
  throw UsageError(Text(key, ": ", message));
}

// ---- From text to JSON ----

int LineOf(std::string_view text, std::size_t offset) {
  return 1 + static_cast<int>(std::count(
                 text.begin(),
                 text.begin() + static_cast<std::ptrdiff_t>(std::min(offset, text.size())), '\n'));
}

/// JSON lets a key come twice, and the second one would win silently.
class DuplicateKeys {
 public:
  void operator()(Json::parse_event_t event, const Json& value) {
    switch (event) {
      case Json::parse_event_t::object_start:
        seen_.emplace_back();
        break;
      case Json::parse_event_t::object_end:
        seen_.pop_back();
        break;
      case Json::parse_event_t::key:
        if (!seen_.back().insert(value.get<std::string>()).second) {
          Fail(value.get<std::string>(), "stands twice in the same place");
        }
        break;
      default:
        break;
    }
  }

 private:
  std::vector<std::set<std::string>> seen_;
};

/// A scene is flat; what nests deeper is not one, and is not worth the stack it would take.
constexpr int kDeepestScene = 8;

Json ParseJson(std::string_view text) {
  DuplicateKeys duplicates;
  const auto check = [&](int depth, Json::parse_event_t event, Json& value) {
    if (depth > kDeepestScene) {
      throw UsageError("not a scene (nested too deeply)");
    }
    duplicates(event, value);
    return true;
  };
  try {
    return Json::parse(text, check);
  } catch (const nlohmann::json::parse_error& error) {
    throw UsageError(
        Text("line ", LineOf(text, error.byte == 0 ? 0 : error.byte - 1), ": not valid JSON"));
  } catch (const nlohmann::json::out_of_range&) {
    throw UsageError("not a scene (a number in it is too large)");
  }
}

// ---- From JSON to texts ----

/// A single value as the command line would have it.
std::string ScalarText(const std::string& key, const Json& value) {
  if (value.is_string()) {
    return value.get<std::string>();
  }
  if (value.is_boolean()) {
    return value.get<bool>() ? "on" : "off";
  }
  if (value.is_number()) {
    return value.dump();
  }
  Fail(key, Text("a value cannot be ", value.is_null() ? "null" : "a list or an object"));
}

/// A value, or the two coordinates of a point as a list.
std::string ValueText(const std::string& key, const Json& value) {
  if (!value.is_array()) {
    return ScalarText(key, value);
  }
  std::string text;
  for (const Json& part : value) {
    text += Text(text.empty() ? "" : ",", ScalarText(key, part));
  }
  return text;
}

/// The value of an option.
std::string SettingText(const OptionSpec& option, const std::string& key, const Json& value) {
  return option.isList ? ValueText(key, value) : ScalarText(key, value);
}

void RefuseOtherKeys(const std::string& where, const Json& object,
                     const std::set<std::string>& known) {
  for (const auto& [key, value] : object.items()) {
    if (!known.contains(key)) {
      std::string list;
      for (const std::string& name : known) {
        list += Text(list.empty() ? "" : ", ", name);
      }
      Fail(Text(where, ".", key), Text("unknown key (expected ", list, ")"));
    }
  }
}

SceneKey ParseKey(const std::string& where, const Json& json) {
  if (!json.is_object()) {
    Fail(where, "a keyframe must be an object with frame and value");
  }
  RefuseOtherKeys(where, json, {"frame", "value", "interpolation", "path"});
  const auto frame = json.find("frame");
  if (frame == json.end() || !frame->is_number_integer() || *frame < 0 ||
      *frame > kMostFrameNumber) {
    Fail(Text(where, ".frame"), Text("must be a whole number, 0 to ", kMostFrameNumber));
  }
  const auto value = json.find("value");
  if (value == json.end()) {
    Fail(Text(where, ".value"), "is missing");
  }
  SceneKey key;
  key.frame = frame->get<int>();
  key.value = ValueText(Text(where, ".value"), *value);
  if (const auto name = json.find("interpolation"); name != json.end()) {
    const std::optional<Interpolation> found =
        name->is_string() ? FindInterpolation(name->get<std::string>()) : std::nullopt;
    if (!found) {
      Fail(Text(where, ".interpolation"), "must be hold, linear or smooth");
    }
    key.interpolation = *found;
  }
  if (const auto name = json.find("path"); name != json.end()) {
    const std::optional<KeyPath> found =
        name->is_string() ? FindKeyPath(name->get<std::string>()) : std::nullopt;
    if (!found) {
      Fail(Text(where, ".path"), "must be straight or great-circle");
    }
    key.path = *found;
  }
  return key;
}

SceneControl ParseControl(const std::string& place, const std::string& name, const Json& json) {
  const std::string where = Text(place, ".", name);
  SceneControl control;
  control.name = name;
  if (!json.is_object()) {
    control.value = ValueText(where, json);
    return control;
  }
  RefuseOtherKeys(where, json, {"keys"});
  const auto keys = json.find("keys");
  if (keys == json.end() || !keys->is_array() || keys->empty()) {
    Fail(where, "must be a value, or an object with a list of keys");
  }
  for (std::size_t i = 0; i < keys->size(); ++i) {
    control.keys.push_back(ParseKey(Text(where, ".keys[", i, "]"), (*keys)[i]));
    if (i > 0 && control.keys[i].frame <= control.keys[i - 1].frame) {
      Fail(Text(where, ".keys[", i, "].frame"), "must be later than the one before");
    }
  }
  return control;
}

std::vector<SceneControl> ParseControls(const std::string& place, const Json& json) {
  if (!json.is_object()) {
    Fail(place, "must be an object");
  }
  std::vector<SceneControl> controls;
  for (const auto& [name, control] : json.items()) {
    controls.push_back(ParseControl(place, name, control));
  }
  return controls;
}

SceneLayer ParseLayer(const std::string& where, const Json& json) {
  if (!json.is_object() || !json.contains("controls")) {
    Fail(where, "a layer must be an object with controls");
  }
  std::set<std::string> known(kLayerSettings.begin(), kLayerSettings.end());
  known.insert("controls");
  RefuseOtherKeys(where, json, known);
  SceneLayer layer;
  for (const auto& [key, value] : json.items()) {
    if (key == "controls") {
      layer.controls = ParseControls(Text(where, ".controls"), value);
    } else {
      layer.settings[key] = SettingText(*FindOption(key), Text(where, ".", key), value);
    }
  }
  return layer;
}

std::vector<SceneLayer> ParseLayers(const Json& json) {
  if (!json.is_array() || json.empty()) {
    Fail("layers", "must be a list of layers");
  }
  std::vector<SceneLayer> layers;
  for (std::size_t i = 0; i < json.size(); ++i) {
    layers.push_back(ParseLayer(Text("layers[", i, "]"), json[i]));
  }
  return layers;
}

void CheckVersion(const Json& json) {
  const auto version = json.find("version");
  if (version == json.end() || !version->is_number_integer()) {
    Fail("version", Text("is missing (expected ", kSceneVersion, ")"));
  }
  if (*version != kSceneVersion) {
    Fail("version",
         Text(version->dump(), " is not known to this program (expected ", kSceneVersion, ")"));
  }
}

// ---- From texts to JSON ----

/// Numbers and switches as JSON has them, everything else as a string.
Json TypedValue(const std::string& text) {
  const Json number = Json::parse(text, nullptr, false);
  return number.is_number() && number.dump() == text ? number : Json(text);
}

Json ControlJson(const SceneControl& control) {
  if (control.keys.empty()) {
    return TypedValue(control.value);
  }
  Json keys = Json::array();
  for (const SceneKey& key : control.keys) {
    Json json = {{"frame", key.frame},
                 {"value", TypedValue(key.value)},
                 {"interpolation", InterpolationName(key.interpolation)}};
    if (key.path != KeyPath::kStraight) {
      json["path"] = KeyPathName(key.path);
    }
    keys.push_back(std::move(json));
  }
  return Json{{"keys", keys}};
}

Json ControlsJson(const std::vector<SceneControl>& list) {
  Json controls = Json::object();
  for (const SceneControl& control : list) {
    controls[control.name] = ControlJson(control);
  }
  return controls;
}

void AddSettings(Json& json, const std::map<std::string, std::string>& settings) {
  for (const OptionSpec& option : RenderOptionSpecs()) {
    const auto setting = settings.find(option.name);
    if (setting != settings.end()) {
      json[option.name] = option.IsFlag() ? Json(ParseSwitch(setting->second))
                          : option.isPath ? Json(setting->second)
                                          : TypedValue(setting->second);
    }
  }
}

}  // namespace

Scene ParseScene(std::string_view text) {
  const Json json = ParseJson(text);
  if (!json.is_object()) {
    throw UsageError("not a scene (expected a JSON object)");
  }
  CheckVersion(json);
  Scene scene;
  for (const auto& [key, value] : json.items()) {
    if (key == "version") {
      continue;
    }
    if (key == "controls") {
      scene.controls = ParseControls(key, value);
      continue;
    }
    if (key == "layers") {
      scene.layers = ParseLayers(value);
      continue;
    }
    const OptionSpec* option = FindOption(key);
    if (option == nullptr || !option->inScene) {
      Fail(key, option == nullptr ? "unknown key (is it a control? those go under \"controls\")"
                                  : "belongs on the command line, not into a scene");
    }
    scene.settings[key] = SettingText(*option, key, value);
  }
  if (!scene.layers.empty() && !scene.controls.empty()) {
    Fail("controls", "belong to the layers where there are any");
  }
  return scene;
}

bool IsLayerSetting(std::string_view name) {
  return std::find(kLayerSettings.begin(), kLayerSettings.end(), name) != kLayerSettings.end();
}

std::string SceneText(const Scene& scene) {
  Json json;
  json["version"] = kSceneVersion;
  AddSettings(json, scene.settings);
  if (scene.layers.empty()) {
    json["controls"] = ControlsJson(scene.controls);
  } else {
    json["layers"] = Json::array();
    for (const SceneLayer& layer : scene.layers) {
      Json object = Json::object();
      AddSettings(object, layer.settings);
      object["controls"] = ControlsJson(layer.controls);
      json["layers"].push_back(object);
    }
  }
  // A file name need not be valid text; the rest of the scene is still worth writing.
  return Text(json.dump(2, ' ', false, Json::error_handler_t::replace), "\n");
}

void ResolvePaths(Scene& scene, const std::filesystem::path& folder) {
  const auto resolve = [&folder](std::map<std::string, std::string>& settings) {
    for (auto& [key, value] : settings) {
      const OptionSpec* option = FindOption(key);
      if (option != nullptr && option->isPath) {
        value = FromFolder(value, folder);
      }
    }
  };
  resolve(scene.settings);
  for (SceneLayer& layer : scene.layers) {
    resolve(layer.settings);
  }
}

}  // namespace veltra::cli
