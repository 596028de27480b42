// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Every test of the validator, in the order in which they run.
#pragma once

#include <span>
#include <string_view>

#include "check/test_run.h"

namespace veltra::check {

/// What must have passed before a test can say anything.
enum class Needs { kNothing, kLoaded, kSetUp, kRenders };

struct Test {
  std::string_view name;
  int strictness;  ///< the lowest at which it runs
  Needs needs;
  std::string_view summary;  ///< what passes, as a sentence
  void (*run)(TestRun& run);
};

std::span<const Test> AllTests();

/// Null when there is none of that name.
const Test* FindTest(std::string_view name);

/// The test whose success fulfils the need; empty for none.
std::string_view TestThatProves(Needs needs);

// ---- The tests, by the file they live in ----

// identity_tests.cpp
void TestLoad(TestRun& run);
void TestRegistration(TestRun& run);
void TestResource(TestRun& run);
void TestFlags(TestRun& run);
void TestAbout(TestRun& run);
// setup_tests.cpp
void TestSetup(TestRun& run);
void TestControls(TestRun& run);
void TestUnknownCommands(TestRun& run);
void TestReload(TestRun& run);
void TestSetupRepeated(TestRun& run);
void TestSetupRefused(TestRun& run);
// render_tests.cpp
void TestRenderDefaults(TestRun& run);
void TestRules(TestRun& run);
void TestBalance(TestRun& run);
void TestSilence(TestRun& run);
void TestRepeatable(TestRun& run);
void TestSmartClassic(TestRun& run);
void TestSoak(TestRun& run);
// request_tests.cpp
void TestPreRenderOnly(TestRun& run);
void TestPreRenderRects(TestRun& run);
void TestOutputSize(TestRun& run);
void TestRegions(TestRun& run);
void TestEmptyRequests(TestRun& run);
void TestReducedResolution(TestRun& run);
// session_tests.cpp
void TestSequences(TestRun& run);
void TestArbitraryData(TestRun& run);
void TestOtherTimes(TestRun& run);
// change_tests.cpp
void TestUserChanges(TestRun& run);
// world_tests.cpp
void TestCanaries(TestRun& run);
void TestStrides(TestRun& run);
void TestSourcesUntouched(TestRun& run);
void TestOddSizes(TestRun& run);
void TestLayers(TestRun& run);
// value_tests.cpp
void TestExtremeValues(TestRun& run);
void TestRandomValues(TestRun& run);
void TestMixed(TestRun& run);
// thread_tests.cpp
void TestOneThreadMany(TestRun& run);
void TestConcurrentRenders(TestRun& run);
// refusal_tests.cpp
void TestAbort(TestRun& run);
void TestRefusedCallbacks(TestRun& run);
void TestRefusedSuites(TestRun& run);
void TestNullSuites(TestRun& run);

}  // namespace veltra::check
