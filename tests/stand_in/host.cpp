// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// The stand-in host's callbacks and accounts.
#include "tests/stand_in/host.h"

#include <algorithm>
#include <atomic>
#include <cmath>
#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <iterator>
#include <thread>

#include "numerics/compiler.h"
#include "numerics/trigonometry.h"

namespace veltra::stand_in {
namespace {

constexpr A_long kNoInputId = 9999;  // what the effect checks its input out under to leave it alone

/// Callbacks without an effect_ref find their host here: one command at a time per thread.
thread_local Host* currentHost = nullptr;

Host& HostOf(PF_ProgPtr effectRef) {
  return effectRef == nullptr ? *currentHost : *reinterpret_cast<Host*>(effectRef);
}

std::string SuiteKey(const char* name, A_long version) {
  return Text(name, " ", version);
}

template <class Pixel>
struct SuiteNames;
template <>
struct SuiteNames<PF_Pixel8> {
  static constexpr const char* kSampling = "PF Sampling8 Suite 1";
  static constexpr const char* kIterate = "PF Iterate8 Suite 1";
};
template <>
struct SuiteNames<PF_Pixel16> {
  static constexpr const char* kSampling = "PF Sampling16 Suite 1";
  static constexpr const char* kIterate = "PF iterate16 Suite 1";
};
template <>
struct SuiteNames<PF_PixelFloat> {
  static constexpr const char* kSampling = "PF SamplingFloat Suite 1";
  static constexpr const char* kIterate = "PF iterateFloat Suite 1";
};

PF_LRect Intersection(const PF_LRect& a, const PF_LRect& b) {
  return {std::max(a.left, b.left), std::max(a.top, b.top), std::min(a.right, b.right),
          std::min(a.bottom, b.bottom)};
}

char* PixelAddress(const PF_EffectWorld& world, std::int64_t x, std::int64_t y, A_long pixelSize) {
  return static_cast<char*>(world.data) + y * world.rowbytes + x * pixelSize;
}

bool Erase(std::vector<const PF_ParamDef*>* defs, const PF_ParamDef* def) {
  const auto found = std::find(defs->begin(), defs->end(), def);
  if (found == defs->end()) {
    return false;
  }
  defs->erase(found);
  return true;
}

}  // namespace

std::string RectText(const PF_LRect& rect) {
  return Text("(", rect.left, ",", rect.top, ",", rect.right, ",", rect.bottom, ")");
}

PF_LRect Whole(const PF_EffectWorld& world) {
  return {0, 0, world.width, world.height};
}

/// The functions the effect sees.
struct Callbacks {
  // ---- Parameters ----

  static PF_Err CheckoutParam(PF_ProgPtr ref, PF_ParamIndex index, A_long whatTime, A_long timeStep,
                              A_u_long timeScale, PF_ParamDef* def) {
    Host& host = HostOf(ref);
    host.Log("checkout_param ", index);
    if (host.IsOtherTime(whatTime, timeStep, timeScale)) {
      host.Broken("checkout_param at another time");
    }
    host.failed_.push_back(def);
    if (const PF_Err err = host.Enter("checkout_param")) {
      return err;
    }
    host.failed_.pop_back();
    if (std::find(host.out_.begin(), host.out_.end(), def) != host.out_.end()) {
      host.Broken("checkout_param into a definition that is out");
    }
    host.out_.push_back(def);
    *def = {};
    def->uu.id = index;
    if (index >= 1 && index <= 9) {
      host.FillValue(index, def);
    } else {
      host.Broken(Text("checkout_param of index ", index));
    }
    return PF_Err_NONE;
  }

  static PF_Err CheckinParam(PF_ProgPtr ref, PF_ParamDef* def) {
    Host& host = HostOf(ref);
    host.Log("checkin_param");
    if (!Erase(&host.out_, def) && !Erase(&host.failed_, def)) {
      host.Broken("checkin_param of what is not out");
    }
    return host.Enter("checkin_param");
  }

  static PF_Err AddParam(PF_ProgPtr ref, PF_ParamIndex index, PF_ParamDef* def) {
    Host& host = HostOf(ref);
    host.Log("add_param ", index);
    if (index != -1 || std::memchr(def->name, 0, sizeof(def->name)) == nullptr) {
      host.Broken("add_param with an odd index or a name without an end");
    }
    const PF_Err err = host.Enter("add_param");
    if (err == PF_Err_NONE) {
      host.OnAddParam(*def);
    }
    return err;
  }

