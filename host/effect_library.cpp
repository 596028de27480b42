// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Opening and registering an effect library.

#include "host/effect_library.h"

#include <system_error>

#include "host/base/error_names.h"
#include "host/suites/tables.h"
#include "system/dynamic_library.h"

namespace veltra::host {
namespace {

struct RegistrationCalls {
  Registration identity;
  int count = 0;
};

std::string Text(const A_u_char* text) {
  return text != nullptr ? std::string(reinterpret_cast<const char*>(text)) : std::string();
}

PF_Err KeepRegistration(void* hostPointer, const A_u_char* name, const A_u_char* matchName,
                        const A_u_char* category, const A_u_char* entryPoint, A_long kind,
                        A_long apiMajor, A_long apiMinor, A_long reservedInfo,
                        const A_u_char* supportUrl) noexcept {
  auto* calls = static_cast<RegistrationCalls*>(hostPointer);
  if (calls == nullptr) {
    return PF_Err_BAD_CALLBACK_PARAM;
  }
  ++calls->count;
  try {
    calls->identity = {Text(name), Text(matchName), Text(category), Text(entryPoint), kind,
                       apiMajor,   apiMinor,        reservedInfo,   Text(supportUrl)};
  } catch (...) {
    return PF_Err_OUT_OF_MEMORY;
  }
  return PF_Err_NONE;
}

PF_Err KeepOlderRegistration(void* hostPointer, const A_u_char* name, const A_u_char* matchName,
                             const A_u_char* category, const A_u_char* entryPoint, A_long kind,
                             A_long apiMajor, A_long apiMinor, A_long reservedInfo) noexcept {
  return KeepRegistration(hostPointer, name, matchName, category, entryPoint, kind, apiMajor,
                          apiMinor, reservedInfo, nullptr);
}

/// Why the registration is of no use; empty when it is fine.
std::string RegistrationTrouble(const RegistrationCalls& calls) {
  if (calls.count == 0) {
    return "registers nothing";
  }
  if (calls.count > 1) {
    return "registers more than one effect, which this host does not support";
  }
  if (calls.identity.kind != kEffectPluginKind) {
    return "registers something that is not an effect";
  }
  if (calls.identity.matchName.empty() || calls.identity.entryPoint.empty()) {
    return "registers without a match name or an entry point";
  }
  return {};
}

/// Runs a registration entry of either form with the callback of its form; any exception is the
/// library's fault and reads as a failure.
template <class Entry, class Callback>
Expected<RegistrationCalls> Register(Entry entry, Callback callback) {
  RegistrationCalls calls;
  PF_Err error = PF_Err_NONE;
  try {
    error = entry(&calls, callback, &BasicSuite(), "Veltra", "1.0");
  } catch (...) {
    return Failure{"throws an exception when it is registered"};
  }
  if (error != PF_Err_NONE) {
    return Failure{"refuses to be registered: " + ErrorName(error)};
  }
  if (std::string trouble = RegistrationTrouble(calls); !trouble.empty()) {
    return Failure{trouble};
  }
  return calls;
}

/// Registers through the newer entry or, without it, the older one.
Expected<RegistrationCalls> RegisterLibrary(const DynamicLibrary& library) {
  if (const auto entry =
          reinterpret_cast<PF_PluginDataEntryFn>(library.Find(kRegistrationEntryName))) {
    return Register(entry, &KeepRegistration);
  }
  if (const auto entry =
          reinterpret_cast<PF_OlderPluginDataEntryFn>(library.Find(kOlderRegistrationEntryName))) {
    return Register(entry, &KeepOlderRegistration);
  }
  return Failure{std::string("not an effect library (it does not export ") +
                 kRegistrationEntryName + ")"};
}

}  // namespace

Expected<std::shared_ptr<const EffectLibrary>> EffectLibrary::FromEntryPoints(
    const std::string& name, PF_PluginDataEntryFn registration, PF_MainEntryFn mainEntry) {
  if (registration == nullptr || mainEntry == nullptr) {
    return Failure{name + ": an entry point is missing (expected registration and command entry)"};
  }
  auto calls = Register(registration, &KeepRegistration);
  if (!calls) {
    return Failure{name + ": " + calls.ErrorText()};
  }
  std::shared_ptr<EffectLibrary> library(new EffectLibrary);
  library->path_ = name;
  library->identity_ = std::move(calls->identity);
  library->mainEntry_ = mainEntry;
  return std::shared_ptr<const EffectLibrary>(std::move(library));
}

EffectLibrary::EffectLibrary() = default;
EffectLibrary::~EffectLibrary() = default;

void* EffectLibrary::Module() const {
  return library_ != nullptr ? library_->Handle() : nullptr;
}

Expected<std::shared_ptr<const EffectLibrary>> EffectLibrary::Open(
    const std::filesystem::path& path) {
  const auto fail = [&path](const std::string& reason) {
    return Failure{path.string() + ": " + reason};
  };
  std::error_code code;
  const auto status = std::filesystem::status(path, code);
  if (!std::filesystem::exists(status)) {
    return fail("no such file");
  }
  if (std::filesystem::is_directory(status)) {
    return fail("is a directory (expected an effect library)");
  }
  auto opened = DynamicLibrary::Open(path);
  if (!opened) {
    return fail("not a library this system can load (" + opened.ErrorText() + ")");
  }
  std::shared_ptr<EffectLibrary> library(new EffectLibrary);
  library->path_ = path;
  library->library_ = std::move(*opened);
  auto calls = RegisterLibrary(*library->library_);
  if (!calls) {
    return fail(calls.ErrorText());
  }
  library->identity_ = std::move(calls->identity);
  // The name is the library's to choose; most say kMainEntryName.
  const std::string& entryPoint = library->identity_.entryPoint;
  library->mainEntry_ =
      reinterpret_cast<PF_MainEntryFn>(library->library_->Find(entryPoint.c_str()));
  if (library->mainEntry_ == nullptr) {
    return fail("not an effect library (it does not export " + entryPoint + ")");
  }
  return std::shared_ptr<const EffectLibrary>(std::move(library));
}

}  // namespace veltra::host
