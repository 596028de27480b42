// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Frames to test with: random pictures, control values, and comparing what was rendered.
#pragma once

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "check/test_run.h"
#include "host/effect.h"
#include "host/renderer.h"

namespace veltra::check {

/// The library, opened and registered; ends the test where that is not possible.
std::shared_ptr<const host::EffectLibrary> OpenLibrary(TestRun& run);
/// The effect, set up; ends the test where that is not possible.
std::unique_ptr<const host::Effect> LoadEffect(TestRun& run);

/// Ends the test as not applicable where the host is older than what the library was built for:
/// such a library may decline to be set up.
void SkipIfDeclined(TestRun& run, const host::EffectLibrary& library);

// ---- Pictures ----

/// Noise in which transparent, opaque and half-covered pixels lie side by side.
host::World RandomWorld(Random& random, A_long width, A_long height, host::Depth depth,
                        const host::WorldLayout& layout = {});

/// What a frame is made of: its size, the picture under the effect and one for each layer control.
struct Scene {
  A_long width = 0;  ///< at full resolution
  A_long height = 0;
  host::Depth depth = host::Depth::k8;
  int downsample = 1;
  host::World input;
  std::map<PF_ParamIndex, host::World> layers;
};

struct SceneShape {
  A_long width = 40;
  A_long height = 24;
  host::Depth depth = host::Depth::k8;
  int downsample = 1;
  A_long layerWidth = 17;
  A_long layerHeight = 11;
  host::WorldLayout layout{};
};

Scene MakeScene(const host::Effect& effect, Random& random, const SceneShape& shape);

// ---- Variants ----

/// How a frame is asked for: the protocol, smart or classic, and the depth.
struct RenderVariant {
  host::RenderMode mode = host::RenderMode::kSmart;
  host::Depth depth = host::Depth::k8;
};

/// "smart, 16 bit".
std::string VariantName(const RenderVariant& variant);

/// Whether a classic render of the effect gives a picture. One that renders smartly need not
/// answer the classic command.
bool RendersClassic(const host::Effect& effect);

/// Every variant that the effect renders.
std::vector<RenderVariant> VariantsOf(const host::Effect& effect);
std::vector<RenderVariant> SmartVariantsOf(const host::Effect& effect);

/// All of the scene, rendered as that variant, controls at their defaults, layers chosen.
host::RenderSettings SettingsFor(const Scene& scene, const RenderVariant& variant);

/// "smart, 16 bit, 40 x 24, 1/2, region 3,4 5 x 6".
std::string Describe(const host::RenderSettings& settings);

// ---- Values ----

/// How far random values go.
enum class Reach {
  kTame,  ///< what the effect's sliders reach, points within the frame
  kWild,  ///< all that may be typed, points far outside
};

void SetRandomControls(host::RenderSettings& settings, const host::Effect& effect, Random& random,
                       Reach reach);

/// The ends of what may be typed and of what the slider reaches, every choice, the frame's
/// corners and the ends of the number format. Empty for what this host cannot set.
std::vector<host::ControlValue> ExtremeValues(const host::ControlDeclaration& control, A_long width,
                                              A_long height);

std::string DescribeValue(const host::ControlDeclaration& control, const host::ControlValue& value);

// ---- Rendering and comparing ----

/// Renders; failing, an exception, or a picture with impossible channels is a failure of the
/// test. The result may be empty then.
host::RenderResult RenderChecked(TestRun& run, const host::Effect& effect,
                                 const host::RenderSettings& settings);

/// What a host shows of a render that failed: every error of an effect's but the answer to an abort
/// is a dialog.
Shown ShownOf(const host::RenderResult& result);

/// What counts as a difference.
enum class Compare {
  kExact,
  kVisible,  ///< not the colour of what is transparent: an effect may skip such pixels of its
             ///< input, and another request gives it another part of them
};

/// Where two pictures of one depth differ most, in words; empty when they are the same. The
/// pixels of `part` are compared with those of `whole` at the same place in the frame.
std::string Difference(const host::World& part, const host::World& whole,
                       Compare compare = Compare::kExact);

/// Fails the test, with `what` in front, where the pictures differ; as Difference. Pictures of an
/// effect that declares them to vary by themselves are not compared.
void ComparePictures(TestRun& run, std::string_view what, const host::World& picture,
                     const host::World& expected, Compare compare = Compare::kExact);

/// What is impossible about a picture: 16-bit channels above full scale, floats that are no
/// numbers. Empty when nothing is.
std::string Impossible(const host::World& picture);

/// A number for all pixels of a picture.
std::uint64_t HashOf(const host::World& picture);

/// Whether every pixel is transparent.
bool IsTransparent(const host::World& picture);
/// Whether every pixel outside of `rect`, in the frame's coordinates, is transparent.
bool IsTransparentOutside(const host::World& picture, const PF_LRect& rect);

}  // namespace veltra::check