  static PF_Err Abort(PF_ProgPtr ref) { return HostOf(ref).Enter("abort"); }
  static PF_Err Progress(PF_ProgPtr ref, A_long, A_long) { return HostOf(ref).Enter("progress"); }

  // ---- Utilities ----

  static PF_Err Fill(PF_ProgPtr ref, const PF_Pixel8* color, const PF_LRect* rect,
                     PF_EffectWorld* world) {
    Host& host = HostOf(ref);
    host.Log("fill ", host.NameOfWorld(world), " ", rect == nullptr ? "all" : RectText(*rect),
             color == nullptr ? "" : " coloured");
    if (color != nullptr) {
      host.Broken("a fill with a colour");
    }
    if (!host.IsOutput(world)) {
      host.Broken("a fill of something else than the output");
    }
    if (const PF_Err err = host.Enter("fill")) {
      return err;
    }
    const A_long size = PixelSize(host.FrameDepth());
    const PF_LRect area = Intersection(rect == nullptr ? Whole(*world) : *rect, Whole(*world));
    for (A_long y = area.top; y < area.bottom; ++y) {
      for (A_long x = area.left; x < area.right; ++x) {
        std::memset(PixelAddress(*world, x, y, size), 0, static_cast<std::size_t>(size));
      }
    }
    return PF_Err_NONE;
  }

  /// Clips both rectangles to their worlds, in 64 bits since they may be anything.
  static PF_Err Copy(PF_ProgPtr ref, PF_EffectWorld* src, PF_EffectWorld* dst, PF_LRect* srcRect,
                     PF_LRect* dstRect) {
    Host& host = HostOf(ref);
    const PF_LRect from = srcRect == nullptr ? Whole(*src) : *srcRect;
    const PF_LRect to = dstRect == nullptr ? Whole(*dst) : *dstRect;
    host.Log("copy ", host.NameOfWorld(src), " ", RectText(from), " ", host.NameOfWorld(dst), " ",
             RectText(to));
    if (!host.IsOutput(dst)) {
      host.Broken("a copy into something else than the output");
    }
    if (const PF_Err err = host.Enter("copy")) {
      return err;
    }
    if (src->data == nullptr) {
      return PF_Err_NONE;
    }
    const A_long size = PixelSize(host.FrameDepth());
    const PF_LRect part = Intersection(from, Whole(*src));
    const std::int64_t dx = std::int64_t{to.left} - from.left;
    const std::int64_t dy = std::int64_t{to.top} - from.top;
    for (A_long y = part.top; y < part.bottom; ++y) {
      for (A_long x = part.left; x < part.right; ++x) {
        if (x + dx >= 0 && y + dy >= 0 && x + dx < dst->width && y + dy < dst->height) {
          std::memcpy(PixelAddress(*dst, x + dx, y + dy, size), PixelAddress(*src, x, y, size),
                      static_cast<std::size_t>(size));
        }
      }
    }
    return PF_Err_NONE;
  }

  static int Sprintf(A_char* buffer, const A_char* format, ...) VELTRA_PRINTF_LIKE(2, 3);

  // ---- Smart rendering ----

  static PF_Err CheckoutLayer(PF_ProgPtr ref, PF_ParamIndex index, A_long id,
                              const PF_RenderRequest* request, A_long whatTime, A_long timeStep,
                              A_u_long timeScale, PF_CheckoutResult* result) {
    Host& host = HostOf(ref);
    host.Log("checkout_layer ", index, " id ", id, " ", RectText(request->rect), " field ",
             request->field, " mask ", request->channel_mask, " preserve ",
             static_cast<int>(request->preserve_rgb_of_zero_alpha));
    if (host.IsOtherTime(whatTime, timeStep, timeScale)) {
      host.Broken("checkout_layer at another time");
    }
    if (!(index == 0 && (id == 0 || id == kNoInputId)) && !(index == 1 && id == 1)) {
      host.Broken("checkout_layer of another layer, or under another id");
    }
    if (const PF_Err err = host.Enter("checkout_layer")) {
      return err;
    }
    if (!host.preRenderIds_.emplace(id, index).second) {
      host.Broken("checkout_layer under an id that is taken");
    }
    *result = {};
    result->result_rect = request->rect;
    result->max_result_rect = request->rect;
    // The input's own aspect differs, so that a mix-up shows.
    result->par = index == 1 ? host.checkoutAspect : PF_RationalScale{5, 3};
    host.OnLayerCheckout(index);
    return PF_Err_NONE;
  }

  static PF_Err MixInGuid(PF_ProgPtr ref, A_u_long, const void*) {
    return HostOf(ref).Enter("mix_in_guid");
  }

