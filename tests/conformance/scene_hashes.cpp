// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Prints a hash of the picture of each of a fixed set of scenes, or compares them with a table.
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <map>
#include <string>

#include "tests/conformance/random_scene.h"

namespace veltra::conformance {
namespace {

std::string libraryPath;

using Hashes = std::map<std::string, std::string>;

std::string Hex(std::uint64_t value) {
  char text[17];
  std::snprintf(text, sizeof(text), "%08x%08x", static_cast<unsigned>(value >> 32),
                static_cast<unsigned>(value));
  return text;
}

/// The picture's hash, or what the effect or the host complained of.
std::string Render(Stage* stage, bool smart, int threads) {
  stage->host.threads = threads;
  const PF_Err err = stage->host.Render(smart);
  if (err != PF_Err_NONE || !stage->host.violations.empty()) {
    return "failed";
  }
  return Hex(HashOf(stage->output));
}

/// Every placement with and without filtering, in a frame large enough for all of the sphere.
void RenderPlacements(Depth depth, int threads, Hashes* hashes) {
  for (int placement = 1; placement <= 3; ++placement) {
    for (const bool filtering : {false, true}) {
      Stage stage(depth, 160, 80, 64, 40);
      reference::Controls& controls = stage.host.controls;
      controls.placement = placement;
      controls.filtering = filtering;
      controls.startX = Fixed(31.25);
      controls.startY = Fixed(22);
      controls.endX = Fixed(141.5);
      controls.endY = Fixed(47.75);
      controls.travel = Fixed(placement * 13);
      controls.size = Fixed(41);
      controls.opacity = Fixed(83);
      const bool smart = placement != 2;
      (*hashes)["placement " + std::to_string(placement) + (filtering ? " filtered " : " plain ") +
                NameOf(depth)] = Render(&stage, smart, threads);
    }
  }
}

Hashes RenderAll(int threads) {
  Hashes hashes;
  for (const Depth depth : {Depth::k8, Depth::k16, Depth::kFloat}) {
    RenderPlacements(depth, threads, &hashes);
    for (unsigned seed = 1; seed <= 40; ++seed) {
      Dice dice(seed);
      RandomScene scene(depth, seed % 2 == 0, &dice);
      hashes["random " + std::to_string(seed) + " " + NameOf(depth)] =
          Render(&scene.stage, scene.smart, threads);
    }
  }
  return hashes;
}

/// Lines of "hash name"; a line that starts with # is a remark.
bool ReadTable(const std::string& path, Hashes* table) {
  std::ifstream file(path);
  std::string line;
  while (std::getline(file, line)) {
    if (!line.empty() && line.back() == '\r') {
      line.pop_back();
    }
    const std::size_t space = line.find(' ');
    if (line.empty() || line[0] == '#' || space == std::string::npos) {
      continue;
    }
    (*table)[line.substr(space + 1)] = line.substr(0, space);
  }
  return !table->empty();
}

int Compare(const Hashes& hashes, const Hashes& table) {
  int different = 0;
  for (const auto& [name, hash] : table) {
    const auto found = hashes.find(name);
    const std::string actual = found == hashes.end() ? "missing" : found->second;
    if (actual != hash) {
      std::printf("%s: %s instead of %s\n", name.c_str(), actual.c_str(), hash.c_str());
      ++different;
    }
  }
  std::printf("%d of %d scenes differ\n", different, static_cast<int>(table.size()));
  return different == 0 && hashes.size() == table.size() ? 0 : 1;
}

int Run(int argc, char** argv) {
  int threads = 1;
  std::string tablePath;
  for (int i = 1; i < argc; ++i) {
    const std::string argument = argv[i];
    if (argument.rfind("--library=", 0) == 0) {
      libraryPath = argument.substr(10);
    } else if (argument.rfind("--threads=", 0) == 0) {
      threads = std::atoi(argument.c_str() + 10);
    } else if (argument.rfind("--expect=", 0) == 0) {
      tablePath = argument.substr(9);
    } else {
      libraryPath.clear();
      break;
    }
  }
  if (libraryPath.empty() || threads < 1) {
    std::fprintf(stderr, "usage: scene_hashes --library=PATH [--threads=N] [--expect=TABLE]\n");
    return 2;
  }
  const Hashes hashes = RenderAll(threads);
  if (tablePath.empty()) {
    for (const auto& [name, hash] : hashes) {
      std::printf("%s %s\n", hash.c_str(), name.c_str());
    }
    return 0;
  }
  Hashes table;
  if (!ReadTable(tablePath, &table)) {
    std::fprintf(stderr, "%s: not a table of hashes\n", tablePath.c_str());
    return 2;
  }
  return Compare(hashes, table);
}

}  // namespace

const Library& Effect() {
  static const Library library = LoadLibraryAt(libraryPath);
  return library;
}

}  // namespace veltra::conformance

int main(int argc, char** argv) {
  return veltra::conformance::Run(argc, argv);
}
