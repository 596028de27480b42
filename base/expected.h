// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// A value, or one line of text that says why there is none.
#pragma once

#include <optional>
#include <string>
#include <utility>

namespace veltra {

/// One lower-case line without a program's name in front: what was wrong, and what would be right.
struct Failure {
  std::string text;
};

/// Holds a T or a Failure. Reading the value of a failure is a programming error.
template <class T>
class [[nodiscard]] Expected {
 public:
  Expected(T value) : value_(std::move(value)) {}                     // NOLINT(*-explicit-*)
  Expected(Failure failure) : errorText_(std::move(failure.text)) {}  // NOLINT(*-explicit-*)

  explicit operator bool() const { return value_.has_value(); }
  T& operator*() { return *value_; }
  const T& operator*() const { return *value_; }
  T* operator->() { return &*value_; }
  const T* operator->() const { return &*value_; }
  /// The reason; empty for a success.
  const std::string& ErrorText() const { return errorText_; }

 private:
  std::optional<T> value_;
  std::string errorText_;
};

}  // namespace veltra