  static PF_Err CheckoutLayerPixels(PF_ProgPtr ref, A_long id, PF_EffectWorld** world) {
    Host& host = HostOf(ref);
    host.Log("checkout_layer_pixels ", id);
    if (const PF_Err err = host.Enter("checkout_layer_pixels")) {
      return err;
    }
    if (!host.MayFetch(id)) {
      host.Broken("checkout_layer_pixels of an id that pre-render did not check out");
      return PF_Err_INVALID_INDEX;
    }
    if (!host.fetched_.insert(id).second) {
      host.Broken("checkout_layer_pixels twice");
    }
    *world = id == 1   ? host.ShownWorldOf(Host::Role::kLayer)
             : id == 0 ? host.ShownWorldOf(Host::Role::kInput)
                       : nullptr;
    return PF_Err_NONE;
  }

  static PF_Err CheckinLayerPixels(PF_ProgPtr ref, A_long id) {
    Host& host = HostOf(ref);
    host.Log("checkin_layer_pixels ", id);
    if (host.fetched_.count(id) == 0 || !host.returned_.insert(id).second) {
      host.Broken("checkin_layer_pixels of what is not out");
    }
    return host.Enter("checkin_layer_pixels");
  }

  static PF_Err CheckoutOutput(PF_ProgPtr ref, PF_EffectWorld** world) {
    Host& host = HostOf(ref);
    host.Log("checkout_output");
    if (const PF_Err err = host.Enter("checkout_output")) {
      return err;
    }
    if (host.fetched_.empty()) {
      host.Broken("checkout_output before any input");
    }
    if (host.outputFetched_) {
      host.Broken("checkout_output twice");
    }
    host.outputFetched_ = true;
    *world = host.ShownWorldOf(Host::Role::kOutput);
    return PF_Err_NONE;
  }

  // ---- Suites ----

  static SPErr AcquireSuite(const char* name, A_long version, const void** suite) {
    Host& host = *currentHost;
    const std::string key = SuiteKey(name, version);
    host.Log("acquire ", key);
    *suite = nullptr;
    if (const PF_Err err = host.Enter("acquire")) {
      return err;
    }
    const void* table = Find(key);
    if (table == nullptr) {
      host.Broken("acquire of " + key);
      return 1;
    }
    switch (host.AnswerTo(key)) {
      case SuiteAnswer::kError:
        return 1;
      case SuiteAnswer::kNull:
        return PF_Err_NONE;
      case SuiteAnswer::kErrorGiven:
        *suite = table;
        return 1;
      case SuiteAnswer::kGranted:
        break;
    }
    ++host.held_[key];
    *suite = table;
    return PF_Err_NONE;
  }

  static SPErr ReleaseSuite(const char* name, A_long version) {
    Host& host = *currentHost;
    const std::string key = SuiteKey(name, version);
    host.Log("release ", key);
    if (host.held_[key]-- <= 0) {
      host.Broken("release of " + key + ", which is not held");
    }
    return host.Enter("release");
  }

  static PF_Err GetPixelFormat(const PF_EffectWorld* world, PF_PixelFormat* format) {
    Host& host = *currentHost;
    host.Log("get_pixel_format ", host.NameOfWorld(world));
    if (!host.IsOutput(world)) {
      host.Broken("the format of something else than the output");
    }
    if (const PF_Err err = host.Enter("get_pixel_format")) {
      return err;
    }
    *format = host.format != 0 ? host.format : FormatOf(host.FrameDepth());
    return PF_Err_NONE;
  }

  template <class Pixel>
  static bool IsHeld(const Host& host, const char* suite) {
    const auto held = host.held_.find(std::string_view(suite));
    return held != host.held_.end() && held->second > 0;
  }

  template <class Pixel, bool kArea>
  static PF_Err Sample(PF_ProgPtr ref, PF_Fixed x, PF_Fixed y, const PF_SampPB* params,
                       Pixel* out) {
    Host& host = HostOf(ref);
    if (!IsHeld<Pixel>(host, SuiteNames<Pixel>::kSampling)) {
      host.Broken("a sample through a suite that is not held");
    }
    if (const PF_Err err = host.EnterSample(x, y, *params)) {
      return err;
    }
    return host.Sample(kArea, x, y, params, out);
  }

  template <class Pixel>
  static PF_Err Nearest(PF_ProgPtr ref, PF_Fixed, PF_Fixed, const PF_SampPB*, Pixel*) {
    HostOf(ref).Broken("a nearest-neighbour sample");
    return PF_Err_NONE;
  }

