// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Alternating runs, medians and minima: what is compared runs turn by turn, so that a slow moment
// of the machine falls on all alike.
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

inline double Median(const std::vector<double>& times) {
  std::vector<double> values = times;
  const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
  std::nth_element(values.begin(), middle, values.end());
  return *middle;
}

inline double Fastest(const std::vector<double>& values) {
  return *std::min_element(values.begin(), values.end());
}

/// What `summary` makes of each run's seconds over `rounds` rounds, after one that does not count.
inline std::vector<double> AlternatingTimes(const std::vector<std::function<void()>>& runs,
                                            int rounds,
                                            double (*summary)(const std::vector<double>&)) {
  std::vector<std::vector<double>> times(runs.size());
  for (int round = 0; round <= rounds; ++round) {
    for (std::size_t i = 0; i < runs.size(); ++i) {
      const double seconds = Seconds(runs[i]);
      if (round > 0 || rounds == 0) {
        times[i].push_back(seconds);
      }
    }
  }
  std::vector<double> summaries;
  summaries.reserve(runs.size());
  for (const auto& values : times) {
    summaries.push_back(summary(values));
  }
  return summaries;
}

/// The median seconds of each.
inline std::vector<double> AlternatingMedians(const std::vector<std::function<void()>>& runs,
                                              int rounds) {
  return AlternatingTimes(runs, rounds, Median);
}

}  // namespace veltra::bench
