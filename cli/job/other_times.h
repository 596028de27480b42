// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// The pictures of a pass's inputs at other times than that of the frame which is rendered.
#pragma once

#include <cstddef>
#include <list>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <utility>

#include "cli/job/schedule.h"
#include "cli/settings/options.h"

namespace veltra::cli {

/// Whether an input is more than a still.
bool ChangesWithTime(const JobInput& input);

/// Opens inputs a second time, so that the run's own sources go on in their order. Safe on several
/// threads.
class OtherTimes {
 public:
  /// `settings` are those of the run's sources, the pixel aspect apart. The options, the files and
  /// the settings' pool must outlive this.
  OtherTimes(const RenderOptions& options, const JobFiles& files, std::size_t pass,
             PF_RationalScale rate, const SourceSettings& settings);

  /// Whether any input of the pass changes with time.
  bool Any() const { return !inputs_.empty(); }
  /// Whether the input of a control (0 for the frame) changes with time.
  bool Has(PF_ParamIndex index) const { return inputs_.contains(index); }

  /// The picture at a time, the latest that has begun by then; null outside of the footage. `index`
  /// must be of an input that changes. Throws RenderError "NAME: reason", Interrupted.
  SharedWorld At(PF_ParamIndex index, A_long time, A_u_long scale);

 private:
  struct Input {
    const JobInput* input = nullptr;
    std::unique_ptr<FrameSource> source;  ///< null until the first picture is wanted
    std::optional<FrameRange> onDisk;     ///< of a sequence that has no timing of its own
  };

  void Open(Input& input) const;
  SharedWorld Read(Input& input, int frame) const;
  void Keep(PF_ParamIndex index, int frame, const SharedWorld& world);

  const RenderOptions& options_;
  PF_RationalScale rate_;
  SourceSettings settings_;
  std::mutex mutex_;
  std::map<PF_ParamIndex, Input> inputs_;  ///< their sources guarded by `mutex_`

  struct Kept {
    PF_ParamIndex index;
    int frame;
    SharedWorld world;
  };
  std::list<Kept> kept_;  ///< what was asked for last comes first; guarded by `mutex_`
};

}  // namespace veltra::cli
