// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// The suite cache: its table of names and versions, and what it asks of the basic suite.
#include "effect/context/suite_cache.h"

#include <gmock/gmock.h>

#include <map>
#include <set>
#include <string>
#include <vector>

namespace veltra {
namespace {

using Strings = std::vector<std::string>;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

/// Every suite the cache has to hold, in families of equal versions.
const std::map<std::string, std::vector<int>>& ExpectedSuites() {
  static const auto* const suites = [] {
    auto* all = new std::map<std::string, std::vector<int>>{
        {"AEGP Canvas Suite", {10, 11, 13, 14}},
        {"AEGP Comp Suite", {4, 9, 11, 14, 15, 18, 19, 21, 25}},
        {"AEGP Dynamic Stream Suite", {2, 3, 5}},
        {"AEGP Effect Suite", {1, 2, 3, 4}},
        {"AEGP Item Suite", {3, 7, 10, 11, 13}},
        {"AEGP Keyframe Suite", {1, 3, 4, 5}},
        {"AEGP Layer Mask Suite", {2, 5, 6, 7}},
        {"AEGP Layer Suite", {5, 8, 10, 11, 12, 13, 14}},
        {"AEGP Marker Suite", {1, 2, 3}},
        {"AEGP Mask Outline Suite", {2, 3, 5}},
        {"AEGP Render Suite", {1, 2, 3, 5, 8}},
        {"AEGP Stream Suite", {4, 7, 8, 9, 10, 11}},
        {"AEGP Utility Suite", {3, 7, 10, 11, 13}},
        {"PF AE App Suite", {1, 6, 7}},
        {"PF Color Settings Suite", {1, 3, 4, 5}},
        {"AEGP Persistent Data Suite", {3, 4}},
        {"AEGP Proj Suite", {8, 9}},
        {"AEGP Render Queue Item Suite", {3, 4}},
        {"AEGP World Suite", {2, 3}},
        {"AE Plugin Helper Suite2", {2}},
        {"AEGP Camera Suite", {2}},
        {"AEGP Composite Suite", {4}},
        {"AEGP File Import Manager Suite", {3}},
        {"AEGP Footage Suite", {11}},
        {"AEGP IO In Suite", {5}},
        {"AEGP IO Out Suite", {7}},
        {"AEGP Output Module Suite", {4}},
        {"AEGP QueryXform Suite", {4}},
        {"AEGP Register Suite", {6}},
        {"DRAWBOT Surface Suite", {2}},
        {"PF AE Adv Time Suite", {4}},
        {"PF Fill Matte Suite", {2}},
        {"PF Handle Suite", {2}},
        {"PF Param Utils Suite", {3}},
        {"SP Suites Suite", {2}},
    };
    for (const char* name :
         {"PF Iterate8 Suite", "PF iterate16 Suite", "PF iterateFloat Suite", "PF World Suite",
          "AEGP Collection Suite", "AEGP Layer Render Options Suite", "AEGP Light Suite",
          "AEGP Render Options Suite", "PF AE Adv App Suite", "PF Effect Custom UI Suite"}) {
      (*all)[name] = {1, 2};
    }
    for (const char* name : {"AEGP Artisan Util Suite",
                             "AEGP Command Suite",
                             "AEGP Item View Suite",
                             "AEGP Math Suite",
                             "AEGP Memory Suite",
                             "AEGP PF Interface Suite",
                             "AEGP Render Asyc Manager Suite",
                             "AEGP Render Queue Suite",
                             "AEGP Sound Data Suite",
                             "AEGP Text Document Suite",
                             "AEGP Text Layer Suite",
                             "AEGP Tracker Suite",
                             "AEGP Tracker Utility Suite",
                             "DRAWBOT Draw Suite",
                             "DRAWBOT Path Suite",
                             "DRAWBOT Supplier Suite",
                             "PF AE Adv Item Suite",
                             "PF ANSI Suite",
                             "PF ColorParamSuite",
                             "PF Effect Custom UI Overlay Theme Suite",
                             "PF Effect UI Suite",
                             "PF Path Data Suite",
                             "PF Path Query Suite",
                             "PF Sampling16 Suite",
                             "PF Sampling8 Suite",
                             "PF SamplingFloat Suite",
                             "PF World Transform Suite"}) {
      (*all)[name] = {1};
    }
    return all;
  }();
  return *suites;
}

TEST(SuiteTable, HoldsEveryNameAndVersionOnce) {
  std::set<std::string> expected;
  for (const auto& [name, versions] : ExpectedSuites()) {
    for (const int version : versions) {
      expected.insert(name + " / " + std::to_string(version));
    }
  }
  std::multiset<std::string> table;
  for (const SuiteId& id : SuiteTable()) {
    table.insert(std::string(id.name) + " / " + std::to_string(id.version));
  }
  EXPECT_THAT(table, ::testing::ElementsAreArray(expected));
}

TEST(SuiteTable, LiesFlatInTheCache) {
  EXPECT_EQ(sizeof(SuiteCache), (SuiteTable().size() + 1) * sizeof(void*));
}

Strings* calls = nullptr;
bool refuse = false;
bool answerNull = false;
const int kSuiteStandIn = 0;

SPErr Acquire(const char* name, A_long version, const void** suite) {
  calls->push_back("acquire " + std::string(name) + " " + std::to_string(version));
  *suite = answerNull ? nullptr : &kSuiteStandIn;
  return refuse ? 1 : 0;
}
SPErr Release(const char* name, A_long version) {
  calls->push_back("release " + std::string(name) + " " + std::to_string(version));
  return 1;  // not looked at
}

class Cache : public ::testing::Test {
 protected:
  Cache() {
    calls = &calls_;
    refuse = answerNull = false;
    basic_.AcquireSuite = Acquire;
    basic_.ReleaseSuite = Release;
  }
  Strings calls_;
  SPBasicSuite basic_{};
};

TEST_F(Cache, ThatWasNeverUsedMakesNoHostCall) {
  { const SuiteCache cache(&basic_); }
  EXPECT_THAT(calls_, IsEmpty());
}

TEST_F(Cache, AsksOnceForEachSuiteAndGivesItBackOnce) {
  {
    SuiteCache cache(&basic_);
    EXPECT_EQ(static_cast<const void*>(cache.Acquire<PF_Sampling8Suite1>()), &kSuiteStandIn);
    cache.Acquire<PF_Sampling8Suite1>();
    cache.Acquire<PF_Iterate8Suite1>();
    EXPECT_THAT(calls_, ElementsAre("acquire PF Sampling8 Suite 1", "acquire PF Iterate8 Suite 1"));
    calls_.clear();
  }
  EXPECT_THAT(calls_, ::testing::UnorderedElementsAre("release PF Sampling8 Suite 1",
                                                      "release PF Iterate8 Suite 1"));
}

TEST_F(Cache, KeepsVersionsApart) {
  SuiteCache cache(&basic_);
  cache.Acquire<PF_WorldSuite2>();
  EXPECT_THAT(calls_, ElementsAre("acquire PF World Suite 2"));
}

TEST_F(Cache, ThrowsTheHostsCodeForASuiteThatIsMissing) {
  for (const bool null : {false, true}) {
    refuse = !null;
    answerNull = null;
    calls_.clear();
    {
      SuiteCache cache(&basic_);
      EXPECT_THROW(cache.Acquire<PF_Sampling16Suite1>(), PF_Err);
      try {
        cache.Acquire<PF_Sampling16Suite1>();
      } catch (const PF_Err code) {
        EXPECT_EQ(code, 516);
      }
    }
    EXPECT_THAT(calls_,
                ElementsAre("acquire PF Sampling16 Suite 1", "acquire PF Sampling16 Suite 1"))
        << "what was not given is not given back";
  }
}

TEST_F(Cache, IsNotMadeWithoutABasicSuite) {
  try {
    const SuiteCache cache(nullptr);
    ADD_FAILURE() << "made";
  } catch (const PF_Err code) {
    EXPECT_EQ(code, 516);
  }
}

}  // namespace
}  // namespace veltra
