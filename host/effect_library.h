// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// An effect library opened from a file, with the identity that it registers.
#pragma once

#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "base/expected.h"
#include "host/session/host_profile.h"
#include "host_api/entry_points.h"

namespace veltra {
class DynamicLibrary;
}

namespace veltra::host {

struct EffectResource;

/// Where a library's identity comes from.
enum class IdentitySource {
  kRegistration,
  kOlderRegistration,  ///< the function without a support address
  kResource,           ///< a Windows library without registration
  kFileName,           ///< without a resource either
};

/// What the library told the registration callback, or what stands for it.
struct Registration {
  std::string name;
  std::string matchName;
  std::string category;
  std::string entryPoint;
  A_long kind = 0;
  A_long apiMajor = 0;
  A_long apiMinor = 0;
  A_long reservedInfo = 0;
  std::string supportUrl;
  IdentitySource source = IdentitySource::kRegistration;
};

/// A library's file, and the match name of the one of its effects that is meant; empty for none in
/// particular.
struct EffectChoice {
  std::filesystem::path file;
  std::string matchName;
};

/// Takes FILE::MATCH NAME apart, unless there is a file of that whole name.
EffectChoice ReadEffectChoice(const std::filesystem::path& text);

/// The identity that a resource gives; texts and numbers that it lacks are empty and 0.
Registration RegistrationOf(const EffectResource& resource);

/// The resource's out_flags, where it says that they count and not those of GLOBAL_SETUP.
std::optional<A_long> OverridingFlags(const EffectResource& resource);

/// Stays loaded as long as anybody holds it. Reading it is safe from any thread.
class EffectLibrary {
 public:
  /// Loads the file and registers it. The error says which of these was the trouble: no such
  /// file, not a library of this platform, no effect's exports, or a refused registration. It
  /// starts with the path. `path` may name one effect of the file (see ReadEffectChoice);
  /// `host` is what this host is to everything in the library.
  static Expected<std::shared_ptr<const EffectLibrary>> Open(
      const std::filesystem::path& path, const HostProfile& host = DefaultHost());

  /// Loads and registers the file, and tells of all effects in it. Errors as in Open.
  static Expected<std::vector<Registration>> EffectsIn(const std::filesystem::path& file);

  /// An effect that is linked into this program: its two entry points instead of a file, for tests
  /// and for builds that cannot load code. `name` stands where a file's path would, in Path() and
  /// at the head of errors. The registration's entry point name is not looked at.
  static Expected<std::shared_ptr<const EffectLibrary>> FromEntryPoints(
      const std::string& name, PF_PluginDataEntryFn registration, PF_MainEntryFn mainEntry,
      const HostProfile& host = DefaultHost());

  ~EffectLibrary();
  EffectLibrary(const EffectLibrary&) = delete;
  EffectLibrary& operator=(const EffectLibrary&) = delete;

  /// The file, or the name that a linked effect was given.
  const std::filesystem::path& Path() const { return path_; }
  const Registration& Identity() const { return identity_; }
  /// What the host is that opened it.
  const HostProfile& Host() const { return *host_; }
  /// Whether it was built for a later interface than the host's.
  bool IsNewerThanHost() const;
  PF_MainEntryFn MainEntry() const { return mainEntry_; }
  /// The out_flags that count whatever GLOBAL_SETUP answers; mostly none.
  std::optional<A_long> FlagsOfResource() const { return flagsOfResource_; }
  /// The system's handle of the loaded file; null for a linked effect.
  void* Module() const;

 private:
  EffectLibrary();

  std::filesystem::path path_;
  std::unique_ptr<DynamicLibrary> library_;  ///< null for a linked effect
  Registration identity_;
  const HostProfile* host_ = &DefaultHost();
  PF_MainEntryFn mainEntry_ = nullptr;
  std::optional<A_long> flagsOfResource_;
};

}  // namespace veltra::host
