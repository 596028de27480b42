// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Suites about parameters: states, keyframes, exact values, auxiliary channels, paths.

#include <algorithm>
#include <cstring>
#include <vector>

#include "host/suites/callback.h"
#include "host/suites/suite_list.h"
#include "host_api/suites.h"

namespace veltra::host {
namespace {

/// A session within a render, where parameters have values.
Session* RenderSession(PF_ProgPtr ref) {
  Session* session = Session::From(ref);
  return session != nullptr && session->Settings() != nullptr ? session : nullptr;
}

// ---- States ----

constexpr PF_ParamIndex kAllParameters = -2;
constexpr PF_ParamIndex kAllButLayers = -3;
constexpr PF_ParamIndex kAllButExcluded = -4;
constexpr A_long kMostTimes = 4096;

/// Mixes bytes into 128 bits, eight at a time.
class StateHash {
 public:
  void Mix(std::uint64_t word) {
    low_ = (low_ ^ word) * 0x100000001B3U;
    high_ = (high_ + word) * 0x9E3779B97F4A7C15U;
    high_ ^= high_ >> 29;
    low_ ^= low_ >> 31;
  }
  PF_State Get() const {
    PF_State state{};
    std::memcpy(&state.reserved[0], &low_, sizeof low_);
    std::memcpy(&state.reserved[2], &high_, sizeof high_);
    return state;
  }

