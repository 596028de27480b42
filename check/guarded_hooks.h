// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Canaries around every world of a render.
#pragma once

#include "check/test_scene.h"
#include "host/session/render_hooks.h"

namespace veltra::check {

/// Gives output worlds the layout of the test.
class GuardedHooks : public host::RenderHooks {
 public:
  explicit GuardedHooks(const host::WorldLayout& layout) : layout_(layout) {}
  host::WorldLayout OutputLayout() override { return layout_; }

 private:
  host::WorldLayout layout_;
};

/// Fails the test where the bytes around a world's pixels have changed; the scene's worlds and
/// the output must have been made with guards.
inline void CheckGuards(TestRun& run, const Scene& scene, const host::RenderResult& result) {
  bool output = result.output.GuardIntact();
  for (const host::Violation& violation : result.diagnostics.violations) {
    // A canvas that was cut to the region is gone, but the host has looked at it.
    output = output && violation.rule != host::Rule::kWroteOutsideOutput;
  }
  if (!output) {
    run.FailStep("it wrote outside of the output's pixels");
  }
  if (!scene.input.GuardIntact()) {
    run.FailStep("it wrote outside of its input's pixels");
  }
  for (const auto& [index, layer] : scene.layers) {
    if (!layer.GuardIntact()) {
      run.FailStep("it wrote outside of a layer's pixels");
    }
  }
}

}  // namespace veltra::check
