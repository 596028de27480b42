// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// The fuzz targets' host: scenarios, commands and the checks after each.
#include "fuzz/fuzz_host.h"

#include <algorithm>
#include <new>
#include <stdexcept>

#include "effect/placement/placement_record.h"
#include "fuzz/pixel_oracle.h"

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
constexpr const char* kSuites[] = {"PF World Suite 2",       "PF Sampling8 Suite 1",
                                   "PF Sampling16 Suite 1",  "PF SamplingFloat Suite 1",
                                   "PF Iterate8 Suite 1",    "PF iterate16 Suite 1",
                                   "PF iterateFloat Suite 1"};

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

// ---- The scenario ----

FuzzHost::FuzzHost(ByteReader& bytes)
    : bytes_(bytes),
      depth_(static_cast<Depth>(bytes.Below(3))),
      output_(bytes, depth_, kMaxOutputSide, fuzz::Role::kOutput),
      input_(bytes, depth_, kMaxOutputSide, fuzz::Role::kSource),
      layer_(bytes, depth_, kMaxLayerSide, fuzz::Role::kSource) {
  ReadFrame();
  ReadControls();
  ReadFaults();
}

void FuzzHost::ReadFrame() {
  inData.utils = bytes_.Rarely() ? nullptr : &utils;
  inData.pica_basicP = bytes_.Rarely() ? nullptr : &basic;
  inData.quality = bytes_.Below(3) - 1;
  inData.version = {13, 28};
  if (bytes_.Rarely()) {
    inData.version = {bytes_.Raw<A_short>(), bytes_.Raw<A_short>()};
  }
  inData.num_params = 10;
  inData.current_time = bytes_.Int();
  inData.time_step = bytes_.Int();
  inData.time_scale = bytes_.Raw<std::uint32_t>();
  inData.downsample_x = AnyScale(bytes_);
  inData.downsample_y = AnyScale(bytes_);
  inData.pixel_aspect_ratio = AnyScale(bytes_);
  inData.width = output_.world.width * static_cast<A_long>(inData.downsample_x.den % 8);
  inData.height = output_.world.height * static_cast<A_long>(inData.downsample_y.den % 8);
  if (bytes_.Rarely()) {
    inData.width = bytes_.Int();
    inData.height = bytes_.Int();
  }
  request.rect = bytes_.Below(4) == 0 ? AnyRect(bytes_) : stand_in::Whole(output_.world);
  request.field = bytes_.Below(3);
  request.channel_mask = bytes_.Below(16);
  request.preserve_rgb_of_zero_alpha = static_cast<PF_Boolean>(bytes_.Below(2));
  checkoutAspect = AnyScale(bytes_);
  if (bytes_.Rarely()) {
    // One of the three may not be lied about: the pixels would then be larger than their memory.
    format = bytes_.Below(2) == 0 ? PF_PixelFormat_INVALID : bytes_.Int();
    if (format == PF_PixelFormat_ARGB32 || format == PF_PixelFormat_ARGB64 ||
        format == PF_PixelFormat_ARGB128) {
      format = stand_in::FormatOf(depth_);
    }
  }
  hideInput_ = bytes_.Rarely();
  hideOutput_ = bytes_.Rarely();
  abortAtRow = bytes_.Rarely() ? bytes_.Below(kMaxOutputSide) : -1;
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
  for (const char* suite : kSuites) {
    if (bytes_.Rarely()) {
      suiteAnswers_[suite] = static_cast<stand_in::SuiteAnswer>(bytes_.Below(4));
    }
  }
}

// ---- Policy ----

PF_Err FuzzHost::Enter(std::string_view callback) {
  if (callback == "sprintf") {
    return PF_Err_NONE;  // has no code to fail with
  }
  ++calls_;
  for (const Fault& fault : faults_) {
    if (fault.kind == FaultKind::kNone || fault.atCall != calls_) {
      continue;
    }
    ++faultsSeen_;
    switch (fault.kind) {
      case FaultKind::kThrowCode:
        throw PF_Err{kThrownCode};
      case FaultKind::kThrowBadAlloc:
        throw std::bad_alloc();
      case FaultKind::kThrowOther:
        throw std::runtime_error("a host that throws");
      case FaultKind::kNone:
      case FaultKind::kCode:
        return fault.code;
    }
  }
  return PF_Err_NONE;
}

PF_Err FuzzHost::EnterSample(PF_Fixed, PF_Fixed, const PF_SampPB&) {
  return Enter("sample");
}

stand_in::SuiteAnswer FuzzHost::AnswerTo(const std::string& suite) {
  const auto answer = suiteAnswers_.find(suite);
  return answer == suiteAnswers_.end() ? stand_in::SuiteAnswer::kGranted : answer->second;
}

PF_EffectWorld* FuzzHost::WorldOf(Role role) {
  return role == Role::kInput   ? &input_.world
         : role == Role::kLayer ? &layer_.world
                                : &output_.world;
}

PF_EffectWorld* FuzzHost::ShownWorldOf(Role role) {
  const bool hidden = role == Role::kInput   ? hideInput_
                      : role == Role::kLayer ? layer_.world.data == nullptr
                                             : hideOutput_;
  return hidden ? nullptr : WorldOf(role);
}

