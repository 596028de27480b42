// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Alternating runs and medians: what is compared runs turn by turn, so that a slow moment of the
// machine falls on all alike.
#pragma once

#include <algorithm>
#include <ctime>
#include <functional>
#include <vector>

namespace veltra::bench {

/// Processor time, so that other programs on the machine count as little as possible (on Windows
/// the library gives the time on the wall).
inline double Seconds(const std::function<void()>& run) {
  const std::clock_t start = std::clock();
  run();
  return static_cast<double>(std::clock() - start) / static_cast<double>(CLOCKS_PER_SEC);
}

inline double Median(std::vector<double> values) {
  const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
  std::nth_element(values.begin(), middle, values.end());
  return *middle;
}

/// The median seconds of each run over `rounds` rounds, after one round that does not count.
inline std::vector<double> AlternatingMedians(const std::vector<std::function<void()>>& runs,
                                              int rounds) {
  std::vector<std::vector<double>> times(runs.size());
  for (int round = 0; round <= rounds; ++round) {
    for (std::size_t i = 0; i < runs.size(); ++i) {
      const double seconds = Seconds(runs[i]);
      if (round > 0 || rounds == 0) {
        times[i].push_back(seconds);
      }
    }
  }
  std::vector<double> medians;
  medians.reserve(runs.size());
  for (const auto& values : times) {
    medians.push_back(Median(values));
  }
  return medians;
}

}  // namespace veltra::bench
