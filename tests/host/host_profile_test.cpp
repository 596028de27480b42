// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// What effects see of the host that this one claims to be.

#include <cstring>
#include <optional>

#include "host/suites/suite_list.h"
#include "linked_effect.h"

namespace veltra::host {
namespace {

const HostProfile& Host(const char* name) {
  const HostProfile* host = FindHostProfile(name);
  EXPECT_NE(host, nullptr) << name;
  return host != nullptr ? *host : DefaultHost();
}

bool HasSuite(const PF_InData& in, const char* name, A_long version) {
  const void* table = nullptr;
  const SPErr error = in.pica_basicP->AcquireSuite(name, version, &table);
  EXPECT_EQ(error == 0, table != nullptr) << "a refusal says so in both ways";
  if (table != nullptr) {
    in.pica_basicP->ReleaseSuite(name, version);
  }
  return table != nullptr;
}

TEST(HostProfiles, TellTheirVersionInEveryCommandAndKeepNewerSuitesBack) {
  int commands = 0;
  const auto effect = LoadScripted(
      [&](PF_Cmd, PF_InData* in, PF_OutData*, PF_ParamDef**, PF_LayerDef*, void*) {
        ++commands;
        EXPECT_EQ(in->version.major, 13);
        EXPECT_EQ(in->version.minor, 0);
        EXPECT_EQ(in->appl_id, kHostApplicationId);
        EXPECT_TRUE(HasSuite(*in, "PF Iterate8 Suite", 1));
        EXPECT_FALSE(HasSuite(*in, "PF Iterate8 Suite", 2));
        return PF_Err_NONE;
      },
      Host("older-interface"));
  ASSERT_NE(effect, nullptr);
  const RenderResult result = RenderFrame(*effect, FrameOf(4, 4, RenderMode::kClassic));
  EXPECT_TRUE(result.Ok()) << result.errorText;
  EXPECT_GT(commands, 5);
  ASSERT_EQ(result.diagnostics.missing.size(), 1U);
  EXPECT_EQ(result.diagnostics.missing[0], "the suite \"PF Iterate8 Suite\" version 2");
  EXPECT_TRUE(effect->Library().IsNewerThanHost());
}

TEST(HostProfiles, WithoutAProjectStillDraw) {
  std::optional<bool> draws;
  std::optional<bool> knowsProject;
  LoadScripted(
      [&](PF_Cmd, PF_InData* in, PF_OutData*, PF_ParamDef**, PF_LayerDef*, void*) {
        draws = HasSuite(*in, "PF Iterate8 Suite", 2);
        knowsProject =
            HasSuite(*in, "AEGP Utility Suite", 7) || HasSuite(*in, "PF AE App Suite", 6);
        return PF_Err_NONE;
      },
      Host("no-project"));
  EXPECT_EQ(draws, true);
  EXPECT_EQ(knowsProject, false);
}

TEST(HostProfiles, OfferLessAndNothingElse) {
  const std::size_t all = SuitesOf(DefaultHost()).size();
  for (const HostProfile& host : HostProfiles()) {
    const auto offered = SuitesOf(host);
    EXPECT_EQ(offered.size() < all, !host.hasNewerSuites || !host.hasProjectSuites) << host.name;
    for (const OfferedSuite& suite : offered) {
      EXPECT_EQ(FindSuite(suite.name, suite.version, host), suite.table()) << suite.name;
    }
  }
  EXPECT_EQ(FindHostProfile("nonsense"), nullptr);
}

/// What a frame sees of its sequence's handle in the in-data, and through the suite.
struct SeenSequence {
  bool inData = false;
  bool suite = false;
  bool inSetdown = false;
};

SeenSequence SequenceSeen(A_long outFlags2, const HostProfile& host) {
  SeenSequence seen;
  const auto effect = LoadScripted(
      [&](PF_Cmd cmd, PF_InData* in, PF_OutData* out, PF_ParamDef**, PF_LayerDef*, void*) {
        if (cmd == PF_Cmd_GLOBAL_SETUP) {
          out->out_flags2 = outFlags2;
        } else if (cmd == PF_Cmd_SEQUENCE_SETUP) {
          out->sequence_data = in->utils->host_new_handle(4);
        } else if (cmd == PF_Cmd_RENDER) {
          const void* table = nullptr;
          in->pica_basicP->AcquireSuite("PF Effect Sequence Data Suite", 1, &table);
          const void* const* data = nullptr;
          static_cast<const PF_EffectSequenceDataSuite1*>(table)->PF_GetConstSequenceData(
              in->effect_ref, &data);
          seen.inData = in->sequence_data != nullptr;
          seen.suite = data != nullptr;
          out->sequence_data = nullptr;  // a frame that does not see it does not lose it either
        } else if (cmd == PF_Cmd_SEQUENCE_SETDOWN) {
          seen.inSetdown = in->sequence_data != nullptr;
          in->utils->host_dispose_handle(in->sequence_data);
          out->sequence_data = nullptr;
        }
        return PF_Err_NONE;
      },
      host);
  EXPECT_TRUE(RenderFrame(*effect, FrameOf(4, 4, RenderMode::kClassic)).Ok());
  return seen;
}

TEST(HostProfiles, MayShowSequenceDataOfThreadedEffectsThroughItsSuiteOnly) {
  constexpr A_long kThreaded = PF_OutFlag2_SUPPORTS_THREADED_RENDERING;
  const HostProfile& host = Host("const-sequence");
  const SeenSequence hidden = SequenceSeen(kThreaded, host);
  EXPECT_FALSE(hidden.inData);
  EXPECT_TRUE(hidden.suite);
  EXPECT_TRUE(hidden.inSetdown);
  EXPECT_TRUE(SequenceSeen(0, host).inData);
  EXPECT_TRUE(
      SequenceSeen(kThreaded | PF_OutFlag2_MUTABLE_RENDER_SEQUENCE_DATA_SLOWER, host).inData);
  EXPECT_TRUE(SequenceSeen(kThreaded, DefaultHost()).inData);
}

}  // namespace
}  // namespace veltra::host
