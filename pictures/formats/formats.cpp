// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Checks that the formats share.
#include "pictures/formats/formats.h"

#include "base/error.h"
#include "base/text.h"
#include "host_api/types.h"

namespace veltra::pictures {

void PictureMetadata::KeepForPart() {
  xmp.clear();  // it tells the size of a whole panorama
  left = 0;
  top = 0;
  // The projection of the whole sphere, and where a camera's window lay.
  std::erase_if(attributes, [](const NamedAttribute& attribute) {
    return attribute.name == "envmap" || attribute.name == "screenWindowCenter" ||
           attribute.name == "screenWindowWidth";
  });
}

void CheckPictureSize(std::int64_t width, std::int64_t height) {
  const std::string size = Text(width, "x", height);
  if (width < 1 || height < 1) {
    throw RenderError(Text("a picture of ", size, " pixels has nothing in it"));
  }
  if (width > kHostMaxWorldSide || height > kHostMaxWorldSide) {
    throw RenderError(Text("a picture of ", size, " pixels is too large (at most ",
                           kHostMaxWorldSide, "x", kHostMaxWorldSide, ")"));
  }
}

void ThrowDamaged(const char* format, const std::string& detail) {
  throw RenderError(Text("damaged or cut short ", format, " file",
                         detail.empty() ? "" : Text(" (", detail, ")")));
}

}  // namespace veltra::pictures
