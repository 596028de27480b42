// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Libraries of several effects, and of one that nobody registers.

#include "host/effect_library.h"

#include <gtest/gtest.h>

#include <string>

#include "host/effect.h"
#include "host/effect_resource.h"

namespace veltra::host {
namespace {

std::string AboutOf(const std::string& path) {
  const auto effect = Effect::Open(path);
  if (!effect) {
    return effect.ErrorText();
  }
  const auto about = (*effect)->About();
  return about ? *about : about.ErrorText();
}

TEST(EffectLibraryTest, ChoosesOneOfSeveralEffectsByItsMatchName) {
  const std::string path = VELTRA_SEVERAL_EFFECTS;
  EXPECT_EQ(AboutOf(path + "::Test One"), "the first");
  EXPECT_EQ(AboutOf(path + "::Test Two"), "the second");
  EXPECT_EQ(AboutOf(path),
            path + ": holds several effects: Test One, Test Two (choose one as FILE::MATCH NAME)");
  EXPECT_EQ(AboutOf(path + "::Test Project"),
            path + ": has no effect \"Test Project\" (expected Test One, Test Two)");
  EXPECT_EQ(AboutOf("nothing.so::Test One"), "nothing.so: no such file");
}

TEST(EffectLibraryTest, FindsTheUsualEntryOfALibraryWithoutRegistration) {
  EXPECT_EQ(AboutOf(VELTRA_UNREGISTERED_EFFECT), "unregistered");
  const auto library = EffectLibrary::Open(VELTRA_UNREGISTERED_EFFECT);
  ASSERT_TRUE(library) << library.ErrorText();
  EXPECT_EQ((*library)->Identity().matchName, "host_unregistered_effect");
}

TEST(EffectLibraryTest, TellsOfEveryEffectInAFile) {
  const auto effects = EffectLibrary::EffectsIn(VELTRA_SEVERAL_EFFECTS);
  ASSERT_TRUE(effects) << effects.ErrorText();
  ASSERT_EQ(effects->size(), 2U);
  EXPECT_EQ((*effects)[1].matchName, "Test Two");
  EXPECT_FALSE(EffectLibrary::EffectsIn(VELTRA_NOT_AN_EFFECT));
}

TEST(EffectLibraryTest, TakesItsIdentityFromAResourceWhereItDoesNotRegister) {
  EffectResource resource;
  const auto set = [&resource](const char* key, std::string_view bytes) {
    for (const char byte : bytes) {
      resource.properties[key].push_back(static_cast<std::byte>(byte));
    }
  };
  set("name", "\x03One");
  set("eMNA", "\x05Match");
  set("8664", {"Entry\0", 6});
  set("eSVR", {"\x0c\0\x05\0", 4});
  set("kind", "TKFe");
  const Registration identity = RegistrationOf(resource);
  EXPECT_EQ(identity.name, "One");
  EXPECT_EQ(identity.matchName, "Match");
  EXPECT_EQ(identity.entryPoint, "Entry");
  EXPECT_EQ(identity.apiMajor, 12);
  EXPECT_EQ(identity.apiMinor, 5);
  EXPECT_EQ(identity.kind, kEffectPluginKind);
  EXPECT_EQ(identity.source, IdentitySource::kResource);
  set("eGLO", {"\x04\0\0\0", 4});
  EXPECT_FALSE(OverridingFlags(resource));
  resource.properties.erase("eGLO");
  set("eGLO", {"\x04\0\x80\0", 4});
  EXPECT_EQ(OverridingFlags(resource), A_long{0x800004})
      << "the resource says that its flags count";
}

}  // namespace
}  // namespace veltra::host
