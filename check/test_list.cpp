// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// The list of tests.

#include "check/test_list.h"

#include <algorithm>
#include <array>

namespace veltra::check {
namespace {

using enum Needs;

constexpr std::array kTests{
    // 1: it is an effect at all.
    Test{"load", 1, kNothing, "the library loads, registers and exports its entry", &TestLoad},
    Test{"registration", 1, kLoaded, "it registers one effect with sane names and kind",
         &TestRegistration},
    Test{"setup", 1, kLoaded, "set-up and set-down succeed and count the parameters right",
         &TestSetup},
    Test{"render-defaults", 1, kSetUp, "a frame renders with default values at every depth",
         &TestRenderDefaults},
    // 2: what it says is true.
    Test{"resource", 2, kNothing, "a Windows library's resource is complete and well formed",
         &TestResource},
    Test{"flags", 2, kLoaded, "resource, registration and GLOBAL_SETUP agree on names and flags",
         &TestFlags},
    Test{"about", 2, kSetUp, "the About text ends and is readable", &TestAbout},
    Test{"controls", 2, kSetUp, "declared controls have sane ranges, defaults, ids and choices",
         &TestControls},
    Test{"unknown-commands", 2, kSetUp, "commands it cannot know are answered with success",
         &TestUnknownCommands},
    // 3: it keeps the host's rules.
    Test{"reload", 3, kRenders, "loading and unloading again and again leaves nothing behind",
         &TestReload},
    Test{"setup-repeated", 3, kRenders, "set-up gives the same answers again and in other orders",
         &TestSetupRepeated},
    Test{"rules", 3, kRenders, "a render breaks no rule of the interface", &TestRules},
    Test{"balance", 3, kRenders, "what a render takes it gives back, once", &TestBalance},
    Test{"silence", 3, kRenders, "a good frame shows the user no message", &TestSilence},
    // 4: smart rendering's promises.
    Test{"pre-render-only", 4, kRenders, "pre-renders without a render do no harm",
         &TestPreRenderOnly},
    Test{"pre-render-rects", 4, kRenders, "result rectangles keep to the request and the maximum",
         &TestPreRenderRects},
    Test{"output-size", 4, kRenders, "an output of another size has possible sides and the frame",
         &TestOutputSize},
    Test{"reduced-resolution", 4, kRenders, "reduced resolution and draft quality render",
         &TestReducedResolution},
    Test{"arbitrary-data", 4, kRenders, "values of arbitrary data outlive storing and their text",
         &TestArbitraryData},
    Test{"sequences", 4, kRenders, "a sequence goes on, is stored and opened with the same picture",
         &TestSequences},
    Test{"user-changes", 4, kRenders, "the user may set controls, press buttons and look at them",
         &TestUserChanges},
    // 5: any frame that an ordinary project can hold.
    Test{"canaries", 5, kRenders, "nothing is written outside of any world's pixels",
         &TestCanaries},
    Test{"strides", 5, kRenders, "row lengths and alignment do not change the picture",
         &TestStrides},
    Test{"sources-untouched", 5, kRenders, "input and layers are only read", &TestSourcesUntouched},
    Test{"odd-sizes", 5, kRenders, "frames of one pixel, one row, one column and odd sizes render",
         &TestOddSizes},
    Test{"layers", 5, kRenders, "layers of any size render, and frames without input", &TestLayers},
    Test{"extreme-values", 5, kRenders, "the ends of every control's range render",
         &TestExtremeValues},
    Test{"regions", 5, kRenders, "a part of the frame is the same as in the whole", &TestRegions},
    Test{"other-times", 5, kRenders, "frames before, in and after the footage render",
         &TestOtherTimes},
    Test{"empty-requests", 5, kRenders, "an empty request is answered", &TestEmptyRequests},
    // 6: the same picture however it is asked for.
    Test{"random-values", 6, kRenders, "random values within the valid ranges render",
         &TestRandomValues},
    Test{"repeatable", 6, kRenders, "the same frame is the same picture after others",
         &TestRepeatable},
    Test{"smart-classic", 6, kRenders, "smart and classic render give the same picture",
         &TestSmartClassic},
    Test{"abort", 6, kRenders, "the user may give up at any moment", &TestAbort},
    // 7: threads.
    Test{"one-thread-many", 7, kRenders, "the number of threads does not change the picture",
         &TestOneThreadMany},
    Test{"concurrent-renders", 7, kRenders, "frames rendered at once do not disturb each other",
         &TestConcurrentRenders},
    // 8: a host in trouble.
    Test{"refused-callbacks", 8, kRenders, "each callback may be refused", &TestRefusedCallbacks},
    Test{"refused-suites", 8, kRenders, "each suite may be refused", &TestRefusedSuites},
    Test{"null-suites", 8, kRenders, "each suite may come without a table", &TestNullSuites},
    // 9: the unlikely.
    Test{"setup-refused", 9, kSetUp, "registration and set-up may be refused, hosts may be odd",
         &TestSetupRefused},
    Test{"mixed", 9, kRenders, "sizes, regions, resolutions, aspects, values and memory at random",
         &TestMixed},
    // 10: for a long time.
    Test{"soak", 10, kRenders, "many frames leave no memory, file or thread behind", &TestSoak},
};

}  // namespace

std::span<const Test> AllTests() {
  return kTests;
}

const Test* FindTest(std::string_view name) {
  const auto* const found =
      std::find_if(kTests.begin(), kTests.end(), [&](const Test& t) { return t.name == name; });
  return found != kTests.end() ? found : nullptr;
}

std::string_view TestThatProves(Needs needs) {
  switch (needs) {
    case kLoaded:
      return "load";
    case kSetUp:
      return "setup";
    case kRenders:
      return "render-defaults";
    case kNothing:
      break;
  }
  return {};
}

}  // namespace veltra::check