void FuzzHost::FillValue(PF_ParamIndex index, PF_ParamDef* def) {
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

template <class Pixel>
PF_Err FuzzHost::PlaceOne(const stand_in::PixelCall& call, A_long x, A_long y, Pixel* out) {
  const auto& record = *static_cast<const PlacementRecord*>(call.refcon);
  const bool filtered = record.areaSample != nullptr;
  const Expectation<Pixel> expected = Expected(record, filtered, x, y, *out);
  const int faultsBefore = faultsSeen_;
  const PF_Err err = Host::Place(call, x, y, out);
  if (!expected.known || faultsSeen_ != faultsBefore) {
    return err;
  }
  Expect(err == expected.result, "a pixel's result code differs");
  if (!SamePixel(*out, expected.pixel)) {
    ReportPixel(record, filtered, x, y, *out, expected.pixel);
  }
  return err;
}

PF_Err FuzzHost::Place(const stand_in::PixelCall& call, A_long x, A_long y, void* pixel) {
  switch (call.depth) {
    case Depth::k8:
      return PlaceOne(call, x, y, static_cast<PF_Pixel8*>(pixel));
    case Depth::k16:
      return PlaceOne(call, x, y, static_cast<PF_Pixel16*>(pixel));
    case Depth::kFloat:
      break;
  }
  return PlaceOne(call, x, y, static_cast<PF_PixelFloat*>(pixel));
}

PF_Err FuzzHost::Sample(bool, PF_Fixed x, PF_Fixed y, const PF_SampPB* params, PF_Pixel8* out) {
  return SampleAnything(inData.effect_ref, x, y, params, out);
}
PF_Err FuzzHost::Sample(bool, PF_Fixed x, PF_Fixed y, const PF_SampPB* params, PF_Pixel16* out) {
  return SampleAnything(inData.effect_ref, x, y, params, out);
}
PF_Err FuzzHost::Sample(bool, PF_Fixed x, PF_Fixed y, const PF_SampPB* params, PF_PixelFloat* out) {
  return SampleAnything(inData.effect_ref, x, y, params, out);
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
  Expect(output_.CanariesIntact(), "something was written outside the output");
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
  PF_InData* in = bytes_.Rarely() ? nullptr : &inData;
  PF_OutData* out = bytes_.Rarely() ? nullptr : &outData;
  // The three that render get nothing to render with here.
  SendChecked(cmd, in, out, nullptr, nullptr, nullptr);
}

void FuzzHost::RenderClassic() {
  PF_ParamDef inputDef{};
  inputDef.u.ld = input_.world;
  PF_ParamDef* params[10] = {bytes_.Rarely() ? nullptr : &inputDef};
  PF_LayerDef world = output_.world;
  SendChecked(PF_Cmd_RENDER, &inData, &outData, bytes_.Rarely() ? nullptr : params,
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
  input.output_request = request;
  input.bitdepth = static_cast<A_short>(stand_in::PixelSize(depth_) * 2);
  PF_PreRenderCallbacks callbacks = BeginPreRender();
  PF_PreRenderExtra extra{bytes_.Rarely() ? nullptr : &input,
                          bytes_.Rarely() ? nullptr : &preRender_,
                          bytes_.Rarely() ? nullptr : &callbacks};
  const PF_Err err =
      SendChecked(PF_Cmd_SMART_PRE_RENDER, &inData, &outData, nullptr, nullptr, &extra);
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
  input.output_request = request;
  input.bitdepth = static_cast<A_short>(stand_in::PixelSize(depth_) * 2);
  input.pre_render_data = bytes_.Rarely() ? nullptr : preRenderData;
  PF_SmartRenderCallbacks callbacks = BeginSmartRender();
  PF_SmartRenderExtra extra{bytes_.Rarely() ? nullptr : &input,
                            bytes_.Rarely() ? nullptr : &callbacks};
  SendChecked(PF_Cmd_SMART_RENDER, &inData, &outData, nullptr, nullptr,
              bytes_.Rarely() ? nullptr : &extra);
}

void FuzzHost::DisposeOf(void* preRenderData) {
  if (preRenderData != nullptr) {
    preRender_.delete_pre_render_data_func(preRenderData);
  }
}

PF_Err FuzzHost::SendChecked(PF_Cmd cmd, PF_InData* in, PF_OutData* out, PF_ParamDef** params,
                             PF_LayerDef* world, void* extra) {
  const PF_InData before = inData;
  const PF_Err err = Send(MainEntry, cmd, in, out, params, world, extra);
  Expect(std::memcmp(&before.quality, &inData.quality,
                     sizeof(PF_InData) - offsetof(PF_InData, quality)) == 0,
         "the in-data was written");
  Expect(std::memchr(outData.return_msg, 0, sizeof(outData.return_msg)) != nullptr,
         "a message without an end");
  CheckCode(err);
  return err;
}

void FuzzHost::CheckCode(PF_Err err) const {
  // Without a fault of ours the effect has only these to say: fine, foreign pre-render data, no
  // output, a record or suite that is missing, and the user's or an old host's cancel.
  static constexpr PF_Err kOwnCodes[] = {PF_Err_NONE, PF_Err_OUT_OF_MEMORY, PF_Err_INVALID_INDEX,
                                         PF_Err_BAD_CALLBACK_PARAM, PF_Interrupt_CANCEL};
  bool known = std::find(std::begin(kOwnCodes), std::end(kOwnCodes), err) != std::end(kOwnCodes);
  for (const Fault& fault : faults_) {
    known = known || (faultsSeen_ > 0 && (err == fault.code || err == kThrownCode));
  }
  Expect(known, "a result code from nowhere");
}

}  // namespace veltra::fuzz
