// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// How many frames a video has and when they are shown, as its packets tell without decoding any.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "host_api/types.h"

namespace veltra::cli {

struct FrameTimes {
  /// Frames that are shown, one per packet; more than there are packets where the container tells
  /// of more.
  int count = 0;
  /// Seconds from the first frame, ascending. Empty where the rate is constant, that is, where no
  /// frame lies half a frame or more from its place at that rate, and where packets have no times.
  std::vector<double> seconds;
  /// Why there are fewer frames than the container tells; empty where it looks whole.
  std::string damage;
};

/// Reads what ffprobe lists: a line "SECONDS,BYTES,FLAGS" per packet. `told` is the container's
/// own count, 0 where it has none; `rate` is taken as frames per second.
FrameTimes TimesFromPackets(std::string_view lines, int told, PF_RationalScale rate);

/// Reads a file's packets from beginning to end. Throws RenderError "NAME: reason", Interrupted.
FrameTimes ReadFrameTimes(const std::string& path, int told, PF_RationalScale rate);

/// The place of the frame that is shown at a time; `seconds` is not empty and ascending. Times
/// before the first have its place.
std::int64_t PlaceAtTime(const FrameTimes& times, double seconds);

}  // namespace veltra::cli
