// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// The plan of a run as lines or objects.
#include "cli/job/dry_run.h"

#include <nlohmann/json.hpp>
#include <string>

#include "base/print.h"
#include "base/text.h"
#include "cli/settings/controls.h"

namespace veltra::cli {
namespace {

using Json = nlohmann::ordered_json;

/// The controls of a pass at a frame, layers apart, by their long names.
Json ControlsAt(const RenderPass& pass, int frame, const pictures::PictureInfo& first) {
  Json controls = Json::object();
  for (const ControlOption& option : ControlOptions(*pass.effect, TakenNames())) {
    const host::ControlDeclaration& control = *option.declaration;
    if (control.type == PF_Param_LAYER) {
      continue;
    }
    const auto track = pass.tracks.find(control.index);
    const host::ControlValue value =
        track != pass.tracks.end() ? ValueAt(track->second, frame, first.width, first.height)
                                   : pass.effect->DefaultValue(control, first.width, first.height);
    controls[option.LongName()] = ValueText(*pass.effect, control, value);
  }
  return controls;
}

Json FrameJson(const RenderJob& job, const JobFiles& files, int number,
               const pictures::PictureInfo& first) {
  Json json = {{"event", "plan"}, {"frame", number}};
  json["input"] = files.frame ? files.frame->source->Describe(number) : "transparent";
  json["output"] = files.output.At(number);
  json["layers"] = Json::array();
  for (std::size_t pass = 0; pass < job.passes.size(); ++pass) {
    Json layer = Json::object();
    layer["input"] = "nothing";
    for (const JobInput& input : files.layers) {
      if (input.pass == pass) {
        layer["input"] = input.source->Describe(number);
      }
    }
    layer["controls"] = ControlsAt(job.passes[pass], number, first);
    json["layers"].push_back(layer);
  }
  return json;
}

void PrintForPeople(const Json& frame) {
  Print(stdout, "frame ", frame["frame"].get<int>(), ": ", frame["input"].get<std::string>(),
        " -> ", frame["output"].get<std::string>(), "\n");
  for (const Json& layer : frame["layers"]) {
    Print(stdout, "  layer ", layer["input"].get<std::string>());
    for (const auto& [name, value] : layer["controls"].items()) {
      Print(stdout, ", ", name, " ", value.get<std::string>());
    }
    Print(stdout, "\n");
  }
}

}  // namespace

void PrintDryRun(const RenderJob& job, const JobFiles& files, const Schedule& schedule,
                 const FrameSettings& frames, const pictures::PictureInfo& first) {
  const bool json = job.options.progress == ProgressStyle::kJson;
  if (!json) {
    Print(stdout, Count(schedule.Numbers().size(), "frame"), " to render",
          schedule.LeftOut() > 0 ? Text(", ", schedule.LeftOut(), " left out") : "", ": ",
          first.width, "x", first.height, ", depth ", host::DepthName(frames.depth), ", ",
          frames.rate.num, "/", frames.rate.den, " frames per second\n");
  }
  for (const int number : schedule.Numbers()) {
    const Json frame = FrameJson(job, files, number, first);
    if (json) {
      Print(stdout, frame.dump(-1, ' ', false, Json::error_handler_t::replace), "\n");
    } else {
      PrintForPeople(frame);
    }
  }
}

}  // namespace veltra::cli
