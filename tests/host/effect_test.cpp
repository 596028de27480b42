// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Opening libraries and setting effects up.

#include "host/effect.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "fixture_behaviour.h"
#include "host/base/error_names.h"

namespace veltra::host {
namespace {

std::string OpenError(const std::filesystem::path& path) {
  const auto library = EffectLibrary::Open(path);
  EXPECT_FALSE(library);
  EXPECT_EQ(library.ErrorText().find('\n'), std::string::npos) << library.ErrorText();
  EXPECT_EQ(library.ErrorText().rfind(path.string() + ": ", 0), 0U) << library.ErrorText();
  return library.ErrorText();
}

TEST(EffectLibraryTest, SaysWhyAFileIsNoEffectLibrary) {
  EXPECT_NE(OpenError("no/such/thing.so").find("no such file"), std::string::npos);
  EXPECT_NE(OpenError(std::filesystem::temp_directory_path()).find("directory"), std::string::npos);
  EXPECT_NE(OpenError(VELTRA_NOT_AN_EFFECT).find("PluginDataEntryFunction2"), std::string::npos);
  const auto text = std::filesystem::temp_directory_path() / "veltra_host_not_a_library.txt";
  std::ofstream(text) << "plain text";
  EXPECT_NE(OpenError(text).find("not a library"), std::string::npos);
  std::filesystem::remove(text);
}

TEST(EffectLibraryTest, KeepsTheRegistrationAndFindsTheEntryPointItNames) {
  const auto library = EffectLibrary::Open(VELTRA_FIXTURE_EFFECT);
  ASSERT_TRUE(library) << library.ErrorText();
  const Registration& identity = (*library)->Identity();
  EXPECT_EQ(identity.name, "Fixture");
  EXPECT_EQ(identity.matchName, "HostFixture");
  EXPECT_EQ(identity.category, "Tests");
  EXPECT_EQ(identity.entryPoint, "FixtureMain");
  EXPECT_EQ(identity.kind, kEffectPluginKind);
  EXPECT_EQ(identity.apiMajor, 13);
  EXPECT_EQ(identity.apiMinor, 28);
  EXPECT_EQ(identity.supportUrl, "https://fixture.example");
  EXPECT_NE((*library)->MainEntry(), nullptr);
}

class EffectTest : public ::testing::Test {
 protected:
  void SetUp() override {
    auto loaded = Effect::Open(VELTRA_FIXTURE_EFFECT);
    ASSERT_TRUE(loaded) << loaded.ErrorText();
    effect = std::move(*loaded);
  }

  const ControlDeclaration& Control(PF_ParamIndex index) const {
    return effect->Controls().at(static_cast<std::size_t>(index - 1));
  }

  std::unique_ptr<const Effect> effect;
};

TEST_F(EffectTest, KeepsWhatSetUpDeclared) {
  EXPECT_EQ(effect->Version(), PF_VERSION(1, 2, 3, PF_Stage_RELEASE, 4));
  EXPECT_TRUE(effect->SupportsSmartRender());
  EXPECT_TRUE(effect->SupportsDepth(Depth::kFloat));
  EXPECT_EQ(effect->ParamCount(), 7);
  EXPECT_EQ(Control(fixture::kLayer).type, PF_Param_LAYER);
  EXPECT_EQ(Control(fixture::kAmount).name, "Amount");
  EXPECT_EQ(Control(fixture::kAmount).defaultValue, 50 << 16);
  EXPECT_EQ(Control(fixture::kAmount).validMax, 100 << 16);
  EXPECT_EQ(Control(fixture::kAmount).sliderMax, 20 << 16);
  EXPECT_EQ(Control(fixture::kAmount).precision, 1);
  EXPECT_EQ(Control(fixture::kSwitch).label, "Brighten");
  EXPECT_EQ(Control(fixture::kSwitch).defaultValue, 1);
  EXPECT_EQ(Control(fixture::kPlace).index, fixture::kPlace);
}

TEST_F(EffectTest, KeepsTextsThatTheEffectDidNot) {
  const ControlDeclaration& popup = Control(fixture::kChoice);
  EXPECT_EQ(popup.choices, (std::vector<std::string>{"One", "Two", "Three"}));
  EXPECT_STREQ(popup.raw.u.pd.u.namesptr, "One|Two|Three");
  EXPECT_EQ(popup.defaultValue, 2);
}

TEST_F(EffectTest, DefaultsOfPointsAreShareOfTheFrame) {
  const ControlValue place = effect->DefaultValue(Control(fixture::kPlace), 400, 200);
  EXPECT_EQ(place.x, 100 << 16);
  EXPECT_EQ(place.y, 150 << 16);
}

TEST_F(EffectTest, TellsAboutItself) {
  const auto about = effect->About();
  ASSERT_TRUE(about);
  EXPECT_EQ(*about, "A fixture.");
}

TEST(ErrorNames, KnowEveryCodeAndNameTheUnknownByNumber) {
  EXPECT_EQ(ErrorName(516), "PF_Err_BAD_CALLBACK_PARAM");
  EXPECT_EQ(ErrorName(517), "PF_Interrupt_CANCEL");
  EXPECT_EQ(ErrorName(4), "PF_Err_OUT_OF_MEMORY");
  EXPECT_EQ(ErrorName(42), "unknown error 42");
}

}  // namespace
}  // namespace veltra::host
