// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Every suite that the host offers and every call that it can refuse, each in the hands of an
// effect that takes a refusal well and of ones that do not.

#include <gtest/gtest.h>

#include <cstdlib>

#include "base/text.h"
#include "check/test_list.h"
#include "host/suites/suite_list.h"
#include "system/dynamic_library.h"
#include "tests/check/fixtures/calling_effect.h"

namespace veltra::check {
namespace {

using fixture::Habit;
using fixture::Wish;
using host::HostCall;

class Refusals : public testing::Test {
 protected:
  Refusals() {
    auto library = DynamicLibrary::Open(VELTRA_CALLING_EFFECT);
    EXPECT_TRUE(library) << library.ErrorText();
    library_ = std::move(*library);
    configure_ = reinterpret_cast<fixture::ConfigureFn>(library_->Find(fixture::kConfigureName));
  }

  /// What the test finds wrong about an effect with that wish.
  std::string Found(const Wish& wish, void (*test)(TestRun&)) {
    configure_(wish);
    TestSettings settings;
    settings.library = VELTRA_CALLING_EFFECT;
    settings.strictness = kLowestStrictness;
    std::string found;
    TestRun run(settings, "refusals", [&found](LineKind kind, std::string_view text) {
      if (kind != LineKind::kStep && kind != LineKind::kNote) {
        found += Text(text, "\n");
      }
    });
    try {
      test(run);
    } catch (const TestEnded&) {
      found += "ended\n";
    }
    return found;
  }

  /// On Windows a death test is the whole program once more, up to there; the suite of the program
  /// has crashes there.
  void ExpectCrash([[maybe_unused]] Wish wish, [[maybe_unused]] void (*test)(TestRun&)) {
#if GTEST_HAS_DEATH_TEST && !defined(_WIN32)
    wish.habit = Habit::kTrusts;
    EXPECT_DEATH(Found(wish, test), "");
#endif
  }

  void TrySuite(const host::OfferedSuite& suite, void (*test)(TestRun&), const char* words) {
    SCOPED_TRACE(Text(suite.name, " ", suite.version));
    Wish wish{suite.name, suite.version, HostCall::kAcquireSuite, Habit::kPassesOn};
    EXPECT_EQ(Found(wish, test), "");
    wish.habit = Habit::kHides;
    const std::string found = Found(wish, test);
    EXPECT_NE(found.find(suite.name), std::string::npos) << found;
    EXPECT_NE(found.find(words), std::string::npos) << found;
  }

 private:
  std::unique_ptr<DynamicLibrary> library_;
  fixture::ConfigureFn configure_ = nullptr;
};

TEST_F(Refusals, OfEverySuiteThatIsOfferedAreTried) {
  for (const host::OfferedSuite& suite : host::SuitesOf(host::DefaultHost())) {
    TrySuite(suite, &TestRefusedSuites, "another picture");
    TrySuite(suite, &TestNullSuites, "another picture");
  }
}

TEST_F(Refusals, OfSuitesEndTheProcessOfAnEffectThatTrustsThem) {
  ExpectCrash({"PF Handle Suite", 2, HostCall::kAcquireSuite}, &TestRefusedSuites);
  ExpectCrash({"AEGP Hash Suite", 1, HostCall::kAcquireSuite}, &TestNullSuites);
}

/// Without these there is no right picture, so that any will do.
bool MayPaintAnything(HostCall call) {
  return call == HostCall::kCheckoutParam || call == HostCall::kSubpixelSample ||
         call == HostCall::kAreaSample || call == HostCall::kNearestSample ||
         call == HostCall::kQueryParameters || call == HostCall::kConvertColor ||
         call == HostCall::kCheckoutLayerAudio;
}

/// The user's, whom another test asks for, and those that are refused with the suites.
bool IsTriedElsewhere(HostCall call) {
  return call == HostCall::kAbort || call == HostCall::kProgress || call == HostCall::kAcquireSuite;
}

TEST_F(Refusals, OfEveryCallAreTried) {
  for (int i = 0; i <= static_cast<int>(host::kLastHostCall); ++i) {
    const auto call = static_cast<HostCall>(i);
    if (IsTriedElsewhere(call)) {
      continue;
    }
    SCOPED_TRACE(host::HostCallName(call));
    EXPECT_EQ(Found({nullptr, 0, call, Habit::kPassesOn}, &TestRefusedCallbacks), "");
    const std::string found = Found({nullptr, 0, call, Habit::kHides}, &TestRefusedCallbacks);
    EXPECT_EQ(found.empty(), MayPaintAnything(call));
    if (!found.empty()) {
      EXPECT_NE(found.find(host::HostCallName(call)), std::string::npos) << found;
      EXPECT_NE(found.find("another picture"), std::string::npos) << found;
    }
    ExpectCrash({nullptr, 0, call}, &TestRefusedCallbacks);
  }
}

}  // namespace
}  // namespace veltra::check
