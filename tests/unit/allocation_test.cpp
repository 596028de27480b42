// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// What becomes of a command when memory runs out: this program's own operator new fails on request.
#include "tests/unit/allocation.h"

#include <cstdlib>
#include <new>

#include "numerics/compiler.h"
#include "tests/conformance/stage.h"

namespace {

/// Counts down while the effect runs; the allocation that reaches 0 fails.
thread_local int allocationsLeft = -1;

bool MustFail() {
  return allocationsLeft >= 0 && allocationsLeft-- == 0;
}

void* Allocate(std::size_t size) {
  return MustFail() ? nullptr : std::malloc(size == 0 ? 1 : size);
}

}  // namespace

thread_local veltra::unit::ArraySource* veltra::unit::arraySource = nullptr;

// Never inlined: the compiler would then see malloc meet operator delete and object.
VELTRA_NOINLINE void* operator new(std::size_t size) {
  if (void* block = Allocate(size)) {
    return block;
  }
  throw std::bad_alloc();
}
VELTRA_NOINLINE void* operator new[](std::size_t size) {
  return operator new(size);
}
VELTRA_NOINLINE void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
  return Allocate(size);
}
VELTRA_NOINLINE void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
  using veltra::unit::arraySource;
  return arraySource != nullptr ? arraySource->Allocate(size) : Allocate(size);
}
VELTRA_NOINLINE void operator delete(void* block) noexcept {
  std::free(block);
}
VELTRA_NOINLINE void operator delete[](void* block) noexcept {
  using veltra::unit::arraySource;
  if (arraySource == nullptr || !arraySource->Free(block)) {
    std::free(block);
  }
}
VELTRA_NOINLINE void operator delete(void* block, std::size_t) noexcept {
  std::free(block);
}
VELTRA_NOINLINE void operator delete[](void* block, std::size_t) noexcept {
  operator delete[](block);
}

namespace veltra {
namespace {

TEST(Allocation, FailingInPreRenderIsOutOfMemory) {
  conformance::Stage stage(conformance::Depth::k8);
  // Nothing follows the layer's checkout but the record's allocation.
  stage.host.afterLayerCheckout = [] { allocationsLeft = 0; };
  const PF_Err err = stage.host.PreRender();
  const bool failed = allocationsLeft < 0;
  allocationsLeft = -1;
  EXPECT_TRUE(failed) << "an allocation was asked for";
  EXPECT_EQ(err, PF_Err_OUT_OF_MEMORY);
  EXPECT_EQ(stage.host.preRender.pre_render_data, nullptr);
  EXPECT_EQ(stage.host.preRender.delete_pre_render_data_func, nullptr);
  conformance::ExpectClean(stage);
}

/// The heap, but for one array.
class AllButOne : public unit::ArraySource {
 public:
  explicit AllButOne(int refused) : left_(refused) { unit::arraySource = this; }
  ~AllButOne() override { unit::arraySource = nullptr; }

  void* Allocate(std::size_t size) override { return left_-- == 0 ? nullptr : std::malloc(size); }
  bool Free(void* /*block*/) override { return false; }
  bool HasRefused() const { return left_ < 0; }

 private:
  int left_;
};

TEST(Allocation, FailingForTheFramesTablesLeavesThePictureAsItIs) {
  for (const bool smart : {false, true}) {
    int refusals = 0;
    for (bool refused = true; refused;) {
      conformance::Stage stage(conformance::Depth::k8);
      const conformance::TestWorld expected = stage.Expected(smart);
      PF_Err err = PF_Err_NONE;
      {
        const AllButOne source(refusals);
        err = stage.host.Render(smart);
        refused = source.HasRefused();
      }
      refusals += refused ? 1 : 0;
      EXPECT_EQ(err, PF_Err_NONE);
      EXPECT_TRUE(conformance::SamePixels(stage.output, expected));
      conformance::ExpectClean(stage);
    }
    EXPECT_GT(refusals, 0);
  }
}

}  // namespace
}  // namespace veltra
