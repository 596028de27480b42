// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// What an OpenEXR header says beside the picture's shape: time codes, primaries, a studio's own.
#pragma once

#include <ImfHeader.h>

#include <vector>

#include "pictures/formats/picture_types.h"

namespace veltra::pictures {

/// The attributes that are as true of a picture made from this one.
std::vector<NamedAttribute> AttributesOf(const Imf::Header& header);

/// Puts them into a header. One that cannot be read is left out.
void AddAttributes(const std::vector<NamedAttribute>& attributes, Imf::Header& header);

}  // namespace veltra::pictures
