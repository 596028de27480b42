// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Filling and copying: clipping, stretching, overlap and refusals.

#include "host/pixels/transfer.h"

#include <limits>

#include "host/pixels/world_view.h"
#include "host/suites/tables.h"
#include "images.h"

namespace veltra::host {
namespace {

template <class Pixel>
class Transfer : public ::testing::Test {};
TYPED_TEST_SUITE(Transfer, AllPixels);

TYPED_TEST(Transfer, FillScalesTheColourAndClipsTheRectangle) {
  World world = MakeWorld(6, 5, kDepthOf<TypeParam>);
  PF_EffectWorld view = world.View();
  const PF_Pixel8 color{255, 51, 0, 255};
  const PF_LRect rect{4, -7, 90, 2};
  ASSERT_EQ(FillWorld(&color, &rect, view), PF_Err_NONE);
  const TypeParam wanted = MakePixel<TypeParam>(1, 51 / 255.0, 0, 1);
  for (A_long y = 0; y < 5; ++y) {
    for (A_long x = 0; x < 6; ++x) {
      const bool inside = x >= 4 && y < 2;
      EXPECT_TRUE(
          Same(world.Row<TypeParam>(y)[static_cast<std::size_t>(x)], inside ? wanted : TypeParam{}))
          << x << ", " << y;
    }
  }
  ASSERT_EQ(FillWorld(nullptr, nullptr, view), PF_Err_NONE);
  EXPECT_TRUE(Same(world.Row<TypeParam>(0)[5], TypeParam{}));
}

/// A copy of one size, done the plain way.
template <class Pixel>
void PlainCopy(const World& from, const PF_LRect& source, World& to, A_long dx, A_long dy) {
  for (A_long y = source.top; y < source.bottom; ++y) {
    for (A_long x = source.left; x < source.right; ++x) {
      const A_long tx = dx + x - source.left;
      const A_long ty = dy + y - source.top;
      if (x >= 0 && y >= 0 && x < from.Width() && y < from.Height() && tx >= 0 && ty >= 0 &&
          tx < to.Width() && ty < to.Height()) {
        to.Row<Pixel>(ty)[static_cast<std::size_t>(tx)] =
            from.Row<Pixel>(y)[static_cast<std::size_t>(x)];
      }
    }
  }
}

TYPED_TEST(Transfer, CopiesOfOneSizeAreUnchangedAndClippedToBothWorlds) {
  const World source = RandomWorld<TypeParam>(8, 7, 1);
  for (const A_long dx : {-9, -3, 0, 4, 11}) {
    for (const PF_LRect& from : {PF_LRect{0, 0, 8, 7}, {-2, -3, 5, 20}, {3, 2, 4, 3}}) {
      World wanted = RandomWorld<TypeParam>(10, 6, 2);
      World got = RandomWorld<TypeParam>(10, 6, 2);
      PlainCopy<TypeParam>(source, from, wanted, dx, 1 - dx);
      const PF_LRect to{dx, 1 - dx, dx + from.right - from.left, 1 - dx + from.bottom - from.top};
      PF_EffectWorld view = got.View();
      ASSERT_EQ(CopyWorld(source.View(), &from, view, &to, false), PF_Err_NONE);
      EXPECT_EQ(FirstDifference<TypeParam>(wanted, got), "");
    }
  }
}

TYPED_TEST(Transfer, CopiesWithinOneWorldReadBeforeTheyWrite) {
  const World original = RandomWorld<TypeParam>(12, 12, 3);
  for (const A_long dx : {-2, 0, 3}) {
    for (const A_long dy : {-3, 0, 2}) {
      World wanted = RandomWorld<TypeParam>(12, 12, 3);
      World got = RandomWorld<TypeParam>(12, 12, 3);
      const PF_LRect from{3, 3, 9, 9};
      const PF_LRect to{3 + dx, 3 + dy, 9 + dx, 9 + dy};
      PlainCopy<TypeParam>(original, from, wanted, to.left, to.top);
      PF_EffectWorld view = got.View();
      ASSERT_EQ(CopyWorld(got.View(), &from, view, &to, false), PF_Err_NONE);
      EXPECT_EQ(FirstDifference<TypeParam>(wanted, got), "");
    }
  }
}

TYPED_TEST(Transfer, OtherSizesAreStretchedWithoutFadingAtTheEdges) {
  World source = MakeWorld(2, 2, kDepthOf<TypeParam>);
  const TypeParam left = MakePixel<TypeParam>(1, 1, 0, 0);
  const TypeParam right = MakePixel<TypeParam>(1, 0, 0, 1);
  for (A_long y = 0; y < 2; ++y) {
    source.Row<TypeParam>(y)[0] = left;
    source.Row<TypeParam>(y)[1] = right;
  }
  World target = MakeWorld(8, 3, kDepthOf<TypeParam>);
  PF_EffectWorld view = target.View();
  ASSERT_EQ(CopyWorld(source.View(), nullptr, view, nullptr, true), PF_Err_NONE);
  for (A_long x = 0; x < 8; ++x) {
    EXPECT_TRUE(Same(target.Row<TypeParam>(2)[static_cast<std::size_t>(x)], x < 4 ? left : right));
  }
  ASSERT_EQ(CopyWorld(source.View(), nullptr, view, nullptr, false), PF_Err_NONE);
  EXPECT_TRUE(Same(target.Row<TypeParam>(0)[0], left));
  EXPECT_TRUE(Same(target.Row<TypeParam>(0)[7], right));
  EXPECT_GT(target.Row<TypeParam>(1)[3].red, target.Row<TypeParam>(1)[4].red);
}

TYPED_TEST(Transfer, CopiesBetweenTwoViewsOfOneWorldReadBeforeTheyWrite) {
  for (const A_long shift : {-2, 3}) {
    World wanted = RandomWorld<TypeParam>(9, 12, 4);
    World got = RandomWorld<TypeParam>(9, 12, 4);
    PlainCopy<TypeParam>(RandomWorld<TypeParam>(9, 12, 4), {0, 3, 9, 9}, wanted, 0, 3 + shift);
    PF_EffectWorld to = got.View({0, 3 + shift, 9, 9 + shift});
    ASSERT_EQ(CopyWorld(got.View({0, 3, 9, 9}), nullptr, to, nullptr, false), PF_Err_NONE);
    EXPECT_EQ(FirstDifference<TypeParam>(wanted, got), "") << "by " << shift;
  }
}

TYPED_TEST(Transfer, StretchingWithinOneWorldReadsBeforeItWrites) {
  const World original = RandomWorld<TypeParam>(40, 30, 5);
  World wanted = RandomWorld<TypeParam>(40, 30, 5);
  World got = RandomWorld<TypeParam>(40, 30, 5);
  const PF_LRect from{3, 2, 20, 17};
  const PF_LRect to{1, 1, 39, 28};
  PF_EffectWorld apart = wanted.View();
  PF_EffectWorld within = got.View();
  ASSERT_EQ(CopyWorld(original.View(), &from, apart, &to, false), PF_Err_NONE);
  ASSERT_EQ(CopyWorld(got.View(), &from, within, &to, false), PF_Err_NONE);
  EXPECT_EQ(FirstDifference<TypeParam>(wanted, got), "");
}

/// Large enough for several stretches of rows at every depth.
constexpr A_long kLargeSide = 1100;

TYPED_TEST(Transfer, ManyThreadsGiveTheSameAsOne) {
  ThreadPool pool(4);
  const RowWork work{&pool, nullptr};
  const World source = RandomWorld<TypeParam>(kLargeSide, kLargeSide, 6);
  World alone = MakeWorld(kLargeSide, kLargeSide, kDepthOf<TypeParam>);
  World together = MakeWorld(kLargeSide, kLargeSide, kDepthOf<TypeParam>);
  PF_EffectWorld one = alone.View();
  PF_EffectWorld many = together.View();
  const PF_Pixel8 color{255, 1, 2, 3};
  const PF_LRect third{7, 5, 900, 1090};
  const PF_LRect shifted{20, 9, 913, 1094};
  const PF_LRect larger{1, 2, 1099, 1095};
  const auto both = [&](auto step) {
    ASSERT_EQ(step(one, RowWork{}), PF_Err_NONE);
    ASSERT_EQ(step(many, work), PF_Err_NONE);
    ASSERT_EQ(FirstDifference<TypeParam>(alone, together), "");
  };
  both([&](PF_EffectWorld& to, const RowWork& how) { return FillWorld(&color, &third, to, how); });
  both([&](PF_EffectWorld& to, const RowWork& how) {
    return CopyWorld(source.View(), &third, to, &shifted, false, how);
  });
  both([&](PF_EffectWorld& to, const RowWork& how) {
    return CopyWorld(to, &third, to, &shifted, false, how);
  });
  both([&](PF_EffectWorld& to, const RowWork& how) {
    return CopyWorld(source.View(), &third, to, &larger, false, how);
  });
}

/// The user gives up while the host prepares a call.
class GivingUp : public RenderHooks {
 public:
  PF_Err BeforeCall(const HostCallDetails&) override {
    abort = true;
    return PF_Err_NONE;
  }
  std::atomic<bool> abort{false};
};

TEST(TransferCallbacks, TheUsersAbortEndsFillAndCopyWithCancel) {
  GivingUp user;
  RenderSettings settings;
  settings.width = 64;
  settings.height = 64;
  settings.hooks = &user;
  settings.abort = &user.abort;
  const std::vector<ControlDeclaration> controls;
  World source = RandomWorld<PF_Pixel8>(64, 64, 7);
  World target = MakeWorld(64, 64, Depth::k8);
  PF_EffectWorld from = source.View();
  PF_EffectWorld to = target.View();
  const PF_Pixel8 color{255, 1, 2, 3};
  PF_LRect half{0, 0, 32, 32};
  const auto expectCancel = [&](auto call) {
    user.abort = false;
    Session session({Tables(), controls}, &settings);
    const PF_InData& in = session.InData();
    EXPECT_EQ(call(*in.utils, in.effect_ref), PF_Interrupt_CANCEL);
    EXPECT_TRUE(session.WasCancelled());
  };
  expectCancel([&](const PF_UtilCallbacks& utils, PF_ProgPtr ref) {
    return utils.fill(ref, &color, nullptr, &to);
  });
  expectCancel([&](const PF_UtilCallbacks& utils, PF_ProgPtr ref) {
    return utils.copy(ref, &from, &to, nullptr, nullptr);
  });
  expectCancel([&](const PF_UtilCallbacks& utils, PF_ProgPtr ref) {
    return utils.copy(ref, &from, &to, &half, nullptr);
  });
  EXPECT_TRUE(IsEmpty(VisibleExtent(to, Depth::k8))) << "something was written after the abort";
}

TYPED_TEST(Transfer, AnAbortOnTheWayEndsItWithCancel) {
  const std::atomic<bool> abort{true};
  const RowWork work{nullptr, &abort};
  const World source = RandomWorld<TypeParam>(8, 8, 8);
  World target = MakeWorld(8, 8, kDepthOf<TypeParam>);
  PF_EffectWorld view = target.View();
  const PF_LRect half{0, 0, 4, 4};
  EXPECT_EQ(FillWorld(nullptr, nullptr, view, work), PF_Interrupt_CANCEL);
  EXPECT_EQ(CopyWorld(source.View(), nullptr, view, nullptr, false, work), PF_Interrupt_CANCEL);
  EXPECT_EQ(CopyWorld(source.View(), &half, view, nullptr, false, work), PF_Interrupt_CANCEL);
  EXPECT_EQ(CopyWorld(view, &half, view, nullptr, false, work), PF_Interrupt_CANCEL);
}

TEST(TransferRefusals, DepthsMustAgreeAndPixelsBeThere) {
  const World source = MakeWorld(4, 4, Depth::k8);
  World target = MakeWorld(4, 4, Depth::k16);
  PF_EffectWorld view = target.View();
  EXPECT_EQ(CopyWorld(source.View(), nullptr, view, nullptr, false), PF_Err_BAD_CALLBACK_PARAM);
  PF_EffectWorld nothing{};
  EXPECT_EQ(FillWorld(nullptr, nullptr, nothing), PF_Err_BAD_CALLBACK_PARAM);
  EXPECT_EQ(CopyWorld(nothing, nullptr, view, nullptr, false), PF_Err_BAD_CALLBACK_PARAM);
}

TEST(TransferLimits, ExtremeRectanglesNeitherOverflowNorWrite) {
  constexpr A_long kMost = std::numeric_limits<A_long>::max();
  constexpr A_long kLeast = std::numeric_limits<A_long>::min();
  const World source = RandomWorld<PF_Pixel8>(4, 4, 5);
  World target = MakeWorld(4, 4, Depth::k8);
  PF_EffectWorld view = target.View();
  const PF_LRect from{kLeast, kLeast, kMost, kMost};
  const PF_LRect far{kMost - 4, kMost - 4, kMost, kMost};
  const PF_LRect reversed{4, 4, 0, 0};
  EXPECT_EQ(CopyWorld(source.View(), nullptr, view, &far, false), PF_Err_NONE);
  EXPECT_EQ(CopyWorld(source.View(), &from, view, &far, false), PF_Err_NONE);
  EXPECT_EQ(CopyWorld(source.View(), &reversed, view, &reversed, false), PF_Err_NONE);
  EXPECT_TRUE(IsEmpty(VisibleExtent(target.View(), Depth::k8)));
  EXPECT_EQ(CopyWorld(source.View(), &from, view, nullptr, false), PF_Err_NONE);
}

}  // namespace
}  // namespace veltra::host
