// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// What MP4 and MOV files say about their projection, carried from one file to another.
#pragma once

#include <string>

#include "pictures/bytes/byte_source.h"

namespace veltra::pictures {

/// The boxes of a video track that make players show it as a sphere, byte for byte.
struct SphericalBoxes {
  std::string inSampleEntry;  ///< st3d and sv3d
  std::string inTrack;        ///< the older uuid box with its XML

  bool Empty() const { return inSampleEntry.empty() && inTrack.empty(); }
};

/// Those of the first video track of an MP4 or MOV file; empty when there are none or it is
/// another kind of file.
SphericalBoxes ReadSpherical(const ByteSource& source);

/// How the track says that two eyes lie in its frames, "top-bottom" or "left-right"; empty where it
/// says nothing of the kind.
std::string StereoOf(const SphericalBoxes& boxes);

/// The boxes of a full equirectangular picture: `stereo` is "top and bottom", "side by side" or
/// anything else for one eye.
SphericalBoxes MakeEquirectangular(const std::string& stereo);

/// Puts the boxes into the first video track of an MP4 or MOV file. The index is written anew
/// at the end of the file, so that no picture moves. False when the file has no place for them.
bool AddSpherical(const std::string& path, const SphericalBoxes& boxes);

}  // namespace veltra::pictures
