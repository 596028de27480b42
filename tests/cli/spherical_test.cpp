// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Projection boxes in the index of a video file.
#include "pictures/spherical.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <filesystem>
#include <fstream>
#include <span>
#include <sstream>

#include "pictures/bytes/memory_bytes.h"

namespace veltra::pictures {
namespace {

std::string Box(const std::string& type, const std::string& contents) {
  const auto size = static_cast<unsigned>(8 + contents.size());
  std::string box;
  for (const unsigned shift : {24U, 16U, 8U, 0U}) {
    box += static_cast<char>(size >> shift);
  }
  return box.append(type).append(contents);
}

/// A video track whose sample entry ends with `inEntry`.
std::string Track(const std::string& inEntry) {
  const std::string handler = Box("hdlr", std::string(8, '\0') + "vide");
  const std::string entry = Box("avc1", std::string(78, 'f') + Box("avcC", "codec") + inEntry);
  const std::string table =
      Box("stbl", Box("stsd", std::string(8, '\1') + entry) + Box("stco", "offsets"));
  return Box("trak", Box("mdia", handler + Box("minf", table)));
}

SphericalBoxes Read(const std::string& bytes) {
  return ReadSpherical(MemorySource(std::as_bytes(std::span(bytes))));
}

class SphericalFiles : public testing::Test {
 protected:
  SphericalFiles()
      : path_((std::filesystem::path(testing::TempDir()) / "veltra-spherical.mp4").string()) {}
  ~SphericalFiles() override { std::filesystem::remove(path_); }

  std::string Added(const std::string& bytes, const SphericalBoxes& boxes, bool* added) {
    std::ofstream(path_, std::ios::binary) << bytes;
    *added = AddSpherical(path_, boxes);
    std::ifstream file(path_, std::ios::binary);
    std::ostringstream content;
    content << file.rdbuf();
    return content.str();
  }

 private:
  std::string path_;
};

TEST_F(SphericalFiles, BoxesGoIntoTheFirstVideoTrackWhereverTheIndexIs) {
  const SphericalBoxes boxes = MakeEquirectangular("top and bottom");
  const std::string audio = Box("trak", Box("mdia", Box("hdlr", std::string(8, '\0') + "soun")));
  const std::string index = Box("moov", audio + Track(""));
  const std::string pictures = Box("mdat", "pictures");
  for (const std::string& file : {pictures + index, index + pictures}) {
    bool added = false;
    const std::string result = Added(file, boxes, &added);
    EXPECT_TRUE(added);
    EXPECT_EQ(Read(result).inSampleEntry, boxes.inSampleEntry);
    EXPECT_EQ(result.find("pictures"), file.find("pictures"));  // no picture moves
  }
}

TEST_F(SphericalFiles, OldProjectionIsReplaced) {
  bool added = false;
  const SphericalBoxes boxes = MakeEquirectangular("");
  const std::string file = Box("moov", Track(Box("sv3d", "older") + Box("st3d", "older")));
  EXPECT_EQ(Read(Added(file, boxes, &added)).inSampleEntry, boxes.inSampleEntry);
  EXPECT_EQ(Added(file, boxes, &added).find("older"), std::string::npos);
}

TEST_F(SphericalFiles, FilesWithoutAPlaceStayAsTheyAre) {
  const SphericalBoxes boxes = MakeEquirectangular("");
  for (const std::string& file :
       {std::string("no boxes at all"), Box("moov", Box("trak", "")), Box("mdat", "x"),
        Box("moov", Track("")) + Box("moof", ""), std::string()}) {
    bool added = true;
    EXPECT_EQ(Added(file, boxes, &added), file);
    EXPECT_FALSE(added);
  }
}

TEST(Spherical, TellsHowTwoEyesLieInAFrame) {
  EXPECT_EQ(StereoOf(MakeEquirectangular("top and bottom")), "top-bottom");
  EXPECT_EQ(StereoOf(MakeEquirectangular("side by side")), "left-right");
  EXPECT_EQ(StereoOf(MakeEquirectangular("")), "");
  EXPECT_EQ(StereoOf({}), "");
}

TEST(Spherical, EveryCutAndEveryChangedSizeIsSurvived) {
  const std::string whole = Box("moov", Track(MakeEquirectangular("").inSampleEntry));
  for (std::size_t length = 0; length <= whole.size(); ++length) {
    Read(whole.substr(0, length));
  }
  for (std::size_t at = 0; at < whole.size(); ++at) {
    for (const char value : {'\0', '\1', '\x7f', '\xff'}) {
      std::string changed = whole;
      changed[at] = value;
      Read(changed);
    }
  }
}

}  // namespace
}  // namespace veltra::pictures