  template <class Pixel>
  static PF_Err Iterate(PF_InData* inData, A_long base, A_long final, PF_EffectWorld* src,
                        const PF_LRect* area, void* refcon, PF_IteratePixelFn<Pixel> function,
                        PF_EffectWorld* dst) {
    Host& host = HostOf(inData->effect_ref);
    host.Log("iterate ", NameOf(kDepthOf<Pixel>), " ", base, "/", final, " ", host.NameOfWorld(src),
             " ", area == nullptr ? "all" : RectText(*area), " ", host.NameOfWorld(dst));
    if (!IsHeld<Pixel>(host, SuiteNames<Pixel>::kIterate)) {
      host.Broken("an iteration through a suite that is not held");
    }
    if (base != 0 || src != nullptr || area == nullptr || refcon == nullptr ||
        !host.IsOutput(dst)) {
      host.Broken("an iteration with odd arguments");
    }
    const PixelCall call{kDepthOf<Pixel>, refcon, reinterpret_cast<void (*)()>(function)};
    host.OnIterate(call);
    if (const PF_Err err = host.Enter("iterate")) {
      return err;
    }
    return RunRows(host, call, area == nullptr ? Whole(*dst) : Intersection(*area, Whole(*dst)),
                   *dst);
  }

  /// Rows of the area, each to whichever thread is free.
  static PF_Err RunRows(Host& host, const PixelCall& call, const PF_LRect& area,
                        const PF_EffectWorld& dst) {
    std::atomic<A_long> next{area.top};
    std::atomic<PF_Err> result{PF_Err_NONE};
    const auto work = [&] {
      for (A_long row = next++; row < area.bottom && result == PF_Err_NONE; row = next++) {
        const A_long y = host.reverseRows ? area.top + area.bottom - 1 - row : row;
        if (host.abortAtRow >= 0 && row - area.top >= host.abortAtRow) {
          result = PF_Interrupt_CANCEL;
          return;
        }
        for (A_long x = area.left; x < area.right; ++x) {
          char* const pixel = PixelAddress(dst, x, y, PixelSize(call.depth));
          if (const PF_Err err = host.Place(call, x, y, pixel)) {
            result = err;
            return;
          }
        }
      }
    };
    std::vector<std::thread> helpers;
    for (int i = 1; i < host.threads; ++i) {
      helpers.emplace_back(work);
    }
    work();
    for (std::thread& helper : helpers) {
      helper.join();
    }
    return result;
  }

