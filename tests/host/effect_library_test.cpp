// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Libraries of several effects, and of one that nobody registers.

#include "host/effect_library.h"

#include <gtest/gtest.h>

#include <string>

#include "host/effect.h"

namespace veltra::host {
namespace {

std::string AboutOf(const std::string& path) {
  auto library = EffectLibrary::Open(path);
  if (!library) {
    return library.ErrorText();
  }
  auto effect = Effect::Load(*library);
  if (!effect) {
    return effect.ErrorText();
  }
  const auto about = (*effect)->About();
  return about ? *about : about.ErrorText();
}

TEST(EffectLibraryTest, ChoosesOneOfSeveralEffectsByItsMatchName) {
  const std::string path = VELTRA_SEVERAL_EFFECTS;
  EXPECT_EQ(AboutOf(path + "::Test One"), "the first");
  EXPECT_EQ(AboutOf(path + "::Test Two"), "the second");
  EXPECT_EQ(AboutOf(path),
            path + ": holds several effects: Test One, Test Two (choose one as FILE::MATCH NAME)");
  EXPECT_EQ(AboutOf(path + "::Test Project"),
            path + ": has no effect \"Test Project\" (expected Test One, Test Two)");
  EXPECT_EQ(AboutOf("nothing.so::Test One"), "nothing.so: no such file");
}

TEST(EffectLibraryTest, FindsTheUsualEntryOfALibraryWithoutRegistration) {
  EXPECT_EQ(AboutOf(VELTRA_UNREGISTERED_EFFECT), "unregistered");
  const auto library = EffectLibrary::Open(VELTRA_UNREGISTERED_EFFECT);
  ASSERT_TRUE(library) << library.ErrorText();
  EXPECT_EQ((*library)->Identity().matchName, "host_unregistered_effect");
}

}  // namespace
}  // namespace veltra::host
