// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Finding and keeping facts of images.

#include "host/pixels/image_facts.h"

#include <algorithm>

#include "host/pixels/world.h"

namespace veltra::host {

ImageFacts::ImageFacts(const PF_EffectWorld& view, Depth depth)
    : image(view), visibleExtent(VisibleExtent(view, depth)), areaSums(MakeAreaSums(view, depth)) {}

std::shared_ptr<const ImageFacts> KeptImageFacts::Of(const PF_EffectWorld& view, Depth depth) {
  // Held while the image is looked through: frames that start together need the same answer.
  const std::lock_guard lock(mutex_);
  const auto known = std::find_if(facts_.begin(), facts_.end(),
                                  [&view](const auto& facts) { return facts->AreOf(view); });
  if (known != facts_.end()) {
    return *known;
  }
  auto made = std::make_shared<const ImageFacts>(view, depth);
  if (facts_.size() < kMostViews) {
    facts_.push_back(made);
  }
  return made;
}

}  // namespace veltra::host
