// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// The layers that smart render promises in pre-render and hands out in render.
#pragma once

#include <list>
#include <mutex>

#include "host/pixels/world.h"
#include "host/session/rules.h"

namespace veltra::host {

/// What pre-render asked for under an id.
struct LayerRequest {
  A_long id = 0;
  PF_ParamIndex index = 0;
  PF_LRect rect{0, 0, 0, 0};  ///< granted, in the layer's coordinates; empty gives no pixels
  A_long time = 0;            ///< in units of 1 / scale seconds
  A_u_long scale = 1;
};

/// A layer that pre-render asked for. What was granted stays as it is; the view is
/// written by the one thread that claimed the checkout.
struct LayerCheckout {
  LayerRequest request;
  PF_EffectWorld view{};
  World transparent;  ///< the pixels of a frame that has none
};

/// The table of a frame's checkouts. Safe on many threads; entries stay where they are.
class LayerCheckouts {
 public:
  /// Forgets all requests, before another pre-render; nothing may be out.
  void Clear();
  /// Enters a request; false where the id is taken.
  bool Request(const LayerRequest& request);

  /// The checkout of that id for the first thread that wants its pixels; null, and the rule that
  /// was broken, where there is none or somebody has it.
  LayerCheckout* Claim(A_long id, Rule& broken);
  /// The claimed checkout's pixels have been handed out, or could not be and may be claimed again.
  void Finish(const LayerCheckout& checkout, bool handedOut);
  /// Takes pixels back; false where none are out under that id.
  bool Return(A_long id);

  /// What was granted first of a parameter's layer, apart from nothing; empty for none.
  PF_LRect FirstOf(PF_ParamIndex index) const;

  /// Whether the output may be handed out: some layer has been, or none was requested.
  bool OutputMayFollow() const;

 private:
  enum class State { kRequested, kClaimed, kOut, kReturned };
  struct Entry {
    LayerCheckout checkout;
    State state = State::kRequested;
  };

  mutable std::mutex mutex_;
  std::list<Entry> entries_;   // guarded by mutex_, but for the claimed checkouts' insides
  bool anyHandedOut_ = false;  // guarded by mutex_
};

}  // namespace veltra::host
