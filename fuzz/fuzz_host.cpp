// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// The fuzz targets' host: callbacks, commands and the checks after each.
#include "fuzz/fuzz_host.h"

#include <algorithm>
#include <cmath>
#include <cstdarg>
#include <memory>
#include <new>
#include <stdexcept>

#include "effect/placement/placement_record.h"
#include "fuzz/pixel_oracle.h"
#include "numerics/compiler.h"
#include "numerics/trigonometry.h"

// The effect is linked in; these are its two exports.
extern "C" veltra::PF_Err MainEntry(veltra::PF_Cmd cmd, veltra::PF_InData* inData,
                                    veltra::PF_OutData* outData, veltra::PF_ParamDef* params[],
                                    veltra::PF_LayerDef* output, void* extra);
extern "C" veltra::PF_Err PluginDataEntryFunction2(void* hostPointer,
                                                   veltra::PF_PluginDataCB callback,
                                                   veltra::SPBasicSuite* basicSuite,
                                                   const char* hostName, const char* hostVersion);

namespace veltra::fuzz {
namespace {

constexpr int kMaxOutputSide = 14;
constexpr int kMaxLayerSide = 10;
constexpr char kOwnTag[4] = {'C', 'A', 'P', '6'};
constexpr PF_Err kThrownCode = 77;

FuzzHost* currentHost = nullptr;

PF_LRect Whole(const PF_EffectWorld& world) {
  return {0, 0, world.width, world.height};
}

PF_LRect Common(const PF_LRect& a, const PF_LRect& b) {
  return {std::max(a.left, b.left), std::max(a.top, b.top), std::min(a.right, b.right),
          std::min(a.bottom, b.bottom)};
}

std::uint8_t* PixelAt(const PF_EffectWorld& world, A_long x, A_long y, std::size_t size) {
  return static_cast<std::uint8_t*>(world.data) + static_cast<std::ptrdiff_t>(y) * world.rowbytes +
         static_cast<std::ptrdiff_t>(x) * static_cast<std::ptrdiff_t>(size);
}

PF_RationalScale AnyScale(ByteReader& bytes) {
  if (!bytes.Rarely()) {
    return {1, 1U + static_cast<A_u_long>(bytes.Below(3))};
  }
  const A_long numerator = bytes.Int();
  return {numerator, static_cast<A_u_long>(bytes.Int())};
}

PF_LRect AnyRect(ByteReader& bytes) {
  const A_long left = bytes.Int();
  const A_long top = bytes.Int();
  const A_long right = bytes.Int();
  return {left, top, right, bytes.Int()};
}

}  // namespace

/// The functions the effect sees.
struct FuzzCallbacks {
  // ---- Parameters ----

  static PF_Err CheckoutParam(PF_ProgPtr, PF_ParamIndex index, A_long, A_long, A_u_long,
                              PF_ParamDef* def) {
    FuzzHost& host = *currentHost;
    host.failed_.push_back(def);
    if (const PF_Err err = host.Enter()) {
      return err;
    }
    Expect(index >= 1 && index <= 9, "a parameter that does not exist was checked out");
    host.failed_.pop_back();
    Expect(std::find(host.out_.begin(), host.out_.end(), def) == host.out_.end(),
           "a definition was checked out twice");
    host.out_.push_back(def);
    host.Give(index, def);
    return PF_Err_NONE;
  }

  static PF_Err CheckinParam(PF_ProgPtr, PF_ParamDef* def) {
    FuzzHost& host = *currentHost;
    const auto out = std::find(host.out_.begin(), host.out_.end(), def);
    const auto failed = std::find(host.failed_.begin(), host.failed_.end(), def);
    if (out != host.out_.end()) {
      host.out_.erase(out);
    } else {
      Expect(failed != host.failed_.end(), "a parameter that is not out was checked in");
      host.failed_.erase(failed);
    }
    return host.Enter();
  }

  static PF_Err AddParam(PF_ProgPtr, PF_ParamIndex index, PF_ParamDef* def) {
    Expect(index == -1 && def != nullptr && std::memchr(def->name, 0, sizeof(def->name)) != nullptr,
           "a badly declared parameter");
    return currentHost->Enter();
  }

