// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Files that appear only whole.
#include "pictures/output_file.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>

#include "base/error.h"
#include "system/files.h"

namespace veltra::pictures {
namespace {

class OutputFiles : public testing::Test {
 protected:
  OutputFiles() : folder_(std::filesystem::path(testing::TempDir()) / "veltra-output-test") {
    std::filesystem::remove_all(folder_);
    std::filesystem::create_directories(folder_);
  }
  ~OutputFiles() override { std::filesystem::remove_all(folder_); }

  std::string Path(const char* name) const { return (folder_ / name).string(); }
  std::string Content(const char* name) const {
    std::ifstream file(folder_ / name);
    std::ostringstream content;
    content << file.rdbuf();
    return content.str();
  }
  std::size_t FileCount() const {
    const std::filesystem::directory_iterator files(folder_);
    return static_cast<std::size_t>(std::distance(begin(files), end(files)));
  }
  std::string OnlyFile() const {
    EXPECT_EQ(FileCount(), 1U);
    return std::filesystem::directory_iterator(folder_)->path().string();
  }

 private:
  std::filesystem::path folder_;
};

TEST_F(OutputFiles, OldContentStaysUntilTheNewIsWhole) {
  std::ofstream(Path("a")) << "old";
  {
    OutputFile file(Path("a"));
    file.Write("new", 3);
    EXPECT_EQ(Content("a"), "old");
    EXPECT_EQ(FileCount(), 2U);
  }
  EXPECT_EQ(Content("a"), "old");
  EXPECT_EQ(FileCount(), 1U);
  OutputFile file(Path("a"));
  file.Write("new", 3);
  file.Commit();
  EXPECT_EQ(Content("a"), "new");
  EXPECT_EQ(FileCount(), 1U);
}

TEST_F(OutputFiles, PlacesCanBeWrittenAgainAndReadBack) {
  OutputFile file(Path("a"));
  const std::string large(300000, 'x');
  file.Write("....", 4);
  file.Write(large.data(), large.size());
  file.Seek(1);
  file.Write("ab", 2);
  EXPECT_EQ(file.Length(), 4 + large.size());
  char back[4] = "";
  EXPECT_EQ(file.ReadBack(0, back, 4), 4U);
  EXPECT_EQ(std::string(back, 4), ".ab.");
  file.Commit();
  EXPECT_EQ(Content("a").size(), 4 + large.size());
  EXPECT_EQ(Content("a").substr(0, 6), ".ab.xx");
}

TEST_F(OutputFiles, InterruptedProgramsRemoveWhatIsTemporary) {
  OutputFile file(Path("a"));
  const std::string temporary = OnlyFile();
  EXPECT_TRUE(OpenForReading(temporary));
  RemoveTemporaryFiles();
#ifdef _WIN32
  GTEST_SKIP() << "Windows keeps an open file's name until it is closed";
#endif
  EXPECT_FALSE(OpenForReading(temporary));
}

TEST_F(OutputFiles, FailureSticksAndIsTold) {
  if (!std::filesystem::exists("/dev/full")) {
    GTEST_SKIP() << "no full device here";
  }
  OutputFile file("/dev/full");
  const std::string large(300000, 'x');
  EXPECT_TRUE(file.Write(large.data(), large.size()))
      << "what cannot go back is kept until its end";
  EXPECT_THROW(file.Commit(), RenderError);
  EXPECT_THROW(file.ThrowIfFailed(), RenderError);
}

}  // namespace
}  // namespace veltra::pictures
