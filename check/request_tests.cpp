// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Tests of what the host asks for: nothing, parts, less resolution, and then no render at all.

#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>
#include <optional>

#include "base/text.h"
#include "check/accounts.h"
#include "check/test_scene.h"
#include "system/process_state.h"

namespace veltra::check {
namespace {

using host::Effect;
using host::RenderSettings;

std::string RectText(const PF_LRect& rect) {
  return Text(rect.left, ",", rect.top, " to ", rect.right, ",", rect.bottom);
}

bool SameRect(const PF_LRect& a, const PF_LRect& b) {
  return a.left == b.left && a.top == b.top && a.right == b.right && a.bottom == b.bottom;
}

std::vector<RenderVariant> SmartVariantsOrSkip(TestRun& run, const Effect& effect) {
  std::vector<RenderVariant> variants = SmartVariantsOf(effect);
  if (variants.empty()) {
    run.Skip("the effect does not render smartly");
  }
  return variants;
}

/// A part of the frame: any, one row, one column or one pixel.
PF_LRect RandomRegion(Random& random, A_long width, A_long height) {
  const A_long left = random.Int(0, width - 1);
  const A_long top = random.Int(0, height - 1);
  const int shape = random.Int(0, 5);
  const A_long right = shape == 0 || shape == 1 ? left + 1 : random.Int(left + 1, width);
  const A_long bottom = shape == 0 || shape == 2 ? top + 1 : random.Int(top + 1, height);
  return {left, top, right, bottom};
}

/// Requests that a host may make of a frame, apart from empty ones.
std::vector<PF_LRect> RequestsOf(A_long width, A_long height) {
  return {{0, 0, width, height},
          {0, 0, 1, 1},
          {3, 2, width - 4, height - 5},
          {-7, -9, width / 2, height / 2},
          {width / 2, height / 2, width + 6, height + 8},
          {-100, -100, width + 100, height + 100},
          {width + 1, 0, width + 9, height},
          {-20, -30, -10, -5}};
}

/// A host that asks for nothing does so to learn the largest result. Refusing is another test's.
void CheckEmptyRequest(TestRun& run, const Effect& effect, RenderSettings settings,
                       const PF_LRect& largest) {
  settings.region = PF_LRect{0, 0, 0, 0};
  settings.preRenderOnly = true;
  run.Step(Text(VariantName({settings.mode, settings.depth}), ", empty request"));
  const host::RenderResult result = host::RenderFrame(effect, settings);
  if (result.Ok() && !SameRect(result.maxResultRect, largest)) {
    run.FailStep(Text("the largest result is ", RectText(result.maxResultRect), " instead of ",
                      RectText(largest)));
  }
}

constexpr int kPreRenders = 32;

/// Pre-renders that no render follows; what they leave is deleted by the effect's own function.
void PreRenderManyTimes(TestRun& run, const Effect& effect, RenderSettings settings) {
  settings.preRenderOnly = true;
  const ProcessState before = ProcessState::Now();
  const int count = run.Rounds(kPreRenders);
  for (int i = 0; i < count && !run.HadEnough(); ++i) {
    host::RenderResult result = host::RenderFrame(effect, settings);
    if (!result.Ok()) {
      run.FailStep(Text("pre-render ", i + 1, " in a row: ", result.errorText), ShownOf(result));
    }
    for (const std::string& imbalance : Kept(result)) {
      run.FailStep(imbalance);
    }
  }
  const ProcessState after = ProcessState::Now();
  if (before.heapBytes && after.heapBytes &&
      *after.heapBytes - *before.heapBytes > std::int64_t{count} * 16) {
    run.FailStep("the data of pre-renders is not freed by its delete function");
  }
}

void CheckReduced(TestRun& run, const PF_LRect& full, const PF_LRect& reduced, int factor) {
  const auto near = [factor](A_long whole, A_long part) {
    return std::abs(std::int64_t{part} * factor - whole) <= factor;
  };
  if (!near(full.left, reduced.left) || !near(full.top, reduced.top) ||
      !near(full.right, reduced.right) || !near(full.bottom, reduced.bottom)) {
    run.FailStep(Text("the largest result is ", RectText(reduced), ", at full resolution it is ",
                      RectText(full)));
  }
}

/// What is left of a picture without its first columns and rows; empty where nothing is.
host::World Cut(const host::World& picture, A_long columns, A_long rows) {
  if (picture.Width() <= columns || picture.Height() <= rows) {
    return {};
  }
  auto rest =
      host::World::Create(picture.Width() - columns, picture.Height() - rows, picture.PixelDepth());
  if (!rest) {
    return {};
  }
  const auto pixelBytes = static_cast<std::size_t>(host::BytesPerPixel(picture.PixelDepth()));
  for (A_long y = 0; y < rest->Height(); ++y) {
    std::memcpy(rest->RowAddress(y),
                picture.RowAddress(y + rows) + static_cast<std::size_t>(columns) * pixelBytes,
                static_cast<std::size_t>(rest->Width()) * pixelBytes);
  }
  rest->SetOrigin(picture.OriginX() + columns, picture.OriginY() + rows);
  return std::move(*rest);
}

/// Compares a part with the whole. Its first column and row may differ where the same part with
/// one column and row more does not: an effect may look at its neighbour there, and the host's
/// coordinates tell it where its part begins and not where the frame does.
void ComparePart(TestRun& run, const Effect& effect, const RenderSettings& settings,
                 const host::World& whole, bool& noted) {
  const host::World part = RenderChecked(run, effect, settings).output;
  const std::string difference = Difference(part, whole, Compare::kVisible);
  if (difference.empty() || run.PicturesVary()) {
    return;
  }
  RenderSettings wider = settings;
  const A_long columns = settings.region->left > 0 ? 1 : 0;
  const A_long rows = settings.region->top > 0 ? 1 : 0;
  wider.region->left -= columns;
  wider.region->top -= rows;
  const auto same = [&whole](const host::World& rest) {
    return rest.Empty() || Difference(rest, whole, Compare::kVisible).empty();
  };
  if (!same(Cut(part, columns, rows)) ||
      !same(Cut(RenderChecked(run, effect, wider).output, columns, rows))) {
    run.FailStep(Text("the part is not the whole's: ", difference));
  } else if (!noted) {
    noted = true;
    run.Note(
        Text("the first column and row of a part depend on where it begins; hosts render one "
             "more of each and cut them off (",
             Describe(settings), ": ", difference, ")"));
  }
}

void ComparePartsWithWhole(TestRun& run, const Effect& effect, RenderSettings settings) {
  run.Step(Describe(settings));
  const host::World whole = RenderChecked(run, effect, settings).output;
  bool noted = false;
  for (int i = run.Rounds(12); i > 0 && !run.HadEnough(); --i) {
    settings.region = RandomRegion(run.Rng(), settings.width, settings.height);
    run.Step(Describe(settings));
    ComparePart(run, effect, settings, whole, noted);
  }
}

// ---- The output's size ----

// An effect may fill a plane in smart render; a host asks for what it shows of it.
constexpr std::int64_t kLargestTried = std::int64_t{4096} * 4096;

A_long Width(const PF_LRect& rect) {
  return rect.right - rect.left;
}

A_long Height(const PF_LRect& rect) {
  return rect.bottom - rect.top;
}

/// Growing and shrinking want a flag in classic render; hosts take both without.
void NoteSize(TestRun& run, const Effect& effect, const PF_LRect& frame, const PF_LRect& output) {
  const auto note = [&](const char* does, A_long flag, const char* name) {
    if ((effect.OutFlags() & flag) == 0) {
      run.Note(Text("its output ", does, " without ", name));
    }
  };
  if (output.left < frame.left || output.top < frame.top || output.right > frame.right ||
      output.bottom > frame.bottom) {
    note("grows", PF_OutFlag_I_EXPAND_BUFFER, "I_EXPAND_BUFFER");
  }
  if (output.left > frame.left || output.top > frame.top || output.right < frame.right ||
      output.bottom < frame.bottom) {
    note("shrinks", PF_OutFlag_I_SHRINK_BUFFER, "I_SHRINK_BUFFER");
  }
}

/// Asks for the rectangles alone. Hosts do so before they render, and need not render at all.
PF_LRect AskedSize(TestRun& run, const Effect& effect, RenderSettings settings) {
  settings.preRenderOnly = true;
  run.Step(Text(Describe(settings), ", asked for its size alone"));
  const int handles = effect.Holdings()->handles;
  const int worlds = effect.Holdings()->worlds;
  const PF_LRect rect = RenderChecked(run, effect, settings).maxResultRect;
  if (effect.Holdings()->handles > handles || effect.Holdings()->worlds > worlds) {
    run.FailStep("a frame that is set up and not rendered leaves handles or worlds behind");
  }
  return rect;
}

/// The whole of the output must hold the frame's picture where the frame is.
void CompareWithWholeOutput(TestRun& run, const Effect& effect, RenderSettings settings,
                            const PF_LRect& output, bool& noted) {
  const PF_LRect inside{std::max<A_long>(output.left, 0), std::max<A_long>(output.top, 0),
                        std::min(output.right, settings.width),
                        std::min(output.bottom, settings.height)};
  if (Width(inside) <= 0 || Height(inside) <= 0) {
    return;
  }
  settings.region = output;
  run.Step(Text(Describe(settings), ", all of its output"));
  const host::RenderResult whole = RenderChecked(run, effect, settings);
  if (whole.Ok() && !SameRect(whole.maxResultRect, output)) {
    run.FailStep(Text("its output is now ", RectText(whole.maxResultRect), " instead of ",
                      RectText(output)));
  }
  settings.region = inside;
  run.Step(Describe(settings));
  ComparePart(run, effect, settings, whole.output, noted);
}

}  // namespace

void TestOutputSize(TestRun& run) {
  const auto effect = LoadEffect(run);
  bool noted = false;
  for (const RenderVariant& variant : VariantsOf(*effect)) {
    const Scene scene = MakeScene(*effect, run.Rng(), {.depth = variant.depth});
    const PF_LRect frame{0, 0, scene.width, scene.height};
    for (int round = 0; round < run.Rounds(4) && !run.HadEnough(); ++round) {
      RenderSettings settings = SettingsFor(scene, variant);
      if (round > 0) {
        SetRandomControls(settings, *effect, run.Rng(), Reach::kTame);
      }
      const PF_LRect output = AskedSize(run, *effect, settings);
      run.Step(Text(Describe(settings), ", its output"));
      const std::int64_t width = std::int64_t{output.right} - output.left;
      const std::int64_t height = std::int64_t{output.bottom} - output.top;
      const bool smart = variant.mode == host::RenderMode::kSmart;
      if (std::max(width, height) > kHostMaxWorldSide) {
        run.FailStep(Text("it can become ", width, " x ", height, " pixels (at most ",
                          kHostMaxWorldSide, " x ", kHostMaxWorldSide, ")"));
      } else if (smart && width * height > kLargestTried) {
        run.Note(Text("it can fill ", width, " x ", height, " pixels, which are not tried"));
      } else if (width > 0 && height > 0 && !run.Failed()) {
        if (round == 0 && !smart) {
          NoteSize(run, *effect, frame, output);
        }
        CompareWithWholeOutput(run, *effect, settings, output, noted);
      }
    }
  }
}

void TestPreRenderOnly(TestRun& run) {
  const auto effect = LoadEffect(run);
  for (const RenderVariant& variant : SmartVariantsOrSkip(run, *effect)) {
    const Scene scene = MakeScene(*effect, run.Rng(), {.depth = variant.depth});
    const RenderSettings settings = SettingsFor(scene, variant);
    run.Step(Describe(settings));
    const host::World before = RenderChecked(run, *effect, settings).output;
    PreRenderManyTimes(run, *effect, settings);
    if (run.Failed()) {
      return;
    }
    const host::World after = RenderChecked(run, *effect, settings).output;
    ComparePictures(run, "the frame after them is another", after, before);
  }
}

void TestPreRenderRects(TestRun& run) {
  const auto effect = LoadEffect(run);
  for (const RenderVariant& variant : SmartVariantsOrSkip(run, *effect)) {
    const Scene scene = MakeScene(*effect, run.Rng(), {.depth = variant.depth});
    std::optional<PF_LRect> largest;
    for (const PF_LRect& request : RequestsOf(scene.width, scene.height)) {
      RenderSettings settings = SettingsFor(scene, variant);
      settings.region = request;
      run.Step(Describe(settings));
      const host::RenderResult result = RenderChecked(run, *effect, settings);
      for (const host::Violation& broken : BrokenRules(result)) {
        if (broken.rule == host::Rule::kResultBeyondMaximum ||
            broken.rule == host::Rule::kResultBeyondRequest) {
          run.FailStep(broken.text);
        }
      }
      if (!IsTransparentOutside(result.output, result.resultRect)) {
        run.FailStep(Text("there are pixels outside of its result, ", RectText(result.resultRect)));
      }
      if (!largest) {
        largest = result.maxResultRect;
      } else if (!SameRect(*largest, result.maxResultRect)) {
        run.FailStep(Text("the largest result depends on the request: ",
                          RectText(result.maxResultRect), " instead of ", RectText(*largest)));
      }
    }
    CheckEmptyRequest(run, *effect, SettingsFor(scene, variant), *largest);
  }
}

void TestRegions(TestRun& run) {
  const auto effect = LoadEffect(run);
  for (const RenderVariant& variant : VariantsOf(*effect)) {
    const Scene scene = MakeScene(*effect, run.Rng(), {.depth = variant.depth});
    RenderSettings settings = SettingsFor(scene, variant);
    ComparePartsWithWhole(run, *effect, settings);
    for (const host::ControlDeclaration& control : effect->Controls()) {
      if (control.type == PF_Param_CHECKBOX && !run.HadEnough()) {
        RenderSettings other = settings;
        other.controls[control.index] = {control.defaultValue != 0 ? 0 : 1, 0};
        ComparePartsWithWhole(run, *effect, other);
      }
    }
  }
}

void TestEmptyRequests(TestRun& run) {
  constexpr std::array<PF_LRect, 4> kEmpty{
      PF_LRect{0, 0, 0, 0}, {5, 5, 5, 9}, {9, 3, 2, 1}, {-4, -4, -4, -4}};
  const auto effect = LoadEffect(run);
  for (const RenderVariant& variant : SmartVariantsOrSkip(run, *effect)) {
    const Scene scene = MakeScene(*effect, run.Rng(), {.depth = variant.depth});
    RenderSettings settings = SettingsFor(scene, variant);
    for (const PF_LRect& request : kEmpty) {
      settings.region = request;
      for (const bool preRenderOnly : {true, false}) {
        settings.preRenderOnly = preRenderOnly;
        run.Step(Text(VariantName(variant), ", request ", RectText(request)));
        RenderChecked(run, *effect, settings);
      }
    }
  }
}

void TestReducedResolution(TestRun& run) {
  constexpr A_long kWidth = 63;
  constexpr A_long kHeight = 35;
  const auto effect = LoadEffect(run);
  for (const RenderVariant& variant : VariantsOf(*effect)) {
    std::optional<PF_LRect> full;
    for (const int factor : {1, 2, 3, 4, 7}) {
      // A host reduces layers with the frame.
      SceneShape shape{
          .width = kWidth, .height = kHeight, .depth = variant.depth, .downsample = factor};
      shape.layerWidth = host::DownsampledLength(shape.layerWidth, factor);
      shape.layerHeight = host::DownsampledLength(shape.layerHeight, factor);
      const Scene scene = MakeScene(*effect, run.Rng(), shape);
      RenderSettings settings = SettingsFor(scene, variant);
      run.Step(Describe(settings));
      const PF_LRect rect = RenderChecked(run, *effect, settings).maxResultRect;
      full = full.value_or(rect);
      CheckReduced(run, *full, rect, factor);
      settings.draft = true;
      run.Step(Describe(settings));
      RenderChecked(run, *effect, settings);
    }
  }
}

}  // namespace veltra::check
