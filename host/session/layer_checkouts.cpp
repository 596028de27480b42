// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// States of layer checkouts.

#include "host/session/layer_checkouts.h"

#include <algorithm>

namespace veltra::host {

void LayerCheckouts::Clear() {
  const std::lock_guard lock(mutex_);
  entries_.clear();
}

bool LayerCheckouts::Request(const LayerRequest& request) {
  const std::lock_guard lock(mutex_);
  if (std::any_of(entries_.begin(), entries_.end(), [&request](const Entry& other) {
        return other.checkout.request.id == request.id;
      })) {
    return false;
  }
  entries_.emplace_back().checkout.request = request;
  return true;
}

LayerCheckout* LayerCheckouts::Claim(A_long id, Rule& broken) {
  const std::lock_guard lock(mutex_);
  for (Entry& entry : entries_) {
    if (entry.checkout.request.id == id) {
      if (entry.state != State::kRequested) {
        broken = Rule::kLayerFetchedTwice;
        return nullptr;
      }
      entry.state = State::kClaimed;
      return &entry.checkout;
    }
  }
  broken = Rule::kLayerNotRequested;
  return nullptr;
}

void LayerCheckouts::Finish(const LayerCheckout& checkout, bool handedOut) {
  const std::lock_guard lock(mutex_);
  for (Entry& entry : entries_) {
    if (&entry.checkout == &checkout) {
      entry.state = handedOut ? State::kOut : State::kRequested;
    }
  }
  anyHandedOut_ = anyHandedOut_ || handedOut;
}

bool LayerCheckouts::Return(A_long id) {
  const std::lock_guard lock(mutex_);
  for (Entry& entry : entries_) {
    if (entry.checkout.request.id == id && entry.state == State::kOut) {
      entry.state = State::kReturned;
      return true;
    }
  }
  return false;
}

PF_LRect LayerCheckouts::FirstOf(PF_ParamIndex index) const {
  const std::lock_guard lock(mutex_);
  const auto found = std::find_if(entries_.begin(), entries_.end(), [index](const Entry& entry) {
    return entry.checkout.request.index == index && !IsEmpty(entry.checkout.request.rect);
  });
  return found != entries_.end() ? found->checkout.request.rect : PF_LRect{0, 0, 0, 0};
}

bool LayerCheckouts::OutputMayFollow() const {
  const std::lock_guard lock(mutex_);
  return anyHandedOut_ || entries_.empty();
}

}  // namespace veltra::host
