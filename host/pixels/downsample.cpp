// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Reduction of images by a whole factor.

#include <algorithm>
#include <vector>

#include "host/pixels/pixel_maths.h"
#include "host/pixels/world.h"
#include "host/pixels/world_view.h"

namespace veltra::host {
namespace {

/// One row of results: sums over the boxes of up to `factor` source rows, then the averages.
template <class Pixel>
class BoxRow {
 public:
  BoxRow(const World& source, int factor, A_long width)
      : source_(source), factor_(factor), sums_(static_cast<std::size_t>(width)) {}

  void Reduce(A_long firstRow, std::span<Pixel> out) {
    std::fill(sums_.begin(), sums_.end(), WeightedSum{});
    const A_long lastRow = std::min(firstRow + factor_, source_.Height());
    for (A_long y = firstRow; y < lastRow; ++y) {
      AddRow(source_.Row<Pixel>(y));
    }
    for (std::size_t i = 0; i < sums_.size(); ++i) {
      const A_long left = static_cast<A_long>(i) * factor_;
      const A_long columns = std::min(left + factor_, source_.Width()) - left;
      out[i] =
          sums_[i].template Average<Pixel>(static_cast<double>(columns) * (lastRow - firstRow));
    }
  }

 private:
  void AddRow(std::span<const Pixel> row) {
    auto pixel = row.begin();
    for (WeightedSum& sum : sums_) {
      const auto stop = row.end() - pixel < factor_ ? row.end() : pixel + factor_;
      for (; pixel != stop; ++pixel) {
        sum.Add(*pixel, 1.0);
      }
    }
  }

  const World& source_;
  int factor_;
  std::vector<WeightedSum> sums_;
};

}  // namespace

A_long DownsampledLength(A_long length, int factor) {
  if (factor <= 1) {
    return length;
  }
  const std::int64_t rounded = (std::int64_t{2} * length + factor) / (std::int64_t{2} * factor);
  return static_cast<A_long>(std::max<std::int64_t>(1, rounded));
}

Expected<World> BoxDownsample(const World& source, int factor, const RowWork& work) {
  if (source.Empty() || factor < 1) {
    return Failure{"an image and a factor of at least 1 are needed to reduce it"};
  }
  auto created = World::Create(DownsampledLength(source.Width(), factor),
                               DownsampledLength(source.Height(), factor), source.PixelDepth());
  if (!created) {
    return created;
  }
  World& result = *created;
  result.SetPixelAspect(source.PixelAspect());
  // A factor beyond the image's own size is one box over all of it.
  const int step = std::min<int>(factor, std::max(source.Width(), source.Height()));
  const std::int64_t bytesPerRow = std::int64_t{source.View().rowbytes} * step;
  const PF_Err error = WithPixelType(source.PixelDepth(), [&](auto pixel) {
    using Pixel = decltype(pixel);
    return work.Run(result.Height(), bytesPerRow, [&](A_long first, A_long last) {
      BoxRow<Pixel> boxes(source, step, result.Width());
      for (A_long y = first; y < last; ++y) {
        boxes.Reduce(y * step, result.Row<Pixel>(y));
      }
    });
  });
  if (error != PF_Err_NONE) {
    return Failure{error == PF_Interrupt_CANCEL ? "interrupted"
                                                : "not enough memory to reduce an image"};
  }
  return created;
}

}  // namespace veltra::host