 private:
  std::uint64_t low_ = 0xCBF29CE484222325U;
  std::uint64_t high_ = 0x2545F4914F6CDD1DU;
};

bool IsWanted(const Session& session, PF_ParamIndex wanted, PF_ParamIndex index) {
  switch (wanted) {
    case kAllParameters:
      return true;
    case kAllButLayers:
      return !session.IsLayer(index);
    case kAllButExcluded:
      return index == 0 || (session.Context().controls[static_cast<std::size_t>(index - 1)].flags &
                            PF_ParamFlag_EXCLUDE_FROM_HAVE_INPUTS_CHANGED) == 0;
    default:
      return index == wanted;
  }
}

void MixValue(Session& session, PF_ParamIndex index, A_long time, StateHash& hash) {
  const ControlFingerprint print = session.IdentityOf(index, time, session.Settings()->timeScale);
  for (const std::uint64_t word : print) {
    hash.Mix(word);
  }
}

/// The times of the frame grid that a span covers, null being all of the layer's.
std::vector<A_long> TimesOf(const RenderSettings& settings, const A_Time* start,
                            const A_Time* duration) {
  const auto units = [&settings](const A_Time& time) {
    return time.scale == 0 ? std::int64_t{0}
                           : std::int64_t{time.value} * settings.timeScale / time.scale;
  };
  const std::int64_t first = start != nullptr ? units(*start) : 0;
  const std::int64_t length = duration != nullptr ? units(*duration) : settings.totalTime;
  const std::int64_t step =
      std::max<std::int64_t>(std::max<A_long>(settings.timeStep, 1), length / kMostTimes + 1);
  std::vector<A_long> times;
  for (std::int64_t at = first; at == first || at < first + length; at += step) {
    times.push_back(static_cast<A_long>(at));
  }
  return times;
}

PF_State StateOver(Session& session, PF_ParamIndex index, const A_Time* start,
                   const A_Time* duration) {
  StateHash hash;
  for (const A_long time : TimesOf(*session.Settings(), start, duration)) {
    for (PF_ParamIndex i = 0; i < session.ParamCount(); ++i) {
      if (IsWanted(session, index, i)) {
        MixValue(session, i, time, hash);
      }
    }
  }
  return hash.Get();
}

/// Without values, as in sequence set-up, every state is the same.
PF_Err GetCurrentState(PF_ProgPtr ref, PF_ParamIndex index, const A_Time* start,
                       const A_Time* duration, PF_State* state) noexcept {
  Session* session = Session::From(ref);
  if (session == nullptr || state == nullptr) {
    return PF_Err_BAD_CALLBACK_PARAM;
  }
  return Guarded([&]() -> PF_Err {
    if (const PF_Err refused = session->Ask(HostCall::kQueryParameters)) {
      return refused;
    }
    *state = session->Settings() != nullptr ? StateOver(*session, index, start, duration)
                                            : StateHash().Get();
    return PF_Err_NONE;
  });
}

bool SameState(const PF_State& a, const PF_State& b) {
  return std::memcmp(&a, &b, sizeof a) == 0;
}

PF_Err AreStatesIdentical(PF_ProgPtr, const PF_State* a, const PF_State* b,
                          A_u_char* same) noexcept {
  if (a == nullptr || b == nullptr || same == nullptr) {
    return PF_Err_BAD_CALLBACK_PARAM;
  }
  *same = SameState(*a, *b) ? 1 : 0;
  return PF_Err_NONE;
}

PF_Err GetWholeState(PF_ProgPtr ref, PF_State* state) noexcept {
  return GetCurrentState(ref, kAllParameters, nullptr, nullptr, state);
}

/// The older suite keeps one receipt for everything, so one change is a change of each.
PF_Err HasChanged(PF_ProgPtr ref, const PF_State* state, PF_Boolean* changed) noexcept {
  PF_State now{};
  if (state == nullptr || changed == nullptr) {
    return PF_Err_BAD_CALLBACK_PARAM;
  }
  if (const PF_Err error = GetWholeState(ref, &now)) {
    return error;
  }
  *changed = SameState(*state, now) ? 0 : 1;
  return PF_Err_NONE;
}

PF_Err HasParamChanged(PF_ProgPtr ref, const PF_State* state, PF_ParamIndex,
                       PF_Boolean* changed) noexcept {
  return HasChanged(ref, state, changed);
}

PF_Err HaveInputsChanged(PF_ProgPtr ref, const PF_State* state, const A_Time*, const A_Time*,
                         PF_Boolean* changed) noexcept {
  return HasChanged(ref, state, changed);
}

PF_Err IsIdenticalCheckout(PF_ProgPtr ref, PF_ParamIndex index, A_long time1, A_long /*step1*/,
                           A_u_long scale1, A_long time2, A_long /*step2*/, A_u_long scale2,
                           PF_Boolean* identical) noexcept {
  Session* session = RenderSession(ref);
  if (session == nullptr || identical == nullptr || scale1 == 0 || scale2 == 0) {
    return PF_Err_BAD_CALLBACK_PARAM;
  }
  return Guarded([&]() -> PF_Err {
    if (const PF_Err refused = session->Ask(HostCall::kQueryParameters)) {
      return refused;
    }
    if (index < 0 || index >= session->ParamCount()) {
      return PF_Err_INVALID_INDEX;
    }
    *identical =
        session->FingerprintOf(index, time1, scale1) == session->FingerprintOf(index, time2, scale2)
            ? 1
            : 0;
    return PF_Err_NONE;
  });
}

PF_Err UpdateParamUi(PF_ProgPtr ref, PF_ParamIndex index, const PF_ParamDef* param) noexcept {
  Session* session = Session::From(ref);
  if (session == nullptr || param == nullptr) {
    return PF_Err_BAD_CALLBACK_PARAM;
  }
  return index > 0 && index < session->ParamCount() ? PF_Err_NONE : PF_Err_INVALID_INDEX;
}

// ---- Keyframes ----

std::vector<A_Time> KeyframesOf(const Session& session, PF_ParamIndex index) {
  const RenderSettings& settings = *session.Settings();
  return settings.keyframesOf ? settings.keyframesOf(index) : std::vector<A_Time>{};
}

/// value / scale of two times as numbers that compare exactly.
int Compare(const A_Time& a, const A_Time& b) {
  const std::int64_t left = std::int64_t{a.value} * b.scale;
  const std::int64_t right = std::int64_t{b.value} * a.scale;
  return left < right ? -1 : left > right ? 1 : 0;
}

constexpr A_long kEarlier = 1;         ///< otherwise later
constexpr A_long kAlsoThere = 0x1000;  ///< the time itself counts

/// The number of the keyframe nearest to a time in a direction; -1 for none.
A_long FindKeyframe(const std::vector<A_Time>& keys, const A_Time& time, A_long direction) {
  const bool earlier = (direction & kEarlier) != 0;
  const bool equal = (direction & kAlsoThere) != 0;
  A_long found = -1;
  for (A_long i = 0; i < static_cast<A_long>(keys.size()); ++i) {
    const int order = Compare(keys[static_cast<std::size_t>(i)], time);
    if (earlier ? order < 0 || (equal && order == 0) : order > 0 || (equal && order == 0)) {
      found = i;
      if (!earlier) {
        break;
      }
    }
  }
  return found;
}

void GiveKey(const std::vector<A_Time>& keys, A_long key, A_long* time, A_u_long* scale) {
  const A_Time& at = keys[static_cast<std::size_t>(key)];
  if (time != nullptr) {
    *time = at.value;
  }
  if (scale != nullptr) {
    *scale = at.scale;
  }
}

PF_Err FindKeyframeTime(PF_ProgPtr ref, PF_ParamIndex index, A_long time, A_u_long scale,
                        A_long direction, PF_Boolean* found, A_long* key, A_long* keyTime,
                        A_u_long* keyScale) noexcept {
  Session* session = RenderSession(ref);
  if (session == nullptr || found == nullptr) {
    return PF_Err_BAD_CALLBACK_PARAM;
  }
  *found = 0;
  return Guarded([&]() -> PF_Err {
    if (const PF_Err refused = session->Ask(HostCall::kQueryParameters)) {
      return refused;
    }
    const std::vector<A_Time> keys = KeyframesOf(*session, index);
    const A_long at = FindKeyframe(keys, {time, scale}, direction);
    if (at >= 0) {
      *found = 1;
      GiveKey(keys, at, keyTime, keyScale);
      if (key != nullptr) {
        *key = at;
      }
    }
    return PF_Err_NONE;
  });
}

/// -1 for a parameter that never changes.
PF_Err GetKeyframeCount(PF_ProgPtr ref, PF_ParamIndex index, A_long* count) noexcept {
  Session* session = RenderSession(ref);
  if (session == nullptr || count == nullptr) {
    return PF_Err_BAD_CALLBACK_PARAM;
  }
  return Guarded([&]() -> PF_Err {
    if (const PF_Err refused = session->Ask(HostCall::kQueryParameters)) {
      return refused;
    }
    const std::size_t keys = KeyframesOf(*session, index).size();
    *count = keys == 0 ? -1 : static_cast<A_long>(keys);
    return PF_Err_NONE;
  });
}

PF_Err CheckoutKeyframe(PF_ProgPtr ref, PF_ParamIndex index, A_long key, A_long* keyTime,
                        A_u_long* keyScale, PF_ParamDef* param) noexcept {
  Session* session = RenderSession(ref);
  if (session == nullptr) {
    return PF_Err_BAD_CALLBACK_PARAM;
  }
  return Guarded([&]() -> PF_Err {
    if (const PF_Err refused = session->Ask(HostCall::kQueryParameters)) {
      return refused;
    }
    const std::vector<A_Time> keys = KeyframesOf(*session, index);
    if (key < 0 || static_cast<std::size_t>(key) >= keys.size()) {
      return PF_Err_INVALID_INDEX;
    }
    GiveKey(keys, key, keyTime, keyScale);
    const A_Time& at = keys[static_cast<std::size_t>(key)];
    if (param != nullptr && !session->FillParam(index, at.value, at.scale, *param)) {
      return PF_Err_INVALID_INDEX;
    }
    return PF_Err_NONE;
  });
}

PF_Err CheckinKeyframe(PF_ProgPtr, PF_ParamDef*) noexcept {
  return PF_Err_NONE;
}

PF_Err KeyIndexToTime(PF_ProgPtr ref, PF_ParamIndex index, A_long key, A_long* keyTime,
                      A_u_long* keyScale) noexcept {
  return CheckoutKeyframe(ref, index, key, keyTime, keyScale, nullptr);
}

constexpr PF_ParamUtilsSuite3 kParamUtils3{
    &UpdateParamUi,       &GetCurrentState,  &AreStatesIdentical,
    &IsIdenticalCheckout, &FindKeyframeTime, &GetKeyframeCount,
    &CheckoutKeyframe,    &CheckinKeyframe,  &KeyIndexToTime};
constexpr PF_ParamUtilsSuite2 kParamUtils2{
    &UpdateParamUi,       &GetWholeState,    &HasParamChanged,  &HaveInputsChanged,
    &IsIdenticalCheckout, &FindKeyframeTime, &GetKeyframeCount, &CheckoutKeyframe,
    &CheckinKeyframe,     &KeyIndexToTime};

// ---- Values in floating point ----

PF_Err FloatColor(PF_ProgPtr ref, const PF_ParamDef* param, PF_PixelFloat* color) noexcept {
  if (param == nullptr || color == nullptr) {
    return PF_Err_BAD_CALLBACK_PARAM;
  }
  if (const PF_Err refused = AskOf(ref, HostCall::kQueryParameters)) {
    return refused;
  }
  const PF_Pixel8& value = param->u.cd.value;
  const auto unit = [](A_u_char channel) { return static_cast<float>(channel) / 255.0F; };
  *color = {1.0F, unit(value.red), unit(value.green), unit(value.blue)};
  return PF_Err_NONE;
}

PF_Err FloatPoint(PF_ProgPtr ref, const PF_ParamDef* param, A_FpLong (*point)[2]) noexcept {
  if (param == nullptr || point == nullptr) {
    return PF_Err_BAD_CALLBACK_PARAM;
  }
  if (const PF_Err refused = AskOf(ref, HostCall::kQueryParameters)) {
    return refused;
  }
  (*point)[0] = param->u.td.x_value / kFixedOne;
  (*point)[1] = param->u.td.y_value / kFixedOne;
  return PF_Err_NONE;
}

PF_Err FloatAngle(PF_ProgPtr ref, const PF_ParamDef* param, A_FpLong* degrees) noexcept {
  if (param == nullptr || degrees == nullptr) {
    return PF_Err_BAD_CALLBACK_PARAM;
  }
  if (const PF_Err refused = AskOf(ref, HostCall::kQueryParameters)) {
    return refused;
  }
  *degrees = param->u.ad.value / kFixedOne;
  return PF_Err_NONE;
}

constexpr PF_ColorParamSuite1 kColorParam{&FloatColor};
constexpr PF_PointParamSuite1 kPointParam{&FloatPoint};
constexpr PF_AngleParamSuite1 kAngleParam{&FloatAngle};

// ---- Auxiliary channels: no layer has any ----

PF_Err ChannelCount(PF_ProgPtr, PF_ParamIndex, A_long* count) noexcept {
  if (count == nullptr) {
    return PF_Err_BAD_CALLBACK_PARAM;
  }
  *count = 0;
  return PF_Err_NONE;
}

/// Serves both searches, by number and by type.
PF_Err FindChannel(PF_ProgPtr, PF_ParamIndex, A_long, PF_Boolean* found, void*, void*) noexcept {
  if (found == nullptr) {
    return PF_Err_BAD_CALLBACK_PARAM;
  }
  *found = 0;
  return PF_Err_NONE;
}

PF_Err CheckoutChannel(PF_ProgPtr, void*, A_long, A_long, A_u_long, A_long, void*) noexcept {
  return PF_Err_BAD_CALLBACK_PARAM;
}

PF_Err CheckinChannel(PF_ProgPtr, void*, void*) noexcept {
  return PF_Err_NONE;
}

struct ChannelSuite {
  PF_Err (*count)(PF_ProgPtr, PF_ParamIndex, A_long*);
  PF_Err (*byNumber)(PF_ProgPtr, PF_ParamIndex, A_long, PF_Boolean*, void*, void*);
  PF_Err (*byType)(PF_ProgPtr, PF_ParamIndex, A_long, PF_Boolean*, void*, void*);
  PF_Err (*checkout)(PF_ProgPtr, void*, A_long, A_long, A_u_long, A_long, void*);
  PF_Err (*checkin)(PF_ProgPtr, void*, void*);
};
constexpr ChannelSuite kChannels{&ChannelCount, &FindChannel, &FindChannel, &CheckoutChannel,
                                 &CheckinChannel};

// ---- Paths: no layer has a mask ----

PF_Err NumPaths(PF_ProgPtr, A_long* count) noexcept {
  return ChannelCount(nullptr, 0, count);
}
PF_Err PathInfo(PF_ProgPtr, A_long, A_u_long*) noexcept {
  return PF_Err_INVALID_INDEX;
}
/// A path that does not exist is null, and no error.
PF_Err CheckoutPath(PF_ProgPtr, A_u_long, A_long, A_long, A_u_long, void** path) noexcept {
  if (path == nullptr) {
    return PF_Err_BAD_CALLBACK_PARAM;
  }
  *path = nullptr;
  return PF_Err_NONE;
}
PF_Err CheckinPath(PF_ProgPtr, A_u_long, PF_Boolean, void*) noexcept {
  return PF_Err_NONE;
}

struct PathQuerySuite {
  PF_Err (*count)(PF_ProgPtr, A_long*);
  PF_Err (*info)(PF_ProgPtr, A_long, A_u_long*);
  PF_Err (*checkout)(PF_ProgPtr, A_u_long, A_long, A_long, A_u_long, void**);
  PF_Err (*checkin)(PF_ProgPtr, A_u_long, PF_Boolean, void*);
};
constexpr PathQuerySuite kPathQuery{&NumPaths, &PathInfo, &CheckoutPath, &CheckinPath};

PF_Err PathIsOpen(PF_ProgPtr, void*, PF_Boolean* open) noexcept {
  if (open == nullptr) {
    return PF_Err_BAD_CALLBACK_PARAM;
  }
  *open = 1;
  return PF_Err_NONE;
}
PF_Err PathNumSegments(PF_ProgPtr, void*, A_long* count) noexcept {
  return ChannelCount(nullptr, 0, count);
}
PF_Err PathVertexInfo(PF_ProgPtr, void*, A_long, void*) noexcept {
  return PF_Err_INVALID_INDEX;
}
PF_Err PathPrepareLength(PF_ProgPtr, void*, A_long, A_long, void**) noexcept {
  return PF_Err_INVALID_INDEX;
}
PF_Err PathGetLength(PF_ProgPtr, void*, A_long, void**, A_FpLong*) noexcept {
  return PF_Err_INVALID_INDEX;
}
PF_Err PathEvalLength(PF_ProgPtr, void*, void**, A_long, A_FpLong, A_FpLong*, A_FpLong*) noexcept {
  return PF_Err_INVALID_INDEX;
}
PF_Err PathEvalSlope(PF_ProgPtr, void*, void**, A_long, A_FpLong, A_FpLong*, A_FpLong*, A_FpLong*,
                     A_FpLong*) noexcept {
  return PF_Err_INVALID_INDEX;
}
PF_Err PathCleanupLength(PF_ProgPtr, void*, A_long, void**) noexcept {
  return PF_Err_NONE;
}
PF_Err PathIsInverted(PF_ProgPtr, A_u_long, PF_Boolean* inverted) noexcept {
  if (inverted == nullptr) {
    return PF_Err_BAD_CALLBACK_PARAM;
  }
  *inverted = 0;
  return PF_Err_NONE;
}
PF_Err PathMaskMode(PF_ProgPtr, A_u_long, A_long* mode) noexcept {
  constexpr A_long kAdd = 1;
  if (mode == nullptr) {
    return PF_Err_BAD_CALLBACK_PARAM;
  }
  *mode = kAdd;
  return PF_Err_NONE;
}
PF_Err PathName(PF_ProgPtr, A_u_long, A_char* name) noexcept {
  if (name == nullptr) {
    return PF_Err_BAD_CALLBACK_PARAM;
  }
  *name = '\0';
  return PF_Err_NONE;
}

struct PathDataSuite {
  PF_Err (*isOpen)(PF_ProgPtr, void*, PF_Boolean*);
  PF_Err (*numSegments)(PF_ProgPtr, void*, A_long*);
  PF_Err (*vertexInfo)(PF_ProgPtr, void*, A_long, void*);
  PF_Err (*prepare)(PF_ProgPtr, void*, A_long, A_long, void**);
  PF_Err (*length)(PF_ProgPtr, void*, A_long, void**, A_FpLong*);
  PF_Err (*eval)(PF_ProgPtr, void*, void**, A_long, A_FpLong, A_FpLong*, A_FpLong*);
  PF_Err (*slope)(PF_ProgPtr, void*, void**, A_long, A_FpLong, A_FpLong*, A_FpLong*, A_FpLong*,
                  A_FpLong*);
  PF_Err (*cleanup)(PF_ProgPtr, void*, A_long, void**);
  PF_Err (*isInverted)(PF_ProgPtr, A_u_long, PF_Boolean*);
  PF_Err (*maskMode)(PF_ProgPtr, A_u_long, A_long*);
  PF_Err (*name)(PF_ProgPtr, A_u_long, A_char*);
};
constexpr PathDataSuite kPathData{&PathIsOpen,        &PathNumSegments,   &PathVertexInfo,
                                  &PathPrepareLength, &PathGetLength,     &PathEvalLength,
                                  &PathEvalSlope,     &PathCleanupLength, &PathIsInverted,
                                  &PathMaskMode,      &PathName};

template <const auto& table>
const void* Constant() {
  return &table;
}

constexpr OfferedSuite kSuites[] = {
    {"PF Param Utils Suite", 2, &Constant<kParamUtils2>},
    {"PF Param Utils Suite", 3, &Constant<kParamUtils3>, Age::kNewer},
    {"PF ColorParamSuite", 1, &Constant<kColorParam>},
    {"PF PointParamSuite", 1, &Constant<kPointParam>},
    {"PF AngleParamSuite", 1, &Constant<kAngleParam>},
    {"PF AE Channel Suite", 1, &Constant<kChannels>},
    {"PF Path Query Suite", 1, &Constant<kPathQuery>},
    {"PF Path Data Suite", 1, &Constant<kPathData>},
};

}  // namespace

std::span<const OfferedSuite> ParameterSuites() {
  return kSuites;
}

}  // namespace veltra::host
