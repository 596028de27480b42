// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// The effect's entries for the fixed scenes: linked in, where no library can be loaded.
#include "tests/conformance/library.h"
#include "web/wasm/linked_entries.h"

namespace veltra::conformance {

Library LoadLibraryAt(const std::string& /*path*/) {
  return {&MainEntry, &PluginDataEntryFunction2};
}

}  // namespace veltra::conformance
