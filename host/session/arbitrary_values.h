// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// The calls that a host owes to values of arbitrary data, which only their effect understands.
#pragma once

#include <memory>
#include <string>

#include "base/expected.h"
#include "host/session/controls.h"
#include "host_api/entry_points.h"

namespace veltra::host {

/// Sends ARBITRARY_CALLBACK about one control. May come inside another command.
class ArbitraryCalls {
 public:
  /// `inData` is copied for each call; it and the declaration must outlive this.
  ArbitraryCalls(PF_MainEntryFn entry, const PF_InData& inData, const ControlDeclaration& control)
      : entry_(entry), inData_(inData), control_(control) {}

  // Each answers a failure that names the call where the effect fails or leaves its result unset.

  Expected<FlatValue> Flatten(PF_Handle value) const;
  /// The caller disposes of the value.
  Expected<PF_Handle> Unflatten(const FlatValue& flat) const;
  Expected<PF_Handle> Copy(PF_Handle value) const;
  /// Between two values, t from 0 to 1.
  Expected<PF_Handle> Interpolate(PF_Handle left, PF_Handle right, double t) const;
  /// PF_ArbCompare_...
  Expected<A_long> Compare(PF_Handle a, PF_Handle b) const;
  Expected<std::string> Print(PF_Handle value) const;
  Expected<PF_Handle> Scan(const std::string& text) const;
  void Dispose(PF_Handle value) const;

 private:
  PF_Err Call(PF_ArbParamsExtra& extra) const;
  Expected<PF_Handle> CallForValue(PF_ArbParamsExtra& extra, const PF_Handle& result,
                                   const char* what) const;

  PF_MainEntryFn entry_;
  const PF_InData& inData_;
  const ControlDeclaration& control_;
};

}  // namespace veltra::host
