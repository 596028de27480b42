// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Tests of what an effect library says about itself: registration, resource, flags and About.

#include <algorithm>
#include <array>
#include <optional>
#include <set>
#include <vector>

#include "base/text.h"
#include "check/identity.h"
#include "check/setup_session.h"
#include "check/test_scene.h"
#include "host/effect_resource.h"
#include "system/dynamic_library.h"

namespace veltra::check {
namespace {

// Hosts take names of 47 characters; earlier ones had room for 31.
constexpr std::size_t kLongestName = 47;
constexpr std::size_t kLongestOldName = kHostNameCapacity - 1;

// ---- Registration ----

PF_Err RefuseRegistration(void*, const A_u_char*, const A_u_char*, const A_u_char*, const A_u_char*,
                          A_long, A_long, A_long, A_long, const A_u_char*) {
  return PF_Err_OUT_OF_MEMORY;
}

PF_Err RefuseOlderRegistration(void*, const A_u_char*, const A_u_char*, const A_u_char*,
                               const A_u_char*, A_long, A_long, A_long, A_long) {
  return PF_Err_OUT_OF_MEMORY;
}

/// What the library answers to a host that refuses it; none where it does not register.
std::optional<PF_Err> AnswerToRefusal(const DynamicLibrary& library) {
  if (const auto entry =
          reinterpret_cast<PF_PluginDataEntryFn>(library.Find(kRegistrationEntryName))) {
    return entry(nullptr, &RefuseRegistration, &host::BasicSuite(), "Veltra", "1.0");
  }
  if (const auto entry =
          reinterpret_cast<PF_OlderPluginDataEntryFn>(library.Find(kOlderRegistrationEntryName))) {
    return entry(nullptr, &RefuseOlderRegistration, &host::BasicSuite(), "Veltra", "1.0");
  }
  return std::nullopt;
}

bool IsPrintable(const std::string& text) {
  return std::all_of(text.begin(), text.end(),
                     [](char c) { return static_cast<unsigned char>(c) >= 0x20 && c != 0x7F; });
}

void CheckName(TestRun& run, const char* what, const std::string& name, bool mayBeEmpty) {
  if (name.empty() && !mayBeEmpty) {
    run.Fail(Text("the ", what, " is empty"));
  }
  if (name.size() > kLongestName) {
    run.Fail(Text("the ", what, " \"", name, "\" has ", name.size(), " characters (at most ",
                  kLongestName, ")"));
  } else if (name.size() > kLongestOldName) {
    run.Note(Text("the ", what, " is longer than the ", kLongestOldName,
                  " characters of earlier hosts"));
  }
  if (!IsPrintable(name)) {
    run.Fail(Text("the ", what, " holds control characters"));
  }
}

/// Several effects of one library must be told apart.
void CheckMatchNames(TestRun& run) {
  const auto effects =
      host::EffectLibrary::EffectsIn(host::ReadEffectChoice(run.Settings().library).file);
  std::set<std::string> known;
  for (const host::Registration& effect : effects ? *effects : std::vector<host::Registration>()) {
    if (!known.insert(effect.matchName).second) {
      run.Fail(Text("two effects have the match name \"", effect.matchName, "\""));
    }
  }
}

// ---- The resource ----

constexpr std::array<const char*, 10> kRequiredProperties{"kind", "name", "catg", "8664", "eSVR",
                                                          "eVER", "eGLO", "eGL2", "eMNA", "ePVR"};

bool Registers(const host::Registration& identity) {
  return identity.source == host::IdentitySource::kRegistration ||
         identity.source == host::IdentitySource::kOlderRegistration;
}

/// The file whose resource describes the effect; empty for none, which a library that registers may
/// do without.
std::filesystem::path ResourceFile(TestRun& run) {
  const TestSettings& settings = run.Settings();
  if (!settings.resource.empty()) {
    return settings.resource;
  }
  const std::filesystem::path file = host::ReadEffectChoice(settings.library).file;
  if (!host::IsPortableExecutable(file)) {
    return {};
  }
  const auto read = host::ReadPortableExecutable(file);
  const bool lacksIt = read && !read->resource;
  return lacksIt && Registers(OpenLibrary(run)->Identity()) ? std::filesystem::path() : file;
}

host::PortableExecutable ReadResourceFile(TestRun& run, const std::filesystem::path& file) {
  auto read = host::ReadPortableExecutable(file);
  if (!read) {
    run.FailAndEnd(Text(file.string(), ": ", read.ErrorText()));
  }
  if (!read->resource) {
    run.FailAndEnd(Text(file.string(), ": it has no resource of type PIPL"));
  }
  return *read;
}

void CheckFlagRules(TestRun& run, const GlobalAnswer& answer) {
  const bool smart = (answer.outFlags2 & PF_OutFlag2_SUPPORTS_SMART_RENDER) != 0;
  const bool isFloat = (answer.outFlags2 & PF_OutFlag2_FLOAT_COLOR_AWARE) != 0;
  const bool deep = (answer.outFlags & PF_OutFlag_DEEP_COLOR_AWARE) != 0;
  if (isFloat && !smart) {
    run.Fail("it declares float colour without smart render, which alone carries it");
  }
  if (isFloat && !deep) {
    run.Note("it declares float colour without 16-bit colour");
  }
  if (answer.version == 0) {
    run.Fail("it declares no version of its own");
  }
}

// ---- Comparing identities ----

void CompareNumber(const host::EffectResource& resource, const char* key, std::uint32_t declared,
                   const char* where, std::vector<std::string>& differences) {
  const auto in = resource.Number(key);
  if (in != declared) {
    differences.push_back(
        Text("the resource's ", key, " is ", in.value_or(0), ", ", where, " says ", declared));
  }
}

void CompareRegistration(const host::EffectResource& resource,
                         const host::Registration& registration,
                         std::vector<std::string>& differences) {
  const auto text = [&](const char* key, const std::optional<std::string>& in,
                        const std::string& registered) {
    if (in != registered) {
      differences.push_back(Text("the resource's ", key, " is \"", in.value_or(""),
                                 "\", registered is \"", registered, "\""));
    }
  };
  text("name", resource.PascalText("name"), registration.name);
  text("catg", resource.PascalText("catg"), registration.category);
  text("eMNA", resource.PascalText("eMNA"), registration.matchName);
  text("8664", resource.ZeroText("8664"), registration.entryPoint);
  CompareNumber(resource, "kind", static_cast<std::uint32_t>(registration.kind), "the registration",
                differences);
  const auto half = [](A_long value) { return static_cast<std::uint32_t>(value) & 0xFFFFU; };
  CompareNumber(resource, "eSVR", half(registration.apiMajor) | half(registration.apiMinor) << 16,
                "the registration", differences);
}

}  // namespace

std::vector<std::string> IdentityDifferences(const host::EffectResource& resource,
                                             const host::Registration& registration,
                                             const GlobalAnswer& answer) {
  std::vector<std::string> differences;
  const auto number = [&](const char* key, std::uint32_t declared, const char* where) {
    CompareNumber(resource, key, declared, where, differences);
  };
  if (Registers(registration)) {
    CompareRegistration(resource, registration, differences);
  }
  number("eVER", answer.version, "GLOBAL_SETUP");
  if (!host::OverridingFlags(resource)) {
    number("eGLO", static_cast<std::uint32_t>(answer.outFlags), "GLOBAL_SETUP");
  }
  number("eGL2", static_cast<std::uint32_t>(answer.outFlags2), "GLOBAL_SETUP");
  return differences;
}

// ---- Tests ----

void TestLoad(TestRun& run) {
  run.Step("loading the library");
  const auto library = OpenLibrary(run);
  run.Note(library->Identity().name);
  if (library->IsNewerThanHost()) {
    run.Note(Text("built for interface ", library->Identity().apiMajor, ".",
                  library->Identity().apiMinor, ", later than the host's"));
  }
}

void TestResource(TestRun& run) {
  const std::filesystem::path file = ResourceFile(run);
  if (file.empty()) {
    run.Skip(host::IsPortableExecutable(host::ReadEffectChoice(run.Settings().library).file)
                 ? "it registers and has no resource; hosts that look for one do not find it"
                 : "not a Windows library, no resource");
  }
  const host::PortableExecutable read = ReadResourceFile(run, file);
  const host::EffectResource& resource = *read.resource;
  for (const char* key : kRequiredProperties) {
    if (!resource.Has(key)) {
      run.Fail(Text("the resource has no property ", key));
    }
  }
  if (resource.Number("kind") != static_cast<std::uint32_t>(kEffectPluginKind)) {
    run.Fail("the resource's kind is not that of an effect");
  }
  for (const char* key : {"name", "catg", "eMNA"}) {
    const auto text = resource.PascalText(key);
    if (!text || text->empty() || text->size() > kLongestName) {
      run.Fail(
          Text("the resource's ", key, " is not a text of 1 to ", kLongestName, " characters"));
    }
  }
  const std::string entryPoint = resource.ZeroText("8664").value_or("");
  if (std::find(read.exports.begin(), read.exports.end(), entryPoint) == read.exports.end()) {
    run.Fail(
        Text("the resource names the entry point \"", entryPoint, "\", which is not exported"));
  }
}

void TestRegistration(TestRun& run) {
  run.Step("registering");
  const auto library = OpenLibrary(run);
  const host::Registration& identity = library->Identity();
  switch (identity.source) {
    case host::IdentitySource::kRegistration:
      break;
    case host::IdentitySource::kOlderRegistration:
      run.Note(Text("registers through ", kOlderRegistrationEntryName));
      break;
    case host::IdentitySource::kResource:
      run.Skip("does not register; its resource says what it is");
    case host::IdentitySource::kFileName:
      run.Skip(
          "does not register, and has no resource that this system reads: it goes by its "
          "file's name");
  }
  CheckMatchNames(run);
  CheckName(run, "name", identity.name, false);
  CheckName(run, "match name", identity.matchName, false);
  CheckName(run, "category", identity.category, true);
  if (identity.kind != kEffectPluginKind) {
    run.Fail("the kind is not that of an effect");
  }
  if (identity.apiMajor < 12 || identity.apiMinor < 0) {
    run.Fail(Text("the interface version ", identity.apiMajor, ".", identity.apiMinor,
                  " is none that loads 64-bit effects (expected 12.0 or later)"));
  }
}

void TestFlags(TestRun& run) {
  run.Step("GLOBAL_SETUP");
  const auto library = OpenLibrary(run);
  const GlobalAnswer first = SendGlobalSetup(*library);
  SendGlobalSetdown(*library, first.globalData);
  if (first.error != PF_Err_NONE) {
    SkipIfDeclined(run, *library);
  }
  CheckFlagRules(run, first);
  const std::filesystem::path file = ResourceFile(run);
  if (file.empty()) {
    run.Note("no resource to compare with");
    return;
  }
  run.Step("comparing with the resource");
  const host::PortableExecutable read = ReadResourceFile(run, file);
  for (const std::string& difference :
       IdentityDifferences(*read.resource, library->Identity(), first)) {
    run.Fail(difference);
  }
}

void TestAbout(TestRun& run) {
  const auto effect = LoadEffect(run);
  run.Step("ABOUT");
  host::Session session(effect->Context(), nullptr);
  const PF_Err error = session.Send(effect->Library().MainEntry(), PF_Cmd_ABOUT);
  if (error != PF_Err_NONE) {
    run.FailStep(host::ErrorName(error), Shown::kDialog);
  }
  const auto& text = session.OutData().return_msg;
  if (std::find(std::begin(text), std::end(text), '\0') == std::end(text)) {
    run.FailAndEnd(
        Text("the About text does not end within ", kHostMessageCapacity - 1, " characters"));
  }
  const std::string message(text);
  const bool clean = std::all_of(message.begin(), message.end(), [](char c) {
    return static_cast<unsigned char>(c) >= 0x20 || c == '\r' || c == '\n' || c == '\t';
  });
  if (!clean) {
    run.Fail("the About text holds control characters");
  }
  if (message.empty()) {
    run.Note("says nothing");
  }
}

void RefuseToRegister(TestRun& run) {
  run.Step("refusing the registration");
  const auto library = DynamicLibrary::Open(host::ReadEffectChoice(run.Settings().library).file);
  if (!library) {
    run.FailAndEnd(library.ErrorText());
  }
  if (AnswerToRefusal(**library) == PF_Err_NONE) {
    run.FailStep("it answers success although the host refused it");
  }
}

}  // namespace veltra::check
