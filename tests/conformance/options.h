// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// What the conformance program was started with.
#pragma once

#include <string>

namespace veltra::conformance {

struct Options {
  std::string library;
  unsigned seed = 20240607;
  int scenes = 2000;  ///< random scenes for each depth
};

const Options& TestOptions();

}  // namespace veltra::conformance
