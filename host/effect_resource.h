// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// What a Windows effect library says about itself without being run: its resource and exports.
#pragma once

#include <cstdint>
#include <filesystem>
#include <map>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "base/expected.h"

namespace veltra::host {

/// The properties of a resource of type "PIPL", by their four-character keys in reading order
/// ("eGLO", "8664").
struct EffectResource {
  std::map<std::string, std::vector<std::byte>> properties;

  bool Has(const std::string& key) const { return properties.contains(key); }
  /// A 32-bit number; none where the property is absent or of another size.
  std::optional<std::uint32_t> Number(const std::string& key) const;
  /// A text with a length byte in front; none where it is absent or longer than the property.
  std::optional<std::string> PascalText(const std::string& key) const;
  /// A zero-terminated text; none where it is absent or has no end.
  std::optional<std::string> ZeroText(const std::string& key) const;
};

/// A Windows library as a file.
struct PortableExecutable {
  std::optional<EffectResource> resource;  ///< none where there is no resource of that type
  std::vector<std::string> exports;
};

/// Whether the file starts like a Windows program or library.
bool IsPortableExecutable(const std::filesystem::path& path);

/// Reads the file; the error says what is wrong with it, without the path.
Expected<PortableExecutable> ReadPortableExecutable(const std::filesystem::path& path);

}  // namespace veltra::host
