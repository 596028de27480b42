// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Fuzzes the scene file's reader and writer.

#include <string>

#include "base/error.h"
#include "cli/settings/options.h"
#include "cli/settings/scene.h"
#include "fuzz/byte_reader.h"

namespace veltra::fuzz {
namespace {

/// What was read can be written, and the writing reads back to the same writing.
void WriteAndReadBack(const cli::Scene& scene) {
  std::string text;
  try {
    text = cli::SceneText(scene);
  } catch (const UsageError&) {
    return;  // A flag whose text is no switch, which the checks of the values report.
  }
  Expect(cli::SceneText(cli::ParseScene(text)) == text, "a written scene reads back differently");
}

/// Settings reach the same readers as the command line's.
void Apply(const cli::Scene& scene) {
  cli::RenderOptions options;
  for (const auto& [name, value] : scene.settings) {
    const cli::OptionSpec* spec = cli::FindOption(name);
    Expect(spec != nullptr && spec->inScene, "a setting that is no option was accepted");
    try {
      spec->apply(options, value);
    } catch (const UsageError&) {
    }
  }
}

}  // namespace
}  // namespace veltra::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace veltra;
  const std::string text(data, data + size);
  cli::Scene scene;
  try {
    scene = cli::ParseScene(text);
  } catch (const UsageError& error) {
    fuzz::Expect(std::strchr(error.what(), '\n') == nullptr || text.find("\\n") != text.npos,
                 "an error of more than one line");
    return 0;
  }
  fuzz::WriteAndReadBack(scene);
  fuzz::Apply(scene);
  cli::ResolvePaths(scene, "folder");
  return 0;
}
