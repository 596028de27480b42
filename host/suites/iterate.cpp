// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Iteration: rows are handed out one by one, so that cheap and dear rows even out over the cores.

#include "host/suites/iterate.h"

#include <mutex>

#include "host/pixels/row_work.h"
#include "host/pixels/world_view.h"
#include "host/session/session.h"

namespace veltra::host {
namespace {

template <class Pixel>
class Iteration {
 public:
  Iteration(Session& session, const PF_LRect& area, void* refcon,
            PF_IteratePixelFn<Pixel> pixelFunction, const PF_EffectWorld* source,
            const PF_EffectWorld& destination)
      : session_(session),
        area_(area),
        refcon_(refcon),
        pixelFunction_(pixelFunction),
        source_(source != nullptr ? *source : destination),
        destination_(destination) {}

  PF_Err Run(A_long progressBase, A_long progressFinal) {
    progressBase_ = progressBase;
    progressFinal_ = progressFinal;
    ThreadPool* pool = session_.Settings() != nullptr ? session_.Settings()->pool : nullptr;
    return ForEachPiece(pool, area_.bottom - area_.top, [this](int index) { return Row(index); });
  }

 private:
  PF_Err Row(int index) {
    const SessionScope scope(&session_);
    if (session_.AbortedAtRow(index)) {
      return PF_Interrupt_CANCEL;
    }
    const PF_Err error = CallRow(area_.top + index);
    if (error == PF_Err_NONE && session_.WantsProgress()) {
      Report();
    }
    return error;
  }

  PF_Err CallRow(A_long y) const {
    Pixel* in = RowOf<Pixel>(source_, y) + area_.left;
    Pixel* out = RowOf<Pixel>(destination_, y) + area_.left;
    for (A_long x = area_.left; x < area_.right; ++x, ++in, ++out) {
      if (const PF_Err error = pixelFunction_(refcon_, x, y, in, out)) {
        return error;
      }
    }
    return PF_Err_NONE;
  }

  /// Counts and tells under one lock, so that what is told only ever grows.
  void Report() {
    const std::lock_guard lock(reportMutex_);
    ++rowsDone_;
    const std::int64_t span = std::int64_t{progressFinal_} - progressBase_;
    const std::int64_t current = progressBase_ + span * rowsDone_ / (area_.bottom - area_.top);
    session_.ReportProgress(static_cast<A_long>(current), progressFinal_);
  }

  Session& session_;
  PF_LRect area_;
  void* refcon_;
  PF_IteratePixelFn<Pixel> pixelFunction_;
  PF_EffectWorld source_;
  PF_EffectWorld destination_;
  A_long progressBase_ = 0;
  A_long progressFinal_ = 0;
  std::mutex reportMutex_;
  A_long rowsDone_ = 0;
};

}  // namespace

template <class Pixel>
PF_Err IteratePixels(PF_InData* inData, A_long progressBase, A_long progressFinal,
                     PF_EffectWorld* source, const PF_LRect* area, void* refcon,
                     PF_IteratePixelFn<Pixel> pixelFunction, PF_EffectWorld* destination) noexcept {
  Session* session = inData != nullptr ? Session::From(inData->effect_ref) : nullptr;
  constexpr A_long bytes = sizeof(Pixel);
  if (session == nullptr || pixelFunction == nullptr || destination == nullptr ||
      !IsReadableAs(*destination, bytes) || (source != nullptr && !IsReadableAs(*source, bytes))) {
    return PF_Err_BAD_CALLBACK_PARAM;
  }
  return Guarded([&]() -> PF_Err {
    if (const PF_Err refused = session->Ask(HostCall::kIterate)) {
      return refused;
    }
    PF_LRect part = BoundsOf(*destination);
    if (area != nullptr) {
      part = Intersection(part, *area);
    }
    if (source != nullptr) {
      part = Intersection(part, BoundsOf(*source));
    }
    if (session->Aborted()) {
      return PF_Interrupt_CANCEL;
    }
    Iteration<Pixel> iteration(*session, part, refcon, pixelFunction, source, *destination);
    return iteration.Run(progressBase, progressFinal);
  });
}

template PF_Err IteratePixels<PF_Pixel8>(PF_InData*, A_long, A_long, PF_EffectWorld*,
                                         const PF_LRect*, void*, PF_IteratePixelFn<PF_Pixel8>,
                                         PF_EffectWorld*) noexcept;
template PF_Err IteratePixels<PF_Pixel16>(PF_InData*, A_long, A_long, PF_EffectWorld*,
                                          const PF_LRect*, void*, PF_IteratePixelFn<PF_Pixel16>,
                                          PF_EffectWorld*) noexcept;
template PF_Err IteratePixels<PF_PixelFloat>(PF_InData*, A_long, A_long, PF_EffectWorld*,
                                             const PF_LRect*, void*,
                                             PF_IteratePixelFn<PF_PixelFloat>,
                                             PF_EffectWorld*) noexcept;

}  // namespace veltra::host