  static PF_Err Abort(PF_ProgPtr) { return currentHost->Enter(); }
  static PF_Err Progress(PF_ProgPtr, A_long, A_long) { return currentHost->Enter(); }

  // ---- Utilities ----

  static PF_Err Fill(PF_ProgPtr, const PF_Pixel8* color, const PF_LRect* rect,
                     PF_EffectWorld* world) {
    FuzzHost& host = *currentHost;
    if (const PF_Err err = host.Enter()) {
      return err;
    }
    Expect(color == nullptr, "a fill with a colour");
    Expect(world->data == host.output_.world.data, "a fill of something that is not the output");
    const PF_LRect area = Common(rect == nullptr ? Whole(*world) : *rect, Whole(*world));
    const std::size_t size = PixelBytes(host.depth_);
    for (A_long y = area.top; y < area.bottom; ++y) {
      for (A_long x = area.left; x < area.right; ++x) {
        std::memset(PixelAt(*world, x, y, size), 0, size);
      }
    }
    return PF_Err_NONE;
  }

  /// Clips both rectangles to their worlds, in 64 bits since they may be anything.
  static PF_Err Copy(PF_ProgPtr, PF_EffectWorld* src, PF_EffectWorld* dst, PF_LRect* srcRect,
                     PF_LRect* dstRect) {
    FuzzHost& host = *currentHost;
    if (const PF_Err err = host.Enter()) {
      return err;
    }
    Expect(dst->data == host.output_.world.data, "a copy into something that is not the output");
    if (src->data == nullptr) {
      return PF_Err_NONE;
    }
    const PF_LRect from = Common(*srcRect, Whole(*src));
    const std::size_t size = PixelBytes(host.depth_);
    const std::int64_t dx = std::int64_t{dstRect->left} - srcRect->left;
    const std::int64_t dy = std::int64_t{dstRect->top} - srcRect->top;
    for (A_long y = from.top; y < from.bottom; ++y) {
      for (A_long x = from.left; x < from.right; ++x) {
        if (x + dx >= 0 && y + dy >= 0 && x + dx < dst->width && y + dy < dst->height) {
          std::memcpy(PixelAt(*dst, static_cast<A_long>(x + dx), static_cast<A_long>(y + dy), size),
                      PixelAt(*src, x, y, size), size);
        }
      }
    }
    return PF_Err_NONE;
  }

  VELTRA_PRINTF_LIKE(2, 3)
  static int Sprintf(A_char* buffer, const A_char* format, ...) {
    std::va_list arguments;
    va_start(arguments, format);
    // The real function is not told a size either; every buffer of the effect holds this much.
    const int length = std::vsnprintf(buffer, kHostMessageCapacity, format, arguments);
    va_end(arguments);
    Expect(length >= 0 && length < kHostMessageCapacity, "a message that does not fit");
    return length;
  }

  // ---- Smart rendering ----

  static PF_Err CheckoutLayer(PF_ProgPtr, PF_ParamIndex index, A_long id, const PF_RenderRequest*,
                              A_long, A_long, A_u_long, PF_CheckoutResult* result) {
    FuzzHost& host = *currentHost;
    if (const PF_Err err = host.Enter()) {
      return err;
    }
    Expect((index == 0 && (id == 0 || id == 9999)) || (index == 1 && id == 1),
           "a checkout of the wrong layer");
    result->par = host.checkoutAspect_;
    return PF_Err_NONE;
  }

  static PF_Err CheckoutLayerPixels(PF_ProgPtr, A_long id, PF_EffectWorld** world) {
    FuzzHost& host = *currentHost;
    if (const PF_Err err = host.Enter()) {
      return err;
    }
    Expect(id == 0 || id == 1 || id == 9999, "pixels of an unknown checkout");
    if (id == 1) {
      Expect(!host.layerOut_.has_value(), "the layer's pixels were fetched twice");
      host.layerOut_ = true;
      *world = host.layer_.world.data == nullptr ? nullptr : &host.layer_.world;
    } else {
      *world = host.hideInput_ || id == 9999 ? nullptr : &host.input_.world;
    }
    return PF_Err_NONE;
  }

  static PF_Err CheckinLayerPixels(PF_ProgPtr, A_long id) {
    FuzzHost& host = *currentHost;
    if (id == 1) {
      Expect(host.layerOut_ == true, "the layer's pixels came back though they were not out");
      host.layerOut_ = false;
    }
    return host.Enter();
  }

