// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Which of an OpenEXR file's parts and channels are the picture.
#pragma once

#include <string>
#include <vector>

namespace veltra::pictures {

/// A part of the file with the names of its channels.
struct ExrPart {
  std::string name;  ///< empty in a file of one part
  std::vector<std::string> channels;
  bool readable = true;  ///< false for deep data
};

/// Channels for the rows of a picture, in their order: grey, or red, green and blue; then alpha,
/// if there is any. A name that the part does not have is black.
struct ExrChoice {
  int part = 0;
  std::vector<std::string> names;
  bool alpha = false;
  std::vector<std::string> leftOut;  ///< channels and parts that are not read, as shown to people
};

/// Takes what was asked for, or where that is empty the first part's R, G, B, A or Y.
/// @param wanted  a part ("depth"), a layer ("left" for left.R, left.G ...), one to four channels
///                ("left.R,left.G,left.B,left.A", "Z"), or "PART:" and one of the last two
/// Throws RenderError with what there is.
ExrChoice ChooseExrChannels(const std::vector<ExrPart>& parts, const std::string& wanted);

}  // namespace veltra::pictures
