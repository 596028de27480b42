// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Owning images: limits, layout, views, extents and reduction.

#include "host/pixels/world.h"

#include <cstring>

#include "host/pixels/world_view.h"
#include "images.h"

namespace veltra::host {
namespace {

template <class Pixel>
class Worlds : public ::testing::Test {};
TYPED_TEST_SUITE(Worlds, AllPixels);

TEST(WorldLimits, SidesOutsideOneTo30000AreRefusedInOneLine) {
  EXPECT_TRUE(World::Create(30000, 1, Depth::k8));
  for (const auto& [width, height] : {std::pair{0, 5}, {5, 0}, {-1, 5}, {30001, 1}, {1, 30001}}) {
    const auto world = World::Create(width, height, Depth::kFloat);
    ASSERT_FALSE(world);
    EXPECT_EQ(world.ErrorText().find('\n'), std::string::npos);
    EXPECT_NE(world.ErrorText().find("30000"), std::string::npos) << world.ErrorText();
  }
}

TYPED_TEST(Worlds, RowsAreAlignedLongerThanTheirPixelsAndTransparent) {
  const World world = MakeWorld(16, 3, kDepthOf<TypeParam>);
  const PF_EffectWorld view = world.View();
  EXPECT_EQ(reinterpret_cast<std::uintptr_t>(view.data) % 64, 0U);
  EXPECT_EQ(view.rowbytes % 64, 0);
  EXPECT_GT(view.rowbytes, static_cast<A_long>(16 * sizeof(TypeParam)));
  EXPECT_TRUE(Same(world.Row<TypeParam>(2)[15], TypeParam{}));
  EXPECT_EQ(DepthOf(view), kDepthOf<TypeParam>);
  EXPECT_EQ((view.world_flags & PF_WorldFlag_DEEP) != 0, kDepthOf<TypeParam> == Depth::k16);
}

TYPED_TEST(Worlds, AViewOfAPartSharesThePixelsAndKnowsItsPlace) {
  World world = RandomWorld<TypeParam>(9, 8, 1);
  world.SetOrigin(100, 50);
  const PF_EffectWorld part = world.View({103, 48, 200, 55});
  EXPECT_EQ(part.width, 6);
  EXPECT_EQ(part.height, 5);
  EXPECT_EQ(part.origin_x, 103);
  EXPECT_EQ(part.origin_y, 50);
  EXPECT_EQ(static_cast<void*>(RowOf<TypeParam>(part, 2)),
            static_cast<void*>(&world.Row<TypeParam>(2)[3]));
  EXPECT_EQ(world.View({0, 0, 5, 5}).width, 0);
}

TYPED_TEST(Worlds, TheVisibleExtentIsTheSmallestRectangleWithAnyAlpha) {
  World world = MakeWorld(200, 20, kDepthOf<TypeParam>);
  PF_LRect extent = VisibleExtent(world.View(), kDepthOf<TypeParam>);
  EXPECT_TRUE(IsEmpty(extent));
  world.Row<TypeParam>(0)[0] = MakePixel<TypeParam>(0, 1, 1, 1);
  world.Row<TypeParam>(4)[130] = MakePixel<TypeParam>(1, 0, 0, 0);
  world.Row<TypeParam>(9)[7] = MakePixel<TypeParam>(0.01, 0, 0, 0);
  extent = VisibleExtent(world.View(), kDepthOf<TypeParam>);
  EXPECT_EQ(extent.left, 7);
  EXPECT_EQ(extent.top, 4);
  EXPECT_EQ(extent.right, 131);
  EXPECT_EQ(extent.bottom, 10);
}

TYPED_TEST(Worlds, AGuardedWorldNoticesAByteWrittenBesideAnyRow) {
  WorldLayout layout;
  layout.extraRowBytes = 16;
  layout.misalignBytes = sizeof(TypeParam);
  layout.guarded = true;
  const World world = MakeWorld(5, 4, kDepthOf<TypeParam>, layout);
  EXPECT_TRUE(world.GuardIntact());
  std::byte* const rowEnd = world.RowAddress(1) + 5 * sizeof(TypeParam);
  for (std::byte* place : {world.RowAddress(0) - 1, rowEnd, world.RowAddress(4)}) {
    const std::byte before = *place;
    *place = std::byte{0};
    EXPECT_FALSE(world.GuardIntact());
    *place = before;
  }
  *(rowEnd - 1) = std::byte{1};
  EXPECT_TRUE(world.GuardIntact()) << "the last pixel belongs to the effect";
}

TEST(Downsampling, LengthsAreRoundedHalfUpAndNeverZero) {
  EXPECT_EQ(DownsampledLength(4096, 1), 4096);
  EXPECT_EQ(DownsampledLength(4096, 2), 2048);
  EXPECT_EQ(DownsampledLength(5, 2), 3);
  EXPECT_EQ(DownsampledLength(5, 4), 1);
  EXPECT_EQ(DownsampledLength(7, 3), 2);
  EXPECT_EQ(DownsampledLength(1, 9), 1);
}

TYPED_TEST(Worlds, ReductionAveragesBoxesByAlphaAndCutsTheLastOnes) {
  World world = MakeWorld(5, 3, kDepthOf<TypeParam>);
  world.SetPixelAspect({4, 3});
  world.Row<TypeParam>(0)[0] = MakePixel<TypeParam>(1, 1, 0, 0.5);
  world.Row<TypeParam>(1)[1] = MakePixel<TypeParam>(1, 0, 1, 0.5);
  world.Row<TypeParam>(0)[1] = MakePixel<TypeParam>(0, 1, 1, 1);
  world.Row<TypeParam>(2)[4] = MakePixel<TypeParam>(1, 0.25, 0.5, 1);
  auto reduced = BoxDownsample(world, 2);
  ASSERT_TRUE(reduced);
  EXPECT_EQ(reduced->Width(), 3);
  EXPECT_EQ(reduced->Height(), 2);
  EXPECT_EQ(reduced->PixelAspect().num, 4);
  const TypeParam first = reduced->template Row<TypeParam>(0)[0];
  EXPECT_TRUE(Same(first, MakePixel<TypeParam>(0.5, 0.5, 0.5, 0.5))) << Show(first);
  EXPECT_TRUE(Same(reduced->template Row<TypeParam>(1)[2], world.Row<TypeParam>(2)[4]))
      << "a box cut to one pixel is that pixel";
  EXPECT_TRUE(Same(reduced->template Row<TypeParam>(0)[1], TypeParam{}));
}

TYPED_TEST(Worlds, ReductionByMoreThanTheImageIsOnePixel) {
  const World world = RandomWorld<TypeParam>(3, 7, 2);
  auto reduced = BoxDownsample(world, 1000000);
  ASSERT_TRUE(reduced);
  EXPECT_EQ(reduced->Width(), 1);
  EXPECT_EQ(reduced->Height(), 1);
}

TYPED_TEST(Worlds, ReductionIsTheSameOnManyThreadsAndEndsWhenTheUserGivesUp) {
  const World world = RandomWorld<TypeParam>(1500, 1301, 3);
  ThreadPool pool(4);
  std::atomic<bool> abort{false};
  const auto alone = BoxDownsample(world, 3);
  const auto together = BoxDownsample(world, 3, {&pool, &abort});
  ASSERT_TRUE(alone && together);
  EXPECT_EQ(FirstDifference<TypeParam>(*alone, *together), "");
  abort = true;
  EXPECT_EQ(BoxDownsample(world, 3, {&pool, &abort}).ErrorText(), "interrupted");
}

}  // namespace
}  // namespace veltra::host
