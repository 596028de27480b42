// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Runs the conformance suite on the effect library given with --library=PATH.
#include <gmock/gmock.h>

#include <cstdio>
#include <cstdlib>
#include <string>

#include "tests/conformance/options.h"
#include "tests/conformance/stage.h"

namespace veltra::conformance {
namespace {

Options options;

bool Take(const std::string& argument, const std::string& name, std::string* value) {
  const std::string prefix = "--" + name + "=";
  if (argument.rfind(prefix, 0) != 0) {
    return false;
  }
  *value = argument.substr(prefix.size());
  return true;
}

}  // namespace

const Options& TestOptions() {
  return options;
}

const Library& Effect() {
  static const Library library = LoadLibraryAt(options.library);
  return library;
}

}  // namespace veltra::conformance

int main(int argc, char** argv) {
  using veltra::conformance::Take;
  ::testing::InitGoogleMock(&argc, argv);
  veltra::conformance::Options& options = veltra::conformance::options;
  for (int i = 1; i < argc; ++i) {
    std::string number;
    if (Take(argv[i], "library", &options.library)) {
      continue;
    }
    if (Take(argv[i], "seed", &number)) {
      options.seed = static_cast<unsigned>(std::strtoul(number.c_str(), nullptr, 10));
    } else if (Take(argv[i], "scenes", &number)) {
      options.scenes = std::atoi(number.c_str());
    } else {
      std::fprintf(stderr, "%s: unknown argument (expected --library=PATH, --seed=N, --scenes=N)\n",
                   argv[i]);
      return 2;
    }
  }
  return RUN_ALL_TESTS();
}
