// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// JSON of an effect's identity and controls.
#include "web/wasm/describe.h"

#include <cstdio>

namespace veltra::web {
namespace {

using host::ControlDeclaration;

/// A JSON string. Texts of effects are bytes of an unknown encoding: what is not ASCII reads as
/// Latin-1.
std::string Quoted(const std::string& text) {
  std::string quoted = "\"";
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    if (byte == '"' || byte == '\\' || byte < 0x20 || byte > 0x7E) {
      char escaped[7];
      std::snprintf(escaped, sizeof(escaped), "\\u%04x", static_cast<unsigned>(byte));
      quoted += escaped;
    } else {
      quoted += c;
    }
  }
  return quoted + '"';
}

std::string Member(const char* key, const std::string& json) {
  return ",\"" + std::string(key) + "\":" + json;
}

std::string Number(const char* key, A_long value) {
  return Member(key, std::to_string(value));
}

const char* KindOf(PF_ParamType type) {
  switch (type) {
    case PF_Param_LAYER:
      return "layer";
    case PF_Param_POINT:
      return "point";
    case PF_Param_FIX_SLIDER:
      return "slider";
    case PF_Param_CHECKBOX:
      return "checkbox";
    case PF_Param_POPUP:
      return "popup";
    default:
      return "other";
  }
}

std::string Choices(const ControlDeclaration& control) {
  std::string list;
  for (const std::string& choice : control.choices) {
    list += (list.empty() ? "" : ",") + Quoted(choice);
  }
  return "[" + list + "]";
}

std::string ControlJson(const ControlDeclaration& control) {
  const std::string& name = control.name.empty() ? control.label : control.name;
  std::string json = "{\"index\":" + std::to_string(control.index);
  json += Member("kind", Quoted(KindOf(control.type))) + Member("name", Quoted(name));
  json += Number("default", control.defaultValue);
  if (control.type == PF_Param_POINT) {
    json += Number("defaultX", control.defaultX) + Number("defaultY", control.defaultY);
  } else if (control.type == PF_Param_FIX_SLIDER) {
    json += Number("validMin", control.validMin) + Number("validMax", control.validMax);
    json += Number("sliderMin", control.sliderMin) + Number("sliderMax", control.sliderMax);
    json += Number("precision", control.precision);
  } else if (control.type == PF_Param_POPUP) {
    json += Member("choices", Choices(control));
  }
  return json + "}";
}

}  // namespace

std::string Describe(const host::Effect& effect) {
  const host::Registration& identity = effect.Library().Identity();
  const auto about = effect.About();
  std::string json = "{\"name\":" + Quoted(identity.name);
  json += Member("matchName", Quoted(identity.matchName));
  json += Member("category", Quoted(identity.category));
  json += Member("about", Quoted(about ? *about : std::string()));
  std::string controls;
  for (const ControlDeclaration& control : effect.Controls()) {
    controls += (controls.empty() ? "" : ",") + ControlJson(control);
  }
  return json + Member("controls", "[" + controls + "]") + "}";
}

}  // namespace veltra::web
