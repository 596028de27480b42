// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Effects that are handed to the host as two functions instead of a file.

#include <gtest/gtest.h>

#include "linked_effect.h"

namespace veltra::host {
namespace {

bool suiteAtRegistration = false;

PF_Err Register(void* hostPointer, PF_PluginDataCB callback, SPBasicSuite* basic, const char*,
                const char*) {
  const void* suite = nullptr;
  suiteAtRegistration = basic != nullptr &&
                        basic->AcquireSuite("PF World Suite", 2, &suite) == PF_Err_NONE &&
                        suite != nullptr;
  return callback(hostPointer, RegistrationText("Linked"), RegistrationText("LinkedEffect"),
                  RegistrationText("Tests"), RegistrationText("NotExportedAnywhere"),
                  kEffectPluginKind, 13, 28, 8, RegistrationText(""));
}

PF_Err RefuseToRegister(void*, PF_PluginDataCB, SPBasicSuite*, const char*, const char*) {
  return PF_Err_OUT_OF_MEMORY;
}

PF_Err WhiteFrames(PF_Cmd cmd, PF_InData* in, PF_OutData* out, PF_ParamDef**, PF_LayerDef* output,
                   void*) {
  const PF_Pixel8 white{255, 255, 255, 255};
  switch (cmd) {
    case PF_Cmd_PARAMS_SETUP:
      out->num_params = 1;
      return PF_Err_NONE;
    case PF_Cmd_RENDER:
      return in->utils->fill(in->effect_ref, &white, nullptr, output);
    default:
      return PF_Err_NONE;
  }
}

TEST(LinkedEffects, RenderLikeThoseOfAFile) {
  const auto library = EffectLibrary::FromEntryPoints("white", &Register, &WhiteFrames);
  ASSERT_TRUE(library) << library.ErrorText();
  EXPECT_EQ((*library)->Identity().matchName, "LinkedEffect");
  EXPECT_EQ((*library)->Path(), "white");
  const auto effect = Effect::Load(*library);
  ASSERT_TRUE(effect) << effect.ErrorText();
  RenderSettings settings;
  settings.width = 3;
  settings.height = 2;
  settings.mode = RenderMode::kClassic;
  const RenderResult result = RenderFrame(**effect, settings);
  ASSERT_TRUE(result.Ok()) << result.errorText;
  EXPECT_EQ(result.output.Row<PF_Pixel8>(1)[2].green, 255);
}

TEST(LinkedEffects, GetTheBasicSuiteWhenTheyRegister) {
  suiteAtRegistration = false;
  ASSERT_TRUE(EffectLibrary::FromEntryPoints("white", &Register, &WhiteFrames));
  EXPECT_TRUE(suiteAtRegistration);
}

TEST(LinkedEffects, AreRefusedWithTheirName) {
  const auto refused = EffectLibrary::FromEntryPoints("white", &RefuseToRegister, &WhiteFrames);
  ASSERT_FALSE(refused);
  EXPECT_EQ(refused.ErrorText(), "white: refuses to be registered: PF_Err_OUT_OF_MEMORY");
  const auto headless = EffectLibrary::FromEntryPoints("white", &Register, nullptr);
  ASSERT_FALSE(headless);
  EXPECT_EQ(headless.ErrorText().rfind("white: an entry point is missing", 0), 0U);
}

}  // namespace
}  // namespace veltra::host