  static PF_Err CheckoutOutput(PF_ProgPtr, PF_EffectWorld** world) {
    FuzzHost& host = *currentHost;
    if (const PF_Err err = host.Enter()) {
      return err;
    }
    *world = host.hideOutput_ ? nullptr : &host.output_.world;
    return PF_Err_NONE;
  }

  static PF_Err MixInGuid(PF_ProgPtr, A_u_long, const void*) { return currentHost->Enter(); }

  // ---- Suites ----

  static PF_Err GetPixelFormat(const PF_EffectWorld* world, PF_PixelFormat* format) {
    FuzzHost& host = *currentHost;
    Expect(world->data == host.output_.world.data, "the format of something else than the output");
    if (const PF_Err err = host.Enter()) {
      return err;
    }
    *format = host.format_;
    return PF_Err_NONE;
  }

  template <class Pixel>
  static PF_Err Sample(PF_ProgPtr ref, PF_Fixed x, PF_Fixed y, const PF_SampPB* params,
                       Pixel* out) {
    if (const PF_Err err = currentHost->Enter()) {
      return err;
    }
    return SampleAnything(ref, x, y, params, out);
  }

  template <class Pixel>
  static PF_Err PlaceOne(const PlacementRecord& record, A_long x, A_long y,
                         PF_IteratePixelFn<Pixel> function, Pixel* out) {
    FuzzHost& host = *currentHost;
    const bool filtered = record.areaSample != nullptr;
    const Expectation<Pixel> expected = Expected(record, filtered, x, y, *out);
    const int faultsBefore = host.faultsSeen_;
    // The function takes the record as the iteration was given it.
    const PF_Err err = function(const_cast<PlacementRecord*>(&record), x, y, nullptr, out);
    if (!expected.known || host.faultsSeen_ != faultsBefore) {
      return err;
    }
    Expect(err == expected.result, "a pixel's result code differs");
    if (!SamePixel(*out, expected.pixel)) {
      ReportPixel(record, filtered, x, y, *out, expected.pixel);
    }
    return err;
  }

  template <class Pixel>
  static PF_Err Iterate(PF_InData*, A_long base, A_long, PF_EffectWorld* src, const PF_LRect* area,
                        void* refcon, PF_IteratePixelFn<Pixel> function, PF_EffectWorld* dst) {
    FuzzHost& host = *currentHost;
    if (const PF_Err err = host.Enter()) {
      return err;
    }
    Expect(base == 0 && src == nullptr && area != nullptr && refcon != nullptr,
           "an iteration with odd arguments");
    Expect(dst->data == host.output_.world.data, "an iteration over something else");
    const PF_LRect rect = Common(*area, Whole(*dst));
    for (A_long y = rect.top; y < rect.bottom; ++y) {
      if (y - rect.top == host.abortAtRow_) {
        return PF_Interrupt_CANCEL;
      }
      for (A_long x = rect.left; x < rect.right; ++x) {
        auto* pixel = reinterpret_cast<Pixel*>(PixelAt(*dst, x, y, sizeof(Pixel)));
        if (const PF_Err err =
                PlaceOne(*static_cast<const PlacementRecord*>(refcon), x, y, function, pixel)) {
          return err;
        }
      }
    }
    return PF_Err_NONE;
  }

  struct Suite {
    const char* name;
    A_long version;
    const void* table;
  };

  static int Find(const char* name, A_long version) {
    for (int i = 0; i < FuzzHost::kSuites; ++i) {
      const Suite& suite = Suites()[static_cast<std::size_t>(i)];
      if (std::strcmp(suite.name, name) == 0 && suite.version == version) {
        return i;
      }
    }
    Finding("a suite that the effect has no use for");
  }

  static SPErr AcquireSuite(const char* name, A_long version, const void** suite) {
    FuzzHost& host = *currentHost;
    const auto index = static_cast<std::size_t>(Find(name, version));
    *suite = nullptr;
    if (const PF_Err err = host.Enter()) {
      return err;
    }
    switch (host.suiteAnswers_[index]) {
      case FuzzHost::SuiteAnswer::kError:
        return 1;
      case FuzzHost::SuiteAnswer::kNull:
        return PF_Err_NONE;
      case FuzzHost::SuiteAnswer::kErrorGiven:
        *suite = Suites()[index].table;
        return 1;
      case FuzzHost::SuiteAnswer::kGranted:
        break;
    }
    ++host.held_[index];
    *suite = Suites()[index].table;
    return PF_Err_NONE;
  }