  static const void* Find(const std::string& key) {
    static const PF_WorldSuite2 world{nullptr, nullptr, GetPixelFormat};
    static const PF_Sampling8Suite1 sampling8{Nearest<PF_Pixel8>, Sample<PF_Pixel8, false>,
                                              Sample<PF_Pixel8, true>};
    static const PF_Sampling16Suite1 sampling16{Nearest<PF_Pixel16>, Sample<PF_Pixel16, false>,
                                                Sample<PF_Pixel16, true>};
    static const PF_SamplingFloatSuite1 samplingFloat{
        Nearest<PF_PixelFloat>, Sample<PF_PixelFloat, false>, Sample<PF_PixelFloat, true>};
    static const PF_Iterate8Suite1 iterate8{Iterate<PF_Pixel8>, nullptr, nullptr, nullptr, nullptr};
    static const PF_Iterate16Suite1 iterate16{Iterate<PF_Pixel16>, nullptr, nullptr};
    static const PF_iterateFloatSuite1 iterateFloat{Iterate<PF_PixelFloat>, nullptr, nullptr};
    static const std::map<std::string, const void*> suites{
        {"PF World Suite 2", &world},
        {SuiteNames<PF_Pixel8>::kSampling, &sampling8},
        {SuiteNames<PF_Pixel16>::kSampling, &sampling16},
        {SuiteNames<PF_PixelFloat>::kSampling, &samplingFloat},
        {SuiteNames<PF_Pixel8>::kIterate, &iterate8},
        {SuiteNames<PF_Pixel16>::kIterate, &iterate16},
        {SuiteNames<PF_PixelFloat>::kIterate, &iterateFloat}};
    const auto found = suites.find(key);
    return found == suites.end() ? nullptr : found->second;
  }
};

int Callbacks::Sprintf(A_char* buffer, const A_char* format, ...) {
  Host& host = *currentHost;
  host.Log("sprintf ", format);
  static_cast<void>(host.Enter("sprintf"));
  std::va_list arguments;
  va_start(arguments, format);
  // The host's function is not told a size either; both buffers of the effect hold this much.
  const int length = std::vsnprintf(buffer, kHostMessageCapacity, format, arguments);
  va_end(arguments);
  if (length < 0 || length >= kHostMessageCapacity) {
    host.Broken("a message that does not fit");
  }
  return length;
}

Host::Host() {
  basic.AcquireSuite = Callbacks::AcquireSuite;
  basic.ReleaseSuite = Callbacks::ReleaseSuite;
  utils.copy = Callbacks::Copy;
  utils.fill = Callbacks::Fill;
  utils.ansi.sprintf = Callbacks::Sprintf;
  utils.ansi.sin = numerics::Sin;
  utils.ansi.cos = numerics::Cos;
  utils.ansi.sqrt = [](double x) { return std::sqrt(x); };
  utils.ansi.acos = numerics::Acos;
  inData.inter.checkout_param = Callbacks::CheckoutParam;
  inData.inter.checkin_param = Callbacks::CheckinParam;
  inData.inter.add_param = Callbacks::AddParam;
  inData.inter.abort = Callbacks::Abort;
  inData.inter.progress = Callbacks::Progress;
  inData.utils = &utils;
  inData.effect_ref = reinterpret_cast<PF_ProgPtr>(this);
  inData.pica_basicP = &basic;
  inData.quality = PF_Quality_HI;
  inData.version = {13, 28};
  inData.num_params = 10;
  inData.current_time = 30030;
  inData.time_step = 1001;
  inData.time_scale = 30000;
  inData.total_time = 300300;
  inData.downsample_x = {1, 1};
  inData.downsample_y = {1, 1};
  inData.pixel_aspect_ratio = {1, 1};
  request.channel_mask = PF_ChannelMask_ARGB;
}

PF_Err Host::Place(const PixelCall& call, A_long x, A_long y, void* pixel) {
  switch (call.depth) {
    case Depth::k8:
      return call.As<PF_Pixel8>()(call.refcon, x, y, nullptr, static_cast<PF_Pixel8*>(pixel));
    case Depth::k16:
      return call.As<PF_Pixel16>()(call.refcon, x, y, nullptr, static_cast<PF_Pixel16*>(pixel));
    case Depth::kFloat:
      break;
  }
  return call.As<PF_PixelFloat>()(call.refcon, x, y, nullptr, static_cast<PF_PixelFloat*>(pixel));
}

std::string Host::NameOfWorld(const PF_EffectWorld* world) {
  if (world == nullptr) {
    return "none";
  }
  const auto shows = [&](Role role) {
    const PF_EffectWorld* candidate = WorldOf(role);
    return candidate != nullptr && candidate->data == world->data;
  };
  return shows(Role::kOutput)  ? "output"
         : shows(Role::kInput) ? "input"
         : shows(Role::kLayer) ? "layer"
                               : "unknown";
}

bool Host::IsOutput(const PF_EffectWorld* world) {
  const PF_EffectWorld* output = WorldOf(Role::kOutput);
  return output != nullptr && world != nullptr && world->data == output->data;
}

bool Host::IsOtherTime(A_long whatTime, A_long timeStep, A_u_long timeScale) const {
  return whatTime != inData.current_time || timeStep != inData.time_step ||
         timeScale != inData.time_scale;
}

PF_Err Host::Send(PF_MainEntryFn effect, PF_Cmd cmd, PF_InData* in, PF_OutData* out,
                  PF_ParamDef** params, PF_LayerDef* world, void* extra) {
  Host* const outer = currentHost;
  currentHost = this;
  const PF_Err err = effect(cmd, in, out, params, world, extra);
  currentHost = outer;
  CheckAccounts(cmd);
  return err;
}

void Host::CheckAccounts(PF_Cmd cmd) {
  for (const auto& [key, count] : held_) {
    if (count != 0) {
      Broken(key + " is held after the command");
    }
  }
  for (std::size_t i = 0; i < out_.size(); ++i) {
    Broken("a parameter is checked out after the command");
  }
  if (cmd == PF_Cmd_SMART_RENDER && fetched_.count(1) != returned_.count(1)) {
    Broken("the layer's pixels are checked out after the command");
  }
  held_.clear();
  out_.clear();
  failed_.clear();
}

PF_PreRenderCallbacks Host::BeginPreRender() {
  preRenderIds_.clear();
  return {Callbacks::CheckoutLayer, Callbacks::MixInGuid};
}

PF_SmartRenderCallbacks Host::BeginSmartRender() {
  fetched_.clear();
  returned_.clear();
  outputFetched_ = false;
  return {Callbacks::CheckoutLayerPixels, Callbacks::CheckinLayerPixels, Callbacks::CheckoutOutput};
}

}  // namespace veltra::stand_in
