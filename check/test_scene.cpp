// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Frames to test with.

#include "check/test_scene.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <type_traits>

#include "base/text.h"

namespace veltra::check {
namespace {

using host::ControlDeclaration;
using host::ControlValue;
using host::Depth;
using host::Effect;
using host::RenderMode;
using host::RenderSettings;
using host::World;

/// PF_OutFlag_NON_PARAM_VARY: the picture depends on more than its parameters, chance for instance.
constexpr A_long kVariesByItself = 1 << 2;

template <class Pixel>
using ChannelOf = decltype(Pixel::alpha);

template <class Pixel>
constexpr double FullScale() {
  if constexpr (std::is_same_v<Pixel, PF_Pixel8>) {
    return PF_MAX_CHAN8;
  } else if constexpr (std::is_same_v<Pixel, PF_Pixel16>) {
    return PF_MAX_CHAN16;
  } else {
    return 1.0;
  }
}

template <class Pixel>
std::array<ChannelOf<Pixel>, 4> Channels(const Pixel& pixel) {
  return {pixel.alpha, pixel.red, pixel.green, pixel.blue};
}

constexpr int kFractionSteps = 4096;

/// Multiples of 1/4096 are exact at every depth that has room for them.
template <class Pixel>
ChannelOf<Pixel> RandomChannel(Random& random) {
  const double fraction = static_cast<double>(random.Int(0, kFractionSteps)) / kFractionSteps;
  return static_cast<ChannelOf<Pixel>>(fraction * FullScale<Pixel>());
}

template <class Pixel>
Pixel RandomPixel(Random& random) {
  Pixel pixel{RandomChannel<Pixel>(random), RandomChannel<Pixel>(random),
              RandomChannel<Pixel>(random), RandomChannel<Pixel>(random)};
  if (random.OneIn(3)) {
    pixel.alpha =
        random.OneIn(3) ? ChannelOf<Pixel>{} : static_cast<ChannelOf<Pixel>>(FullScale<Pixel>());
  }
  return pixel;
}

/// A picture that cannot be made is no fault of the effect; the test process says so and ends.
World Made(Expected<World> world) {
  if (!world) {
    throw std::runtime_error(world.ErrorText());
  }
  return std::move(*world);
}

/// Values of arbitrary data are made by the effect alone.
bool IsSettable(const ControlDeclaration& control) {
  return control.HasValue() && control.type != PF_Param_ARBITRARY_DATA;
}

bool IsSeparator(const std::string& choice) {
  return choice.starts_with("(-");
}

/// The numbers of the choices that a value can name; 1 where there are none.
std::vector<A_long> ChoiceNumbers(const ControlDeclaration& control) {
  std::vector<A_long> numbers;
  for (std::size_t i = 0; i < control.choices.size(); ++i) {
    if (!IsSeparator(control.choices[i])) {
      numbers.push_back(static_cast<A_long>(i + 1));
    }
  }
  return numbers.empty() ? std::vector<A_long>{1} : numbers;
}

ControlValue NumberValue(double number) {
  ControlValue value;
  value.numbers[0] = number;
  return value;
}

ControlValue ColorValue(const PF_Pixel8& color) {
  ControlValue value;
  value.color = color;
  return value;
}

ControlValue RandomColor(Random& random) {
  const auto channel = [&] { return static_cast<A_u_char>(random.Int(0, PF_MAX_CHAN8)); };
  const A_u_char red = channel();
  const A_u_char green = channel();
  return ColorValue({PF_MAX_CHAN8, red, green, channel()});
}

ControlValue RandomNumber(Random& random, double low, double high) {
  const double share = static_cast<double>(random.Int(0, kFractionSteps)) / kFractionSteps;
  return NumberValue(low + (high - low) * share);
}

/// Within the frame, or a few times as far; depth as the height.
ControlValue RandomPoint3d(Random& random, bool tame, A_long width, A_long height) {
  ControlValue value;
  const std::array<A_long, 3> lengths = {width, height, height};
  for (std::size_t i = 0; i < lengths.size(); ++i) {
    const double low = tame ? 0.0 : -2.0 * lengths[i];
    const double high = tame ? lengths[i] : 3.0 * lengths[i];
    value.numbers[i] = RandomNumber(random, low, high).numbers[0];
  }
  return value;
}

// Far outside every frame that is tested with, and within what 16.16 holds.
constexpr std::int64_t kFarPixels = 30000;

ControlValue RandomValue(const ControlDeclaration& control, Random& random, Reach reach,
                         A_long width, A_long height) {
  const bool tame = reach == Reach::kTame;
  switch (control.type) {
    case PF_Param_SLIDER:
    case PF_Param_FIX_SLIDER: {
      const PF_Fixed low = tame ? control.sliderMin : control.validMin;
      const PF_Fixed high = tame ? control.sliderMax : control.validMax;
      return {random.Int(std::min(low, high), std::max(low, high)), 0};
    }
    case PF_Param_CHECKBOX:
      return {random.Int(0, 1), 0};
    case PF_Param_POPUP:
      return {random.Pick(ChoiceNumbers(control)), 0};
    case PF_Param_FLOAT_SLIDER:
      return RandomNumber(random, tame ? control.sliderMinNumber : control.validMinNumber,
                          tame ? control.sliderMaxNumber : control.validMaxNumber);
    case PF_Param_ANGLE: {
      constexpr A_long kTurn = 360 * 65536;
      return {random.Int(tame ? 0 : -10 * kTurn, tame ? kTurn : 10 * kTurn), 0};
    }
    case PF_Param_COLOR:
      return RandomColor(random);
    case PF_Param_POINT_3D:
      return RandomPoint3d(random, tame, width, height);
    default: {
      const auto coordinate = [&](A_long length) {
        if (tame || control.restrictBounds) {
          return static_cast<A_long>(random.Between(0, std::int64_t{length} * 65536));
        }
        const std::int64_t beyond =
            random.OneIn(4) ? kFarPixels * 65536 : std::int64_t{length} * 2 * 65536;
        return static_cast<A_long>(random.Between(-beyond, beyond));
      };
      const A_long x = coordinate(width);
      return {x, coordinate(height)};
    }
  }
}

std::vector<ControlValue> ExtremePoints(const ControlDeclaration& control, A_long width,
                                        A_long height) {
  const A_long right = width * 65536;
  const A_long bottom = height * 65536;
  std::vector<ControlValue> values{
      {0, 0}, {right, 0}, {0, bottom}, {right, bottom}, {right / 2, bottom / 2}};
  if (!control.restrictBounds) {
    constexpr A_long kLeast = std::numeric_limits<A_long>::min();
    constexpr A_long kMost = std::numeric_limits<A_long>::max();
    values.insert(
        values.end(),
        {{-1, -1}, {right + 1, bottom + 1}, {kLeast, kLeast}, {kMost, kMost}, {kLeast, kMost}});
  }
  return values;
}

std::string FixedText(PF_Fixed value) {
  std::string text = std::to_string(static_cast<double>(value) / kFixedOne);
  text.erase(text.find_last_not_of('0') + 1);
  if (text.back() == '.') {
    text.pop_back();
  }
  return text;
}

/// The place and the words for the largest difference found.
struct Worst {
  double size = 0.0;
  A_long count = 0;
  std::string text;
};

template <class Pixel>
std::string PixelText(const Pixel& pixel) {
  std::string text;
  for (const auto channel : Channels(pixel)) {
    if constexpr (std::is_floating_point_v<ChannelOf<Pixel>>) {
      text += Text(text.empty() ? "" : " ", std::to_string(channel));
    } else {
      text += Text(text.empty() ? "" : " ", static_cast<int>(channel));
    }
  }
  return text;
}

template <class Pixel>
void ComparePixel(const Pixel& a, const Pixel& b, A_long x, A_long y, Worst& worst) {
  const auto left = Channels(a);
  const auto right = Channels(b);
  double size = 0.0;
  for (std::size_t i = 0; i < left.size(); ++i) {
    const double difference =
        std::abs(static_cast<double>(left[i]) - static_cast<double>(right[i]));
    // Not a number differs from everything, also from itself.
    size = std::isnan(difference) ? std::numeric_limits<double>::infinity()
                                  : std::max(size, difference);
  }
  worst.count += size > 0.0 ? 1 : 0;
  if (size > worst.size) {
    worst.size = size;
    worst.text = Text("worst at ", x, ",", y, ": ", PixelText(a), " against ", PixelText(b));
  }
}

}  // namespace

std::shared_ptr<const host::EffectLibrary> OpenLibrary(TestRun& run) {
  auto library = host::EffectLibrary::Open(run.Settings().library, *run.Settings().host);
  if (!library) {
    run.FailAndEnd(library.ErrorText());
  }
  return *library;
}

std::unique_ptr<const Effect> LoadEffect(TestRun& run) {
  const auto library = OpenLibrary(run);
  auto effect = Effect::Load(library);
  if (!effect) {
    SkipIfDeclined(run, *library);
    run.FailAndEnd(effect.ErrorText(), Shown::kDialog);
  }
  if (((*effect)->OutFlags() & kVariesByItself) != 0) {
    run.LetPicturesVary();
  }
  return std::move(*effect);
}

void SkipIfDeclined(TestRun& run, const host::EffectLibrary& library) {
  if (library.IsNewerThanHost()) {
    const host::Registration& built = library.Identity();
    const PF_SpecVersion& version = library.Host().version;
    run.Skip(Text("declines a host with interface ", version.major, ".", version.minor,
                  " (it is built for ", built.apiMajor, ".", built.apiMinor, ")"));
  }
}

// ---- Pictures ----

World RandomWorld(Random& random, A_long width, A_long height, Depth depth,
                  const host::WorldLayout& layout) {
  World world = Made(World::Create(width, height, depth, layout));
  host::WithPixelType(depth, [&](auto pixel) {
    using Pixel = decltype(pixel);
    for (A_long y = 0; y < height; ++y) {
      for (Pixel& p : world.Row<Pixel>(y)) {
        p = RandomPixel<Pixel>(random);
      }
    }
  });
  return world;
}

Scene MakeScene(const Effect& effect, Random& random, const SceneShape& shape) {
  Scene scene;
  scene.width = shape.width;
  scene.height = shape.height;
  scene.depth = shape.depth;
  scene.downsample = shape.downsample;
  scene.input = RandomWorld(random, host::DownsampledLength(shape.width, shape.downsample),
                            host::DownsampledLength(shape.height, shape.downsample), shape.depth,
                            shape.layout);
  for (const ControlDeclaration& control : effect.Controls()) {
    if (control.type == PF_Param_LAYER) {
      scene.layers.emplace(control.index, RandomWorld(random, shape.layerWidth, shape.layerHeight,
                                                      shape.depth, shape.layout));
    }
  }
  return scene;
}

// ---- Variants ----

std::string VariantName(const RenderVariant& variant) {
  return Text(variant.mode == RenderMode::kSmart ? "smart" : "classic", ", ",
              host::DepthName(variant.depth), variant.depth == Depth::kFloat ? "" : " bit");
}

bool RendersClassic(const Effect& effect) {
  if (!effect.SupportsSmartRender()) {
    return true;
  }
  Random random(0);
  const Scene scene = MakeScene(effect, random, {});
  const auto result =
      host::RenderFrame(effect, SettingsFor(scene, {RenderMode::kClassic, Depth::k8}));
  return result.Ok() && !IsTransparent(result.output);
}

std::vector<RenderVariant> SmartVariantsOf(const Effect& effect) {
  std::vector<RenderVariant> variants;
  for (const Depth depth : host::kAllDepths) {
    if (effect.SupportsSmartRender() && effect.SupportsDepth(depth)) {
      variants.push_back({RenderMode::kSmart, depth});
    }
  }
  return variants;
}

std::vector<RenderVariant> VariantsOf(const Effect& effect) {
  std::vector<RenderVariant> variants = SmartVariantsOf(effect);
  if (!RendersClassic(effect)) {
    return variants;
  }
  variants.push_back({RenderMode::kClassic, Depth::k8});
  // Hosts ask deeper pictures of an effect with smart render through smart render only.
  if (!effect.SupportsSmartRender() && effect.SupportsDepth(Depth::k16)) {
    variants.push_back({RenderMode::kClassic, Depth::k16});
  }
  return variants;
}

RenderSettings SettingsFor(const Scene& scene, const RenderVariant& variant) {
  RenderSettings settings;
  settings.width = scene.width;
  settings.height = scene.height;
  settings.depth = scene.depth;
  settings.downsample = scene.downsample;
  settings.mode = variant.mode;
  settings.input = &scene.input;
  for (const auto& [index, layer] : scene.layers) {
    settings.layers[index] = &layer;
  }
  return settings;
}

std::string Describe(const RenderSettings& settings) {
  std::string text = Text(VariantName({settings.mode, settings.depth}), ", ", settings.width, " x ",
                          settings.height);
  if (settings.downsample != 1) {
    text += Text(", 1/", settings.downsample);
  }
  if (settings.region) {
    const PF_LRect& r = *settings.region;
    text += Text(", region ", r.left, ",", r.top, " ", r.right - r.left, " x ", r.bottom - r.top);
  }
  if (settings.draft) {
    text += ", draft";
  }
  return text;
}

// ---- Values ----

void SetRandomControls(RenderSettings& settings, const Effect& effect, Random& random,
                       Reach reach) {
  for (const ControlDeclaration& control : effect.Controls()) {
    if (IsSettable(control)) {
      settings.controls[control.index] =
          RandomValue(control, random, reach, settings.width, settings.height);
    }
  }
}

std::vector<ControlValue> ExtremeValues(const ControlDeclaration& control, A_long width,
                                        A_long height) {
  std::vector<ControlValue> values;
  switch (control.type) {
    case PF_Param_SLIDER:
    case PF_Param_FIX_SLIDER:
      for (const PF_Fixed value :
           {control.validMin, control.validMax, control.sliderMin, control.sliderMax, 0, 1, -1}) {
        if (value >= control.validMin && value <= control.validMax) {
          values.push_back({value, 0});
        }
      }
      return values;
    case PF_Param_CHECKBOX:
      return {{0, 0}, {1, 0}};
    case PF_Param_POPUP:
      for (const A_long choice : ChoiceNumbers(control)) {
        values.push_back({choice, 0});
      }
      return values;
    case PF_Param_FLOAT_SLIDER:
      return {NumberValue(control.validMinNumber), NumberValue(control.validMaxNumber),
              NumberValue(control.sliderMinNumber), NumberValue(control.sliderMaxNumber)};
    case PF_Param_ANGLE:
      return {{0, 0},
              {-1, 0},
              {360 * 65536, 0},
              {std::numeric_limits<A_long>::min(), 0},
              {std::numeric_limits<A_long>::max(), 0}};
    case PF_Param_COLOR:
      return {ColorValue({PF_MAX_CHAN8, 0, 0, 0}),
              ColorValue({PF_MAX_CHAN8, PF_MAX_CHAN8, PF_MAX_CHAN8, PF_MAX_CHAN8})};
    case PF_Param_POINT_3D: {
      constexpr double kFar = 1e6;
      ControlValue far;
      far.numbers = {kFar, -kFar, kFar};
      return {ControlValue{}, far};
    }
    case PF_Param_POINT:
      return ExtremePoints(control, width, height);
    default:
      return {};
  }
}

std::string DescribeValue(const ControlDeclaration& control, const ControlValue& value) {
  const std::string& name = control.name.empty() ? control.label : control.name;
  switch (control.type) {
    case PF_Param_FIX_SLIDER:
      return Text(name, " ", FixedText(value.x));
    case PF_Param_POINT:
      return Text(name, " ", FixedText(value.x), ",", FixedText(value.y));
    case PF_Param_FLOAT_SLIDER:
      return Text(name, " ", std::to_string(value.numbers[0]));
    case PF_Param_POINT_3D:
      return Text(name, " ", std::to_string(value.numbers[0]), ",",
                  std::to_string(value.numbers[1]), ",", std::to_string(value.numbers[2]));
    case PF_Param_ANGLE:
      return Text(name, " ", FixedText(value.x), " degrees");
    case PF_Param_COLOR:
      return Text(name, " ", static_cast<int>(value.color.red), ",",
                  static_cast<int>(value.color.green), ",", static_cast<int>(value.color.blue));
    default:
      return Text(name, " ", value.x);
  }
}

// ---- Rendering and comparing ----

Shown ShownOf(const host::RenderResult& result) {
  if (result.error == PF_Err_NONE || result.error == PF_Interrupt_CANCEL) {
    return Shown::kNothing;
  }
  const auto& violations = result.diagnostics.violations;
  const bool threw = std::any_of(violations.begin(), violations.end(), [](const auto& broken) {
    return broken.rule == host::Rule::kExceptionEscaped;
  });
  return threw ? Shown::kCrash : Shown::kDialog;
}

host::RenderResult RenderChecked(TestRun& run, const Effect& effect,
                                 const RenderSettings& settings) {
  host::RenderResult result = host::RenderFrame(effect, settings);
  const std::vector<std::string>& missing = result.diagnostics.missing;
  const auto& broken = result.diagnostics.violations;
  const bool updated = std::none_of(broken.begin(), broken.end(), [](const auto& violation) {
    return violation.rule == host::Rule::kUpdateFailed;
  });
  if (result.Ok() && updated) {
    run.DoesWithout(missing);
  } else if (!result.Ok()) {
    run.SkipIfNeeded(missing);
  }
  if (!result.Ok()) {
    run.FailStep(result.errorText.empty() ? host::ErrorName(result.error) : result.errorText,
                 ShownOf(result));
  } else if (std::string trouble = Impossible(result.output); !trouble.empty()) {
    run.FailStep(trouble);
  }
  return result;
}

std::string Difference(const World& part, const World& whole, Compare compare) {
  if (part.Empty() || whole.Empty()) {
    return part.Empty() == whole.Empty() ? "" : "there is only one of the two pictures";
  }
  const A_long dx = part.OriginX() - whole.OriginX();
  const A_long dy = part.OriginY() - whole.OriginY();
  if (part.PixelDepth() != whole.PixelDepth() || dx < 0 || dy < 0 ||
      dx + part.Width() > whole.Width() || dy + part.Height() > whole.Height()) {
    return Text("the picture is ", part.Width(), " x ", part.Height(), " at ", part.OriginX(), ",",
                part.OriginY(), ", not within ", whole.Width(), " x ", whole.Height(), " at ",
                whole.OriginX(), ",", whole.OriginY());
  }
  Worst worst;
  host::WithPixelType(part.PixelDepth(), [&](auto pixel) {
    using Pixel = decltype(pixel);
    for (A_long y = 0; y < part.Height(); ++y) {
      const auto a = part.Row<Pixel>(y);
      const auto b = whole.Row<Pixel>(y + dy);
      for (A_long x = 0; x < part.Width(); ++x) {
        const Pixel& left = a[static_cast<std::size_t>(x)];
        const A_long wholeX = x + dx;
        const Pixel& right = b[static_cast<std::size_t>(wholeX)];
        if (compare == Compare::kVisible && left.alpha == 0 && right.alpha == 0) {
          continue;
        }
        ComparePixel(left, right, x + part.OriginX(), y + part.OriginY(), worst);
      }
    }
  });
  if (worst.count == 0) {
    return {};
  }
  return Text(Count(static_cast<std::size_t>(worst.count), "pixel"), " of ",
              part.Width() * part.Height(), worst.count == 1 ? " differs, " : " differ, ",
              worst.text);
}

void ComparePictures(TestRun& run, std::string_view what, const World& picture,
                     const World& expected, Compare compare) {
  if (run.PicturesVary()) {
    return;
  }
  if (std::string difference = Difference(picture, expected, compare); !difference.empty()) {
    run.FailStep(Text(what, ": ", difference));
  }
}

std::string Impossible(const World& picture) {
  if (picture.Empty() || picture.PixelDepth() == Depth::k8) {
    return {};
  }
  std::string trouble;
  host::WithPixelType(picture.PixelDepth(), [&](auto pixel) {
    using Pixel = decltype(pixel);
    for (A_long y = 0; y < picture.Height() && trouble.empty(); ++y) {
      const auto row = picture.Row<Pixel>(y);
      const auto bad = std::find_if(row.begin(), row.end(), [](const Pixel& p) {
        const auto channels = Channels(p);
        return std::any_of(channels.begin(), channels.end(), [](auto channel) {
          const auto value = static_cast<double>(channel);
          return !std::isfinite(value) ||
                 (std::is_same_v<Pixel, PF_Pixel16> && value > FullScale<Pixel>());
        });
      });
      if (bad != row.end()) {
        trouble = Text("impossible pixel at ", (bad - row.begin()) + picture.OriginX(), ",",
                       y + picture.OriginY(), ": ", PixelText(*bad));
      }
    }
  });
  return trouble;
}

std::uint64_t HashOf(const World& picture) {
  std::uint64_t hash = 0xCBF29CE484222325U;
  const auto bytes =
      static_cast<std::ptrdiff_t>(picture.Width()) * host::BytesPerPixel(picture.PixelDepth());
  for (A_long y = 0; y < picture.Height(); ++y) {
    const std::byte* row = picture.RowAddress(y);
    for (std::ptrdiff_t i = 0; i < bytes; ++i) {
      hash = (hash ^ static_cast<std::uint64_t>(row[i])) * 0x100000001B3U;
    }
  }
  return hash;
}

bool IsTransparent(const World& picture) {
  return IsTransparentOutside(picture, {0, 0, 0, 0});
}

bool IsTransparentOutside(const World& picture, const PF_LRect& rect) {
  const auto isInside = [&rect](A_long x, A_long y) {
    return x >= rect.left && x < rect.right && y >= rect.top && y < rect.bottom;
  };
  return host::WithPixelType(picture.PixelDepth(), [&](auto pixel) {
    using Pixel = decltype(pixel);
    for (A_long y = 0; y < picture.Height(); ++y) {
      const auto row = picture.Row<Pixel>(y);
      for (A_long x = 0; x < picture.Width(); ++x) {
        if (row[static_cast<std::size_t>(x)].alpha > 0 &&
            !isInside(x + picture.OriginX(), y + picture.OriginY())) {
          return false;
        }
      }
    }
    return true;
  });
}

}  // namespace veltra::check
