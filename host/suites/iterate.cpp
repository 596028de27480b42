// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Iteration: rows are handed out one by one, so that quick and slow rows even out over the cores.

#include "host/suites/iterate.h"

#include <algorithm>
#include <mutex>
#include <thread>
#include <vector>

#include "host/pixels/row_work.h"
#include "host/pixels/world_view.h"
#include "host/suites/callback.h"

namespace veltra::host {
namespace {

/// How the source lies under the destination.
struct SourcePlace {
  PF_Point origin{0, 0};  ///< of the source's first pixel, in the destination
  bool clips = true;      ///< pixels without a source are not visited
};

template <class Pixel>
class Iteration {
 public:
  Iteration(Session& session, const PF_LRect& area, void* refcon,
            PF_IteratePixelFn<Pixel> pixelFunction, const PF_EffectWorld* source,
            const SourcePlace& place, const PF_EffectWorld& destination)
      : session_(session),
        area_(area),
        refcon_(refcon),
        pixelFunction_(pixelFunction),
        source_(source != nullptr ? *source : destination),
        place_(source != nullptr ? place : SourcePlace{}),
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
    // A final value below 1 asks for no reports.
    if (error == PF_Err_NONE && progressFinal_ >= 1 && session_.WantsProgress()) {
      Report();
    }
    return error;
  }

  PF_Err CallRow(A_long y) const {
    if (place_.clips) {
      return CallStretch(y, area_.left, area_.right);
    }
    const A_long sourceY = y - place_.origin.v;
    const bool hasRow = sourceY >= 0 && sourceY < source_.height;
    const A_long first =
        hasRow ? std::clamp(place_.origin.h, area_.left, area_.right) : area_.right;
    const A_long last =
        hasRow ? std::clamp(place_.origin.h + source_.width, first, area_.right) : area_.right;
    PF_Err error = CallEmpty(y, area_.left, first);
    error = error == PF_Err_NONE && first < last ? CallStretch(y, first, last) : error;
    return error == PF_Err_NONE ? CallEmpty(y, last, area_.right) : error;
  }

  /// Pixels that all have a source.
  PF_Err CallStretch(A_long y, A_long first, A_long last) const {
    Pixel* in = RowOf<Pixel>(source_, y - place_.origin.v) + (first - place_.origin.h);
    Pixel* out = RowOf<Pixel>(destination_, y) + first;
    // Copies, since for all that is known a call could change the members.
    const auto pixelFunction = pixelFunction_;
    void* const refcon = refcon_;
    for (A_long x = first; x < last; ++x, ++in, ++out) {
      if (const PF_Err error = pixelFunction(refcon, x, y, in, out)) {
        return error;
      }
    }
    return PF_Err_NONE;
  }

