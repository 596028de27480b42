// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// The stand-in host for fuzzing: everything it says comes from the input, every broken rule is a
// finding.
#pragma once

#include <array>
#include <map>
#include <string>
#include <vector>

#include "fuzz/fuzz_world.h"
#include "tests/stand_in/host.h"

namespace veltra::fuzz {

/// One effect instance with its frame, worlds, control values and faults. Besides the rules of the
/// interface it holds the effect to this: nothing outside a world is written, codes are the host's
/// own or the effect's few, and every pixel is the one that its record asks for.
class FuzzHost : public stand_in::Host {
 public:
  explicit FuzzHost(ByteReader& bytes);

  /// Set-up, a frame in one of the two ways, and stray commands, as the input says.
  void Run();

 private:
  enum class FaultKind { kNone, kCode, kThrowCode, kThrowBadAlloc, kThrowOther };
  struct Fault {
    FaultKind kind = FaultKind::kNone;
    int atCall = 0;
    PF_Err code = PF_Err_NONE;
  };

  // ---- Policy ----

  PF_Err Enter(std::string_view callback) override;
  PF_Err EnterSample(PF_Fixed x, PF_Fixed y, const PF_SampPB& params) override;
  stand_in::SuiteAnswer AnswerTo(const std::string& suite) override;
  void Broken(const std::string& rule) override { Finding(rule.c_str()); }
  PF_EffectWorld* WorldOf(Role role) override;
  PF_EffectWorld* ShownWorldOf(Role role) override;
  Depth FrameDepth() const override { return depth_; }
  void FillValue(PF_ParamIndex index, PF_ParamDef* def) override;
  bool MayFetch(A_long id) override { return id == 0 || id == 1 || id == 9999; }
  PF_Err Place(const stand_in::PixelCall& call, A_long x, A_long y, void* pixel) override;
  PF_Err Sample(bool area, PF_Fixed x, PF_Fixed y, const PF_SampPB* params,
                PF_Pixel8* out) override;
  PF_Err Sample(bool area, PF_Fixed x, PF_Fixed y, const PF_SampPB* params,
                PF_Pixel16* out) override;
  PF_Err Sample(bool area, PF_Fixed x, PF_Fixed y, const PF_SampPB* params,
                PF_PixelFloat* out) override;

  // ---- The scenario ----

  void ReadFrame();
  void ReadControls();
  void ReadFaults();

  void Register();
  void SendStray();
  void RenderClassic();
  void RenderSmart();
  bool PreRender();
  void SmartRender(void* preRenderData);
  void DisposeOf(void* preRenderData);
  void* ForeignData(std::vector<std::uint8_t>* block);

  PF_Err SendChecked(PF_Cmd cmd, PF_InData* in, PF_OutData* out, PF_ParamDef** params,
                     PF_LayerDef* world, void* extra);
  void CheckCode(PF_Err err) const;
  template <class Pixel>
  PF_Err PlaceOne(const stand_in::PixelCall& call, A_long x, A_long y, Pixel* out);

  ByteReader& bytes_;
  Depth depth_;
  FuzzWorld output_;
  FuzzWorld input_;
  FuzzWorld layer_;
  std::array<A_long, 10> values_{};
  std::array<A_long, 10> secondValues_{};
  bool hideInput_ = false;
  bool hideOutput_ = false;

  std::array<Fault, 2> faults_;
  std::map<std::string, stand_in::SuiteAnswer> suiteAnswers_;
  int calls_ = 0;
  int faultsSeen_ = 0;

  PF_PreRenderOutput preRender_{};
};

}  // namespace veltra::fuzz
