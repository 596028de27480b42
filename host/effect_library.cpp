// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Opening and registering an effect library.

#include "host/effect_library.h"

#include <array>
#include <string_view>
#include <system_error>
#include <utility>
#include <vector>

#include "base/paths.h"
#include "host/base/error_names.h"
#include "host/effect_resource.h"
#include "host/suites/tables.h"
#include "system/dynamic_library.h"

namespace veltra::host {
namespace {

struct RegistrationCalls {
  std::vector<Registration> effects;
  int others = 0;  ///< project plug-ins and the like, which are not for this host
};

namespace fs = std::filesystem;

/// Between a library's file and the match name of one of its effects.
constexpr std::string_view kChoiceMark = "::";

/// What libraries without registration and resource call their command entry.
constexpr std::array<const char*, 2> kUsualEntryNames = {"EffectMain", kMainEntryName};

std::string TextOf(const A_u_char* text) {
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
    calls->effects.push_back({TextOf(name), TextOf(matchName), TextOf(category), TextOf(entryPoint),
                              kind, apiMajor, apiMinor, reservedInfo, TextOf(supportUrl),
                              IdentitySource::kRegistration});
  } catch (...) {
    return PF_Err_OUT_OF_MEMORY;
  }
  return PF_Err_NONE;
}

PF_Err KeepOlderRegistration(void* hostPointer, const A_u_char* name, const A_u_char* matchName,
                             const A_u_char* category, const A_u_char* entryPoint, A_long kind,
                             A_long apiMajor, A_long apiMinor, A_long reservedInfo) noexcept {
  const PF_Err error = KeepRegistration(hostPointer, name, matchName, category, entryPoint, kind,
                                        apiMajor, apiMinor, reservedInfo, nullptr);
  if (error == PF_Err_NONE && kind == kEffectPluginKind) {
    static_cast<RegistrationCalls*>(hostPointer)->effects.back().source =
        IdentitySource::kOlderRegistration;
  }
  return error;
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
  return calls;
}

/// A library without registration: what its resource says, which only Windows libraries have, or
/// its file's name and the usual name of a command entry.
Expected<RegistrationCalls> Unregistered(const DynamicLibrary& library, const fs::path& file) {
  RegistrationCalls calls;
  const auto read = IsPortableExecutable(file) ? ReadPortableExecutable(file)
                                               : Expected<PortableExecutable>(PortableExecutable{});
  if (read && read->resource) {
    calls.effects.push_back(RegistrationOf(*read->resource));
    return calls;
  }
  const std::string name = file.stem().string();
  for (const char* entry : kUsualEntryNames) {
    if (library.Find(entry) != nullptr) {
      calls.effects.push_back(
          {name, name, {}, entry, kEffectPluginKind, 13, 28, 0, {}, IdentitySource::kFileName});
      return calls;
    }
  }
  return Failure{std::string("not an effect library (it exports neither ") +
                 kRegistrationEntryName + " nor " + kOlderRegistrationEntryName +
                 ", and has no command entry under a usual name)"};
}

/// Registers through the newer entry or, without it, the older one.
Expected<RegistrationCalls> RegisterLibrary(const DynamicLibrary& library, const fs::path& file) {
  if (const auto entry =
          reinterpret_cast<PF_PluginDataEntryFn>(library.Find(kRegistrationEntryName))) {
    return Register(entry, &KeepRegistration);
  }
  if (const auto entry =
          reinterpret_cast<PF_OlderPluginDataEntryFn>(library.Find(kOlderRegistrationEntryName))) {
    return Register(entry, &KeepOlderRegistration);
  }
  return Unregistered(library, file);
}

/// Why a file cannot be loaded; of Windows libraries also what they hold, which their resource
/// tells anywhere.
std::string LoadTrouble(const fs::path& file, const std::string& reason) {
  std::string text = "not a library this system can load (" + reason + ")";
  if (IsPortableExecutable(file)) {
    if (const auto read = ReadPortableExecutable(file); read && read->resource) {
      const Registration effect = RegistrationOf(*read->resource);
      text += "; a Windows library with the effect \"" + effect.name + "\" (match name " +
              effect.matchName + ")";
    }
  }
  return text;
}

Expected<std::unique_ptr<DynamicLibrary>> OpenFile(const fs::path& file) {
  std::error_code code;
  const auto status = fs::status(file, code);
  if (!fs::exists(status)) {
    return Failure{"no such file"};
  }
  if (fs::is_directory(status)) {
    return Failure{"is a directory (expected an effect library)"};
  }
  auto opened = DynamicLibrary::Open(file);
  if (!opened) {
    return Failure{LoadTrouble(file, opened.ErrorText())};
  }
  return opened;
}

}  // namespace

