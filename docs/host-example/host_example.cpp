// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Renders one frame with an effect library: host_example LIBRARY
#include <iostream>

#include "host/renderer.h"

int main(int, char** arguments) {
  const auto effect = veltra::host::Effect::Open(arguments[1]);
  if (!effect) {
    std::cerr << effect.ErrorText() << '\n';
    return 1;
  }
  const auto result = veltra::host::RenderFrame(**effect, {.width = 1024, .height = 512});
  std::cout << (*effect)->Library().Identity().name << ": "
            << (result.Ok() ? "rendered" : result.errorText) << '\n';
  return result.Ok() ? 0 : 1;
}
