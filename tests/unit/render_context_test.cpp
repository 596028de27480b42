// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Rectangles, parameter readers, scoped checkouts and the pixel format of a command.
#include "effect/context/render_context.h"

#include "tests/conformance/stage.h"

namespace veltra {
namespace {

using conformance::Fixed;
using conformance::Stage;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

std::string Clamped(const PF_LRect& bounds, PF_LRect rect) {
  ClampRect(bounds, &rect);
  return conformance::Text(rect);
}

TEST(ClampRect, ClampsEachEdgeByItself) {
  EXPECT_EQ(Clamped({0, 0, 100, 50}, {-10, 20, 200, 80}), "(0,20,100,50)");
  EXPECT_EQ(Clamped({0, 0, 100, 50}, {300, 5, 200, 8}), "(100,5,100,8)");
  EXPECT_EQ(Clamped({0, 0, 100, 50}, {40, 30, 20, 10}), "(40,30,20,10)") << "no edge is reordered";
  EXPECT_EQ(Clamped({-5, -5, -1, -1}, {0, -9, 3, 0}), "(-1,-5,-1,-1)");
}

TEST(ClampRect, CopiesEmptyBounds) {
  EXPECT_EQ(Clamped({5, 5, 5, 9}, {0, 0, 10, 10}), "(5,5,5,9)");
  EXPECT_EQ(Clamped({9, 5, 5, 9}, {0, 0, 10, 10}), "(9,5,5,9)");
  EXPECT_EQ(Clamped({5, 9, 8, 9}, {0, 0, 10, 10}), "(5,9,8,9)");
}

/// Runs `body` with a context inside a command of the test host: the host's callbacks find their
/// host only there.
template <class Body>
PF_Err InCommand(Stage* stage, const Body& body) {
  static const Body* running = nullptr;
  running = &body;
  struct Effect {
    static PF_Err Entry(PF_Cmd, PF_InData* inData, PF_OutData* outData, PF_ParamDef** params,
                        PF_LayerDef* output, void* extra) {
      RenderContext context(inData, outData, params, output);
      context.smartExtra = static_cast<PF_SmartRenderExtra*>(extra);
      (*running)(&context);
      return PF_Err_NONE;
    }
  };
  stage->host.ReplaceEffect(Effect::Entry);
  return stage->host.Send(PF_Cmd_RENDER, nullptr, &stage->output.world);
}

TEST(QueryPixelFormat, AsksTheHostOnce) {
  Stage stage(conformance::Depth::k16);
  InCommand(&stage, [](RenderContext* context) {
    EXPECT_EQ(QueryPixelFormat(context), PF_PixelFormat_ARGB64);
    EXPECT_EQ(QueryPixelFormat(context), PF_PixelFormat_ARGB64);
  });
  EXPECT_EQ(stage.host.Calls("get_pixel_format"), 1);
  conformance::ExpectClean(stage);
}

TEST(QueryPixelFormat, IsInvalidWithoutAnOutput) {
  Stage stage(conformance::Depth::k8);
  InCommand(&stage, [](RenderContext* context) {
    context->output = nullptr;
    EXPECT_EQ(QueryPixelFormat(context), PF_PixelFormat_INVALID);
  });
  EXPECT_THAT(stage.host.log, IsEmpty());
}

TEST(RenderContext, KnowsHighQualityExactly) {
  for (const PF_Quality quality : {PF_Quality_DRAWING_AUDIO, PF_Quality_LO, PF_Quality_HI, 2}) {
    Stage stage(conformance::Depth::k8);
    stage.host.inData.quality = quality;
    InCommand(&stage, [&](RenderContext* context) {
      EXPECT_EQ(context->highQuality, quality == PF_Quality_HI ? 1 : 0);
      EXPECT_EQ(context->input, nullptr);
      EXPECT_EQ(context->pixelFormat, PF_PixelFormat_INVALID);
    });
  }
}

TEST(ReadParamFixed, IsExact) {
  for (const double value : {12.5, -10000.0, 0.0, 1 / 65536.0, -1 / 65536.0}) {
    Stage stage(conformance::Depth::k8);
    stage.host.controls.travel = Fixed(value);
    InCommand(&stage, [&](RenderContext* context) {
      const PF_InData& in = *context->inData;
      EXPECT_EQ(ReadParamFixed(in, 5, in.current_time, in.time_step, in.time_scale), value);
    });
    EXPECT_THAT(stage.host.log, ElementsAre("checkout_param 5", "checkin_param"));
    conformance::ExpectClean(stage);
  }
}

TEST(ReadParamFlag, IsAnyValueButZero) {
  for (const A_long value : {-1, 0, 1, 3}) {
    Stage stage(conformance::Depth::k8);
    stage.host.controls.placement = value;  // a popup's value lies where a checkbox's does
    InCommand(&stage, [&](RenderContext* context) {
      const PF_InData& in = *context->inData;
      EXPECT_EQ(ReadParamFlag(in, 4, in.current_time, in.time_step, in.time_scale), value != 0);
    });
    conformance::ExpectClean(stage);
  }
}

TEST(ReadParam, ChecksInAfterAFailedCheckoutToo) {
  Stage stage(conformance::Depth::k8);
  stage.host.FailAt("checkout_param", 1, PF_Err_INVALID_INDEX);
  InCommand(&stage, [](RenderContext* context) {
    const PF_InData& in = *context->inData;
    ReadParamFixed(in, 5, in.current_time, in.time_step, in.time_scale);
  });
  EXPECT_THAT(stage.host.log, ElementsAre("checkout_param 5", "checkin_param"));
}

TEST(ParamCheckout, HoldsTheLayerUntilItEnds) {
  Stage stage(conformance::Depth::k8);
  InCommand(&stage, [&](RenderContext* context) {
    ParamCheckout checkout(context, 1);
    EXPECT_EQ(checkout.World(), nullptr) << "nothing is out yet";
    EXPECT_EQ(checkout.Checkout(), PF_Err_NONE);
    ASSERT_NE(checkout.World(), nullptr);
    EXPECT_EQ(checkout.World()->data, stage.layer.world.data);
    EXPECT_EQ(checkout.Release(), PF_Err_NONE);
    EXPECT_EQ(checkout.World(), nullptr);
    EXPECT_EQ(checkout.Release(), PF_Err_NONE) << "a second release is nothing";
  });
  EXPECT_THAT(stage.host.log, ElementsAre("checkout_param 1", "checkin_param"));
  conformance::ExpectClean(stage);
}

TEST(ParamCheckout, GivesBackTheFirstBeforeItTakesASecond) {
  Stage stage(conformance::Depth::k8);
  InCommand(&stage, [](RenderContext* context) {
    ParamCheckout checkout(context, 1);
    PF_LayerDef* world = nullptr;
    EXPECT_EQ(checkout.CheckoutWorld(&world), PF_Err_NONE);
    EXPECT_NE(world, nullptr);
    EXPECT_EQ(checkout.CheckoutWorld(&world), PF_Err_NONE);
    EXPECT_NE(world, nullptr);
  });
  EXPECT_THAT(stage.host.log, ElementsAre("checkout_param 1", "checkin_param", "checkout_param 1",
                                          "checkin_param"));
  conformance::ExpectClean(stage);
}

TEST(ParamCheckout, ReturnsTheCodeOfAFailedReleaseBeforeASecondCheckout) {
  Stage stage(conformance::Depth::k8);
  stage.host.FailAt("checkin_param", 1, PF_Err_INVALID_CALLBACK);
  InCommand(&stage, [](RenderContext* context) {
    ParamCheckout checkout(context, 1);
    EXPECT_EQ(checkout.Checkout(), PF_Err_NONE);
    PF_LayerDef sentinel{};
    PF_LayerDef* world = &sentinel;
    EXPECT_EQ(checkout.CheckoutWorld(&world), PF_Err_INVALID_CALLBACK);
    EXPECT_EQ(world, nullptr);
  });
  EXPECT_THAT(stage.host.log, ElementsAre("checkout_param 1", "checkin_param"));
}

TEST(ParamCheckout, OfNoLayerSucceedsWithoutAWorld) {
  Stage stage(conformance::Depth::k8);
  stage.host.layer = nullptr;
  InCommand(&stage, [](RenderContext* context) {
    ParamCheckout checkout(context, 1);
    EXPECT_EQ(checkout.Checkout(), PF_Err_NONE);
    EXPECT_EQ(checkout.World(), nullptr);
  });
  EXPECT_THAT(stage.host.log, ElementsAre("checkout_param 1", "checkin_param"));
}

TEST(ParamCheckout, StandsForTheOutputWithoutAskingTheClassicHost) {
  Stage stage(conformance::Depth::k8);
  InCommand(&stage, [&](RenderContext* context) {
    ParamCheckout checkout(context, ParamCheckout::kOutputIndex);
    EXPECT_EQ(checkout.Checkout(), PF_Err_NONE);
    ASSERT_NE(checkout.World(), nullptr);
    EXPECT_EQ(checkout.World()->data, stage.output.world.data);
    context->output = nullptr;
    EXPECT_EQ(checkout.Checkout(), PF_Err_INVALID_INDEX);
    EXPECT_EQ(checkout.World(), nullptr);
  });
  EXPECT_THAT(stage.host.log, IsEmpty());
}

}  // namespace
}  // namespace veltra
