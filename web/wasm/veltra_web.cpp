// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// The functions that the page calls: pictures in and out, and a frame or a part of it rendered.
//
// A picture is a number from 1 that stands for a world until it is freed; 0 is none, and as an
// answer it means that something failed and VeltraError() says what. Nothing is thrown at a caller.

#include <emscripten/emscripten.h>

#include <array>
#include <cmath>
#include <cstdint>
#include <exception>
#include <map>
#include <memory>
#include <new>
#include <span>
#include <string>
#include <utility>

#include "cli/sample/sample_picture.h"
#include "cli/settings/great_circle.h"
#include "host/effect.h"
#include "host/effect_library.h"
#include "host/renderer.h"
#include "pictures/picture_rows.h"
#include "web/wasm/describe.h"
#include "web/wasm/linked_entries.h"

namespace veltra::web {
namespace {

using host::Depth;
using host::World;
using pictures::PackedRow;
using pictures::PictureInfo;
using pictures::SampleType;

struct State {
  std::shared_ptr<const host::Effect> effect;
  std::map<int, World> pictures;
  int lastPicture = 0;
  std::string description;
  std::string error;
};

State& TheState() {
  static State state;
  return state;
}

/// Loads the effect at the first call; null when that failed, with the reason in the state.
const host::Effect* TheEffect() {
  State& state = TheState();
  if (state.effect == nullptr) {
    auto library =
        host::EffectLibrary::FromEntryPoints("the effect", &PluginDataEntryFunction2, &MainEntry);
    if (!library) {
      state.error = library.ErrorText();
      return nullptr;
    }
    auto effect = host::Effect::Load(std::move(*library));
    if (!effect) {
      state.error = effect.ErrorText();
      return nullptr;
    }
    state.effect = std::move(*effect);
  }
  return state.effect.get();
}

/// Runs the body of an exported function and turns whatever it throws into the answer 0.
template <class Body>
auto Guarded(const Body& body) -> decltype(body()) {
  State& state = TheState();
  try {
    state.error.clear();
    return body();
  } catch (const std::bad_alloc&) {
    state.error = "not enough memory";
  } catch (const std::exception& error) {
    state.error = error.what();
  }
  return {};
}

int Keep(Expected<World> world) {
  State& state = TheState();
  if (!world) {
    state.error = world.ErrorText();
    return 0;
  }
  world->KeepFacts();
  state.pictures.insert_or_assign(++state.lastPicture, std::move(*world));
  return state.lastPicture;
}

/// Null for 0 and for a number that stands for nothing.
const World* Find(int picture) {
  const auto found = TheState().pictures.find(picture);
  return found == TheState().pictures.end() ? nullptr : &found->second;
}

bool IsDepth(int depth) {
  return depth >= 0 && depth <= static_cast<int>(Depth::kFloat);
}

// ---- A render as the page asks for it: 32-bit numbers one after the other ----

/// Reads numbers in order; what is missing reads as 0 and is noticed at the end.
class Numbers {
 public:
  explicit Numbers(std::span<const std::int32_t> numbers) : numbers_(numbers) {}
  std::int32_t Next() { return at_ < numbers_.size() ? numbers_[at_++] : (++at_, 0); }
  bool AllRead() const { return at_ == numbers_.size(); }

 private:
  std::span<const std::int32_t> numbers_;
  std::size_t at_ = 0;
};

/// width, height, depth, draft, downsample, left, top, right, bottom (all 0 is the whole frame),
/// pixel aspect numerator, denominator, time, time step, total time, time scale, input picture,
/// number of layers, (control, picture)..., number of controls, (control, x, y)...
bool ReadSettings(Numbers numbers, host::RenderSettings& settings) {
  settings.width = numbers.Next();
  settings.height = numbers.Next();
  const int depth = numbers.Next();
  settings.draft = numbers.Next() != 0;
  settings.downsample = numbers.Next();
  PF_LRect region{};
  region.left = numbers.Next();
  region.top = numbers.Next();
  region.right = numbers.Next();
  region.bottom = numbers.Next();
  if (region.right > region.left && region.bottom > region.top) {
    settings.region = region;
  }
  settings.pixelAspect.num = numbers.Next();
  settings.pixelAspect.den = static_cast<A_u_long>(numbers.Next());
  settings.currentTime = numbers.Next();
  settings.timeStep = numbers.Next();
  settings.totalTime = numbers.Next();
  settings.timeScale = static_cast<A_u_long>(numbers.Next());
  settings.input = Find(numbers.Next());
  for (int left = numbers.Next(); left > 0; --left) {
    const PF_ParamIndex index = numbers.Next();
    settings.layers[index] = Find(numbers.Next());
  }
  for (int left = numbers.Next(); left > 0; --left) {
    const PF_ParamIndex index = numbers.Next();
    const A_long x = numbers.Next();
    settings.controls[index] = {x, numbers.Next()};
  }
  if (!numbers.AllRead() || !IsDepth(depth)) {
    return false;
  }
  settings.depth = static_cast<Depth>(depth);
  return true;
}

// ---- Showing ----

/// A linear value, multiplied by the exposure, as the byte of an sRGB screen.
class ScreenBytes {
 public:
  explicit ScreenBytes(float gain) : gain_(gain) {}
  std::uint8_t operator()(float linear) const {
    const float value = linear * gain_;
    if (!(value > 0.0F)) {
      return 0;
    }
    const float clipped = value < 1.0F ? value : 1.0F;
    return Table()[static_cast<std::size_t>(std::sqrt(clipped) * kLast + 0.5F)];
  }

