// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// A host that throws where nobody can be told: while it takes things back, samples or registers.
#include <stdexcept>

#include "tests/conformance/record_image.h"
#include "tests/conformance/stage.h"

namespace veltra::conformance {
namespace {

[[noreturn]] void Throw() {
  throw std::runtime_error("host");
}

PF_Err ThrowingRegister(void*, const A_u_char*, const A_u_char*, const A_u_char*, const A_u_char*,
                        A_long, A_long, A_long, A_long, const A_u_char*) {
  Throw();
}

TEST(ForeignExceptions, OfTheRegistrationEndInACodeAsAMissingCallbackDoes) {
  const PF_PluginDataEntryFn registration = Effect().registration;
  EXPECT_EQ(registration(nullptr, ThrowingRegister, nullptr, "", ""), PF_Err_BAD_CALLBACK_PARAM);
  EXPECT_EQ(registration(nullptr, nullptr, nullptr, "", ""), PF_Err_BAD_CALLBACK_PARAM);
}

/// How often a whole frame calls back.
int CallsOfAFrame(const char* callback, bool smart) {
  Stage stage(Depth::k8);
  EXPECT_EQ(stage.host.Render(smart), PF_Err_NONE);
  return stage.host.Calls(callback);
}

TEST(ForeignExceptions, OfASuitesReleaseKeepNeitherThePictureNorTheOtherSuites) {
  const int releases = CallsOfAFrame("release", true);
  ASSERT_GE(releases, 3);  // the world's, the iteration's, the samplers'
  for (int nth = 1; nth <= releases; ++nth) {
    for (const bool smart : {false, true}) {
      Stage stage(Depth::k8);
      const TestWorld expected = stage.Expected(smart);
      stage.host.DoAt("release", nth, Throw);
      EXPECT_EQ(stage.host.Render(smart), PF_Err_NONE) << nth;
      EXPECT_TRUE(SamePixels(stage.output, expected)) << nth;
      EXPECT_EQ(stage.host.Calls("release"), releases) << nth;
      ExpectClean(stage);
    }
  }
}

TEST(ForeignExceptions, OfTheLayersCheckinAreNotLookedAt) {
  for (const bool smart : {false, true}) {
    const char* const checkin = smart ? "checkin_layer_pixels" : "checkin_param";
    // In classic rendering the controls are checked in by the same call; the layer comes last.
    const int calls = CallsOfAFrame(checkin, smart);
    Stage stage(Depth::k8);
    const TestWorld expected = stage.Expected(smart);
    stage.host.DoAt(checkin, calls, Throw);
    EXPECT_EQ(stage.host.Render(smart), PF_Err_NONE) << checkin;
    EXPECT_TRUE(SamePixels(stage.output, expected)) << checkin;
    ExpectClean(stage);
  }
}

template <class Pixel>
PF_Err ThrowingSample(PF_ProgPtr, PF_Fixed, PF_Fixed, const PF_SampPB*, Pixel*) {
  Throw();
}

template <class Pixel>
class ThrowingSampler : public EveryDepth<Pixel> {};
TYPED_TEST_SUITE(ThrowingSampler, AllPixels, DepthNames);

TYPED_TEST(ThrowingSampler, EndsTheFrameWithACodeInsteadOfPassingThroughTheIteration) {
  for (const bool filtering : {false, true}) {
    Stage stage(TestFixture::kDepth);
    stage.host.controls.filtering = filtering;
    stage.host.onIterate = [filtering](void* refcon) {
      auto* record = static_cast<RecordImage*>(refcon);
      (filtering ? record->areaSample : record->subpixelSample) =
          reinterpret_cast<void (*)()>(ThrowingSample<TypeParam>);
    };
    EXPECT_EQ(stage.host.RenderSmart(), PF_Err_BAD_CALLBACK_PARAM) << filtering;
    ExpectClean(stage);
  }
}

}  // namespace
}  // namespace veltra::conformance
