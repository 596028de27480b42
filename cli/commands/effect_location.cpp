// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Where the program looks for the effect: the build says what it is called and where it goes.
#include "cli/commands/effect_location.h"

#include <string>
#include <system_error>

#include "base/error.h"
#include "base/text.h"
#include "system/installation.h"
#include "system/program_file.h"

namespace veltra::cli {

namespace fs = std::filesystem;

std::vector<fs::path> EffectPlaces() {
  const fs::path folder = ProgramFile().parent_path();
  std::vector<fs::path> places{folder / VELTRA_EFFECT_FILE};
  if (const fs::path installed = InstalledEffectFolder(); !installed.empty()) {
    places.push_back(installed / VELTRA_EFFECT_FILE);
  }
  places.push_back(folder / VELTRA_EFFECT_FOLDER / VELTRA_EFFECT_FILE);
  for (fs::path& place : places) {
    place = place.lexically_normal();
  }
  return places;
}

fs::path DefaultEffectPath() {
  std::string looked;
  for (const fs::path& place : EffectPlaces()) {
    std::error_code ignored;
    if (fs::exists(place, ignored)) {
      return place;
    }
    looked += Text(looked.empty() ? "" : " and ", place.string());
  }
  throw RenderError(Text("no effect library found (looked for ", looked, "; give --effect FILE)"));
}

}  // namespace veltra::cli
