// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Whether this process works for a submission to a farm, and for which.
#pragma once

#include <string>

namespace veltra {

/// From here on this process, and those that it starts, work for the submission of this mark, so
/// that their temporary files can be found when they are killed. Letters, digits and dashes. To be
/// called before there are other threads.
void SetSubmissionMark(const std::string& mark);

/// The mark that was set, here or by who started us; empty without one.
const std::string& SubmissionMark();

}  // namespace veltra