 private:
  // Spaced by the square root, so that dark values have as many steps as bright ones.
  static constexpr float kLast = 4095.0F;
  using Bytes = std::array<std::uint8_t, 4096>;
  static const Bytes& Table() {
    static const Bytes table = [] {
      Bytes bytes{};
      for (std::size_t i = 0; i < bytes.size(); ++i) {
        const double root = static_cast<double>(i) / static_cast<double>(kLast);
        const double linear = root * root;
        // IEC 61966-2-1.
        const double encoded =
            linear <= 0.0031308 ? 12.92 * linear : 1.055 * std::pow(linear, 1.0 / 2.4) - 0.055;
        bytes[i] = static_cast<std::uint8_t>(std::lround(encoded * 255.0));
      }
      return bytes;
    }();
    return table;
  }
  float gain_;
};

void ShowFloatRow(std::span<const PF_PixelFloat> pixels, const ScreenBytes& screen,
                  std::uint8_t* out) {
  for (const PF_PixelFloat& pixel : pixels) {
    const float alpha = pixel.alpha > 0.0F ? (pixel.alpha < 1.0F ? pixel.alpha : 1.0F) : 0.0F;
    out[0] = screen(pixel.red);
    out[1] = screen(pixel.green);
    out[2] = screen(pixel.blue);
    out[3] = static_cast<std::uint8_t>(alpha * 255.0F + 0.5F);
    out += 4;
  }
}

void PackWorld(const World& world, const PackedRow& format, std::byte* out) {
  const std::size_t rowBytes = format.PixelBytes() * static_cast<std::size_t>(world.Width());
  for (A_long y = 0; y < world.Height(); ++y) {
    PackRow(world.PixelDepth(), world.RowAddress(y), world.Width(), format,
            out + static_cast<std::size_t>(y) * rowBytes);
  }
}

}  // namespace
}  // namespace veltra::web

