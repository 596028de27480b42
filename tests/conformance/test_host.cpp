// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// The instrumented host's callbacks and commands.
#include "tests/conformance/test_host.h"

#include <algorithm>
#include <cmath>
#include <cstdarg>
#include <cstdio>
#include <thread>

#include "numerics/compiler.h"
#include "numerics/trigonometry.h"
#include "tests/conformance/samplers.h"

namespace veltra::conformance {
namespace {

/// Callbacks without an effect_ref find their host here: one command at a time per thread.
thread_local TestHost* currentHost = nullptr;

TestHost& HostOf(PF_ProgPtr effectRef) {
  return effectRef == nullptr ? *currentHost : *reinterpret_cast<TestHost*>(effectRef);
}

std::string Text(A_long value) {
  return std::to_string(value);
}

std::string SuiteKey(const char* name, A_long version) {
  return std::string(name) + " " + Text(version);
}

reference::Maths HostMaths() {
  return {numerics::Sin, numerics::Cos, [](double x) { return std::sqrt(x); }, numerics::Acos};
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

PF_LRect Whole(const PF_EffectWorld& world) {
  return {0, 0, world.width, world.height};
}

char* PixelAddress(const PF_EffectWorld& world, A_long x, A_long y, std::size_t pixelSize) {
  return static_cast<char*>(world.data) + static_cast<std::ptrdiff_t>(y) * world.rowbytes +
         static_cast<std::ptrdiff_t>(x) * static_cast<std::ptrdiff_t>(pixelSize);
}

}  // namespace

std::string Text(const PF_LRect& rect) {
  return "(" + std::to_string(rect.left) + "," + std::to_string(rect.top) + "," +
         std::to_string(rect.right) + "," + std::to_string(rect.bottom) + ")";
}

/// The functions the effect sees.
struct Callbacks {
  // ---- Parameters ----

  static PF_Err CheckoutParam(PF_ProgPtr ref, PF_ParamIndex index, A_long whatTime, A_long timeStep,
                              A_u_long timeScale, PF_ParamDef* def) {
    TestHost& host = HostOf(ref);
    host.Write("checkout_param " + Text(index));
    const PF_InData& in = host.inData;
    if (whatTime != in.current_time || timeStep != in.time_step || timeScale != in.time_scale) {
      host.Violation("checkout_param at another time");
    }
    const PF_Err err = host.Enter("checkout_param");
    if (err == PF_Err_NONE && !host.ParamValue(index, def)) {
      host.Violation("checkout_param of index " + Text(index));
    }
    if (err == PF_Err_NONE) {
      if (++host.checkedOut_[def] > 1) {
        host.Violation("checkout_param into a definition that is out");
      }
    } else {
      host.failed_.insert(def);
    }
    return err;
  }

  static PF_Err CheckinParam(PF_ProgPtr ref, PF_ParamDef* def) {
    TestHost& host = HostOf(ref);
    host.Write("checkin_param");
    const auto found = host.checkedOut_.find(def);
    if (found != host.checkedOut_.end() && found->second > 0) {
      host.checkedOut_.erase(found);
    } else if (host.failed_.erase(def) == 0) {
      host.Violation("checkin_param of what is not out");
    }
    return host.Enter("checkin_param");
  }

  static PF_Err AddParam(PF_ProgPtr ref, PF_ParamIndex index, PF_ParamDef* def) {
    TestHost& host = HostOf(ref);
    host.Write("add_param " + Text(index));
    const PF_Err err = host.Enter("add_param");
    if (err == PF_Err_NONE) {
      host.declared.push_back(*def);
    }
    return err;
  }

  static PF_Err Abort(PF_ProgPtr ref) { return HostOf(ref).Enter("abort"); }
  static PF_Err Progress(PF_ProgPtr ref, A_long, A_long) { return HostOf(ref).Enter("progress"); }

  // ---- Utilities ----

