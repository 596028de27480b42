// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Marks from what the system says of itself and the process number.
#include "system/process_mark.h"

#include <charconv>

#include "base/fnv.h"
#include "base/text.h"
#include "system/files.h"

namespace veltra {

const std::string& OwnProcessMark() {
  static const std::string mark = [] {
    Fnv1a hash;
    hash.Add(WhereNumbersCount());
    return Text(hash.Digits(), "-", OwnProcessNumber());
  }();
  return mark;
}

bool IsMarkOfEndedProcess(std::string_view mark) {
  const std::string_view own = OwnProcessMark();
  const std::size_t dash = own.find('-') + 1;
  if (mark.substr(0, dash) != own.substr(0, dash)) {
    return false;
  }
  int number = 0;
  const std::string_view digits = mark.substr(dash);
  const auto read = std::from_chars(digits.data(), digits.data() + digits.size(), number);
  return read.ec == std::errc() && read.ptr == digits.data() + digits.size() && number > 0 &&
         HasEnded(number);
}

}  // namespace veltra
