// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// A frame's way through the host: the order of its calls, early ends, and what the output holds.
#include "tests/conformance/stage.h"

namespace veltra::conformance {
namespace {

using ::testing::Contains;
using ::testing::ElementsAreArray;
using ::testing::HasSubstr;
using ::testing::Not;

using Strings = std::vector<std::string>;

std::string SamplingSuite(Depth depth) {
  return "PF Sampling" + NameOf(depth) + " Suite 1";
}
std::string IterateSuite(Depth depth) {
  return depth == Depth::k8 ? "PF Iterate8 Suite 1" : "PF iterate" + NameOf(depth) + " Suite 1";
}

Strings FormatQuery() {
  return {"acquire PF World Suite 2", "get_pixel_format output", "release PF World Suite 2"};
}

Strings Drawing(Depth depth, const std::string& rows, const std::string& area,
                const std::string& checkin) {
  return {"acquire " + SamplingSuite(depth),
          "acquire " + IterateSuite(depth),
          "iterate " + NameOf(depth) + " 0/" + rows + " none " + area + " output",
          "release " + IterateSuite(depth),
          checkin,
          "release " + SamplingSuite(depth)};
}

class Frame : public ::testing::TestWithParam<Depth> {};
INSTANTIATE_TEST_SUITE_P(Depths, Frame, ::testing::Values(Depth::k8, Depth::k16, Depth::kFloat),
                         [](const auto& test) { return NameOf(test.param); });

TEST_P(Frame, ClassicWithCompositingCopiesTheInputBeforeItChecksOutTheLayer) {
  Stage stage(GetParam());
  stage.output.world.extent_hint = {2, 3, 20, 11};
  ASSERT_EQ(stage.host.RenderClassic(), PF_Err_NONE);
  EXPECT_THAT(
      stage.host.log,
      ElementsAreArray(Lines({FormatQuery(),
                              ParameterReads(),
                              {"copy input (2,3,20,11) output (2,3,20,11)", "checkout_param 1"},
                              Drawing(GetParam(), "8", "(2,3,20,11)", "checkin_param")})));
  ExpectClean(stage);
}

TEST_P(Frame, ClassicWithoutCompositingClearsTheExtent) {
  Stage stage(GetParam());
  stage.host.controls.composite = false;
  ASSERT_EQ(stage.host.RenderClassic(), PF_Err_NONE);
  EXPECT_THAT(stage.host.log,
              ElementsAreArray(Lines({FormatQuery(),
                                      ParameterReads(),
                                      {"fill output (0,0,32,16)", "checkout_param 1"},
                                      Drawing(GetParam(), "16", "(0,0,32,16)", "checkin_param")})));
  ExpectClean(stage);
}

Strings SmartOpening(int id) {
  return {"checkout_param 9", "checkin_param", "checkout_layer_pixels " + std::to_string(id),
          "checkout_output"};
}

TEST_P(Frame, SmartWithCompositingClearsAllAndMovesTheInputIntoPlace) {
  Stage stage(GetParam());
  stage.input.world.origin_x = 5;
  stage.input.world.origin_y = -2;
  stage.input.world.extent_hint = {1, 2, 30, 14};
  stage.output.world.origin_x = 3;
  stage.output.world.origin_y = 4;
  ASSERT_EQ(stage.host.PreRender(), PF_Err_NONE);
  stage.host.log.clear();
  ASSERT_EQ(stage.host.SmartRender(), PF_Err_NONE);
  EXPECT_THAT(stage.host.log,
              ElementsAreArray(
                  Lines({SmartOpening(0),
                         FormatQuery(),
                         ParameterReads(),
                         {"fill output all", "copy input (1,2,30,14) output (3,-4,32,8)",
                          "checkout_layer_pixels 1"},
                         Drawing(GetParam(), "16", "(0,0,32,16)", "checkin_layer_pixels 1")})));
  ExpectClean(stage);
}

TEST_P(Frame, SmartWithoutCompositingAsksForTheInputUnderItsOtherId) {
  Stage stage(GetParam());
  stage.host.controls.composite = false;
  ASSERT_EQ(stage.host.PreRender(), PF_Err_NONE);
  stage.host.log.clear();
  ASSERT_EQ(stage.host.SmartRender(), PF_Err_NONE);
  EXPECT_THAT(stage.host.log,
              ElementsAreArray(
                  Lines({SmartOpening(9999),
                         FormatQuery(),
                         ParameterReads(),
                         {"fill output (0,0,32,16)", "checkout_layer_pixels 1"},
                         Drawing(GetParam(), "16", "(0,0,32,16)", "checkin_layer_pixels 1")})));
  ExpectClean(stage);
}

TEST_P(Frame, DrawsTheLayerAsTheYardstickDoes) {
  for (const bool smart : {false, true}) {
    for (const bool filtering : {false, true}) {
      Stage stage(GetParam());
      stage.host.controls.filtering = filtering;
      const TestWorld expected = stage.Expected(smart);
      ASSERT_EQ(stage.host.Render(smart), PF_Err_NONE);
      EXPECT_FALSE(SamePixels(stage.output, stage.input)) << "something is drawn";
      if (GetParam() != Depth::kFloat) {
        EXPECT_TRUE(SamePixels(stage.output, expected)) << smart << filtering;
      }
      ExpectClean(stage);
    }
  }
}

TEST(Depths, PlaceTheLayerIdentically) {
  for (const bool filtering : {false, true}) {
    for (const bool smart : {false, true}) {
      Stage eight(Depth::k8);
      Stage sixteen(Depth::k16);
      Stage floating(Depth::kFloat);
      for (Stage* stage : {&eight, &sixteen, &floating}) {
        stage->layer.Fill(1, 1, 1, 1);
        stage->host.controls.composite = false;
        stage->host.controls.filtering = filtering;
        stage->host.controls.startY = Fixed(4.5);
        ASSERT_EQ(stage->host.Render(smart), PF_Err_NONE);
      }
      for (A_long y = 0; y < 16; ++y) {
        for (A_long x = 0; x < 32; ++x) {
          // The integer depths truncate, so they lie up to a step below.
          const double alpha = floating.output.Channel(x, y, 0);
          EXPECT_NEAR(eight.output.Channel(x, y, 0), alpha * 255 - 0.5, 1.01) << x << " " << y;
          EXPECT_NEAR(sixteen.output.Channel(x, y, 0), alpha * 32768 - 0.5, 1.01) << x << " " << y;
        }
      }
    }
  }
}

// ---- Early ends ----

struct EarlyEnd {
  const char* name;
  void (*prepare)(Stage*);
  bool looksAtLayer;  ///< whether the layer is checked out
};

const EarlyEnd kEarlyEnds[] = {
    {"opacity 0", [](Stage* s) { s->host.controls.opacity = 0; }, false},
    {"opacity below 0", [](Stage* s) { s->host.controls.opacity = Fixed(-5); }, false},
    {"size 0", [](Stage* s) { s->host.controls.size = 0; }, false},
    {"size below 0", [](Stage* s) { s->host.controls.size = Fixed(-30); }, false},
    {"no layer", [](Stage* s) { s->host.layer = nullptr; }, true},
    {"a layer without pixels", [](Stage* s) { s->layer.world.data = nullptr; }, true},
};

TEST_P(Frame, AnEarlyEndShowsTheInputWhenCompositing) {
  for (const EarlyEnd& end : kEarlyEnds) {
    for (const bool smart : {false, true}) {
      Stage stage(GetParam());
      end.prepare(&stage);
      EXPECT_EQ(stage.host.Render(smart), PF_Err_NONE) << end.name;
      EXPECT_TRUE(SamePixels(stage.output, stage.input)) << end.name;
      const std::string checkout = smart ? "checkout_layer_pixels 1" : "checkout_param 1";
      EXPECT_EQ(::testing::Matches(Contains(checkout))(stage.host.log), end.looksAtLayer)
          << end.name;
      EXPECT_THAT(stage.host.log, Not(Contains(HasSubstr("Sampling"))))
          << "the sampling suite is acquired only to draw";
      EXPECT_THAT(stage.host.violations, ::testing::IsEmpty()) << end.name;
    }
  }
}

TEST_P(Frame, AnEarlyEndShowsNothingWithoutCompositing) {
  for (const EarlyEnd& end : kEarlyEnds) {
    for (const bool smart : {false, true}) {
      Stage stage(GetParam());
      stage.host.controls.composite = false;
      end.prepare(&stage);
      EXPECT_EQ(stage.host.Render(smart), PF_Err_NONE) << end.name;
      EXPECT_TRUE(IsTransparent(stage.output)) << end.name;
      EXPECT_THAT(stage.host.violations, ::testing::IsEmpty()) << end.name;
    }
  }
}

TEST_P(Frame, ANullLayerWorldOfTheSmartCheckoutIsStillCheckedIn) {
  Stage stage(GetParam());
  stage.host.nullLayerWorld = true;
  EXPECT_EQ(stage.host.RenderSmart(), PF_Err_NONE);
  EXPECT_THAT(stage.host.log, Contains("checkin_layer_pixels 1"));
  EXPECT_TRUE(SamePixels(stage.output, stage.input));
  ExpectClean(stage);
}

TEST_P(Frame, SoloWithoutALayerSizeLimitsNothingAway) {
  // The limit leaves no band when the layer is infinitely wide for its height: a height of 0.
  Stage stage(GetParam());
  stage.host.controls.placement = 3;
  stage.layer.world.height = 0;
  EXPECT_EQ(stage.host.RenderClassic(), PF_Err_NONE);
  EXPECT_TRUE(SamePixels(stage.output, stage.input));
  ExpectClean(stage);
}

// ---- Smart input ----

TEST_P(Frame, SmartPlacesAnInputPartWhereItBelongsAndClearsTheRest) {
  Stage stage(GetParam());
  TestWorld part(GetParam(), 6, 4);
  part.Fill(1, 0.25, 0.5, 0.75);
  part.world.origin_x = 12;
  part.world.origin_y = 7;
  stage.host.input = &part;
  stage.output.world.origin_x = 10;
  stage.output.world.origin_y = 6;
  stage.host.layer = nullptr;
  ASSERT_EQ(stage.host.RenderSmart(), PF_Err_NONE);
  for (A_long y = 0; y < 16; ++y) {
    for (A_long x = 0; x < 32; ++x) {
      const bool inside = x >= 2 && x < 8 && y >= 1 && y < 5;
      const double expected = inside ? FullValue(GetParam()) : 0;
      EXPECT_EQ(stage.output.Channel(x, y, 0), expected) << x << " " << y;
    }
  }
  ExpectClean(stage);
}

TEST_P(Frame, SmartWithoutAnInputWorldClearsTheOutput) {
  const auto expectCleared = [](Stage* stage) {
    stage->host.layer = nullptr;
    EXPECT_EQ(stage->host.RenderSmart(), PF_Err_NONE);
    EXPECT_TRUE(IsTransparent(stage->output));
    EXPECT_EQ(stage->host.Calls("copy"), 0);
    ExpectClean(*stage);
  };
  Stage null(GetParam());
  null.host.nullInputWorld = true;
  expectCleared(&null);
  for (const auto& [width, height] : {std::pair{0, 0}, {0, 5}, {5, 0}}) {
    Stage stage(GetParam());
    TestWorld empty(GetParam(), width, height);
    stage.host.input = &empty;
    expectCleared(&stage);
  }
}

TEST_P(Frame, SmartWithAnEmptyRequestClearsTheOutputAndLooksNoFurther) {
  Stage stage(GetParam());
  stage.host.request.rect = {4, 4, 4, 9};
  ASSERT_EQ(stage.host.PreRender(), PF_Err_NONE);
  stage.host.log.clear();
  EXPECT_EQ(stage.host.SmartRender(), PF_Err_NONE);
  EXPECT_TRUE(IsTransparent(stage.output));
  EXPECT_THAT(stage.host.log, ElementsAreArray(Lines({SmartOpening(0), {"fill output all"}})));
  ExpectClean(stage);
}

TEST_P(Frame, SmartWithAnEmptyRequestReturnsTheFillsCode) {
  Stage stage(GetParam());
  stage.host.request.rect = {};
  stage.host.FailAt("fill", 1, PF_Err_INTERNAL_STRUCT_DAMAGED);
  EXPECT_EQ(stage.host.RenderSmart(), PF_Err_INTERNAL_STRUCT_DAMAGED);
  ExpectClean(stage);
}

TEST_P(Frame, SmartWithAnOutputWithoutAreaSucceedsAndTouchesNothing) {
  for (const bool width : {true, false}) {
    Stage stage(GetParam());
    const TestWorld before = stage.Expected(true);
    (width ? stage.output.world.width : stage.output.world.height) = 0;
    const std::vector<unsigned char> pixels = stage.output.Pixels();
    EXPECT_EQ(stage.host.RenderSmart(), PF_Err_NONE);
    EXPECT_EQ(stage.output.Pixels(), pixels);
    EXPECT_EQ(stage.host.Calls("fill"), 0);
    EXPECT_EQ(stage.host.Calls("get_pixel_format"), 0);
    ExpectClean(stage);
  }
}

TEST_P(Frame, SmartWithoutAnOutputWorldSucceeds) {
  Stage stage(GetParam());
  stage.host.nullOutputWorld = true;
  EXPECT_EQ(stage.host.RenderSmart(), PF_Err_NONE);
  EXPECT_EQ(stage.host.Calls("fill"), 0);
  ExpectClean(stage);
}

TEST_P(Frame, SmartReturnsTheCodeOfEitherCheckoutAtOnce) {
  for (const char* callback : {"checkout_layer_pixels", "checkout_output"}) {
    Stage stage(GetParam());
    stage.host.FailAt(callback, 1, PF_Err_INVALID_INDEX);
    const std::vector<unsigned char> pixels = stage.output.Pixels();
    EXPECT_EQ(stage.host.RenderSmart(), PF_Err_INVALID_INDEX);
    EXPECT_EQ(stage.output.Pixels(), pixels) << callback;
    EXPECT_THAT(stage.host.log.back(), HasSubstr(callback));
    ExpectClean(stage);
  }
}

// ---- Preparing the output ----

TEST_P(Frame, AFailedPreparationEndsTheFrameWithoutTheLayer) {
  for (const bool composite : {true, false}) {
    Stage stage(GetParam());
    stage.host.controls.composite = composite;
    stage.host.FailAt(composite ? "copy" : "fill", 1, PF_Err_OUT_OF_MEMORY);
    EXPECT_EQ(stage.host.RenderClassic(), PF_Err_OUT_OF_MEMORY);
    EXPECT_THAT(stage.host.log, Not(Contains("checkout_param 1")));
    ExpectClean(stage);
  }
}

TEST_P(Frame, SmartCompositingCountsTheResultOfItsLastPreparation) {
  {
    Stage stage(GetParam());
    stage.host.FailAt("fill", 1, PF_Err_INVALID_CALLBACK);
    EXPECT_EQ(stage.host.RenderSmart(), PF_Err_NONE) << "the copy that followed succeeded";
    ExpectClean(stage);
  }
  {
    Stage stage(GetParam());
    stage.host.FailAt("copy", 1, PF_Err_INVALID_CALLBACK);
    EXPECT_EQ(stage.host.RenderSmart(), PF_Err_INVALID_CALLBACK);
    EXPECT_THAT(stage.host.log, Not(Contains("checkout_layer_pixels 1")));
    ExpectClean(stage);
  }
  {
    Stage stage(GetParam());
    stage.host.nullInputWorld = true;
    stage.host.FailAt("fill", 1, PF_Err_INVALID_CALLBACK);
    EXPECT_EQ(stage.host.RenderSmart(), PF_Err_INVALID_CALLBACK) << "no copy followed";
    ExpectClean(stage);
  }
}

TEST_P(Frame, AFailedLayerCheckoutEndsTheFrameWithItsCode) {
  {
    Stage stage(GetParam());
    stage.host.FailAt("checkout_param", 9, PF_Err_INVALID_INDEX);  // the eight controls come first
    EXPECT_EQ(stage.host.RenderClassic(), PF_Err_INVALID_INDEX);
    EXPECT_TRUE(SamePixels(stage.output, stage.input)) << "the output is prepared already";
    EXPECT_EQ(stage.host.log.back(), "checkout_param 1") << "nothing to check in";
    ExpectClean(stage);
  }
  {
    Stage stage(GetParam());
    stage.host.FailAt("checkout_layer_pixels", 2, PF_Err_INVALID_INDEX);
    EXPECT_EQ(stage.host.RenderSmart(), PF_Err_INVALID_INDEX);
    EXPECT_TRUE(SamePixels(stage.output, stage.input));
    EXPECT_EQ(stage.host.log.back(), "checkout_layer_pixels 1");
    EXPECT_THAT(stage.host.violations, ::testing::IsEmpty());
  }
}

TEST_P(Frame, AFailedLayerCheckinIsNotLookedAt) {
  Stage classic(GetParam());
  classic.host.FailAt("checkin_param", 9, PF_Err_INVALID_CALLBACK);
  EXPECT_EQ(classic.host.RenderClassic(), PF_Err_NONE);
  Stage smart(GetParam());
  smart.host.FailAt("checkin_layer_pixels", 1, PF_Err_INVALID_CALLBACK);
  EXPECT_EQ(smart.host.RenderSmart(), PF_Err_NONE);
}

// ---- Pre-render data ----

TEST_P(Frame, TheLayersOwnAspectGoesBeforeThePreRenderData) {
  Stage stage(GetParam());
  ASSERT_EQ(stage.host.PreRender(), PF_Err_NONE);
  char foreign[16] = {};
  stage.host.preRenderData = foreign;
  EXPECT_EQ(stage.host.SmartRender(), PF_Err_NONE) << "foreign data is not looked at";
  ExpectClean(stage);
}

TEST_P(Frame, ForeignPreRenderDataIsRefusedWhenTheLayerHasNoAspect) {
  for (const PF_RationalScale par :
       {PF_RationalScale{0, 1}, PF_RationalScale{1, 0}, PF_RationalScale{0, 0}}) {
    Stage stage(GetParam());
    stage.layer.world.pix_aspect_ratio = par;
    ASSERT_EQ(stage.host.PreRender(), PF_Err_NONE);
    // A single byte, to show that no more than the first difference is read.
    const std::vector<char> foreign{'X'};
    stage.host.preRenderData = const_cast<char*>(foreign.data());
    EXPECT_EQ(stage.host.SmartRender(), PF_Err_OUT_OF_MEMORY);
    EXPECT_EQ(stage.host.log.back(), "checkin_layer_pixels 1");
    EXPECT_TRUE(SamePixels(stage.output, stage.input));
    ExpectClean(stage);
  }
}

TEST_P(Frame, TheAspectComesFromPreRenderOrIsOneWithoutIt) {
  if (GetParam() == Depth::kFloat) {
    return;  // compared exactly, which float is not
  }
  for (const bool missing : {false, true}) {
    Stage stage(GetParam());
    stage.host.controls.placement = 3;
    stage.layer.world.pix_aspect_ratio = {0, 0};
    stage.host.checkoutAspect = {2, 1};
    ASSERT_EQ(stage.host.PreRender(), PF_Err_NONE);
    if (missing) {
      stage.host.preRenderData = nullptr;
      stage.host.checkoutAspect = {1, 1};
    }
    const TestWorld expected = stage.Expected(true);
    EXPECT_EQ(stage.host.SmartRender(), PF_Err_NONE);
    EXPECT_TRUE(SamePixels(stage.output, expected));
    ExpectClean(stage);
  }
}

// ---- Pixel formats ----

TEST_P(Frame, AnUnknownPixelFormatIsRefusedUntouched) {
  for (const char* code : {"ae64", "badf", "bgra", "ARGB"}) {
    Stage stage(GetParam());
    stage.host.format =
        static_cast<PF_PixelFormat>(code[0]) | code[1] << 8 | code[2] << 16 | code[3] << 24;
    const std::vector<unsigned char> pixels = stage.output.Pixels();
    EXPECT_EQ(stage.host.RenderClassic(), PF_Err_BAD_CALLBACK_PARAM);
    EXPECT_EQ(stage.output.Pixels(), pixels);
    EXPECT_THAT(stage.host.log, ElementsAreArray(FormatQuery()));
    ExpectClean(stage);
  }
}

TEST_P(Frame, WithoutTheWorldSuiteTheDepthFlagDecides) {
  if (GetParam() == Depth::kFloat) {
    return;  // the flag knows two depths only
  }
  for (const SuiteAnswer answer : {SuiteAnswer::kError, SuiteAnswer::kNull}) {
    Stage stage(GetParam());
    stage.host.AnswerSuite("PF World Suite", 2, answer);
    const TestWorld expected = stage.Expected(false);
    EXPECT_EQ(stage.host.RenderClassic(), PF_Err_NONE);
    EXPECT_TRUE(SamePixels(stage.output, expected));
    EXPECT_THAT(stage.host.violations, ::testing::IsEmpty());
  }
}

// ---- Suites ----

TEST_P(Frame, AMissingSuiteEndsTheFrameWithEverythingReturned) {
  const std::string depth = NameOf(GetParam());
  const std::string names[2] = {
      "PF Sampling" + depth + " Suite",
      GetParam() == Depth::k8 ? "PF Iterate8 Suite" : "PF iterate" + depth + " Suite"};
  for (const std::string& name : names) {
    for (const SuiteAnswer answer :
         {SuiteAnswer::kError, SuiteAnswer::kNull, SuiteAnswer::kErrorGiven}) {
      for (const bool smart : {false, true}) {
        Stage stage(GetParam());
        stage.host.AnswerSuite(name, 1, answer);
        EXPECT_EQ(stage.host.Render(smart), PF_Err_BAD_CALLBACK_PARAM) << name;
        EXPECT_TRUE(SamePixels(stage.output, stage.input)) << "nothing is drawn";
        EXPECT_THAT(
            stage.host.log,
            Contains(smart ? "checkin_layer_pixels 1" : "checkin_param").Times(smart ? 1 : 9));
        EXPECT_THAT(stage.host.log, Not(Contains("release " + name + " 1")));
        ExpectClean(stage);
      }
    }
  }
}

TEST(Suites, WithoutABasicSuiteACommandIsRefused) {
  Stage stage(Depth::k8);
  stage.host.inData.pica_basicP = nullptr;
  EXPECT_EQ(stage.host.Send(PF_Cmd_PARAMS_SETUP), PF_Err_BAD_CALLBACK_PARAM);
  EXPECT_EQ(stage.host.RenderClassic(), PF_Err_BAD_CALLBACK_PARAM);
  EXPECT_EQ(stage.host.PreRender(), PF_Err_NONE) << "pre-render needs no suite";
  EXPECT_EQ(stage.host.SmartRender(), PF_Err_BAD_CALLBACK_PARAM);
  ExpectClean(stage);
}

// ---- Iteration ----

TEST_P(Frame, AnInterruptionComesBackAndTheRowsBeforeItStay) {
  for (const A_long row : {0, 1, 7, 15}) {
    for (const bool smart : {false, true}) {
      Stage stage(GetParam());
      Stage whole(GetParam());
      ASSERT_EQ(whole.host.Render(smart), PF_Err_NONE);
      stage.host.abortAtRow = row;
      EXPECT_EQ(stage.host.Render(smart), PF_Interrupt_CANCEL);
      for (A_long x = 0; x < 32; ++x) {
        for (A_long y = 0; y < 16; ++y) {
          const TestWorld& expected = y < row ? whole.output : stage.input;
          EXPECT_EQ(stage.output.Channel(x, y, 0), expected.Channel(x, y, 0)) << x << " " << y;
        }
      }
      ExpectClean(stage);
    }
  }
}

TEST_P(Frame, AFailedSampleEndsTheFrameAfterItsPixelIsComposited) {
  for (const bool filtering : {false, true}) {
    const auto make = [&](Stage* stage, int failing) {
      stage->host.controls.filtering = filtering;
      stage->layer.Fill(1, 0.5, 0.5, 0.5);
      stage->input.Fill(0, 0, 0, 0);
      stage->host.FailAt("sample", failing, PF_Err_INTERNAL_STRUCT_DAMAGED);
      return stage->host.RenderClassic();
    };
    Stage whole(GetParam());
    ASSERT_EQ(make(&whole, 0), PF_Err_NONE);
    const int half = whole.host.Calls("sample") / 2;
    Stage before(GetParam());
    EXPECT_EQ(make(&before, half), PF_Err_INTERNAL_STRUCT_DAMAGED);
    EXPECT_EQ(before.host.Calls("sample"), half);
    Stage after(GetParam());
    EXPECT_EQ(make(&after, half + 1), PF_Err_INTERNAL_STRUCT_DAMAGED);
    EXPECT_FALSE(SamePixels(before.output, after.output)) << "the failing pixel is drawn too";
    ExpectClean(after);
  }
}

TEST_P(Frame, IsTheSameOnAnyNumberOfThreadsAndInAnyOrder) {
  for (const bool filtering : {false, true}) {
    Stage one(GetParam());
    one.host.controls.filtering = filtering;
    ASSERT_EQ(one.host.RenderClassic(), PF_Err_NONE);
    for (const int threads : {1, 2, 5}) {
      Stage stage(GetParam());
      stage.host.controls.filtering = filtering;
      stage.host.threads = threads;
      stage.host.reverseRows = true;
      ASSERT_EQ(stage.host.RenderClassic(), PF_Err_NONE);
      EXPECT_EQ(stage.output.Pixels(), one.output.Pixels());
      ExpectClean(stage);
    }
  }
}

}  // namespace
}  // namespace veltra::conformance
