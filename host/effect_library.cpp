// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Opening and registering an effect library.

#include "host/effect_library.h"

#include <array>
#include <string_view>
#include <system_error>
#include <utility>
#include <vector>

#include "host/base/error_names.h"
#include "host/suites/tables.h"
#include "system/dynamic_library.h"

namespace veltra::host {
namespace {

struct RegistrationCalls {
  std::vector<Registration> effects;
  int others = 0;  ///< project plug-ins and the like, which are not for this host
};

/// Between a library's file and the match name of one of its effects.
constexpr std::string_view kChoiceMark = "::";

/// What libraries without registration call their command entry. Their resource tells the name,
/// and only Windows libraries have one.
constexpr std::array<const char*, 2> kUsualEntryNames = {"EffectMain", kMainEntryName};

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
  if (kind != kEffectPluginKind) {
    ++calls->others;
    return PF_Err_NONE;
  }
  try {
    calls->effects.push_back({Text(name), Text(matchName), Text(category), Text(entryPoint), kind,
                              apiMajor, apiMinor, reservedInfo, Text(supportUrl)});
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

/// The effect of that match name, or the only one where none is named.
Expected<Registration> ChooseEffect(const RegistrationCalls& calls, const std::string& wanted) {
  if (calls.effects.empty()) {
    return Failure{calls.others == 0 ? "registers nothing"
                                     : "registers something that is not an effect"};
  }
  std::string list;
  for (const Registration& effect : calls.effects) {
    if (effect.matchName.empty() || effect.entryPoint.empty()) {
      return Failure{"registers without a match name or an entry point"};
    }
    if (effect.matchName == wanted || (wanted.empty() && calls.effects.size() == 1)) {
      return effect;
    }
    list += (list.empty() ? "" : ", ") + effect.matchName;
  }
  return wanted.empty()
             ? Failure{"holds several effects: " + list + " (choose one as FILE::MATCH NAME)"}
             : Failure{"has no effect \"" + wanted + "\" (expected " + list + ")"};
}

/// Runs a registration entry of either form with the callback of its form; any exception is the
/// library's fault and reads as a failure.
template <class Entry, class Callback>
Expected<Registration> Register(Entry entry, Callback callback, const std::string& wanted) {
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
  return ChooseEffect(calls, wanted);
}

/// Registers through the newer entry or, without it, the older one. A library without either is
/// known by its file's name and the usual name of a command entry.
Expected<Registration> RegisterLibrary(const DynamicLibrary& library, const std::string& fileName,
                                       const std::string& wanted) {
  if (const auto entry =
          reinterpret_cast<PF_PluginDataEntryFn>(library.Find(kRegistrationEntryName))) {
    return Register(entry, &KeepRegistration, wanted);
  }
  if (const auto entry =
          reinterpret_cast<PF_OlderPluginDataEntryFn>(library.Find(kOlderRegistrationEntryName))) {
    return Register(entry, &KeepOlderRegistration, wanted);
  }
  for (const char* name : kUsualEntryNames) {
    if (library.Find(name) != nullptr && wanted.empty()) {
      return Registration{fileName, fileName, {}, name, kEffectPluginKind, 13, 28, 0, {}};
    }
  }
  return Failure{std::string("not an effect library (it does not export ") +
                 kRegistrationEntryName + ")"};
}

}  // namespace

Expected<std::shared_ptr<const EffectLibrary>> EffectLibrary::FromEntryPoints(
    const std::string& name, PF_PluginDataEntryFn registration, PF_MainEntryFn mainEntry,
    const HostProfile& host) {
  if (registration == nullptr || mainEntry == nullptr) {
    return Failure{name + ": an entry point is missing (expected registration and command entry)"};
  }
  auto identity = Register(registration, &KeepRegistration, {});
  if (!identity) {
    return Failure{name + ": " + identity.ErrorText()};
  }
  std::shared_ptr<EffectLibrary> library(new EffectLibrary);
  library->path_ = name;
  library->host_ = &host;
  library->identity_ = std::move(*identity);
  library->mainEntry_ = mainEntry;
  return std::shared_ptr<const EffectLibrary>(std::move(library));
}

EffectLibrary::EffectLibrary() = default;
EffectLibrary::~EffectLibrary() = default;

void* EffectLibrary::Module() const {
  return library_ != nullptr ? library_->Handle() : nullptr;
}

bool EffectLibrary::IsNewerThanHost() const {
  return std::pair{identity_.apiMajor, identity_.apiMinor} >
         std::pair{A_long{host_->version.major}, A_long{host_->version.minor}};
}

Expected<std::shared_ptr<const EffectLibrary>> EffectLibrary::Open(
    const std::filesystem::path& pathAndChoice, const HostProfile& host) {
  std::error_code code;
  std::filesystem::path path = pathAndChoice;
  std::string wanted;
  const std::string text = pathAndChoice.string();
  const std::size_t mark = text.rfind(kChoiceMark);
  if (mark != std::string::npos && !std::filesystem::exists(pathAndChoice, code)) {
    path = text.substr(0, mark);
    wanted = text.substr(mark + kChoiceMark.size());
  }
  const auto fail = [&path](const std::string& reason) {
    return Failure{path.string() + ": " + reason};
  };
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
  library->host_ = &host;
  library->library_ = std::move(*opened);
  auto identity = RegisterLibrary(*library->library_, path.stem().string(), wanted);
  if (!identity) {
    return fail(identity.ErrorText());
  }
  library->identity_ = std::move(*identity);
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
