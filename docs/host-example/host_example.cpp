// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Renders one frame with an effect library: host_example LIBRARY
#include <cstdio>

#include "host/renderer.h"

int main(int, char** arguments) {
  const auto library = veltra::host::EffectLibrary::Open(arguments[1]);
  if (!library) {
    return std::fprintf(stderr, "%s\n", library.ErrorText().c_str()), 1;
  }
  const auto effect = veltra::host::Effect::Load(*library);
  if (!effect) {
    return std::fprintf(stderr, "%s\n", effect.ErrorText().c_str()), 1;
  }
  veltra::host::RenderSettings settings;
  settings.width = 1024;
  settings.height = 512;
  const veltra::host::RenderResult result = veltra::host::RenderFrame(**effect, settings);
  std::printf("%s: %s\n", (*library)->Identity().name.c_str(),
              result.Ok() ? "rendered" : result.errorText.c_str());
  return result.Ok() ? 0 : 1;
}