extern "C" {

using namespace veltra;       // NOLINT(google-build-using-namespace): the exports have no namespace
using namespace veltra::web;  // NOLINT(google-build-using-namespace)

/// Why the last function answered 0; empty after a success.
EMSCRIPTEN_KEEPALIVE const char* VeltraError() {
  return TheState().error.c_str();
}

/// The effect's identity and controls as JSON, see Describe; null when it cannot be set up.
EMSCRIPTEN_KEEPALIVE const char* VeltraDescribe() {
  return Guarded([]() -> const char* {
    const host::Effect* effect = TheEffect();
    if (effect == nullptr) {
      return nullptr;
    }
    TheState().description = Describe(*effect);
    return TheState().description.c_str();
  });
}

/// A control's default on a frame of this size: 16.16, or the pixels of a point in `point`[2].
EMSCRIPTEN_KEEPALIVE int VeltraDefault(int index, int width, int height, std::int32_t* point) {
  return Guarded([=]() -> int {
    const host::Effect* effect = TheEffect();
    if (effect == nullptr) {
      return 0;
    }
    for (const host::ControlDeclaration& control : effect->Controls()) {
      if (control.index == index) {
        const host::ControlValue value = host::ControlDefault(control, width, height);
        point[0] = value.x;
        point[1] = value.y;
        return 1;
      }
    }
    TheState().error = "no such control";
    return 0;
  });
}

/// A point's 16.16 pixels into `point`[2], at a share of the way from one point to another along
/// their great circle; see cli::OnGreatCircle.
EMSCRIPTEN_KEEPALIVE int VeltraOnGreatCircle(std::int32_t fromX, std::int32_t fromY,
                                             std::int32_t toX, std::int32_t toY, double share,
                                             int width, int height, std::int32_t* point) {
  return Guarded([=]() -> int {
    const host::ControlValue value =
        cli::OnGreatCircle({fromX, fromY}, {toX, toY}, share, width, height);
    point[0] = value.x;
    point[1] = value.y;
    return 1;
  });
}

/// A new picture of a depth (0, 1, 2: 8 bit, 16 bit, float) from rows as files have them: 1 to 4
/// channels of a sample type (0, 1, 3: bytes, 16 bit, float), without gaps.
EMSCRIPTEN_KEEPALIVE int VeltraMakePicture(int width, int height, int channels, int sampleType,
                                           int premultiplied, int depth, const std::byte* rows) {
  return Guarded([=]() -> int {
    PictureInfo info;
    info.width = width;
    info.height = height;
    info.channels = channels;
    info.rowType = static_cast<SampleType>(sampleType);
    info.premultiplied = premultiplied != 0;
    if (channels < 1 || channels > 4 || !IsDepth(depth) || sampleType < 0 || sampleType > 3 ||
        info.rowType == SampleType::kHalf) {
      TheState().error = "no such kind of picture";
      return 0;
    }
    auto world = World::Create(width, height, static_cast<Depth>(depth));
    if (world) {
      for (A_long y = 0; y < height; ++y) {
        UnpackRow(info, rows + static_cast<std::size_t>(y) * info.RowBytes(), world->PixelDepth(),
                  world->RowAddress(y));
      }
    }
    return Keep(std::move(world));
  });
}

/// A new float picture drawn by code, the same as the program's sample: a landscape to lay
/// something on, or with `layer` not 0 a title. A side of 0 or less gives 0.
EMSCRIPTEN_KEEPALIVE int VeltraDrawSample(int layer, int width, int height) {
  return Guarded([=]() -> int {
    if (std::string trouble = host::WorldSizeError(width, height); !trouble.empty()) {
      TheState().error = std::move(trouble);
      return 0;
    }
    host::ThreadPool pool(1);
    return Keep(layer != 0 ? cli::DrawSampleLayer(width, height, pool)
                           : cli::DrawSampleFrame(width, height, pool));
  });
}

/// The picture at 1 / factor of its resolution.
EMSCRIPTEN_KEEPALIVE int VeltraReducePicture(int picture, int factor) {
  return Guarded([=]() -> int {
    const World* world = Find(picture);
    if (world == nullptr || factor < 1) {
      TheState().error = "no such picture";
      return 0;
    }
    return Keep(host::BoxDownsample(*world, factor));
  });
}

EMSCRIPTEN_KEEPALIVE void VeltraFreePicture(int picture) {
  TheState().pictures.erase(picture);
}

EMSCRIPTEN_KEEPALIVE int VeltraPictureWidth(int picture) {
  const World* world = Find(picture);
  return world == nullptr ? 0 : world->Width();
}

EMSCRIPTEN_KEEPALIVE int VeltraPictureHeight(int picture) {
  const World* world = Find(picture);
  return world == nullptr ? 0 : world->Height();
}

/// Renders what `numbers` describe (see ReadSettings) into a new picture: the frame or the region.
EMSCRIPTEN_KEEPALIVE int VeltraRender(const std::int32_t* numbers, int count) {
  return Guarded([=]() -> int {
    const host::Effect* effect = TheEffect();
    if (effect == nullptr) {
      return 0;
    }
    host::RenderSettings settings;
    if (!ReadSettings(Numbers({numbers, static_cast<std::size_t>(count)}), settings)) {
      TheState().error = "not a render's numbers";
      return 0;
    }
    host::RenderResult result = host::RenderFrame(*effect, settings);
    if (!result.Ok()) {
      TheState().error =
          result.errorText.empty() ? host::ErrorName(result.error) : result.errorText;
      return 0;
    }
    return Keep(std::move(result.output));
  });
}

/// Copies a picture out as rows of RGBA or RGB without gaps; `sampleType` 0 to 3 is 8 bit, 16 bit,
/// half, float.
EMSCRIPTEN_KEEPALIVE int VeltraPackPicture(int picture, int sampleType, int alpha,
                                           int premultiplied, std::byte* out) {
  return Guarded([=]() -> int {
    const World* world = Find(picture);
    if (world == nullptr || sampleType < 0 || sampleType > 3) {
      TheState().error = "no such picture";
      return 0;
    }
    PackWorld(*world, {static_cast<SampleType>(sampleType), alpha != 0, premultiplied != 0}, out);
    return 1;
  });
}

/// Copies a picture out as 8-bit RGBA for a screen. Float pictures are linear light: multiplied by
/// `gain` and given the screen's curve where `linear` is not 0.
EMSCRIPTEN_KEEPALIVE int VeltraShowPicture(int picture, int linear, float gain, std::uint8_t* out) {
  return Guarded([=]() -> int {
    const World* world = Find(picture);
    if (world == nullptr) {
      TheState().error = "no such picture";
      return 0;
    }
    if (linear == 0 || world->PixelDepth() != Depth::kFloat) {
      PackWorld(*world, {SampleType::kUint8, true, false}, reinterpret_cast<std::byte*>(out));
      return 1;
    }
    const ScreenBytes screen(gain);
    for (A_long y = 0; y < world->Height(); ++y) {
      ShowFloatRow(
          world->Row<const PF_PixelFloat>(y), screen,
          out + static_cast<std::size_t>(y) * static_cast<std::size_t>(world->Width()) * 4);
    }
    return 1;
  });
}

}  // extern "C"