  static SPErr ReleaseSuite(const char* name, A_long version) {
    FuzzHost& host = *currentHost;
    Expect(host.held_[static_cast<std::size_t>(Find(name, version))]-- > 0,
           "a suite was released that is not held");
    return host.Enter();
  }

  static const std::array<Suite, FuzzHost::kSuites>& Suites();
};

const std::array<FuzzCallbacks::Suite, FuzzHost::kSuites>& FuzzCallbacks::Suites() {
  static const PF_WorldSuite2 world{nullptr, nullptr, GetPixelFormat};
  static const PF_Sampling8Suite1 sampling8{nullptr, Sample<PF_Pixel8>, Sample<PF_Pixel8>};
  static const PF_Sampling16Suite1 sampling16{nullptr, Sample<PF_Pixel16>, Sample<PF_Pixel16>};
  static const PF_SamplingFloatSuite1 samplingFloat{nullptr, Sample<PF_PixelFloat>,
                                                    Sample<PF_PixelFloat>};
  static const PF_Iterate8Suite1 iterate8{Iterate<PF_Pixel8>, nullptr, nullptr, nullptr, nullptr};
  static const PF_Iterate16Suite1 iterate16{Iterate<PF_Pixel16>, nullptr, nullptr};
  static const PF_iterateFloatSuite1 iterateFloat{Iterate<PF_PixelFloat>, nullptr, nullptr};
  static const std::array<Suite, FuzzHost::kSuites> suites{
      Suite{"PF World Suite", 2, &world},
      Suite{"PF Sampling8 Suite", 1, &sampling8},
      Suite{"PF Sampling16 Suite", 1, &sampling16},
      Suite{"PF SamplingFloat Suite", 1, &samplingFloat},
      Suite{"PF Iterate8 Suite", 1, &iterate8},
      Suite{"PF iterate16 Suite", 1, &iterate16},
      Suite{"PF iterateFloat Suite", 1, &iterateFloat}};
  return suites;
}

// ---- The scenario ----

FuzzHost::FuzzHost(ByteReader& bytes)
    : bytes_(bytes),
      depth_(static_cast<Depth>(bytes.Below(3))),
      output_(bytes, depth_, kMaxOutputSide, Role::kOutput),
      input_(bytes, depth_, kMaxOutputSide, Role::kSource),
      layer_(bytes, depth_, kMaxLayerSide, Role::kSource),
      format_(FormatOf(depth_)) {
  currentHost = this;
  FillTables();
  ReadFrame();
  ReadControls();
  ReadFaults();
}

FuzzHost::~FuzzHost() {
  currentHost = nullptr;
}

void FuzzHost::FillTables() {
  basic_.AcquireSuite = FuzzCallbacks::AcquireSuite;
  basic_.ReleaseSuite = FuzzCallbacks::ReleaseSuite;
  utils_.copy = FuzzCallbacks::Copy;
  utils_.fill = FuzzCallbacks::Fill;
  utils_.ansi.sprintf = FuzzCallbacks::Sprintf;
  utils_.ansi.sin = numerics::Sin;
  utils_.ansi.cos = numerics::Cos;
  utils_.ansi.acos = numerics::Acos;
  utils_.ansi.sqrt = [](double x) { return std::sqrt(x); };
  inData_.inter.checkout_param = FuzzCallbacks::CheckoutParam;
  inData_.inter.checkin_param = FuzzCallbacks::CheckinParam;
  inData_.inter.add_param = FuzzCallbacks::AddParam;
  inData_.inter.abort = FuzzCallbacks::Abort;
  inData_.inter.progress = FuzzCallbacks::Progress;
}

void FuzzHost::ReadFrame() {
  inData_.utils = bytes_.Rarely() ? nullptr : &utils_;
  inData_.pica_basicP = bytes_.Rarely() ? nullptr : &basic_;
  inData_.quality = bytes_.Below(3) - 1;
  inData_.version = {13, 28};
  if (bytes_.Rarely()) {
    inData_.version = {bytes_.Raw<A_short>(), bytes_.Raw<A_short>()};
  }
  inData_.num_params = 10;
  inData_.current_time = bytes_.Int();
  inData_.time_step = bytes_.Int();
  inData_.time_scale = bytes_.Raw<std::uint32_t>();
  inData_.downsample_x = AnyScale(bytes_);
  inData_.downsample_y = AnyScale(bytes_);
  inData_.pixel_aspect_ratio = AnyScale(bytes_);
  inData_.width = output_.world.width * static_cast<A_long>(inData_.downsample_x.den % 8);
  inData_.height = output_.world.height * static_cast<A_long>(inData_.downsample_y.den % 8);
  if (bytes_.Rarely()) {
    inData_.width = bytes_.Int();
    inData_.height = bytes_.Int();
  }
  request_.rect = bytes_.Below(4) == 0 ? AnyRect(bytes_) : Whole(output_.world);
  request_.field = bytes_.Below(3);
  request_.channel_mask = bytes_.Below(16);
  request_.preserve_rgb_of_zero_alpha = static_cast<PF_Boolean>(bytes_.Below(2));
  checkoutAspect_ = AnyScale(bytes_);
  if (bytes_.Rarely()) {
    // One of the three may not be lied about: the pixels would then be larger than their memory.
    format_ = bytes_.Below(2) == 0 ? PF_PixelFormat_INVALID : bytes_.Int();
    if (format_ == PF_PixelFormat_ARGB32 || format_ == PF_PixelFormat_ARGB64 ||
        format_ == PF_PixelFormat_ARGB128) {
      format_ = FormatOf(depth_);
    }
  }
  hideInput_ = bytes_.Rarely();
  hideOutput_ = bytes_.Rarely();
  abortAtRow_ = bytes_.Rarely() ? bytes_.Below(kMaxOutputSide) : -1;
}

void FuzzHost::ReadControls() {
  for (std::size_t i = 2; i < values_.size(); ++i) {
    values_[i] = bytes_.Rarely() ? bytes_.Int() : bytes_.Raw<std::int32_t>() / 512;
    secondValues_[i] = bytes_.Raw<std::int32_t>() / 512;
  }
  values_[4] = bytes_.Rarely() ? bytes_.Int() : 1 + bytes_.Below(3);
  values_[6] = bytes_.Rarely() ? values_[6] : bytes_.Raw<std::uint16_t>() * 120;
  values_[7] = bytes_.Below(2);
  values_[8] = bytes_.Rarely() ? values_[8] : (1 + bytes_.Below(100)) * 65536;
  values_[9] = bytes_.Below(2);
}

void FuzzHost::ReadFaults() {
  static constexpr PF_Err kCodes[] = {1, 4, 512, 513, 514, 515, 516, 517, -1};
  for (Fault& fault : faults_) {
    if (bytes_.Below(4) == 0) {
      fault.kind = static_cast<FaultKind>(1 + bytes_.Below(4));
      fault.atCall = 1 + bytes_.Raw<std::uint16_t>() % 400;
      fault.code = kCodes[bytes_.Below(std::size(kCodes))];
    }
  }
  for (SuiteAnswer& answer : suiteAnswers_) {
    if (bytes_.Rarely()) {
      answer = static_cast<SuiteAnswer>(bytes_.Below(4));
    }
  }
}

PF_Err FuzzHost::Enter() {
  ++calls_;
  for (const Fault& fault : faults_) {
    if (fault.kind == FaultKind::kNone || fault.atCall != calls_) {
      continue;
    }
    ++faultsSeen_;
    throwsSeen_ = throwsSeen_ || fault.kind != FaultKind::kCode;
    switch (fault.kind) {
      case FaultKind::kThrowCode:
        throw PF_Err{kThrownCode};
      case FaultKind::kThrowBadAlloc:
        throw std::bad_alloc();
      case FaultKind::kThrowOther:
        throw std::runtime_error("a host that throws");
      default:
        return fault.code;
    }
  }
  return PF_Err_NONE;
}

void FuzzHost::Give(PF_ParamIndex index, PF_ParamDef* def) {
  const auto i = static_cast<std::size_t>(index);
  switch (index) {
    case 1:
      def->param_type = PF_Param_LAYER;
      def->u.ld = layer_.world;
      break;
    case 2:
    case 3:
      def->param_type = PF_Param_POINT;
      def->u.td.x_value = values_[i];
      def->u.td.y_value = secondValues_[i];
      break;
    default:
      // Popups, checkboxes and sliders all have their value in the first word.
      def->u.fd.value = values_[i];
      break;
  }
}

// ---- Commands ----

void FuzzHost::Run() {
  Register();
  SendStray();
  if (bytes_.Below(2) == 0) {
    RenderClassic();
  } else {
    RenderSmart();
  }
  if (bytes_.Rarely()) {
    SendStray();
  }
  Expect(output_.GuardIntact(), "something was written outside the output");
  Expect(input_.Untouched(), "the input was written");
  Expect(layer_.Untouched(), "the layer was written");
}

void FuzzHost::Register() {
  static bool throws = false;
  throws = bytes_.Rarely();
  const auto callback = [](void*, const A_u_char* name, const A_u_char* matchName, const A_u_char*,
                           const A_u_char* entryPoint, A_long, A_long, A_long, A_long,
                           const A_u_char*) -> PF_Err {
    Expect(name != nullptr && matchName != nullptr && entryPoint != nullptr, "a null text");
    if (throws) {
      throw std::runtime_error("a host that throws");
    }
    return PF_Err_INTERNAL_STRUCT_DAMAGED;
  };
  const bool null = bytes_.Rarely();
  const PF_Err err = PluginDataEntryFunction2(this, null ? nullptr : +callback, nullptr, "", "");
  Expect(err == (null || throws ? PF_Err_BAD_CALLBACK_PARAM : PF_Err_INTERNAL_STRUCT_DAMAGED),
         "the registration's result");
}

/// A command without worlds, perhaps without records.
void FuzzHost::SendStray() {
  const PF_Cmd cmd = bytes_.Rarely() ? bytes_.Int() : bytes_.Below(5);
  PF_InData* in = bytes_.Rarely() ? nullptr : &inData_;
  PF_OutData* out = bytes_.Rarely() ? nullptr : &outData_;
  // The three that render get nothing to render with here.
  Send(cmd, in, out, nullptr, nullptr, nullptr);
}

void FuzzHost::RenderClassic() {
  PF_ParamDef inputDef{};
  inputDef.u.ld = input_.world;
  PF_ParamDef* params[10] = {bytes_.Rarely() ? nullptr : &inputDef};
  PF_LayerDef world = output_.world;
  Send(PF_Cmd_RENDER, &inData_, &outData_, bytes_.Rarely() ? nullptr : params,
       hideOutput_ ? nullptr : &world, nullptr);
}

void FuzzHost::RenderSmart() {
  std::vector<std::uint8_t> block;
  void* const foreign = ForeignData(&block);
  const std::vector<std::uint8_t> before = block;
  const bool prepared = PreRender();
  void* const own = preRender_.pre_render_data;
  if (prepared || bytes_.Rarely()) {
    SmartRender(foreign != nullptr ? foreign : own);
  }
  DisposeOf(own);
  if (foreign != nullptr && preRender_.delete_pre_render_data_func != nullptr && !block.empty() &&
      std::memcmp(foreign, kOwnTag, std::min(block.size(), sizeof(kOwnTag))) != 0) {
    preRender_.delete_pre_render_data_func(foreign);
    Expect(block == before, "foreign pre-render data was touched");
  }
}

/// A block that somebody else left, at times shorter than the effect's; null for none.
void* FuzzHost::ForeignData(std::vector<std::uint8_t>* block) {
  if (!bytes_.Rarely()) {
    return nullptr;
  }
  static constexpr std::size_t kOwnSize = 16;
  block->resize(1 + static_cast<std::size_t>(bytes_.Below(24)));
  for (std::uint8_t& byte : *block) {
    byte = bytes_.Byte();
  }
  // As much of the tag as fits must be wrong somewhere, unless the block is as long as ours.
  const std::size_t compared = std::min(block->size(), sizeof(kOwnTag));
  if (block->size() < kOwnSize && std::memcmp(block->data(), kOwnTag, compared) == 0) {
    (*block)[0] = 'X';
  }
  block->shrink_to_fit();
  return block->data();
}

bool FuzzHost::PreRender() {
  PF_PreRenderInput input{};
  input.output_request = request_;
  input.bitdepth = static_cast<A_short>(PixelBytes(depth_) * 2);
  PF_PreRenderCallbacks callbacks{FuzzCallbacks::CheckoutLayer, FuzzCallbacks::MixInGuid};
  PF_PreRenderExtra extra{bytes_.Rarely() ? nullptr : &input,
                          bytes_.Rarely() ? nullptr : &preRender_,
                          bytes_.Rarely() ? nullptr : &callbacks};
  const PF_Err err = Send(PF_Cmd_SMART_PRE_RENDER, &inData_, &outData_, nullptr, nullptr, &extra);
  if (err != PF_Err_NONE) {
    Expect(preRender_.pre_render_data == nullptr, "a failed pre-render left data");
    return false;
  }
  const PF_LRect& all = preRender_.max_result_rect;
  const PF_LRect& part = preRender_.result_rect;
  const bool inside = part.left >= all.left && part.top >= all.top && part.right <= all.right &&
                      part.bottom <= all.bottom;
  Expect(inside || part.left >= part.right || part.top >= part.bottom || all.left >= all.right ||
             all.top >= all.bottom,
         "a result outside the largest result");
  Expect(preRender_.pre_render_data != nullptr && preRender_.delete_pre_render_data_func != nullptr,
         "a pre-render without its data");
  return true;
}

void FuzzHost::SmartRender(void* preRenderData) {
  PF_SmartRenderInput input{};
  input.output_request = request_;
  input.bitdepth = static_cast<A_short>(PixelBytes(depth_) * 2);
  input.pre_render_data = bytes_.Rarely() ? nullptr : preRenderData;
  PF_SmartRenderCallbacks callbacks{FuzzCallbacks::CheckoutLayerPixels,
                                    FuzzCallbacks::CheckinLayerPixels,
                                    FuzzCallbacks::CheckoutOutput};
  PF_SmartRenderExtra extra{bytes_.Rarely() ? nullptr : &input,
                            bytes_.Rarely() ? nullptr : &callbacks};
  layerOut_.reset();
  Send(PF_Cmd_SMART_RENDER, &inData_, &outData_, nullptr, nullptr,
       bytes_.Rarely() ? nullptr : &extra);
  Expect(layerOut_ != true, "the layer's pixels were not given back");
}

void FuzzHost::DisposeOf(void* preRenderData) {
  if (preRenderData != nullptr) {
    preRender_.delete_pre_render_data_func(preRenderData);
  }
}

PF_Err FuzzHost::Send(PF_Cmd cmd, PF_InData* in, PF_OutData* out, PF_ParamDef** params,
                      PF_LayerDef* world, void* extra) {
  const PF_InData before = inData_;
  const PF_Err err = MainEntry(cmd, in, out, params, world, extra);
  Expect(std::memcmp(&before.quality, &inData_.quality,
                     sizeof(PF_InData) - offsetof(PF_InData, quality)) == 0,
         "the in-data was written");
  Expect(std::memchr(outData_.return_msg, 0, sizeof(outData_.return_msg)) != nullptr,
         "a message without an end");
  CheckAfter(err);
  return err;
}

void FuzzHost::CheckAfter(PF_Err err) {
  // Without a fault of ours the effect has only these to say: fine, foreign pre-render data, no
  // output, a record or suite that is missing, and the user's or an old host's cancel.
  static constexpr PF_Err kOwnCodes[] = {PF_Err_NONE, PF_Err_OUT_OF_MEMORY, PF_Err_INVALID_INDEX,
                                         PF_Err_BAD_CALLBACK_PARAM, PF_Interrupt_CANCEL};
  bool known = std::find(std::begin(kOwnCodes), std::end(kOwnCodes), err) != std::end(kOwnCodes);
  for (const Fault& fault : faults_) {
    known = known || (faultsSeen_ > 0 && (err == fault.code || err == kThrownCode));
  }
  Expect(known, "a result code from nowhere");
  for (const int held : held_) {
    Expect(held == 0, "a suite is still held");
  }
  Expect(out_.empty(), "a parameter is still checked out");
  failed_.clear();
}

}  // namespace veltra::fuzz
