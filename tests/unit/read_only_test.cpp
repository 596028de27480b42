// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Pixels are drawn over a record and tables that nobody can write to, and never reach beyond them.
#include <cstdint>
#include <new>
#include <utility>
#include <vector>

#ifdef _WIN32
#include <windows.h>
#else
#include <sys/mman.h>
#include <unistd.h>
#endif

#include "tests/unit/allocation.h"
#include "tests/unit/small_frame.h"

namespace veltra {
namespace {

using conformance::EveryDepth;
using unit::kHeight;
using unit::kWidth;

enum class Access { kNone, kRead, kReadAndWrite };

// ---- Pages ----

#ifdef _WIN32
std::size_t PageSize() {
  SYSTEM_INFO info{};
  GetSystemInfo(&info);
  return info.dwPageSize;
}
std::byte* NewPages(std::size_t size) {
  return static_cast<std::byte*>(
      VirtualAlloc(nullptr, size, MEM_COMMIT | MEM_RESERVE, PAGE_NOACCESS));
}
bool Protect(void* pages, std::size_t size, Access access) {
  const DWORD protection = access == Access::kNone   ? PAGE_NOACCESS
                           : access == Access::kRead ? PAGE_READONLY
                                                     : PAGE_READWRITE;
  DWORD before = 0;
  return VirtualProtect(pages, size, protection, &before) != 0;
}
void FreePages(void* pages, std::size_t /*size*/) {
  VirtualFree(pages, 0, MEM_RELEASE);
}
#else
std::size_t PageSize() {
  return static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
}
std::byte* NewPages(std::size_t size) {
  void* pages = mmap(nullptr, size, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  return pages != MAP_FAILED ? static_cast<std::byte*>(pages) : nullptr;
}
bool Protect(void* pages, std::size_t size, Access access) {
  const int protection = access == Access::kNone   ? PROT_NONE
                         : access == Access::kRead ? PROT_READ
                                                   : PROT_READ | PROT_WRITE;
  return mprotect(pages, size, protection) == 0;
}
void FreePages(void* pages, std::size_t size) {
  munmap(pages, size);
}
#endif

/// Which end of a block lies against a page that cannot be touched.
enum class Against { kBegin, kEnd };

/// Blocks on pages of their own, each between two pages without any access.
class GuardedBlocks : public unit::ArraySource {
 public:
  explicit GuardedBlocks(Against against) : against_(against) {}
  ~GuardedBlocks() override {
    for (const Block& block : blocks_) {
      FreePages(block.pages, block.size + 2 * page_);
    }
  }
  GuardedBlocks(const GuardedBlocks&) = delete;
  GuardedBlocks& operator=(const GuardedBlocks&) = delete;

  void* Allocate(std::size_t size) override {
    EXPECT_EQ(size % __STDCPP_DEFAULT_NEW_ALIGNMENT__, 0U)
        << "it would lie askew against the guard";
    const std::size_t inside = (size + page_ - 1) / page_ * page_;
    std::byte* pages = NewPages(inside + 2 * page_);
    if (pages == nullptr || !Protect(pages + page_, inside, Access::kReadAndWrite)) {
      return nullptr;
    }
    blocks_.push_back({pages, inside});
    return pages + page_ + (against_ == Against::kEnd ? inside - size : 0);
  }
  bool Free(void* block) override {
    for (const Block& own : blocks_) {
      if (block >= own.pages && block < own.pages + own.size + 2 * page_) {
        return true;
      }
    }
    return false;
  }
  std::size_t Count() const { return blocks_.size(); }
  bool ProtectAll(Access access) {
    for (const Block& block : blocks_) {
      if (!Protect(block.pages + page_, block.size, access)) {
        return false;
      }
    }
    return true;
  }

 private:
  struct Block {
    std::byte* pages;
    std::size_t size;  ///< between the guards
  };

  Against against_;
  std::size_t page_ = PageSize();
  std::vector<Block> blocks_;
};

/// A TabledRecord that lies with its tables in guarded blocks, which can only be read.
class ReadOnlyRecord {
 public:
  ReadOnlyRecord(const PlacementRecord& record, A_long width, A_long height, Against against)
      : blocks_(against) {
    void* place = blocks_.Allocate(sizeof(TabledRecord));
    unit::arraySource = &blocks_;
    record_ = new (place) TabledRecord(record, width, height);
    unit::arraySource = nullptr;
    EXPECT_GT(blocks_.Count(), 2U) << "the tables have not been asked for here";
    EXPECT_TRUE(blocks_.ProtectAll(Access::kRead));
  }
  ~ReadOnlyRecord() {
    EXPECT_TRUE(blocks_.ProtectAll(Access::kReadAndWrite));
    unit::arraySource = &blocks_;
    record_->~TabledRecord();
    unit::arraySource = nullptr;
  }
  ReadOnlyRecord(const ReadOnlyRecord&) = delete;
  ReadOnlyRecord& operator=(const ReadOnlyRecord&) = delete;

  const PlacementRecord& Get() const { return *record_; }

 private:
  GuardedBlocks blocks_;
  TabledRecord* record_ = nullptr;
};

template <class Pixel>
class ReadOnlyTables : public EveryDepth<Pixel> {};
TYPED_TEST_SUITE(ReadOnlyTables, conformance::AllPixels, conformance::DepthNames);

TYPED_TEST(ReadOnlyTables, AreEnoughToDrawTheFrameAndBeyondIt) {
  unit::PaintedLayer<TypeParam> layer;
  for (const Against against : {Against::kBegin, Against::kEnd}) {
    for (const bool filtered : {false, true}) {
      for (const bool tile : {false, true}) {
        const PlacementRecord record = unit::WithLayer(
            unit::WithSampler<TypeParam>(unit::SlantedRecord(), filtered), layer, tile);
        const auto alone = unit::Draw<TypeParam>(record, filtered);
        for (const auto& [width, height] : {std::pair{kWidth, kHeight}, std::pair{52, 32}}) {
          const ReadOnlyRecord tabled(record, width, height, against);
          ASSERT_NE(TabledRecord::TablesOf(tabled.Get()), nullptr);
          // Drawn over the whole frame, so that most pixels are outside of the smaller tables.
          EXPECT_TRUE(unit::Same(unit::Draw<TypeParam>(tabled.Get(), filtered), alone));
          TypeParam beyond{};
          const auto function =
              filtered ? unit::Functions<TypeParam>::kFiltered : unit::Functions<TypeParam>::kPlain;
          for (A_long x = -3; x < kWidth + 3; ++x) {
            for (const A_long y : {-3, -2, -1, kHeight, kHeight + 1, kHeight + 2}) {
              function(const_cast<PlacementRecord*>(&tabled.Get()), x, y, nullptr, &beyond);
            }
          }
        }
      }
    }
  }
}

}  // namespace
}  // namespace veltra
