// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// A host for fuzzing: everything it says comes from the input, everything it is owed is counted.
#pragma once

#include <array>
#include <optional>
#include <string>
#include <vector>

#include "fuzz/fuzz_world.h"
#include "host_api/entry_points.h"

namespace veltra::fuzz {

/// One effect instance with its frame, worlds, control values and faults. Every broken rule is a
/// finding: what is taken is given back exactly once, nothing outside a world is written, codes
/// are the host's own or the effect's few.
class FuzzHost {
 public:
  explicit FuzzHost(ByteReader& bytes);
  ~FuzzHost();
  FuzzHost(const FuzzHost&) = delete;
  FuzzHost& operator=(const FuzzHost&) = delete;

  /// Set-up, a frame in one of the two ways, and stray commands, as the input says.
  void Run();

 private:
  friend struct FuzzCallbacks;

  enum class FaultKind { kNone, kCode, kThrowCode, kThrowBadAlloc, kThrowOther };
  struct Fault {
    FaultKind kind = FaultKind::kNone;
    int atCall = 0;
    PF_Err code = PF_Err_NONE;
  };
  enum class SuiteAnswer { kGranted, kError, kNull, kErrorGiven };
  static constexpr int kSuites = 7;

  void ReadFrame();
  void ReadControls();
  void ReadFaults();
  void FillTables();

  void Register();
  void SendStray();
  void RenderClassic();
  void RenderSmart();
  bool PreRender();
  void SmartRender(void* preRenderData);
  void DisposeOf(void* preRenderData);
  void* ForeignData(std::vector<std::uint8_t>* block);

  PF_Err Send(PF_Cmd cmd, PF_InData* in, PF_OutData* out, PF_ParamDef** params, PF_LayerDef* world,
              void* extra);
  void CheckAfter(PF_Err err);
  /// Counts a call of the effect's; a fault may be due.
  PF_Err Enter();
  void Give(PF_ParamIndex index, PF_ParamDef* def);
  int IndexOfWorld(const PF_EffectWorld* world) const;

  ByteReader& bytes_;
  Depth depth_;
  FuzzWorld output_;
  FuzzWorld input_;
  FuzzWorld layer_;
  PF_InData inData_{};
  PF_OutData outData_{};
  PF_UtilCallbacks utils_{};
  SPBasicSuite basic_{};
  PF_RenderRequest request_{};
  PF_RationalScale checkoutAspect_{1, 1};
  PF_PixelFormat format_;
  std::array<A_long, 10> values_{};
  std::array<A_long, 10> secondValues_{};
  bool hideInput_ = false;
  bool hideOutput_ = false;
  A_long abortAtRow_ = -1;

  std::array<Fault, 2> faults_;
  std::array<SuiteAnswer, kSuites> suiteAnswers_{};
  int calls_ = 0;
  int faultsSeen_ = 0;
  bool throwsSeen_ = false;

  std::array<int, kSuites> held_{};
  std::vector<const PF_ParamDef*> out_;     ///< definitions checked out
  std::vector<const PF_ParamDef*> failed_;  ///< definitions whose checkout failed
  std::optional<bool> layerOut_;            ///< the layer's pixels: fetched, and not yet back
  PF_PreRenderOutput preRender_{};
};

}  // namespace veltra::fuzz
