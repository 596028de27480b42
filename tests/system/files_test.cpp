// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Files by their names, whatever the names are made of.
#include "system/files.h"

#include <gtest/gtest.h>

#include <array>
#include <cerrno>
#include <filesystem>
#include <fstream>
#include <string>

#include "base/paths.h"
#include "base/text.h"

namespace veltra {
namespace {

namespace fs = std::filesystem;

class Files : public testing::Test {
 protected:
  Files() : folder_(fs::temp_directory_path() / Text("veltra-files-", OwnProcessNumber())) {
    fs::create_directories(folder_);
  }
  ~Files() override {
    std::error_code ignored;
    fs::remove_all(folder_, ignored);
  }

  std::string Path(const std::string& name) const { return (folder_ / PathOf(name)).string(); }

  static void Put(const std::string& path, const std::string& text) {
    Expected<File> file = CreateNewFile(path, {});
    ASSERT_TRUE(file) << file.ErrorText();
    ASSERT_EQ(file->Write(text.data(), text.size()), 0);
    ASSERT_EQ(file->Close(), 0);
  }

  static std::string Get(const std::string& path) {
    const Expected<File> file = OpenForReading(path);
    if (!file) {
      return file.ErrorText();
    }
    std::string text(file->Size(), '\0');
    text.resize(file->ReadAt(0, text.data(), text.size()));
    return text;
  }

  fs::path folder_;
};

TEST_F(Files, AreFoundUnderNamesInEveryScript) {
  const std::string name = "\xE6\xB8\xAC\xE8\xA9\xA6 \xC3\xA9\xC3\x9F.png";
  Put(Path(name), "picture");
  EXPECT_EQ(Get(Path(name)), "picture");
  EXPECT_TRUE(fs::exists(folder_ / PathOf(name)));
  EXPECT_EQ(fs::directory_iterator(folder_)->path().filename().string(), name);
}

TEST_F(Files, AreFoundUnderPathsOfAnyLength) {
  const std::string name = std::string(200, 'n') + ".png";
  const std::string inside = Path(std::string(100, 'f'));
  fs::create_directory(PathOf(inside));
  const std::string path = inside + "/" + name;
  ASSERT_GT(path.size(), 300U);
  Put(path, "far down");
  EXPECT_EQ(Get(path), "far down");
  EXPECT_EQ(StatusOf(path).kind, FileKind::kFile);
  EXPECT_EQ(RenameOver(path, path + "2"), 0);
  EXPECT_EQ(Get(path + "2"), "far down");
  RemoveFile((path + "2").c_str());
  EXPECT_EQ(StatusOf(path + "2").kind, FileKind::kNothing);
}

TEST_F(Files, TellWhatStandsUnderAName) {
  Put(Path("file"), "");
  EXPECT_EQ(StatusOf(Path("file")).kind, FileKind::kFile);
  EXPECT_EQ(StatusOf(folder_.string()).kind, FileKind::kFolder);
  EXPECT_EQ(StatusOf(Path("none")).kind, FileKind::kNothing);
  EXPECT_EQ(OpenForReading(Path("none")).ErrorText(), "no such file or directory");
  EXPECT_EQ(CheckWritable(Path("file")), 0);
}

TEST_F(Files, AreNewOrRefused) {
  Put(Path("taken"), "first");
  const Expected<File> again = CreateNewFile(Path("taken"), {});
  ASSERT_FALSE(again);
  EXPECT_EQ(again.ErrorText(), "");
  EXPECT_EQ(Get(Path("taken")), "first");
}

TEST_F(Files, AreWrittenOnWhereTheLastBytesEndedAfterALookBack) {
  Expected<File> file = CreateNewFile(Path("f"), {});
  ASSERT_TRUE(file);
  EXPECT_EQ(file->Write("abcdef", 6), 0);
  std::array<char, 3> back{};
  EXPECT_EQ(file->ReadAt(1, back.data(), back.size()), 3U);
  EXPECT_EQ(std::string(back.data(), back.size()), "bcd");
  EXPECT_EQ(file->Write("ghi", 3), 0);
  EXPECT_EQ(file->Seek(0), 0);
  EXPECT_EQ(file->Write("A", 1), 0);
  EXPECT_EQ(file->Close(), 0);
  EXPECT_EQ(Get(Path("f")), "Abcdefghi");
}

TEST_F(Files, HoldMoreThanFourGigabytes) {
  constexpr std::uint64_t kFar = std::uint64_t{5} << 30;
  Expected<File> file = CreateNewFile(Path("big"), {});
  ASSERT_TRUE(file);
  ASSERT_EQ(file->Seek(kFar), 0);
  ASSERT_EQ(file->Write("end", 3), 0);
  ASSERT_EQ(file->Close(), 0);
  const Expected<File> read = OpenForReading(Path("big"));
  ASSERT_TRUE(read);
  EXPECT_EQ(read->Size(), kFar + 3);
  std::array<char, 3> end{};
  EXPECT_EQ(read->ReadAt(kFar, end.data(), end.size()), 3U);
  EXPECT_EQ(std::string(end.data(), end.size()), "end");
}

TEST_F(Files, TakeTheNameOfAnother) {
  Put(Path("old"), "old");
  Put(Path("new"), "new");
  EXPECT_EQ(RenameOver(Path("new"), Path("old")), 0);
  EXPECT_EQ(Get(Path("old")), "new");
  EXPECT_EQ(StatusOf(Path("new")).kind, FileKind::kNothing);
}

// Where a file that is open cannot be replaced the reason says so, and nothing is lost.
TEST_F(Files, TakeTheNameOfOneThatIsOpenOrSayThatItIs) {
  Put(Path("old"), "old");
  Put(Path("new"), "new");
  const std::ifstream viewer(folder_ / "old", std::ios::binary);
  const int failure = RenameOver(Path("new"), Path("old"));
  if (failure == 0) {
    EXPECT_EQ(Get(Path("old")), "new");
  } else {
    EXPECT_EQ(FileReasonText(failure), "in use by another program");
    EXPECT_EQ(Get(Path("old")), "old");
    EXPECT_EQ(Get(Path("new")), "new");
  }
}

}  // namespace
}  // namespace veltra
