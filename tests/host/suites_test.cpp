// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// The suites that ordinary effects ask for, called as effects call them.

#include "host_api/suites.h"

#include <atomic>
#include <cmath>
#include <cstring>
#include <set>

#include "host/suites/suite_list.h"
#include "host/suites/tables.h"
#include "images.h"

namespace veltra::host {
namespace {

class SuitesTest : public ::testing::Test {
 protected:
  SuitesTest() : session({Tables(), controls}, &settings) {
    settings.width = 8;
    settings.height = 8;
  }

  template <class Suite>
  const Suite& Get(const char* name, A_long version) {
    const void* table = nullptr;
    EXPECT_EQ(BasicSuite().AcquireSuite(name, version, &table), 0) << name;
    return *static_cast<const Suite*>(table);
  }

  PF_InData& In() { return session.InData(); }
  PF_ProgPtr Ref() { return In().effect_ref; }

  RenderSettings settings;
  std::vector<ControlDeclaration> controls;
  Session session;
};

TEST_F(SuitesTest, EveryOfferedTableIsThereUnderItsExactNameAndVersion) {
  std::set<std::string> known;
  for (const auto& suites :
       {PixelSuites(), ParameterSuites(), ApplicationSuites(), ProjectSuites()}) {
    for (const OfferedSuite& suite : suites) {
      EXPECT_TRUE(known.insert(std::string(suite.name) + std::to_string(suite.version)).second);
      const void* table = nullptr;
      EXPECT_EQ(BasicSuite().AcquireSuite(suite.name, suite.version, &table), 0);
      const void* first = nullptr;
      ASSERT_NE(table, nullptr) << suite.name;
      std::memcpy(&first, table, sizeof first);
      EXPECT_NE(first, nullptr) << suite.name;
    }
  }
  EXPECT_GT(known.size(), 50U);
}

TEST_F(SuitesTest, IsEqualAnswersInAllOfItsRegister) {
  const A_long different = BasicSuite().IsEqual("a", "b");
  EXPECT_EQ(different, 0);
  EXPECT_EQ(BasicSuite().IsEqual("a", "a"), 1);
}

TEST_F(SuitesTest, HandlesKeepTheirBytesAndTheirPlace) {
  const auto& suite = Get<PF_HandleSuite1>("PF Handle Suite", 2);
  PF_Handle handle = suite.host_new_handle(4);
  ASSERT_NE(handle, nullptr);
  auto* bytes = static_cast<unsigned char*>(*handle);
  EXPECT_EQ(bytes[3], 0) << "new blocks are zero";
  EXPECT_EQ(suite.host_lock_handle(handle), *handle);
  suite.host_unlock_handle(handle);
  bytes[3] = 77;
  EXPECT_EQ(suite.host_resize_handle(100000, &handle), PF_Err_NONE);
  EXPECT_EQ(static_cast<unsigned char*>(*handle)[3], 77);
  EXPECT_EQ(static_cast<unsigned char*>(*handle)[99999], 0);
  EXPECT_EQ(suite.host_get_handle_size(handle), 100000U);
  EXPECT_EQ(suite.host_resize_handle(~std::uint64_t{0}, &handle), PF_Err_OUT_OF_MEMORY);
  EXPECT_EQ(suite.host_get_handle_size(handle), 100000U) << "the old handle stays valid";
  suite.host_dispose_handle(handle);
  EXPECT_EQ(suite.host_lock_handle(handle), nullptr);
  suite.host_dispose_handle(handle);
  suite.host_dispose_handle(nullptr);
  const PF_Handle empty = suite.host_new_handle(0);
  EXPECT_NE(empty, nullptr);
  suite.host_dispose_handle(empty);
  EXPECT_EQ(suite.host_new_handle(~std::uint64_t{0}), nullptr);
}

// ---- Iteration ----

PF_Err AddFive(void*, A_long, A_long, PF_Pixel8* in, PF_Pixel8* out) {
  *out = {255, static_cast<A_u_char>(in->red + 5), 0, 0};
  return PF_Err_NONE;
}

TEST_F(SuitesTest, IterationsWithAnOriginVisitWhatHasASourceOrEverything) {
  const auto& suite = Get<PF_Iterate8Suite1>("PF Iterate8 Suite", 2);
  World small = MakeWorld(2, 2, Depth::k8);
  small.Row<PF_Pixel8>(0)[0].red = 10;
  PF_EffectWorld source = small.View();
  const PF_Point origin{3, 2};
  World clipped = MakeWorld(8, 8, Depth::k8);
  PF_EffectWorld out = clipped.View();
  EXPECT_EQ(suite.iterate_origin(&In(), 0, 8, &source, nullptr, &origin, nullptr, &AddFive, &out),
            PF_Err_NONE);
  EXPECT_EQ(clipped.Row<PF_Pixel8>(2)[3].red, 15);
  EXPECT_EQ(clipped.Row<PF_Pixel8>(3)[4].red, 5);
  EXPECT_EQ(clipped.Row<PF_Pixel8>(3)[5].red, 0);
  World whole = MakeWorld(8, 8, Depth::k8);
  out = whole.View();
  EXPECT_EQ(suite.iterate_origin_non_clip_src(&In(), 0, 0, &source, nullptr, &origin, nullptr,
                                              &AddFive, &out),
            PF_Err_NONE);
  EXPECT_EQ(whole.Row<PF_Pixel8>(2)[3].red, 15);
  EXPECT_EQ(whole.Row<PF_Pixel8>(7)[7].red, 5);
  EXPECT_EQ(whole.Row<PF_Pixel8>(2)[2].red, 5);
}

TEST_F(SuitesTest, ANegativeFinalValueReportsNoProgress) {
  const auto& suite = Get<PF_Iterate8Suite1>("PF Iterate8 Suite", 2);
  int reports = 0;
  settings.progress = [&reports](A_long, A_long) { ++reports; };
  World world = MakeWorld(4, 4, Depth::k8);
  PF_EffectWorld out = world.View();
  suite.iterate(&In(), 0, -4, nullptr, nullptr, nullptr, &AddFive, &out);
  EXPECT_EQ(reports, 0);
  suite.iterate(&In(), 0, 4, nullptr, nullptr, nullptr, &AddFive, &out);
  EXPECT_EQ(reports, 4);
}

TEST_F(SuitesTest, TablesMapTheChannelsThatHaveOne) {
  World world = MakeWorld(1, 1, Depth::k8);
  world.Row<PF_Pixel8>(0)[0] = {200, 10, 20, 30};
  PF_EffectWorld view = world.View();
  A_u_char inverse[256];
  for (int i = 0; i < 256; ++i) {
    inverse[i] = static_cast<A_u_char>(255 - i);
  }
  EXPECT_EQ(In().utils->iterate_lut(&In(), 0, 0, &view, nullptr, nullptr, inverse, nullptr, inverse,
                                    &view),
            PF_Err_NONE);
  const PF_Pixel8 expected{200, 245, 20, 225};
  EXPECT_TRUE(Same(world.Row<PF_Pixel8>(0)[0], expected));
}

struct GenericCount {
  std::atomic<int> calls{0};
  std::atomic<int> wrong{0};
};

PF_Err CountCall(void* refcon, A_long thread, A_long i, A_long iterations) {
  auto& count = *static_cast<GenericCount*>(refcon);
  ++count.calls;
  count.wrong += thread < 0 || thread >= 3 || i < 0 || i >= iterations ? 1 : 0;
  return PF_Err_NONE;
}

TEST_F(SuitesTest, GenericIterationsTellTheirRealNumberAndAThread) {
  ThreadPool pool(3);
  settings.pool = &pool;
  const SessionScope scope(&session);
  GenericCount count;
  EXPECT_EQ(In().utils->iterate_generic(100, &count, &CountCall), PF_Err_NONE);
  EXPECT_EQ(count.calls, 100);
  EXPECT_EQ(In().utils->iterate_generic(PF_Iterations_ONCE_PER_PROCESSOR, &count, &CountCall),
            PF_Err_NONE);
  EXPECT_EQ(count.calls, 103);
  EXPECT_EQ(count.wrong, 0);
}

// ---- Transforms ----

template <class Pixel>
class Transforms : public SuitesTest {};
TYPED_TEST_SUITE(Transforms, AllPixels);

template <class Pixel>
World Filled(A_long width, A_long height, double alpha, double red, double green, double blue) {
  World world = MakeWorld(width, height, kDepthOf<Pixel>);
  for (A_long y = 0; y < height; ++y) {
    for (Pixel& pixel : world.Row<Pixel>(y)) {
      pixel = MakePixel<Pixel>(alpha, red, green, blue);
    }
  }
  return world;
}

template <class Pixel>
double RedOf(const World& world, A_long x, A_long y) {
  return UnitOf<Pixel>(world.Row<Pixel>(y)[static_cast<std::size_t>(x)].red);
}

TYPED_TEST(Transforms, BlendsWeighColourByAlpha) {
  const auto& suite = this->template Get<PF_WorldTransformSuite1>("PF World Transform Suite", 1);
  const World opaque = Filled<TypeParam>(2, 2, 1, 1, 0, 0);
  const World clear = Filled<TypeParam>(2, 2, 0, 0, 1, 0);
  World out = MakeWorld(2, 2, kDepthOf<TypeParam>);
  PF_EffectWorld a = opaque.View();
  PF_EffectWorld b = clear.View();
  PF_EffectWorld view = out.View();
  EXPECT_EQ(suite.blend(this->Ref(), &a, &b, 0x8000, &view), PF_Err_NONE);
  const TypeParam middle = out.template Row<TypeParam>(1)[1];
  EXPECT_NEAR(UnitOf<TypeParam>(middle.alpha), 0.5, 0.003);
  EXPECT_EQ(UnitOf<TypeParam>(middle.red), 1.0);
  EXPECT_EQ(UnitOf<TypeParam>(middle.green), 0.0);
}

TYPED_TEST(Transforms, NineEqualWeightsAverageASquare) {
  const auto& suite = this->template Get<PF_WorldTransformSuite1>("PF World Transform Suite", 1);
  World in = MakeWorld(5, 5, kDepthOf<TypeParam>);
  in.template Row<TypeParam>(2)[2] = MakePixel<TypeParam>(1, 1, 1, 1);
  World out = MakeWorld(5, 5, kDepthOf<TypeParam>);
  PF_EffectWorld source = in.View();
  PF_EffectWorld view = out.View();
  A_long average[9];
  std::fill(std::begin(average), std::end(average), 255);
  EXPECT_EQ(suite.convolve(this->Ref(), &source, nullptr, 0, 3, average, average, average, average,
                           &view),
            PF_Err_NONE);
  EXPECT_NEAR(RedOf<TypeParam>(out, 1, 1), 1.0 / 9, 0.002);
  EXPECT_EQ(RedOf<TypeParam>(out, 0, 0), 0);
  A_long identity[9] = {0, 0, 0, 0, 2295, 0, 0, 0, 0};
  EXPECT_EQ(suite.convolve(this->Ref(), &source, nullptr, 0, 3, identity, identity, identity,
                           identity, &view),
            PF_Err_NONE);
  EXPECT_EQ(FirstDifference<TypeParam>(in, out), "");
  EXPECT_EQ(suite.convolve(this->Ref(), &source, nullptr, 0, 3, identity, identity, identity,
                           identity, &source),
            PF_Err_BAD_CALLBACK_PARAM);
}

TYPED_TEST(Transforms, TransfersMixWithTheModeTheyAreGiven) {
  const auto& suite = this->template Get<PF_WorldTransformSuite1>("PF World Transform Suite", 1);
  const World above = Filled<TypeParam>(2, 2, 1, 0.25, 0.25, 0.25);
  const auto red = [&](PF_TransferMode mode) {
    World out = Filled<TypeParam>(4, 4, 1, 0.75, 0.75, 0.75);
    PF_EffectWorld source = above.View();
    PF_EffectWorld view = out.View();
    const PF_CompositeMode full{mode, 0, 255, 0, 32768};
    EXPECT_EQ(suite.transfer_rect(this->Ref(), PF_Quality_HI, PF_MF_Alpha_STRAIGHT, PF_Field_FRAME,
                                  nullptr, &source, &full, nullptr, 1, 1, &view),
              PF_Err_NONE);
    EXPECT_NEAR(RedOf<TypeParam>(out, 0, 0), 0.75, 0.003) << "outside of the source";
    return RedOf<TypeParam>(out, 1, 1);
  };
  EXPECT_NEAR(red(PF_Xfer_IN_FRONT), 0.25, 0.003);
  EXPECT_NEAR(red(PF_Xfer_BEHIND), 0.75, 0.003);
  EXPECT_NEAR(red(PF_Xfer_MULTIPLY), 0.1875, 0.003);
  EXPECT_NEAR(red(PF_Xfer_DIFFERENCE), 0.5, 0.003);
  EXPECT_NEAR(red(PF_Xfer_SCREEN), 0.8125, 0.003);
  EXPECT_NEAR(red(PF_Xfer_ADD), 1, 0.003);
}

TYPED_TEST(Transforms, MatricesCountFromPixelCorners) {
  const auto& suite = this->template Get<PF_WorldTransformSuite1>("PF World Transform Suite", 1);
  World in = MakeWorld(4, 4, kDepthOf<TypeParam>);
  in.template Row<TypeParam>(1)[1] = MakePixel<TypeParam>(1, 1, 1, 1);
  World out = MakeWorld(4, 4, kDepthOf<TypeParam>);
  PF_EffectWorld source = in.View();
  PF_EffectWorld view = out.View();
  const PF_CompositeMode full{PF_Xfer_IN_FRONT, 0, 255, 0, 32768};
  // A half turn around the middle.
  const PF_FloatMatrix turn{{{-1, 0, 0}, {0, -1, 0}, {4, 4, 1}}};
  EXPECT_EQ(suite.transform_world(this->Ref(), PF_Quality_HI, PF_MF_Alpha_STRAIGHT, PF_Field_FRAME,
                                  &source, &full, nullptr, &turn, 1, 1, nullptr, &view),
            PF_Err_NONE);
  EXPECT_EQ(RedOf<TypeParam>(out, 2, 2), 1);
  EXPECT_EQ(RedOf<TypeParam>(out, 1, 1), 0);
}

TYPED_TEST(Transforms, WhatIsScaledToNothingIsNotDrawn) {
  const auto& suite = this->template Get<PF_WorldTransformSuite1>("PF World Transform Suite", 1);
  const World in = Filled<TypeParam>(4, 4, 1, 1, 1, 1);
  World out = Filled<TypeParam>(4, 4, 1, 0, 0, 0);
  const PF_EffectWorld source = in.View();
  PF_EffectWorld view = out.View();
  const PF_CompositeMode full{PF_Xfer_IN_FRONT, 0, 255, 0, 32768};
  const PF_FloatMatrix both[2] = {{{{0, 0, 0}, {0, 0, 0}, {2, 2, 1}}},
                                  {{{1, 0, 0}, {0, 1, 0}, {0, 0, 1}}}};
  EXPECT_EQ(suite.transform_world(this->Ref(), PF_Quality_HI, PF_MF_Alpha_STRAIGHT, PF_Field_FRAME,
                                  &source, &full, nullptr, both, 1, 1, nullptr, &view),
            PF_Err_NONE);
  EXPECT_EQ(RedOf<TypeParam>(out, 1, 1), 0);
  EXPECT_EQ(suite.transform_world(this->Ref(), PF_Quality_HI, PF_MF_Alpha_STRAIGHT, PF_Field_FRAME,
                                  &source, &full, nullptr, both, 2, 1, nullptr, &view),
            PF_Err_NONE);
  EXPECT_NEAR(RedOf<TypeParam>(out, 1, 1), 0.5, 0.003) << "half of the shutter";
}

TEST_F(SuitesTest, ACopyBetweenVisibleExtentsIsNotAStretch) {
  World in = MakeWorld(8, 4, Depth::k8);
  in.Row<PF_Pixel8>(1)[2] = {255, 9, 9, 9};
  World out = MakeWorld(8, 4, Depth::k8);
  PF_EffectWorld source = in.View();
  PF_EffectWorld view = out.View();
  source.extent_hint = {2, 1, 3, 2};
  EXPECT_EQ(In().utils->copy(Ref(), &source, &view, &source.extent_hint, &view.extent_hint),
            PF_Err_NONE);
  EXPECT_EQ(FirstDifference<PF_Pixel8>(in, out), "");
}

TEST_F(SuitesTest, MatteColoursGoInAndComeOutAgain) {
  const auto& suite = Get<PF_FillMatteSuite2>("PF Fill Matte Suite", 2);
  World world = Filled<PF_Pixel16>(2, 2, 0.5, 0.25, 0.5, 1);
  const World before = Filled<PF_Pixel16>(2, 2, 0.5, 0.25, 0.5, 1);
  PF_EffectWorld view = world.View();
  EXPECT_EQ(suite.premultiply(Ref(), 1, &view), PF_Err_NONE);
  EXPECT_EQ(world.Row<PF_Pixel16>(0)[0].red, 4096);
  EXPECT_EQ(suite.premultiply(Ref(), 0, &view), PF_Err_NONE);
  EXPECT_EQ(FirstDifference<PF_Pixel16>(before, world), "");
  const PF_Pixel16 colour{0, 5, 6, 7};
  EXPECT_EQ(suite.fill16(Ref(), &colour, nullptr, &view), PF_Err_NONE);
  EXPECT_TRUE(Same(world.Row<PF_Pixel16>(1)[1], colour));
  const PF_PixelFloat other{1, 1, 1, 1};
  EXPECT_EQ(suite.fill_float(Ref(), &other, nullptr, &view), PF_Err_BAD_CALLBACK_PARAM);
  EXPECT_EQ(suite.fill_float(Ref(), nullptr, nullptr, &view), PF_Err_NONE) << "of any depth";
  EXPECT_TRUE(Same(world.Row<PF_Pixel16>(1)[1], PF_Pixel16{}));
}

TEST_F(SuitesTest, ColoursComeBackFromEverySpace) {
  const auto& suite = Get<PF_ColorSuite1>("PF Color Suite", 1);
  for (const PF_Pixel8 colour : {PF_Pixel8{9, 200, 100, 50}, PF_Pixel8{9, 0, 0, 255},
                                 PF_Pixel8{9, 128, 128, 128}, PF_Pixel8{9, 255, 255, 0}}) {
    PF_Pixel8 rgb = colour;
    PF_Fixed hls[3];
    PF_Fixed yiq[3];
    suite.RGBtoHLS(Ref(), &rgb, hls);
    suite.RGBtoYIQ(Ref(), &rgb, yiq);
    PF_Pixel8 back{9, 1, 1, 1};
    suite.HLStoRGB(Ref(), hls, &back);
    EXPECT_TRUE(Same(back, colour));
    back = {9, 1, 1, 1};
    suite.YIQtoRGB(Ref(), yiq, &back);
    EXPECT_TRUE(Same(back, colour));
  }
  PF_Pixel8 green{0, 0, 255, 0};
  PF_Fixed hls[3];
  suite.RGBtoHLS(Ref(), &green, hls);
  EXPECT_EQ(hls[0], 120 << 16) << "degrees";
  A_long value = 0;
  suite.Luminance(Ref(), &green, &value);
  EXPECT_EQ(value, 14969);
  suite.Hue(Ref(), &green, &value);
  EXPECT_EQ(value, 85);
}

TEST_F(SuitesTest, PixelsAreOnlyGivenAtTheWorldsDepth) {
  const auto& suite = Get<PF_PixelDataSuite2>("PF Pixel Data Suite", 2);
  World world = MakeWorld(2, 2, Depth::k16);
  PF_EffectWorld view = world.View();
  PF_Pixel8* eight = nullptr;
  PF_Pixel16* sixteen = nullptr;
  EXPECT_EQ(suite.get_pixel_data8(&view, nullptr, &eight), PF_Err_NONE);
  EXPECT_EQ(eight, nullptr);
  EXPECT_EQ(suite.get_pixel_data16(&view, nullptr, &sixteen), PF_Err_NONE);
  EXPECT_EQ(static_cast<void*>(sixteen), view.data);
}

// ---- Suites of a project that there is none of ----

TEST(ProjectSuites, WriteTheirResultsAlsoWhereTheyRefuse) {
  for (const auto& [version, versionsAt, undoAt] : {std::tuple{7, 1, 5}, {13, 2, 7}}) {
    SCOPED_TRACE(version);
    const void* found = FindSuite("AEGP Utility Suite", version, DefaultHost());
    ASSERT_NE(found, nullptr);
    const auto* slots = static_cast<const PF_AnyFn*>(found);
    const auto slot = [slots](int at, auto type) {
      return reinterpret_cast<decltype(type)>(slots[at]);
    };
    A_short major = 9;
    A_short minor = 9;
    using VersionFn = A_Err (*)(A_short*, A_short*);
    EXPECT_EQ(slot(versionsAt, VersionFn{})(&major, &minor), A_Err_GENERIC);
    EXPECT_EQ(major, 0);
    EXPECT_EQ(minor, 0);
    using ReportFn = A_Err (*)(A_long, const A_char*);
    EXPECT_EQ(slot(0, ReportFn{})(1, "a report"), A_Err_NONE);
    using ColorFn = A_Err (*)(ProjectColor*);
    ProjectColor color{9, 9, 9, 9};
    EXPECT_EQ(slot(undoAt + 5, ColorFn{})(&color), A_Err_GENERIC);
    EXPECT_EQ(color.alpha, 1);
    EXPECT_EQ(color.blue, 0);
    using TextColorFn = A_Err (*)(PF_Boolean*, ProjectColor*);
    PF_Boolean defined = 9;
    color.red = 9;
    EXPECT_EQ(slot(undoAt + 10, TextColorFn{})(&defined, &color), A_Err_GENERIC);
    EXPECT_EQ(defined, 0);
    EXPECT_EQ(color.red, 0);
    using ThreeTextsFn = A_Err (*)(const A_char*, const A_char*, const A_char*);
    EXPECT_EQ(slot(undoAt + 19, ThreeTextsFn{})("a", "b", "c"), A_Err_NONE);
    using SwitchFn = A_Err (*)(PF_Boolean*);
    EXPECT_EQ(slot(undoAt + 17, SwitchFn{})(&defined), A_Err_NONE);
    EXPECT_EQ(defined, 1) << "no interface for a user";
  }
}

}  // namespace
}  // namespace veltra::host
