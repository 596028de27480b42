// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// What the fixture effect can be told to do, well behaved or not.
#pragma once

#include "host_api/types.h"

namespace veltra::fixture {

/// Controls of the fixture, by index.
inline constexpr PF_ParamIndex kLayer = 1;
inline constexpr PF_ParamIndex kBehaviour = 2;  ///< slider, one of the numbers below
inline constexpr PF_ParamIndex kAmount = 3;     ///< slider, 50 by default
inline constexpr PF_ParamIndex kSwitch = 4;     ///< checkbox, on by default
inline constexpr PF_ParamIndex kPlace = 5;      ///< point, 25 %, 75 % by default
inline constexpr PF_ParamIndex kChoice = 6;     ///< popup of three, the second by default

enum Behaviour : int {
  kCopyInput,         ///< the output is the input; the checkbox adds one to every red by iteration
  kReport,            ///< copies, and tells what it was handed in its message
  kFetchTwice,        ///< returns what the second fetch under one id answers
  kFetchUnrequested,  ///< returns what the fetch of an unknown id answers
  kOutputFirst,       ///< returns what the output answers before any input
  kHalfResult,        ///< fills only the left half of the request with white
  kEmptyResult,       ///< has nothing to show
  kExtraPixels,       ///< renders 3 more pixels on each side and says so
  kExceedRequest,     ///< the same without saying so
  kPlainFree,         ///< pre-render data without a delete function
  kThrow,             ///< lets an exception out of the render
  kFail,              ///< fails with a message
  kKeepEverything,    ///< returns neither a parameter nor a suite
  kWriteOutside,      ///< writes beyond the last pixel of a row
  kLayerOnly,         ///< copies the layer to the output
};

}  // namespace veltra::fixture
