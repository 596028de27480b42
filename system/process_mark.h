// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// A name for this process that others can tell by whether it still runs.
#pragma once

#include <string>
#include <string_view>

namespace veltra {

/// Letters, digits and one dash: which start of which machine (and which set of process numbers on
/// it), and the number of the process there.
const std::string& OwnProcessMark();

/// Whether a mark is that of a process that ended. False also where that cannot be known: it is of
/// another machine, of an earlier start of this one, or no mark at all.
bool IsMarkOfEndedProcess(std::string_view mark);

// ---- What each system has of its own ----

/// A text that two processes have in common when they can see each other's number, and others not.
std::string WhereNumbersCount();

/// Whether no process of that number runs.
bool HasEnded(int number);

}  // namespace veltra
