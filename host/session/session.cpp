// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// The state of one session.

#include "host/session/session.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <utility>

#include "base/text.h"
#include "host/base/error_names.h"
#include "host/pixels/world_view.h"
#include "host/session/arbitrary_values.h"

namespace veltra::host {
namespace {

thread_local Session* currentSession = nullptr;

std::string TextOf(const A_char (&text)[kHostMessageCapacity]) {
  return {text,
          static_cast<std::size_t>(std::find(text, text + kHostMessageCapacity, '\0') - text)};
}

/// A time in units of a second that all common frame rates and time scales divide.
std::int64_t UnitsOf(A_long time, A_u_long scale) {
  constexpr std::int64_t kUnits = 705600000;
  return std::int64_t{time} * kUnits / scale;
}

/// Commands that may come on several threads at once.
bool IsOfFrames(PF_Cmd command) {
  return command == PF_Cmd_SMART_PRE_RENDER || command == PF_Cmd_SMART_RENDER ||
         command == PF_Cmd_FRAME_SETUP || command == PF_Cmd_RENDER ||
         command == PF_Cmd_FRAME_SETDOWN;
}

/// Full-resolution 16.16 pixels of a reduced coordinate.
A_long FullPoint(PF_Fixed reduced, int downsample) {
  const std::int64_t full = std::int64_t{reduced} * downsample;
  return static_cast<A_long>(std::clamp<std::int64_t>(full, std::numeric_limits<A_long>::min(),
                                                      std::numeric_limits<A_long>::max()));
}

/// What a parameter holds, arbitrary data apart.
void ReadValue(const PF_ParamDef& param, int downsample, ControlValue& value) {
  switch (param.param_type) {
    case PF_Param_SLIDER:
      value.x = param.u.sd.value;
      break;
    case PF_Param_FIX_SLIDER:
      value.x = param.u.fd.value;
      break;
    case PF_Param_ANGLE:
      value.x = param.u.ad.value;
      break;
    case PF_Param_CHECKBOX:
      value.x = param.u.bd.value;
      break;
    case PF_Param_POPUP:
      value.x = param.u.pd.value;
      break;
    case PF_Param_COLOR:
      value.color = param.u.cd.value;
      break;
    case PF_Param_POINT:
      value.x = FullPoint(param.u.td.x_value, downsample);
      value.y = FullPoint(param.u.td.y_value, downsample);
      break;
    case PF_Param_FLOAT_SLIDER:
      value.numbers[0] = param.u.fs_d.value;
      break;
    case PF_Param_POINT_3D:
      value.numbers = {param.u.point3d_d.x_value * downsample,
                       param.u.point3d_d.y_value * downsample,
                       param.u.point3d_d.z_value * downsample};
      break;
    default:
      break;
  }
}

}  // namespace

Session::Session(const SessionContext& context, const RenderSettings* settings)
    : context_(context), settings_(settings) {
  SetUpInData();
}

Session::~Session() {
  magic_ = 0;
}

Session* Session::Current() {
  return currentSession;
}

SessionScope::SessionScope(Session* session) : before_(currentSession) {
  currentSession = session;
}

SessionScope::~SessionScope() {
  currentSession = before_;
}

void Session::SetUpInData() {
  if (context_.tables.inter != nullptr) {
    inData_.inter = *context_.tables.inter;
  }
  inData_.utils = context_.tables.utils;
  inData_.effect_ref = static_cast<PF_ProgPtr>(static_cast<void*>(this));
  inData_.pica_basicP = context_.tables.basic;
  inData_.global_data = context_.globalData;
  inData_.version = context_.host->version;
  inData_.appl_id = context_.host->applicationId;
  inData_.local_time_step = 1;
  inData_.time_step = 1;
  inData_.quality = Draft() ? PF_Quality_LO : PF_Quality_HI;
  inData_.field = PF_Field_FRAME;
  inData_.num_params = ParamCount();
  inData_.downsample_x = {1, 1};
  inData_.downsample_y = {1, 1};
  inData_.pixel_aspect_ratio = {1, 1};
  inData_.time_scale = 1;
  if (settings_ == nullptr) {
    return;
  }
  inData_.current_time = settings_->currentTime;
  inData_.time_step = settings_->timeStep;
  inData_.local_time_step = settings_->timeStep;
  inData_.total_time = settings_->totalTime;
  inData_.time_scale = settings_->timeScale;
  inData_.width = settings_->width;
  inData_.height = settings_->height;
  inData_.extent_hint = FrameRect();
  inData_.downsample_x = {1, static_cast<A_u_long>(settings_->downsample)};
  inData_.downsample_y = inData_.downsample_x;
  inData_.pixel_aspect_ratio = settings_->pixelAspect;
}

PF_Err Session::Send(PF_MainEntryFn entry, PF_Cmd command, PF_ParamDef** params,
                     PF_LayerDef* output, void* extra) {
  const bool hides = context_.hidesSequenceData && IsOfFrames(command);
  if (hides) {
    hiddenSequenceData_ = std::exchange(inData_.sequence_data, nullptr);
  }
  outData_ = PF_OutData{};
  outData_.global_data = inData_.global_data;
  outData_.sequence_data = inData_.sequence_data;
  outData_.frame_data = inData_.frame_data;
  PrefillOutData(command);
  const SessionScope scope(this);
  PF_Err error = PF_Err_NONE;
  try {
    error = entry(command, &inData_, &outData_, params, output, extra);
  } catch (...) {
    threwException_ = true;
    accounts.Broke(Rule::kExceptionEscaped);
    error = PF_Err_INTERNAL_STRUCT_DAMAGED;
  }
  if (error == PF_Err_NONE && outOfMemory_) {
    error = PF_Err_OUT_OF_MEMORY;
  }
  inData_.global_data = outData_.global_data;
  if (hides) {
    inData_.sequence_data = std::exchange(hiddenSequenceData_, nullptr);
  } else if (command != PF_Cmd_GET_FLATTENED_SEQUENCE_DATA) {  // which answers with a copy
    inData_.sequence_data = outData_.sequence_data;
  }
  inData_.frame_data = outData_.frame_data;
  if (outData_.return_msg[0] != '\0') {
    message_ = TextOf(outData_.return_msg);
  }
  return error;
}

std::string Session::FailureText(const char* command, PF_Err error) const {
  const std::string says = OneLine(TextOf(outData_.return_msg));
  const std::string missing = MissingText(accounts.MissingSoFar());
  return Text("the effect failed in ", command, ": ",
              ThrewException() ? "an exception escaped from it" : ErrorName(error),
              says.empty() ? "" : Text(" (", says, ")"), missing.empty() ? "" : "; ", missing);
}

/// What effects leave alone must mean "as it was".
void Session::PrefillOutData(PF_Cmd command) {
  if (command == PF_Cmd_FRAME_SETUP) {
    const PF_LRect frame = FrameRect();
    outData_.width = frame.right;
    outData_.height = frame.bottom;
  } else if (command == PF_Cmd_QUERY_DYNAMIC_FLAGS) {
    outData_.out_flags = context_.outFlags;
    outData_.out_flags2 = context_.outFlags2;
  }
}

// ---- Abort and progress ----

bool Session::Aborted() {
  if (settings_ != nullptr && settings_->abort != nullptr &&
      settings_->abort->load(std::memory_order_relaxed)) {
    MarkCancelled();
  }
  return WasCancelled();
}

bool Session::AbortedAtRow(A_long row) {
  if (settings_ != nullptr && settings_->hooks != nullptr && settings_->hooks->AbortAtRow(row)) {
    MarkCancelled();
  }
  return Aborted();
}

void Session::ReportProgress(A_long current, A_long total) {
  if (WantsProgress()) {
    const std::lock_guard lock(progressMutex_);
    settings_->progress(current, total);
  }
}

// ---- Parameters ----

bool Session::IsLayer(PF_ParamIndex index) const {
  return index == 0 ||
         (index > 0 && index < ParamCount() &&
          context_.controls[static_cast<std::size_t>(index - 1)].type == PF_Param_LAYER);
}

A_long Session::ReducedPoint(A_long coordinate) const {
  const std::int64_t factor = settings_->downsample;
  // Rounded half up; the offset keeps the division one of positive numbers.
  const std::int64_t offset = std::int64_t{1} << 40;
  return static_cast<A_long>((2 * (coordinate + offset * factor) + factor) / (2 * factor) - offset);
}

ControlValue Session::ValueAt(const ControlDeclaration& control, A_long time,
                              A_u_long scale) const {
  if (const auto changed = changedValues.find(control.index); changed != changedValues.end()) {
    return changed->second;
  }
  if (settings_->controlAt) {
    return settings_->controlAt(control.index, time, scale);
  }
  const auto set = settings_->controls.find(control.index);
  return set != settings_->controls.end()
             ? set->second
             : ControlDefault(control, settings_->width, settings_->height);
}

bool Session::FillParam(PF_ParamIndex index, A_long time, A_u_long scale, PF_ParamDef& param) {
  if (index < 0 || index >= ParamCount() || settings_ == nullptr) {
    return false;
  }
  param = PF_ParamDef{};
  if (index > 0) {
    param = context_.controls[static_cast<std::size_t>(index - 1)].raw;
  }
  if (!IsLayer(index)) {
    const ControlDeclaration& control = context_.controls[static_cast<std::size_t>(index - 1)];
    if (control.HasValue()) {
      SetValue(control, ValueAt(control, time, scale), param);
    } else if (control.type == PF_Param_PATH) {
      param.u.path_d.path_id = 0;  // no layer has a mask
    }
    return true;
  }
  param.param_type = PF_Param_LAYER;
  param.u.ld = PF_LayerDef{};
  const World* world = nullptr;
  if (LayerWorldAt(index, time, scale, world) && world == nullptr) {
    world = TransparentFor(index);
  }
  if (world != nullptr) {
    param.u.ld =
        LayerView(*world, {world->OriginX(), world->OriginY(), world->OriginX() + world->Width(),
                           world->OriginY() + world->Height()});
  }
  return true;
}

void Session::SetValue(const ControlDeclaration& control, const ControlValue& value,
                       PF_ParamDef& param) {
  switch (control.type) {
    case PF_Param_SLIDER:
      param.u.sd.value = value.x;
      break;
    case PF_Param_FIX_SLIDER:
      param.u.fd.value = value.x;
      break;
    case PF_Param_ANGLE:
      param.u.ad.value = value.x;
      break;
    case PF_Param_CHECKBOX:
      param.u.bd.value = value.x;
      break;
    case PF_Param_COLOR:
      param.u.cd.value = value.color;
      break;
    case PF_Param_POINT:
      param.u.td.x_value = ReducedPoint(value.x);
      param.u.td.y_value = ReducedPoint(value.y);
      break;
    case PF_Param_POPUP:
      param.u.pd.value = value.x;
      break;
    case PF_Param_FLOAT_SLIDER:
      param.u.fs_d.value = value.numbers[0];
      break;
    case PF_Param_ARBITRARY_DATA:
      param.u.arb_d.value = ArbitraryValue(control, value);
      break;
    case PF_Param_POINT_3D:
      param.u.point3d_d.x_value = value.numbers[0] / settings_->downsample;
      param.u.point3d_d.y_value = value.numbers[1] / settings_->downsample;
      param.u.point3d_d.z_value = value.numbers[2] / settings_->downsample;
      break;
    default:
      break;
  }
}

/// The default itself, which effects only read, or what the effect makes of the flat form, once.
PF_Handle Session::ArbitraryValue(const ControlDeclaration& control, const ControlValue& value) {
  PF_Handle fallback = control.raw.u.arb_d.dephault;
  if (value.flat == nullptr || context_.entry == nullptr) {
    return fallback;
  }
  const std::lock_guard lock(valuesMutex_);
  const auto same = [](const auto& a, const auto& b) {
    return a == nullptr || b == nullptr ? a == b : *a == *b;
  };
  for (const MadeValue& made : madeValues_) {
    if (made.control == &control && same(made.flat, value.flat) &&
        same(made.flatAfter, value.flatAfter) && made.share == value.share) {
      return made.handle;
    }
  }
  const auto made = MakeArbitraryValue(control, value);
  if (!made) {
    FailWith(made.ErrorText());
    return fallback;
  }
  madeValues_.push_back({&control, value.flat, value.flatAfter, value.share, *made});
  return *made;
}

Expected<PF_Handle> Session::MakeArbitraryValue(const ControlDeclaration& control,
                                                const ControlValue& value) const {
  const ArbitraryCalls calls(context_.entry, inData_, control);
  auto first = calls.Unflatten(*value.flat);
  if (!first || value.flatAfter == nullptr) {
    return first;
  }
  auto second = calls.Unflatten(*value.flatAfter);
  if (second) {
    auto between = calls.Interpolate(*first, *second, value.share);
    calls.Dispose(*second);
    second = std::move(between);
  }
  calls.Dispose(*first);
  return second;
}

// ---- Parameters that the effect may change ----

bool Session::FillChangeable(PF_ParamIndex index, PF_ParamDef& param) {
  if (!FillParam(index, inData_.current_time, settings_->timeScale, param)) {
    return false;
  }
  if (IsLayer(index)) {
    param.u.ld = PF_LayerDef{};
    if (index == 0) {
      param.u.ld.width = FrameRect().right;
      param.u.ld.height = FrameRect().bottom;
    }
  } else if (param.param_type == PF_Param_ARBITRARY_DATA && param.u.arb_d.value != nullptr) {
    const ControlDeclaration& control = context_.controls[static_cast<std::size_t>(index - 1)];
    // Some effects know no copies; what they have no way to copy, they do not change either.
    if (auto copy = ArbitraryCalls(context_.entry, inData_, control).Copy(param.u.arb_d.value)) {
      param.u.arb_d.value = *copy;
      changeableCopies_.emplace_back(&control, *copy);
    }
  }
  param.uu.change_flags = 0;
  return true;
}

void Session::DisposeChangeable() {
  for (const auto& [control, copy] : changeableCopies_) {
    ArbitraryCalls(context_.entry, inData_, *control).Dispose(copy);
  }
  changeableCopies_.clear();
}

void Session::TakeChangedValue(PF_ParamIndex index, const PF_ParamDef& param) {
  const ControlDeclaration& control = context_.controls[static_cast<std::size_t>(index - 1)];
  if (!control.HasValue()) {
    return;
  }
  ControlValue value = ValueAt(control, inData_.current_time, settings_->timeScale);
  if (control.type == PF_Param_ARBITRARY_DATA) {
    auto flat = ArbitraryCalls(context_.entry, inData_, control).Flatten(param.u.arb_d.value);
    if (!flat) {
      FailWith(flat.ErrorText());
      return;
    }
    value.flat = std::make_shared<const FlatValue>(std::move(*flat));
    value.flatAfter = nullptr;
  } else {
    ReadValue(param, settings_->downsample, value);
  }
  changedValues[index] = value;
}

void Session::DisposeValues() {
  const std::lock_guard lock(valuesMutex_);
  const SessionScope scope(this);
  for (const MadeValue& made : madeValues_) {
    ArbitraryCalls(context_.entry, inData_, *made.control).Dispose(made.handle);
  }
  madeValues_.clear();
}

ControlFingerprint Session::FingerprintOf(PF_ParamIndex index, A_long time, A_u_long scale) {
  ControlFingerprint print{};
  if (IsLayer(index)) {
    const World* world = nullptr;
    LayerWorldAt(index, time, scale, world);
    print[0] = reinterpret_cast<std::uintptr_t>(world);
    return print;
  }
  const ControlValue value =
      ValueAt(context_.controls[static_cast<std::size_t>(index - 1)], time, scale);
  print[0] = static_cast<A_u_long>(value.x) | std::uint64_t{static_cast<A_u_long>(value.y)} << 32;
  std::memcpy(&print[1], value.numbers.data(), sizeof value.numbers);
  std::memcpy(&print[4], &value.color, sizeof value.color);
  std::uint64_t hash = 0xCBF29CE484222325U;
  const auto mixIn = [&hash](const void* data, std::size_t size) {
    const auto* bytes = static_cast<const unsigned char*>(data);
    for (std::size_t i = 0; i < size; ++i) {
      hash = (hash ^ bytes[i]) * 0x100000001B3U;
    }
  };
  for (const auto& flat : {value.flat, value.flatAfter}) {
    if (flat != nullptr) {
      mixIn(flat->data(), flat->size());
    }
  }
  mixIn(&value.share, sizeof value.share);
  print[5] = hash;
  return print;
}

ControlFingerprint Session::IdentityOf(PF_ParamIndex index, A_long time, A_u_long scale) {
  if (!IsLayer(index)) {
    return FingerprintOf(index, time, scale);
  }
  const bool changes = settings_->layerAt && scale != 0;
  const std::int64_t when =
      changes ? UnitsOf(time, scale) : UnitsOf(settings_->currentTime, settings_->timeScale);
  const auto chosen = settings_->layers.find(index);
  const void* image = chosen != settings_->layers.end() ? chosen->second : nullptr;
  return {static_cast<std::uint64_t>(when), reinterpret_cast<std::uintptr_t>(image)};
}

// ---- What the host itself could not do ----

void Session::FailWith(const std::string& reason) {
  const std::lock_guard lock(failureMutex_);
  if (hostFailure_.empty()) {
    hostFailure_ = reason;
  }
}

std::string Session::HostFailure() const {
  const std::lock_guard lock(failureMutex_);
  return hostFailure_;
}

// ---- Layers ----

PF_LRect Session::FrameRect() const {
  if (settings_ == nullptr) {
    return {0, 0, 0, 0};
  }
  return {0, 0, DownsampledLength(settings_->width, settings_->downsample),
          DownsampledLength(settings_->height, settings_->downsample)};
}

const World* Session::LayerWorld(PF_ParamIndex index) const {
  if (index == 0) {
    return input;
  }
  const auto found = settings_->layers.find(index);
  if (found != settings_->layers.end()) {
    return found->second;
  }
  const ControlDeclaration& control = context_.controls[static_cast<std::size_t>(index - 1)];
  return control.defaultValue == PF_LayerDefault_MYSELF ? input : nullptr;
}

bool Session::IsCurrentTime(A_long time, A_u_long scale) const {
  return scale == 0 ||
         std::int64_t{time} * settings_->timeScale == std::int64_t{settings_->currentTime} * scale;
}

bool Session::IsOfFrame(PF_ParamIndex index, A_long time, A_u_long scale) const {
  return IsFrame(index) && (!settings_->layerAt || IsCurrentTime(time, scale));
}

bool Session::IsFrame(PF_ParamIndex index) const {
  return index == 0 || (settings_->layers.count(index) == 0 &&
                        context_.controls[static_cast<std::size_t>(index - 1)].defaultValue ==
                            PF_LayerDefault_MYSELF);
}

/// Transparent pixels for a layer that is chosen and shows nothing; null for one that is not
/// chosen, as effects tell by its pixels.
const World* Session::TransparentFor(PF_ParamIndex index) {
  const auto chosen = settings_->layers.find(index);
  const World* layer = chosen != settings_->layers.end() ? chosen->second : nullptr;
  if (layer == nullptr && !IsFrame(index)) {
    return nullptr;
  }
  const std::lock_guard lock(otherLayersMutex_);
  World& world = transparent_[index];
  if (world.Empty()) {
    const PF_LRect frame = FrameRect();
    auto made = World::Create(layer != nullptr ? layer->Width() : frame.right,
                              layer != nullptr ? layer->Height() : frame.bottom, settings_->depth);
    if (!made) {
      NoteOutOfMemory();
      return nullptr;
    }
    world = std::move(*made);
    world.SetPixelAspect(layer != nullptr ? layer->PixelAspect() : settings_->pixelAspect);
  }
  return &world;
}

bool Session::LayerWorldAt(PF_ParamIndex index, A_long time, A_u_long scale, const World*& world) {
  if (!settings_->layerAt || IsCurrentTime(time, scale)) {
    const bool ready = !readInput || !IsOfFrame(index, time, scale) || readInput();
    world = ready ? LayerWorld(index) : nullptr;
    return ready;
  }
  const std::lock_guard lock(otherLayersMutex_);
  auto& kept = otherLayers_[{index, UnitsOf(time, scale)}];
  if (kept == nullptr) {
    auto read = settings_->layerAt(index, time, scale);
    if (!read) {
      FailWith(read.ErrorText());
      return false;
    }
    if (*read != nullptr && (*read)->PixelDepth() != settings_->depth) {
      FailWith("the image at another time has another depth than the render");
      return false;
    }
    const PF_LRect frame = FrameRect();
    if (index == 0 && *read != nullptr &&
        ((*read)->Width() != frame.right || (*read)->Height() != frame.bottom)) {
      FailWith("the frame at another time has " + std::to_string((*read)->Width()) + " x " +
               std::to_string((*read)->Height()) + " pixels (expected " +
               std::to_string(frame.right) + " x " + std::to_string(frame.bottom) + ")");
      return false;
    }
    kept = std::move(*read);
  }
  world = kept.get();
  return true;
}

PF_EffectWorld Session::LayerView(const World& world, const PF_LRect& rect) {
  PF_EffectWorld view = world.View(rect);
  if (view.width <= 0 || view.height <= 0) {
    return view;
  }
  const std::lock_guard lock(lendMutex_);
  if (const ImageFacts* known = FindFacts(view)) {
    view.extent_hint = known->visibleExtent;
    return view;
  }
  KeptImageFacts* kept = world.KeptFacts();
  const auto facts = kept != nullptr ? kept->Of(view, world.PixelDepth())
                                     : std::make_shared<const ImageFacts>(view, world.PixelDepth());
  view.extent_hint = facts->visibleExtent;
  const std::size_t count = lentCount_.load(std::memory_order_relaxed);
  if (count < kMostLent) {
    lent_[count] = facts;
    lentCount_.store(count + 1, std::memory_order_release);
  }
  return view;
}

const ImageFacts* Session::FindFacts(const PF_EffectWorld& view) const {
  const std::size_t count = lentCount_.load(std::memory_order_acquire);
  for (std::size_t i = 0; i < count; ++i) {
    if (lent_[i]->AreOf(view)) {
      return lent_[i].get();
    }
  }
  return nullptr;
}

AreaSumsBase* Session::FindAreaSums(const PF_EffectWorld& view) const {
  const ImageFacts* facts = FindFacts(view);
  return facts != nullptr ? facts->areaSums.get() : nullptr;
}

}  // namespace veltra::host
