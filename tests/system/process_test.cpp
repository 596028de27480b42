// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Other programs: what goes in, what comes out, and how they end.
#include "system/process.h"

#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <vector>

#include "base/error.h"
#include "system/interrupt.h"
#include "system/program_file.h"

namespace veltra {
namespace {

using std::chrono::milliseconds;

constexpr int kOddStatus = 7;
constexpr milliseconds kPatience{60000};

std::vector<std::string> Words(const std::vector<std::string>& arguments) {
  std::vector<std::string> words(1, ProgramFile().string());
  words.insert(words.end(), arguments.begin(), arguments.end());
  return words;
}

std::string AllOf(Process& process) {
  std::string text;
  std::string block(1 << 12, '\0');
  for (std::size_t got = block.size(); got == block.size();) {
    got = process.Read(block.data(), block.size());
    text.append(block, 0, got);
  }
  return text;
}

TEST(Process, ReadsWhatIsWrittenToIt) {
  Process process(Words({"echo"}), Process::Pipe::kToChild);
  const std::string text = "a line\nand \xC3\xA9\n";
  EXPECT_TRUE(process.Write(text.data(), text.size()));
  const ProcessEnd end = process.Finish();
  EXPECT_EQ(end.how, ProcessEnd::How::kExited);
  EXPECT_EQ(end.status, kOddStatus);
  EXPECT_EQ(end.output, text);
}

TEST(Process, IsReadToItsEnd) {
  Process process(Words({"much"}), Process::Pipe::kFromChild);
  EXPECT_EQ(AllOf(process).size(), std::size_t{64} << 16);
  EXPECT_TRUE(process.Finish().Succeeded());
}

TEST(Process, GetsItsArgumentsAsTheyAre) {
  const std::vector<std::string> hard = {
      "two words", "\"quoted\"", "back\\slash\\", "a\\\"b", "*.png", "", "\xE6\xB8\xAC \xC3\xA9"};
  std::vector<std::string> words = {"arguments"};
  std::string expected;
  for (const std::string& word : hard) {
    words.push_back(word);
    expected += word + "\n";
  }
  Process process(Words(words), Process::Pipe::kFromChild);
  EXPECT_EQ(AllOf(process), expected);
}

TEST(Process, ThatIsNotThereIsToldApart) {
  EXPECT_THROW(Process({"no-such-program"}, Process::Pipe::kFromChild), ProgramNotFound);
}

TEST(Process, IsLeftWhenTheUserAsksToStop) {
  Process process(Words({"sleep"}), Process::Pipe::kFromChild);
  InterruptFlag().store(true);
  char byte = 0;
  EXPECT_THROW(process.Read(&byte, 1), Interrupted);
  InterruptFlag().store(false);
}

TEST(Child, ReportsLinesAndItsEnd) {
  std::vector<std::string> lines;
  const ProcessEnd end = RunChild(ProgramFile(), {"report"}, kPatience,
                                  [&](std::string_view line) { lines.emplace_back(line); });
  EXPECT_EQ(lines, (std::vector<std::string>{"first", "second with a break"}));
  EXPECT_EQ(end.how, ProcessEnd::How::kExited);
  EXPECT_EQ(end.status, kOddStatus);
  EXPECT_EQ(end.output, "to its output\n");
}

TEST(Child, ThatAbortsIsNotTakenForOneThatEnds) {
  const ProcessEnd end = RunChild(ProgramFile(), {"abort"}, kPatience, [](std::string_view) {});
  EXPECT_EQ(end.how, ProcessEnd::How::kSignalled);
  EXPECT_NE(end.signal.find("abort"), std::string::npos) << end.signal;
}

TEST(Child, ThatTakesTooLongIsEnded) {
  const ProcessEnd end =
      RunChild(ProgramFile(), {"sleep"}, milliseconds(300), [](std::string_view) {});
  EXPECT_EQ(end.how, ProcessEnd::How::kTimedOut);
}

}  // namespace
}  // namespace veltra