  static PF_Err Fill(PF_ProgPtr ref, const PF_Pixel8* color, const PF_LRect* rect,
                     PF_EffectWorld* world) {
    TestHost& host = HostOf(ref);
    host.Write("fill " + host.NameOfWorld(world) + " " +
               (rect == nullptr ? "all" : conformance::Text(*rect)) +
               (color == nullptr ? "" : " coloured"));
    if (const PF_Err err = host.Enter("fill")) {
      return err;
    }
    const auto pixelSize = static_cast<std::size_t>(PixelSize(host.output->depth()));
    const PF_LRect area = Intersection(rect == nullptr ? Whole(*world) : *rect, Whole(*world));
    for (A_long y = area.top; y < area.bottom; ++y) {
      for (A_long x = area.left; x < area.right; ++x) {
        std::memset(PixelAddress(*world, x, y, pixelSize), 0, pixelSize);
      }
    }
    return PF_Err_NONE;
  }

  static PF_Err Copy(PF_ProgPtr ref, PF_EffectWorld* src, PF_EffectWorld* dst, PF_LRect* srcRect,
                     PF_LRect* dstRect) {
    TestHost& host = HostOf(ref);
    const PF_LRect from = srcRect == nullptr ? Whole(*src) : *srcRect;
    const PF_LRect to = dstRect == nullptr ? Whole(*dst) : *dstRect;
    host.Write("copy " + host.NameOfWorld(src) + " " + conformance::Text(from) + " " +
               host.NameOfWorld(dst) + " " + conformance::Text(to));
    if (const PF_Err err = host.Enter("copy")) {
      return err;
    }
    const auto pixelSize = static_cast<std::size_t>(PixelSize(host.output->depth()));
    const A_long dx = to.left - from.left;
    const A_long dy = to.top - from.top;
    for (A_long y = from.top; y < from.bottom; ++y) {
      for (A_long x = from.left; x < from.right; ++x) {
        const bool inside = x >= 0 && y >= 0 && x < src->width && y < src->height && x + dx >= 0 &&
                            y + dy >= 0 && x + dx < dst->width && y + dy < dst->height;
        if (inside) {
          std::memcpy(PixelAddress(*dst, x + dx, y + dy, pixelSize),
                      PixelAddress(*src, x, y, pixelSize), pixelSize);
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
    TestHost& host = HostOf(ref);
    host.Write("checkout_layer " + Text(index) + " id " + Text(id) + " " +
               conformance::Text(request->rect) + " field " + Text(request->field) + " mask " +
               Text(request->channel_mask) + " preserve " +
               Text(request->preserve_rgb_of_zero_alpha));
    const PF_InData& in = host.inData;
    if (whatTime != in.current_time || timeStep != in.time_step || timeScale != in.time_scale) {
      host.Violation("checkout_layer at another time");
    }
    if (const PF_Err err = host.Enter("checkout_layer")) {
      return err;
    }
    if (!host.preRenderIds_.emplace(id, index).second) {
      host.Violation("checkout_layer under an id that is taken");
    }
    *result = {};
    result->result_rect = request->rect;
    result->max_result_rect = request->rect;
    // The input's own aspect differs, so that a mix-up shows.
    result->par = index == 1 ? host.checkoutAspect : PF_RationalScale{5, 3};
    if (index == 1 && host.afterLayerCheckout) {
      host.afterLayerCheckout();
    }
    return PF_Err_NONE;
  }

  static PF_Err CheckoutLayerPixels(PF_ProgPtr ref, A_long id, PF_EffectWorld** world) {
    TestHost& host = HostOf(ref);
    host.Write("checkout_layer_pixels " + Text(id));
    if (const PF_Err err = host.Enter("checkout_layer_pixels")) {
      return err;
    }
    if (host.preRenderIds_.count(id) == 0) {
      host.Violation("checkout_layer_pixels of an id that pre-render did not check out");
      return PF_Err_INVALID_INDEX;
    }
    if (!host.fetched_.insert(id).second) {
      host.Violation("checkout_layer_pixels twice");
    }
    const bool isLayer = id == 1;
    TestWorld* found = isLayer ? host.layer : id == 0 ? host.input : nullptr;
    const bool hidden = isLayer ? host.nullLayerWorld : host.nullInputWorld;
    *world = found == nullptr || hidden ? nullptr : &found->world;
    return PF_Err_NONE;
  }

  static PF_Err CheckinLayerPixels(PF_ProgPtr ref, A_long id) {
    TestHost& host = HostOf(ref);
    host.Write("checkin_layer_pixels " + Text(id));
    if (host.fetched_.count(id) == 0 || !host.returned_.insert(id).second) {
      host.Violation("checkin_layer_pixels of what is not out");
    }
    return host.Enter("checkin_layer_pixels");
  }

  static PF_Err CheckoutOutput(PF_ProgPtr ref, PF_EffectWorld** world) {
    TestHost& host = HostOf(ref);
    host.Write("checkout_output");
    if (const PF_Err err = host.Enter("checkout_output")) {
      return err;
    }
    if (host.fetched_.empty()) {
      host.Violation("checkout_output before any input");
    }
    if (host.outputFetched_) {
      host.Violation("checkout_output twice");
    }
    host.outputFetched_ = true;
    *world = host.nullOutputWorld ? nullptr : &host.output->world;
    return PF_Err_NONE;
  }

  // ---- Suites ----

  static SPErr AcquireSuite(const char* name, A_long version, const void** suite) {
    TestHost& host = *currentHost;
    const std::string key = SuiteKey(name, version);
    host.Write("acquire " + key);
    *suite = nullptr;
    if (const PF_Err err = host.Enter("acquire")) {
      return err;
    }
    const void* table = Find(key);
    if (table == nullptr) {
      host.Violation("acquire of " + key);
      return 1;
    }
    const auto answer = host.suiteAnswers_.find(key);
    switch (answer == host.suiteAnswers_.end() ? SuiteAnswer::kGranted : answer->second) {
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
    TestHost& host = *currentHost;
    const std::string key = SuiteKey(name, version);
    host.Write("release " + key);
    if (host.held_[key]-- <= 0) {
      host.Violation("release of " + key + ", which is not held");
    }
    return host.Enter("release");
  }

  static PF_Err GetPixelFormat(const PF_EffectWorld* world, PF_PixelFormat* format) {
    TestHost& host = *currentHost;
    host.Write("get_pixel_format " + host.NameOfWorld(world));
    if (const PF_Err err = host.Enter("get_pixel_format")) {
      return err;
    }
    *format = host.format != 0 ? host.format : FormatOf(host.output->depth());
    return PF_Err_NONE;
  }

  template <class Pixel>
  static PF_Err Sample(PF_ProgPtr ref, PF_Fixed x, PF_Fixed y, const PF_SampPB* params, Pixel* out,
                       PF_SampleFn<Pixel> sampler) {
    TestHost& host = HostOf(ref);
    const int call = ++host.sampleCalls_;
    if (host.keepSamples) {
      host.samples.push_back({x, y, *params});
    }
    const auto held = host.held_.find(SuiteNames<Pixel>::kSampling);
    if (held == host.held_.end() || held->second <= 0) {
      const std::lock_guard lock(host.mutex_);
      host.Violation("a sample through a suite that is not held");
    }
    const PF_Err err = sampler(ref, x, y, params, out);
    for (const auto& fault : host.sampleFaults_) {
      if (fault.nth == call) {
        return fault.code;
      }
    }
    return err;
  }

  template <class Pixel>
  static PF_Err Subpixel(PF_ProgPtr ref, PF_Fixed x, PF_Fixed y, const PF_SampPB* params,
                         Pixel* out) {
    return Sample<Pixel>(ref, x, y, params, out, SubpixelSample<Pixel>);
  }
  template <class Pixel>
  static PF_Err Area(PF_ProgPtr ref, PF_Fixed x, PF_Fixed y, const PF_SampPB* params, Pixel* out) {
    return Sample<Pixel>(ref, x, y, params, out, AreaSample<Pixel>);
  }
  template <class Pixel>
  static PF_Err Nearest(PF_ProgPtr ref, PF_Fixed, PF_Fixed, const PF_SampPB*, Pixel*) {
    HostOf(ref).Violation("a nearest-neighbour sample");
    return PF_Err_NONE;
  }

  static IterateCall<PF_Pixel8>& Record(TestHost& host, PF_Pixel8*) { return host.iterated8; }
  static IterateCall<PF_Pixel16>& Record(TestHost& host, PF_Pixel16*) { return host.iterated16; }
  static IterateCall<PF_PixelFloat>& Record(TestHost& host, PF_PixelFloat*) {
    return host.iteratedFloat;
  }

  template <class Pixel>
  static PF_Err Iterate(PF_InData* inData, A_long base, A_long final, PF_EffectWorld* src,
                        const PF_LRect* area, void* refcon, PF_IteratePixelFn<Pixel> function,
                        PF_EffectWorld* dst) {
    TestHost& host = HostOf(inData->effect_ref);
    host.Write("iterate " + NameOf(kDepthOf<Pixel>) + " " + Text(base) + "/" + Text(final) + " " +
               host.NameOfWorld(src) + " " + (area == nullptr ? "all" : conformance::Text(*area)) +
               " " + host.NameOfWorld(dst));
    if (host.held_[SuiteNames<Pixel>::kIterate] <= 0) {
      host.Violation("an iteration through a suite that is not held");
    }
    Record(host, static_cast<Pixel*>(nullptr)) = {refcon, function};
    if (host.onIterate) {
      host.onIterate(refcon);
    }
    if (const PF_Err err = host.Enter("iterate")) {
      return err;
    }
    return RunRows(
        host, area == nullptr ? Whole(*dst) : Intersection(*area, Whole(*dst)), *dst,
        [&](A_long x, A_long y, char* pixel) {
          return function(refcon, x, y, nullptr, reinterpret_cast<Pixel*>(pixel));
        },
        sizeof(Pixel));
  }

  template <class PerPixel>
  static PF_Err RunRows(TestHost& host, const PF_LRect& area, const PF_EffectWorld& dst,
                        const PerPixel& perPixel, std::size_t pixelSize) {
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
          if (const PF_Err err = perPixel(x, y, PixelAddress(dst, x, y, pixelSize))) {
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
    static const PF_Sampling8Suite1 sampling8{Nearest<PF_Pixel8>, Subpixel<PF_Pixel8>,
                                              Area<PF_Pixel8>};
    static const PF_Sampling16Suite1 sampling16{Nearest<PF_Pixel16>, Subpixel<PF_Pixel16>,
                                                Area<PF_Pixel16>};
    static const PF_SamplingFloatSuite1 samplingFloat{Nearest<PF_PixelFloat>,
                                                      Subpixel<PF_PixelFloat>, Area<PF_PixelFloat>};
    static const PF_Iterate8Suite1 iterate8{Iterate<PF_Pixel8>, nullptr, nullptr, nullptr, nullptr};
    static const PF_Iterate16Suite1 iterate16{Iterate<PF_Pixel16>, nullptr, nullptr};
    static const PF_iterateFloatSuite1 iterateFloat{Iterate<PF_PixelFloat>, nullptr, nullptr};
    static const std::map<std::string, const void*> suites{
        {"PF World Suite 2", &world},
        {"PF Sampling8 Suite 1", &sampling8},
        {"PF Sampling16 Suite 1", &sampling16},
        {"PF SamplingFloat Suite 1", &samplingFloat},
        {"PF Iterate8 Suite 1", &iterate8},
        {"PF iterate16 Suite 1", &iterate16},
        {"PF iterateFloat Suite 1", &iterateFloat}};
    const auto found = suites.find(key);
    return found == suites.end() ? nullptr : found->second;
  }
};

int Callbacks::Sprintf(A_char* buffer, const A_char* format, ...) {
  TestHost& host = *currentHost;
  host.Write(std::string("sprintf ") + format);
  static_cast<void>(host.Enter("sprintf"));
  std::va_list arguments;
  va_start(arguments, format);
  // The host's function has no size either; both buffers of the effect hold 256 characters.
  const int length = std::vsnprintf(buffer, kHostMessageCapacity, format, arguments);
  va_end(arguments);
  return length;
}

TestHost::TestHost(PF_MainEntryFn effect) : effect_(effect) {
  basic.AcquireSuite = Callbacks::AcquireSuite;
  basic.ReleaseSuite = Callbacks::ReleaseSuite;
  utils.copy = Callbacks::Copy;
  utils.fill = Callbacks::Fill;
  utils.ansi.sprintf = Callbacks::Sprintf;
  const reference::Maths maths = HostMaths();
  utils.ansi.sin = maths.sin;
  utils.ansi.cos = maths.cos;
  utils.ansi.sqrt = maths.sqrt;
  utils.ansi.acos = maths.acos;
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

TestHost::~TestHost() {
  DeletePreRenderData();
}

void TestHost::FailAt(const std::string& callback, int nth, PF_Err code) {
  if (callback == "sample") {
    sampleFaults_.push_back({nth, code, {}});
  } else {
    faults_[callback].push_back({nth, code, {}});
  }
}

void TestHost::DoAt(const std::string& callback, int nth, std::function<void()> action) {
  faults_[callback].push_back({nth, PF_Err_NONE, std::move(action)});
}

void TestHost::AnswerSuite(const std::string& name, A_long version, SuiteAnswer answer) {
  suiteAnswers_[SuiteKey(name.c_str(), version)] = answer;
}

PF_Err TestHost::Enter(const std::string& callback) {
  const int call = ++calls_[callback];
  for (const Fault& fault : faults_[callback]) {
    if (fault.nth == call) {
      if (fault.action) {
        fault.action();
      }
      return fault.code;
    }
  }
  return PF_Err_NONE;
}

void TestHost::Write(const std::string& line) {
  log.push_back(line);
}
void TestHost::Violation(const std::string& what) {
  violations.push_back(what);
}

int TestHost::Calls(const std::string& callback) const {
  if (callback == "sample") {
    return sampleCalls_;
  }
  const auto found = calls_.find(callback);
  return found == calls_.end() ? 0 : found->second;
}

std::string TestHost::NameOfWorld(const PF_EffectWorld* world) const {
  if (world == nullptr) {
    return "none";
  }
  const auto shows = [&](const TestWorld* candidate) {
    return candidate != nullptr && candidate->world.data == world->data;
  };
  return shows(output) ? "output" : shows(input) ? "input" : shows(layer) ? "layer" : "unknown";
}

bool TestHost::ParamValue(PF_ParamIndex index, PF_ParamDef* def) const {
  *def = {};
  def->uu.id = index;
  switch (index) {
    case 1:
      def->param_type = PF_Param_LAYER;
      if (layer != nullptr && !nullLayerWorld) {
        def->u.ld = layer->world;
      }
      return true;
    case 2:
    case 3:
      def->param_type = PF_Param_POINT;
      def->u.td.x_value = index == 2 ? controls.startX : controls.endX;
      def->u.td.y_value = index == 2 ? controls.startY : controls.endY;
      return true;
    case 4:
      def->param_type = PF_Param_POPUP;
      def->u.pd.value = controls.placement;
      return true;
    case 5:
    case 6:
    case 8:
      def->param_type = PF_Param_FIX_SLIDER;
      def->u.fd.value = index == 5   ? controls.travel
                        : index == 6 ? controls.size
                                     : controls.opacity;
      return true;
    case 7:
    case 9:
      def->param_type = PF_Param_CHECKBOX;
      def->u.bd.value = (index == 7 ? controls.filtering : controls.composite) ? 1 : 0;
      return true;
    default:
      return false;
  }
}

void TestHost::CheckBalance(PF_Cmd cmd) {
  for (const auto& [key, count] : held_) {
    if (count != 0) {
      Violation(key + " is held after the command");
    }
  }
  for (const auto& [def, count] : checkedOut_) {
    if (count != 0) {
      Violation("a parameter is checked out after the command");
    }
  }
  if (cmd == PF_Cmd_SMART_RENDER && fetched_.count(1) != returned_.count(1)) {
    Violation("the layer's pixels are checked out after the command");
  }
  held_.clear();
  checkedOut_.clear();
  failed_.clear();
}

PF_Err TestHost::Send(PF_Cmd cmd, PF_ParamDef** params, PF_LayerDef* world, void* extra) {
  TestHost* const outer = currentHost;
  currentHost = this;
  const PF_Err err = effect_(cmd, &inData, &outData, params, world, extra);
  currentHost = outer;
  CheckBalance(cmd);
  return err;
}

PF_Err TestHost::RenderClassic() {
  PF_ParamDef inputDef{};
  inputDef.param_type = PF_Param_LAYER;
  if (input != nullptr) {
    inputDef.u.ld = input->world;
  }
  PF_ParamDef others[9] = {};
  PF_ParamDef* params[10] = {&inputDef};
  for (int i = 0; i < 9; ++i) {
    params[i + 1] = &others[i];
  }
  return Send(PF_Cmd_RENDER, params, output == nullptr ? nullptr : &output->world);
}

PF_Err TestHost::PreRender() {
  PF_PreRenderInput in{};
  in.output_request = request;
  in.bitdepth = 8;
  preRender = {};
  preRenderIds_.clear();
  PF_PreRenderCallbacks callbacks{Callbacks::CheckoutLayer, nullptr};
  PF_PreRenderExtra extra{&in, &preRender, &callbacks};
  const PF_Err err = Send(PF_Cmd_SMART_PRE_RENDER, nullptr, nullptr, &extra);
  preRenderData = preRender.pre_render_data;
  return err;
}

PF_Err TestHost::SmartRender() {
  PF_SmartRenderInput in{};
  in.output_request = request;
  in.bitdepth = 8;
  in.pre_render_data = preRenderData;
  fetched_.clear();
  returned_.clear();
  outputFetched_ = false;
  PF_SmartRenderCallbacks callbacks{Callbacks::CheckoutLayerPixels, Callbacks::CheckinLayerPixels,
                                    Callbacks::CheckoutOutput};
  PF_SmartRenderExtra extra{&in, &callbacks};
  return Send(PF_Cmd_SMART_RENDER, nullptr, nullptr, &extra);
}

PF_Err TestHost::RenderSmart() {
  PF_Err err = PreRender();
  if (err == PF_Err_NONE) {
    err = SmartRender();
  }
  DeletePreRenderData();
  return err;
}

void TestHost::DeletePreRenderData() {
  if (preRender.pre_render_data != nullptr && preRender.delete_pre_render_data_func != nullptr) {
    preRender.delete_pre_render_data_func(preRender.pre_render_data);
  }
  preRender.pre_render_data = nullptr;
  preRenderData = nullptr;
}

reference::Frame TestHost::ReferenceFrame(bool smart) const {
  reference::Frame frame;
  frame.controls = controls;
  frame.resolution = {inData.downsample_x, inData.downsample_y, inData.pixel_aspect_ratio};
  frame.width = inData.width;
  frame.height = inData.height;
  frame.smart = smart;
  // Without compositing the smart input is checked out under another id and has no pixels.
  frame.input = input == nullptr ? nullptr : &input->world;
  frame.layer = layer == nullptr ? nullptr : &layer->world;
  frame.preRenderAspect =
      static_cast<double>(checkoutAspect.den) / static_cast<double>(checkoutAspect.num);
  frame.geometryMaths = HostMaths();
  return frame;
}

}  // namespace veltra::conformance