Expected<std::shared_ptr<const EffectLibrary>> EffectLibrary::FromEntryPoints(
    const std::string& name, PF_PluginDataEntryFn registration, PF_MainEntryFn mainEntry,
    const HostProfile& host) {
  if (registration == nullptr || mainEntry == nullptr) {
    return Failure{name + ": an entry point is missing (expected registration and command entry)"};
  }
  const auto calls = Register(registration, &KeepRegistration);
  if (!calls) {
    return Failure{name + ": " + calls.ErrorText()};
  }
  auto identity = ChooseEffect(*calls, {});
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

EffectChoice ReadEffectChoice(const std::filesystem::path& text) {
  std::error_code code;
  const std::string both = text.string();
  const std::size_t mark = both.rfind(kChoiceMark);
  if (mark == std::string::npos || fs::exists(text, code)) {
    return {text, {}};
  }
  return {PathOf(std::string_view(both).substr(0, mark)), both.substr(mark + kChoiceMark.size())};
}

Registration RegistrationOf(const EffectResource& resource) {
  const std::uint32_t version = resource.Number("eSVR").value_or(0);
  return {resource.PascalText("name").value_or(""),
          resource.PascalText("eMNA").value_or(""),
          resource.PascalText("catg").value_or(""),
          resource.ZeroText("8664").value_or(""),
          static_cast<A_long>(resource.Number("kind").value_or(0)),
          static_cast<A_long>(version & 0xFFFFU),
          static_cast<A_long>(version >> 16),
          0,
          resource.PascalText("eURL").value_or(""),
          IdentitySource::kResource};
}

std::optional<A_long> OverridingFlags(const EffectResource& resource) {
  const auto flags = static_cast<A_long>(resource.Number("eGLO").value_or(0));
  return (flags & PF_OutFlag_PiPL_OVERRIDES_OUTDATA_OUTFLAGS) != 0 ? std::optional(flags)
                                                                   : std::nullopt;
}

bool EffectLibrary::IsNewerThanHost() const {
  return std::pair{identity_.apiMajor, identity_.apiMinor} >
         std::pair{A_long{host_->version.major}, A_long{host_->version.minor}};
}

Expected<std::vector<Registration>> EffectLibrary::EffectsIn(const std::filesystem::path& file) {
  const auto opened = OpenFile(file);
  if (!opened) {
    return Failure{file.string() + ": " + opened.ErrorText()};
  }
  auto calls = RegisterLibrary(**opened, file);
  if (!calls) {
    return Failure{file.string() + ": " + calls.ErrorText()};
  }
  return std::move(calls->effects);
}

Expected<std::shared_ptr<const EffectLibrary>> EffectLibrary::Open(
    const std::filesystem::path& pathAndChoice, const HostProfile& host) {
  const auto [path, wanted] = ReadEffectChoice(pathAndChoice);
  const auto fail = [&path = path](const std::string& reason) {
    return Failure{path.string() + ": " + reason};
  };
  auto opened = OpenFile(path);
  if (!opened) {
    return fail(opened.ErrorText());
  }
  const auto calls = RegisterLibrary(**opened, path);
  if (!calls) {
    return fail(calls.ErrorText());
  }
  auto identity = ChooseEffect(*calls, wanted);
  if (!identity) {
    return fail(identity.ErrorText());
  }
  std::shared_ptr<EffectLibrary> library(new EffectLibrary);
  library->path_ = path;
  library->host_ = &host;
  library->library_ = std::move(*opened);
  library->identity_ = std::move(*identity);
  // The name is the library's to choose; most say kMainEntryName.
  const std::string& entryPoint = library->identity_.entryPoint;
  library->mainEntry_ =
      reinterpret_cast<PF_MainEntryFn>(library->library_->Find(entryPoint.c_str()));
  if (library->mainEntry_ == nullptr) {
    return fail("not an effect library (it does not export " + entryPoint + ")");
  }
  if (IsPortableExecutable(path)) {
    const auto read = ReadPortableExecutable(path);
    if (read && read->resource &&
        RegistrationOf(*read->resource).matchName == library->identity_.matchName) {
      library->flagsOfResource_ = OverridingFlags(*read->resource);
    }
  }
  return std::shared_ptr<const EffectLibrary>(std::move(library));
}

}  // namespace veltra::host
