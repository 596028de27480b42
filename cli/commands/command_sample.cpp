// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// `veltra sample`: draws pictures to try the program with.
#include <filesystem>

#include "base/error.h"
#include "base/paths.h"
#include "base/print.h"
#include "base/text.h"
#include "cli/commands/command_line.h"
#include "cli/commands/commands.h"
#include "cli/sample/sample_picture.h"
#include "cli/settings/values.h"
#include "pictures/output_file.h"
#include "pictures/picture_world.h"

namespace veltra::cli {
namespace {

constexpr const char* kSampleScene = R"({
  "version": 1,
  "frame": "frame.png",
  "output": "travel.####.png",
  "frames": "1-48",
  "rate": 24,
  "controls": {
    "layer": "layer.png",
    "start": ["30%", "60%"],
    "end": ["68%", "33%"],
    "placement": "solo",
    "degrees": {
      "keys": [
        {"frame": 1, "value": 8, "interpolation": "smooth"},
        {"frame": 24, "value": 16, "interpolation": "smooth"},
        {"frame": 48, "value": 8}
      ]
    },
    "travel": {
      "keys": [
        {"frame": 1, "value": 0, "interpolation": "smooth"},
        {"frame": 48, "value": 100}
      ]
    }
  }
}
)";

void WritePng(const host::World& world, const std::filesystem::path& path, host::ThreadPool& pool) {
  pictures::PictureOptions options;
  options.compression = "6";
  pictures::OutputFile file(path.string());
  pictures::WriteWorld(world, file, options, &pool);
  file.Commit();
  Print(stdout, path.string(), "\n");
}

}  // namespace

int RunSample(const Arguments& arguments) {
  std::string folder;
  std::string sizeText = "2048x1024";
  CommandLine commandLine(
      "Draws a 360-degree frame, a layer and an animated scene to try things with.",
      "veltra sample");
  commandLine.Option("folder", folder, "where to put them; made when it is not there")
      .Type("FOLDER");
  commandLine.Option("--size", sizeText, "size of the frame (default 2048x1024)").Type("WxH");
  if (!commandLine.Read(arguments)) {
    return kExitDone;
  }
  if (folder.empty()) {
    throw UsageError("where to? (give a folder)");
  }
  PictureSize size;
  try {
    size = ParseSize(sizeText);
  } catch (const UsageError& error) {
    throw UsageError(Text("--size: ", error.what()));
  }
  std::error_code error;
  std::filesystem::create_directories(PathOf(folder), error);
  if (error) {
    throw RenderError(Text(folder, ": ", ReasonText(error.value())));
  }
  constexpr int kLayerWidth = 1024;
  constexpr int kLayerHeight = 192;
  host::ThreadPool pool;
  const std::filesystem::path place = PathOf(folder);
  WritePng(DrawSampleFrame(size.width, size.height, pool), place / "frame.png", pool);
  WritePng(DrawSampleLayer(kLayerWidth, kLayerHeight, pool), place / "layer.png", pool);
  const std::string scene = (place / "scene.json").string();
  pictures::WriteText(scene, kSampleScene);
  Print(stdout, scene, "\n");
  return kExitDone;
}

}  // namespace veltra::cli
