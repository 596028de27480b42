// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// The list of files that go when the program is stopped.
#include "system/temporary_files.h"

#include <gtest/gtest.h>

#include <atomic>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

namespace veltra {
namespace {

namespace fs = std::filesystem;

class TemporaryFiles : public testing::Test {
 protected:
  TemporaryFiles() : folder_(fs::path(testing::TempDir()) / "veltra-temporary-test") {
    fs::remove_all(folder_);
    fs::create_directories(folder_);
  }
  ~TemporaryFiles() override { fs::remove_all(folder_); }

  std::string Make(const std::string& name) const {
    const std::string path = (folder_ / name).string();
    std::ofstream(path) << name;
    return path;
  }

 private:
  fs::path folder_;
};

TEST_F(TemporaryFiles, AreDeletedUnlessForgotten) {
  const std::string kept = Make("kept");
  const std::string going = Make("going");
  const TemporaryTicket ticket = RememberTemporary(kept);
  RememberTemporary(going);
  ForgetTemporary(ticket);
  RemoveTemporaryFiles();
  EXPECT_TRUE(fs::exists(kept));
  EXPECT_FALSE(fs::exists(going));
}

TEST_F(TemporaryFiles, ATicketIsGoodForOneFileOnly) {
  const TemporaryTicket old = RememberTemporary(Make("old"));
  RemoveTemporaryFiles();
  const std::string next = Make("next");  // in the same place of the list
  RememberTemporary(next);
  ForgetTemporary(old);
  RemoveTemporaryFiles();
  EXPECT_FALSE(fs::exists(next));
}

TEST_F(TemporaryFiles, AFullListIsNoHindrance) {
  constexpr int kMore = 300;
  std::vector<TemporaryTicket> tickets;
  for (int i = 0; i < kMore; ++i) {
    tickets.push_back(RememberTemporary(Make(std::to_string(i))));
  }
  for (const TemporaryTicket ticket : tickets) {
    ForgetTemporary(ticket);
  }
  const std::string going = Make("going");
  EXPECT_NE(RememberTemporary(going), 0U);
  RemoveTemporaryFiles();
  EXPECT_FALSE(fs::exists(going));
}

/// The thread sanitizer sees whether a path is read while it is written.
TEST_F(TemporaryFiles, CanBeRemovedWhileOthersComeAndGo) {
  constexpr int kWriters = 3;
  constexpr int kFiles = 5000;
  std::atomic<int> running{kWriters};
  std::vector<std::thread> writers;
  for (int writer = 0; writer < kWriters; ++writer) {
    writers.emplace_back([&, writer] {
      for (int i = 0; i < kFiles; ++i) {
        // Of changing length, so that a mixture of two names would be another name.
        const std::string name = std::string(static_cast<std::size_t>(1 + i % 40), 'a');
        ForgetTemporary(RememberTemporary(name + std::to_string(writer)));
      }
      --running;
    });
  }
  while (running > 0) {
    RemoveTemporaryFiles();
  }
  for (std::thread& writer : writers) {
    writer.join();
  }
  const std::string going = Make("going");
  RememberTemporary(going);
  RemoveTemporaryFiles();
  EXPECT_FALSE(fs::exists(going));
}

}  // namespace
}  // namespace veltra
