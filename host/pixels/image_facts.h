// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// What a render works out about an image before it lends it to an effect.
#pragma once

#include <memory>
#include <mutex>
#include <vector>

#include "host/pixels/area_sums.h"

namespace veltra::host {

/// Of one view of an image. Holds as long as the pixels stay as they are.
struct ImageFacts {
  ImageFacts(const PF_EffectWorld& view, Depth depth);

  bool AreOf(const PF_EffectWorld& view) const {
    return view.data == image.data && view.rowbytes == image.rowbytes &&
           view.width == image.width && view.height == image.height;
  }

  PF_EffectWorld image;
  PF_LRect visibleExtent;                  ///< see VisibleExtent
  std::unique_ptr<AreaSumsBase> areaSums;  ///< null when there was no memory for them
};

/// Facts of the views of one unchanging image, kept from frame to frame. Safe on many threads.
class KeptImageFacts {
 public:
  /// Known ones, or new ones, which are kept while there are only a few.
  std::shared_ptr<const ImageFacts> Of(const PF_EffectWorld& view, Depth depth);

 private:
  /// One, unless the effect asks for parts of the image: then their number has no bound.
  static constexpr std::size_t kMostViews = 4;

  std::mutex mutex_;
  std::vector<std::shared_ptr<const ImageFacts>> facts_;
};

}  // namespace veltra::host