  /// Pixels that have none.
  PF_Err CallEmpty(A_long y, A_long first, A_long last) const {
    Pixel* out = RowOf<Pixel>(destination_, y) + first;
    for (A_long x = first; x < last; ++x, ++out) {
      Pixel nothing{};
      if (const PF_Err error = pixelFunction_(refcon_, x, y, &nothing, out)) {
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
  SourcePlace place_;
  PF_EffectWorld destination_;
  A_long progressBase_ = 0;
  A_long progressFinal_ = 0;
  std::mutex reportMutex_;
  A_long rowsDone_ = 0;
};

/// Where the source's pixels lie in the destination.
PF_LRect PlacedBounds(const PF_EffectWorld& source, const PF_Point& origin) {
  return {origin.h, origin.v, origin.h + source.width, origin.v + source.height};
}

template <class Pixel>
PF_Err Iterate(HostCall call, PF_InData* inData, A_long progressBase, A_long progressFinal,
               PF_EffectWorld* source, const PF_LRect* area, const SourcePlace& place, void* refcon,
               PF_IteratePixelFn<Pixel> pixelFunction, PF_EffectWorld* destination) noexcept {
  constexpr A_long bytes = sizeof(Pixel);
  constexpr A_long reach = 2 * kHostMaxWorldSide;  // beyond it no two worlds meet
  const bool usable = inData != nullptr && pixelFunction != nullptr && destination != nullptr &&
                      IsReadableAs(*destination, bytes) &&
                      (source == nullptr || IsReadableAs(*source, bytes));
  return Serve(usable ? inData->effect_ref : nullptr, call, usable,
               [&](Session& session) -> PF_Err {
                 PF_LRect part = BoundsOf(*destination);
                 if (area != nullptr) {
                   part = Intersection(part, *area);
                 }
                 SourcePlace held = place;
                 held.origin = {std::clamp(place.origin.h, -reach, reach),
                                std::clamp(place.origin.v, -reach, reach)};
                 if (source != nullptr && place.clips) {
                   part = Intersection(part, PlacedBounds(*source, held.origin));
                 }
                 if (session.Aborted()) {
                   return PF_Interrupt_CANCEL;
                 }
                 Iteration<Pixel> iteration(session, part, refcon, pixelFunction, source, held,
                                            *destination);
                 return iteration.Run(progressBase, progressFinal);
               });
}

// ---- Tables ----

struct LookUpTables {
  const A_u_char* alpha;
  const A_u_char* red;
  const A_u_char* green;
  const A_u_char* blue;
};

PF_Err LookUp(void* refcon, A_long /*x*/, A_long /*y*/, PF_Pixel8* in, PF_Pixel8* out) {
  const auto& tables = *static_cast<const LookUpTables*>(refcon);
  const auto through = [](const A_u_char* table, A_u_char value) {
    return table != nullptr ? table[value] : value;
  };
  *out = {through(tables.alpha, in->alpha), through(tables.red, in->red),
          through(tables.green, in->green), through(tables.blue, in->blue)};
  return PF_Err_NONE;
}

// ---- Anything ----

/// Gives each thread that is inside a number of its own; the caller's is 0.
class ThreadNumbers {
 public:
  explicit ThreadNumbers(int threads)
      : caller_(std::this_thread::get_id()), taken_(static_cast<std::size_t>(threads), false) {}

  int Take() {
    if (std::this_thread::get_id() == caller_) {
      return 0;
    }
    const std::lock_guard lock(mutex_);
    const auto free = std::find(taken_.begin() + 1, taken_.end(), false);
    *free = true;
    return static_cast<int>(free - taken_.begin());
  }

  void Return(int number) {
    const std::lock_guard lock(mutex_);
    taken_[static_cast<std::size_t>(number)] = false;
  }

 private:
  std::thread::id caller_;
  std::mutex mutex_;
  std::vector<bool> taken_;
};

}  // namespace

PF_Err IterateGeneric(A_long iterations, void* refcon, PF_GenericFn function) noexcept {
  if (function == nullptr || iterations < PF_Iterations_ONCE_PER_PROCESSOR) {
    return PF_Err_BAD_CALLBACK_PARAM;
  }
  return Guarded([&]() -> PF_Err {
    Session* session = Session::Current();
    if (const PF_Err refused = AskCurrent(HostCall::kIterateGeneric)) {
      return refused;
    }
    const bool settled = session != nullptr && session->Settings() != nullptr;
    ThreadPool* pool = settled ? session->Settings()->pool : nullptr;
    const int threads = pool != nullptr ? pool->ThreadCount() : 1;
    const A_long count = iterations == PF_Iterations_ONCE_PER_PROCESSOR ? threads : iterations;
    ThreadNumbers numbers(threads);
    return ForEachPiece(pool, count, [&](int i) {
      const SessionScope scope(session);
      const int number = numbers.Take();
      const PF_Err error = Guarded([&] { return function(refcon, number, i, count); });
      numbers.Return(number);
      return error;
    });
  });
}

PF_Err IterateLut(PF_InData* inData, A_long progressBase, A_long progressFinal,
                  PF_EffectWorld* source, const PF_LRect* area, A_u_char* alpha, A_u_char* red,
                  A_u_char* green, A_u_char* blue, PF_EffectWorld* destination) noexcept {
  LookUpTables tables{alpha, red, green, blue};
  return Iterate<PF_Pixel8>(HostCall::kIterateLut, inData, progressBase, progressFinal, source,
                            area, {}, &tables, &LookUp, destination);
}

template <class Pixel>
PF_Err IteratePixels(PF_InData* inData, A_long progressBase, A_long progressFinal,
                     PF_EffectWorld* source, const PF_LRect* area, void* refcon,
                     PF_IteratePixelFn<Pixel> pixelFunction, PF_EffectWorld* destination) noexcept {
  return Iterate<Pixel>(HostCall::kIterate, inData, progressBase, progressFinal, source, area, {},
                        refcon, pixelFunction, destination);
}

template <class Pixel>
PF_Err IterateOrigin(PF_InData* inData, A_long progressBase, A_long progressFinal,
                     PF_EffectWorld* source, const PF_LRect* area, const PF_Point* origin,
                     void* refcon, PF_IteratePixelFn<Pixel> pixelFunction,
                     PF_EffectWorld* destination) noexcept {
  const SourcePlace place{origin != nullptr ? *origin : PF_Point{0, 0}, true};
  return Iterate<Pixel>(HostCall::kIterateOrigin, inData, progressBase, progressFinal, source, area,
                        place, refcon, pixelFunction, destination);
}

template <class Pixel>
PF_Err IterateOriginNonClip(PF_InData* inData, A_long progressBase, A_long progressFinal,
                            PF_EffectWorld* source, const PF_LRect* area, const PF_Point* origin,
                            void* refcon, PF_IteratePixelFn<Pixel> pixelFunction,
                            PF_EffectWorld* destination) noexcept {
  const SourcePlace place{origin != nullptr ? *origin : PF_Point{0, 0}, false};
  return Iterate<Pixel>(HostCall::kIterateOrigin, inData, progressBase, progressFinal, source, area,
                        place, refcon, pixelFunction, destination);
}

#define VELTRA_ITERATIONS_OF(Pixel)                                                         \
  template PF_Err IteratePixels<Pixel>(PF_InData*, A_long, A_long, PF_EffectWorld*,         \
                                       const PF_LRect*, void*, PF_IteratePixelFn<Pixel>,    \
                                       PF_EffectWorld*) noexcept;                           \
  template PF_Err IterateOrigin<Pixel>(PF_InData*, A_long, A_long, PF_EffectWorld*,         \
                                       const PF_LRect*, const PF_Point*, void*,             \
                                       PF_IteratePixelFn<Pixel>, PF_EffectWorld*) noexcept; \
  template PF_Err IterateOriginNonClip<Pixel>(PF_InData*, A_long, A_long, PF_EffectWorld*,  \
                                              const PF_LRect*, const PF_Point*, void*,      \
                                              PF_IteratePixelFn<Pixel>, PF_EffectWorld*) noexcept
VELTRA_ITERATIONS_OF(PF_Pixel8);
VELTRA_ITERATIONS_OF(PF_Pixel16);
VELTRA_ITERATIONS_OF(PF_PixelFloat);
#undef VELTRA_ITERATIONS_OF

}  // namespace veltra::host
