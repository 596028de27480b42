// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// The tests, and the children that they start: the same program with a first word of its own.
#include <gtest/gtest.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

#include "base/paths.h"
#include "system/console.h"
#include "system/process.h"

namespace {

constexpr int kOddStatus = 7;

/// Copies standard input to standard error, so that the parent can look at what it sent.
int Echo() {
  for (int letter = std::getchar(); letter != EOF; letter = std::getchar()) {
    std::fputc(letter, stderr);
  }
  return kOddStatus;
}

int PrintArguments(const std::vector<std::string>& arguments) {
  for (std::size_t i = 1; i < arguments.size(); ++i) {
    std::printf("%s\n", arguments[i].c_str());
  }
  return 0;
}

int PrintMuch() {
  const std::string block(1 << 16, 'x');
  for (int i = 0; i < 64; ++i) {
    std::fwrite(block.data(), 1, block.size(), stdout);
  }
  return 0;
}

int Report() {
  veltra::PrepareChild();
  veltra::ReportLine("first");
  veltra::ReportLine("second\nwith a break");
  std::puts("to its output");
  return kOddStatus;
}

/// Keeps a file open, as a viewer does, until its standard input ends.
int Hold(const std::vector<std::string>& arguments) {
  const std::ifstream file(veltra::PathOf(arguments.at(1)), std::ios::binary);
  std::puts(file ? "held" : "not there");
  std::fflush(stdout);
  std::getchar();
  return 0;
}

int Sleep() {
  std::this_thread::sleep_for(std::chrono::minutes(5));
  return 0;
}

}  // namespace

int main(int count, char** values) {
  veltra::PrepareConsole();
  const std::vector<std::string> arguments = veltra::OwnArguments(count, values);
  const std::string work = arguments.empty() ? std::string() : arguments[0];
  if (work == "echo") {
    return Echo();
  }
  if (work == "arguments") {
    return PrintArguments(arguments);
  }
  if (work == "much") {
    return PrintMuch();
  }
  if (work == "report") {
    return Report();
  }
  if (work == "abort") {
    veltra::PrepareChild();
    std::abort();
  }
  if (work == "hold") {
    return Hold(arguments);
  }
  if (work == "sleep") {
    return Sleep();
  }
  testing::InitGoogleTest(&count, values);
  return RUN_ALL_TESTS();
}
