// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// A value, or one line of text that says why there is none.
#pragma once

#include <string>
#include <utility>
#include <variant>

namespace veltra::host {

/// One lower-case line without a program's name in front: what was wrong, and what would be right.
struct Error {
  std::string text;
};

/// Holds a T or an Error. Reading the value of a failure is a programming error.
template <class T>
class [[nodiscard]] Expected {
 public:
  Expected(T value) : state_(std::in_place_index<0>, std::move(value)) {}  // NOLINT(*-explicit-*)
  Expected(Error error)
      : state_(std::in_place_index<1>, std::move(error)) {}  // NOLINT(*-explicit-*)

  explicit operator bool() const { return state_.index() == 0; }
  T& operator*() { return *std::get_if<0>(&state_); }
  const T& operator*() const { return *std::get_if<0>(&state_); }
  T* operator->() { return std::get_if<0>(&state_); }
  const T* operator->() const { return std::get_if<0>(&state_); }
  /// The reason; only for a failure.
  const std::string& ErrorText() const { return std::get_if<1>(&state_)->text; }

 private:
  std::variant<T, Error> state_;
};

}  // namespace veltra::host
