// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Smart pre-render: rectangles, checkouts and the record for the render.
#include <cmath>
#include <cstring>
#include <vector>

#include "tests/conformance/stage.h"

namespace veltra::conformance {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

struct Rectangles {
  PF_RationalScale downsampleX, downsampleY, pixelAspect;
  PF_LRect request;
  PF_LRect largest, result;
};

class PreRenderRectangles : public ::testing::TestWithParam<Rectangles> {};

TEST_P(PreRenderRectangles, AreTheFrameAndTheRequestWithinIt) {
  const Rectangles& c = GetParam();
  TestHost host(Effect().mainEntry);
  host.inData.width = 4096;
  host.inData.height = 2048;
  host.inData.downsample_x = c.downsampleX;
  host.inData.downsample_y = c.downsampleY;
  host.inData.pixel_aspect_ratio = c.pixelAspect;
  host.request.rect = c.request;
  ASSERT_EQ(host.PreRender(), PF_Err_NONE);
  EXPECT_EQ(Text(host.preRender.max_result_rect), Text(c.largest));
  EXPECT_EQ(Text(host.preRender.result_rect), Text(c.result));
  EXPECT_EQ(host.preRender.solid, 0);
  EXPECT_EQ(host.preRender.flags, 0);
  EXPECT_THAT(host.violations, IsEmpty());
}

constexpr PF_RationalScale kOne{1, 1};

INSTANTIATE_TEST_SUITE_P(
    Frames, PreRenderRectangles,
    ::testing::Values(
        Rectangles{kOne, kOne, kOne, {0, 0, 4096, 2048}, {0, 0, 4096, 2048}, {0, 0, 4096, 2048}},
        Rectangles{kOne, kOne, kOne, {10, 20, 30, 40}, {0, 0, 4096, 2048}, {10, 20, 30, 40}},
        Rectangles{
            kOne, kOne, kOne, {-100, -100, 5000, 5000}, {0, 0, 4096, 2048}, {0, 0, 4096, 2048}},
        // Each edge is clamped by itself: a request beside the frame becomes an edge of it.
        Rectangles{
            kOne, kOne, kOne, {5000, 10, 6000, 20}, {0, 0, 4096, 2048}, {4096, 10, 4096, 20}},
        Rectangles{kOne, kOne, kOne, {50, 60, 40, 30}, {0, 0, 4096, 2048}, {50, 60, 40, 30}},
        Rectangles{
            {1, 2}, {1, 2}, kOne, {0, 0, 9999, 9999}, {0, 0, 2048, 1024}, {0, 0, 2048, 1024}},
        Rectangles{{1, 3}, {1, 3}, kOne, {1, 1, 2, 2}, {0, 0, 1365, 683}, {1, 1, 2, 2}},
        Rectangles{{1, 4}, {1, 2}, kOne, {0, 0, 1, 1}, {0, 0, 1024, 1024}, {0, 0, 1, 1}},
        // Halves are rounded up.
        Rectangles{{3, 8192}, {5, 4096}, kOne, {0, 0, 1, 1}, {0, 0, 2, 3}, {0, 0, 1, 1}},
        // The pixel aspect leaves the frame's width as it is.
        Rectangles{kOne, kOne, {2, 1}, {0, 0, 1, 1}, {0, 0, 4096, 2048}, {0, 0, 1, 1}},
        Rectangles{{1, 2}, kOne, {10, 11}, {0, 0, 1, 1}, {0, 0, 2048, 2048}, {0, 0, 1, 1}}));

std::string CheckoutLine(int index, int id, const PF_LRect& rect, int mask) {
  return "checkout_layer " + std::to_string(index) + " id " + std::to_string(id) + " " +
         Text(rect) + " field 0 mask " + std::to_string(mask) + " preserve 0";
}

struct InputRequest {
  bool composite;
  PF_LRect request;
  A_long id;
  PF_LRect expected;
};

class PreRenderInput : public ::testing::TestWithParam<InputRequest> {};

TEST_P(PreRenderInput, IsCheckedOutBeforeTheWholeLayer) {
  const InputRequest& c = GetParam();
  TestHost host(Effect().mainEntry);
  host.inData.width = 400;
  host.inData.height = 200;
  host.controls.composite = c.composite;
  host.request.rect = c.request;
  host.request.field = PF_Field_LOWER;
  host.request.preserve_rgb_of_zero_alpha = 1;
  host.request.channel_mask = PF_ChannelMask_ALPHA | PF_ChannelMask_BLUE;
  ASSERT_EQ(host.PreRender(), PF_Err_NONE);
  EXPECT_THAT(host.log,
              ElementsAre("checkout_param 9", "checkin_param", CheckoutLine(0, c.id, c.expected, 9),
                          CheckoutLine(1, 1, {0, 0, 16384, 16384}, 9)));
  EXPECT_THAT(host.violations, IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(
    Requests, PreRenderInput,
    ::testing::Values(
        InputRequest{true, {0, 0, 400, 200}, 0, {0, 0, 400, 200}},
        InputRequest{true, {10, 20, 30, 40}, 0, {10, 20, 30, 40}},
        InputRequest{true, {-50, -50, 100, 900}, 0, {0, 0, 100, 200}},
        // The frame's edges are clamped into the request, even one that lies beside the frame.
        InputRequest{true, {500, 20, 600, 40}, 0, {500, 20, 500, 40}},
        InputRequest{true, {0, 0, 0, 0}, 0, {0, 0, 0, 0}},
        InputRequest{true, {7, 9, 7, 5}, 0, {7, 9, 7, 5}},
        InputRequest{false, {10, 20, 30, 40}, 9999, {0, 0, 0, 0}},
        InputRequest{false, {0, 0, 0, 0}, 9999, {0, 0, 0, 0}}));

TEST(PreRenderRecord, HoldsTheTagAndTheLayersInverseAspect) {
  TestHost host(Effect().mainEntry);
  host.inData.width = 40;
  host.inData.height = 20;
  host.checkoutAspect = {10, 11};
  ASSERT_EQ(host.PreRender(), PF_Err_NONE);
  ASSERT_NE(host.preRender.pre_render_data, nullptr);
  ASSERT_NE(host.preRender.delete_pre_render_data_func, nullptr);
  const char* bytes = static_cast<const char*>(host.preRender.pre_render_data);
  EXPECT_EQ(std::string(bytes, 4), "CAP6");
  double aspect = 0;
  std::memcpy(&aspect, bytes + 8, sizeof(aspect));
  EXPECT_EQ(aspect, 1.1);
}

TEST(PreRenderRecord, TakesTheHostsAspectAsItComes) {
  TestHost host(Effect().mainEntry);
  for (const PF_RationalScale par : {PF_RationalScale{0, 1}, PF_RationalScale{0, 0}}) {
    host.checkoutAspect = par;
    ASSERT_EQ(host.PreRender(), PF_Err_NONE);
    double aspect = 0;
    std::memcpy(&aspect, static_cast<const char*>(host.preRender.pre_render_data) + 8,
                sizeof(aspect));
    EXPECT_FALSE(std::isfinite(aspect));
    host.DeletePreRenderData();
  }
}

TEST(PreRenderRecord, IsDeletedByItsFunctionAndNothingElseIs) {
  TestHost host(Effect().mainEntry);
  ASSERT_EQ(host.PreRender(), PF_Err_NONE);
  auto* const deleteData = host.preRender.delete_pre_render_data_func;
  deleteData(nullptr);
  // Were any of these freed, the program would not survive it.
  char foreign[16] = "CAP5...........";
  deleteData(foreign);
  EXPECT_STREQ(foreign, "CAP5...........");
  std::vector<char> oneByte{'X'};
  deleteData(oneByte.data());
  host.DeletePreRenderData();
}

TEST(PreRenderFailures, PassTheCheckoutsCodeAndLeaveNoRecord) {
  for (int nth = 1; nth <= 2; ++nth) {
    TestHost host(Effect().mainEntry);
    host.FailAt("checkout_layer", nth, PF_Err_INVALID_CALLBACK);
    EXPECT_EQ(host.PreRender(), PF_Err_INVALID_CALLBACK);
    EXPECT_EQ(host.Calls("checkout_layer"), nth);
    EXPECT_EQ(host.preRender.pre_render_data, nullptr);
    EXPECT_EQ(host.preRender.delete_pre_render_data_func, nullptr);
    EXPECT_THAT(host.violations, IsEmpty());
  }
}

}  // namespace
}  // namespace veltra::conformance
