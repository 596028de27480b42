// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// The files that must go when the program is stopped before they are whole.
#pragma once

#include <cstdint>
#include <string>

namespace veltra {

/// One file's place in the list; each is given out once. Zero when the list was full or the path
/// too long: such a file stays if the program is stopped at once.
using TemporaryTicket = std::uint64_t;

/// Puts a file on the list.
TemporaryTicket RememberTemporary(const std::string& path) noexcept;

/// Takes it off again; it now has its name, or is gone.
void ForgetTemporary(TemporaryTicket ticket) noexcept;

/// Deletes the files on the list. Safe in a signal handler, whatever other threads do meanwhile.
void RemoveTemporaryFiles() noexcept;

}  // namespace veltra
