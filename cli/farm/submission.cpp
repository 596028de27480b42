// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// The folder of a submission: what is written there and read back.
#include "cli/farm/submission.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <fstream>
#include <nlohmann/json.hpp>
#include <random>
#include <sstream>

#include "base/error.h"
#include "base/fnv.h"
#include "base/paths.h"
#include "base/text.h"
#include "pictures/output_file.h"

namespace veltra::cli {
namespace {

using Json = nlohmann::ordered_json;

constexpr int kFolderVersion = 1;

/// Appears whole or not at all, so that whoever reads it meanwhile never sees half.
void WriteJson(const std::string& path, const Json& json) {
  pictures::WriteText(path, json.dump(2, ' ', false, Json::error_handler_t::replace) + "\n");
}

std::optional<Json> ReadJson(const std::string& path) {
  std::ifstream file(PathOf(path), std::ios::binary);
  if (!file) {
    return std::nullopt;
  }
  Json json = Json::parse(file, nullptr, false);
  if (json.is_discarded() || !json.is_object()) {
    return std::nullopt;
  }
  return json;
}

Json ToJson(const std::map<int, std::string>& errors) {
  Json list = Json::array();
  for (const auto& [frame, error] : errors) {
    list.push_back({{"frame", frame}, {"error", error}});
  }
  return list;
}

std::map<int, std::string> ErrorsOf(const Json& json, const char* key) {
  std::map<int, std::string> errors;
  for (const Json& entry : json.value(key, Json::array())) {
    errors[entry.at("frame").get<int>()] = entry.at("error").get<std::string>();
  }
  return errors;
}

Json ToJson(const PinnedFile& file) {
  return {{"path", file.path}, {"hash", file.hash}};
}

PinnedFile PinnedOf(const Json& json) {
  return {json.at("path").get<std::string>(), json.at("hash").get<std::string>()};
}

Json ToJson(const ExpectedPicture& picture) {
  return {{"width", picture.width},
          {"height", picture.height},
          {"stored", pictures::SampleTypeName(picture.stored)}};
}

ExpectedPicture ExpectedOf(const Json& json) {
  ExpectedPicture picture{json.at("width").get<int>(), json.at("height").get<int>()};
  const std::string stored = json.at("stored").get<std::string>();
  for (const pictures::SampleType type :
       {pictures::SampleType::kUint8, pictures::SampleType::kUint16, pictures::SampleType::kHalf,
        pictures::SampleType::kFloat}) {
    picture.stored = stored == pictures::SampleTypeName(type) ? type : picture.stored;
  }
  return picture;
}

/// A file that somebody edited is no reason to end in an exception of the library's own.
template <class Read>
auto Understood(const std::string& path, const Read& read) {
  try {
    return read();
  } catch (const Json::exception&) {
    throw RenderError(Text(path, ": not as `veltra submit` wrote it"));
  }
}

}  // namespace

std::string SubmissionFolder::SegmentOf(std::size_t range, const std::string& output) const {
  const std::string extension = PathOf(output).extension().string();
  return (PathOf(Segments()) / Text(range, extension)).string();
}

std::string SubmissionFolder::StateOf(std::size_t range) const {
  return (PathOf(States()) / Text(range, ".json")).string();
}

Submission SubmissionFolder::Read() const {
  const std::string path = (path_ / "submission.json").string();
  const std::optional<Json> json = ReadJson(path);
  if (!json || json->value("version", 0) != kFolderVersion) {
    throw RenderError(Text(path_.string(), ": not the folder of a submission"));
  }
  return Understood(path, [&] {
    Submission submission;
    submission.id = json->at("id").get<std::string>();
    submission.name = json->at("name").get<std::string>();
    submission.scene = json->at("scene").get<std::string>();
    submission.output = json->at("output").get<std::string>();
    submission.version = json->at("program-version").get<std::string>();
    submission.program = PinnedOf(json->at("program"));
    for (const Json& effect : json->at("effects")) {
      submission.effects.push_back(PinnedOf(effect));
    }
    submission.video = json->at("video").get<bool>();
    submission.videoAlpha = json->at("video-alpha").get<bool>();
    submission.ranges = json->at("ranges").get<std::vector<std::string>>();
    submission.frames = json->at("frames").get<std::size_t>();
    submission.threads = json->at("threads").get<int>();
    submission.anyVersion = json->at("any-version").get<bool>();
    submission.expected = ExpectedOf(json->at("expected"));
    submission.jobs = json->at("jobs").get<std::vector<std::string>>();
    return submission;
  });
}

void SubmissionFolder::Write(const Submission& submission) const {
  Json effects = Json::array();
  for (const PinnedFile& effect : submission.effects) {
    effects.push_back(ToJson(effect));
  }
  WriteJson((path_ / "submission.json").string(), {{"version", kFolderVersion},
                                                   {"id", submission.id},
                                                   {"name", submission.name},
                                                   {"scene", submission.scene},
                                                   {"output", submission.output},
                                                   {"program-version", submission.version},
                                                   {"program", ToJson(submission.program)},
                                                   {"effects", effects},
                                                   {"frames", submission.frames},
                                                   {"threads", submission.threads},
                                                   {"any-version", submission.anyVersion},
                                                   {"expected", ToJson(submission.expected)},
                                                   {"video", submission.video},
                                                   {"video-alpha", submission.videoAlpha},
                                                   {"jobs", submission.jobs},
                                                   {"ranges", submission.ranges}});
}

std::optional<RangeState> ReadState(const SubmissionFolder& folder, std::size_t range) {
  const std::string path = folder.StateOf(range);
  const std::optional<Json> json = ReadJson(path);
  if (!json) {
    return std::nullopt;
  }
  return Understood(path, [&] {
    return RangeState{json->at("done").get<std::size_t>(), json->at("finished").get<bool>(),
                      ErrorsOf(*json, "failed")};
  });
}

void WriteState(const SubmissionFolder& folder, std::size_t range, const RangeState& state) {
  WriteJson(folder.StateOf(range),
            {{"done", state.done}, {"finished", state.finished}, {"failed", ToJson(state.failed)}});
}

std::optional<FarmResult> ReadResult(const SubmissionFolder& folder) {
  const std::optional<Json> json = ReadJson(folder.Result());
  if (!json) {
    return std::nullopt;
  }
  return Understood(folder.Result(), [&] {
    FarmResult result;
    result.done = json->at("done").get<std::size_t>();
    result.missing = json->at("missing").get<std::vector<int>>();
    result.failed = ErrorsOf(*json, "failed");
    result.damaged = ErrorsOf(*json, "damaged");
    return result;
  });
}

void WriteResult(const SubmissionFolder& folder, const FarmResult& result) {
  WriteJson(folder.Result(), {{"whole", result.Whole()},
                              {"done", result.done},
                              {"missing", result.missing},
                              {"failed", ToJson(result.failed)},
                              {"damaged", ToJson(result.damaged)}});
}

void RemoveTemporariesOf(const SubmissionFolder& folder, const Submission& submission) {
  const std::string output = PathOf(submission.output).parent_path().string();
  for (const std::string& place : {output, folder.Segments(), folder.States()}) {
    pictures::RemoveLeftoversOf(submission.id, place);
  }
}

std::filesystem::path SubmissionsOf(const std::string& scene) {
  std::filesystem::path path = std::filesystem::absolute(PathOf(scene)).lexically_normal();
  return path.replace_extension(".farm");
}

std::vector<SubmissionFolder> FindSubmissions(const std::string& scene) {
  std::vector<std::filesystem::path> paths;
  std::error_code failure;
  for (const auto& entry : std::filesystem::directory_iterator(SubmissionsOf(scene), failure)) {
    if (std::filesystem::exists(entry.path() / "submission.json", failure)) {
      paths.push_back(entry.path());
    }
  }
  std::sort(paths.begin(), paths.end());  // the ids begin with the time
  return {paths.begin(), paths.end()};
}

std::string NewSubmissionId() {
  const auto now = std::chrono::floor<std::chrono::seconds>(std::chrono::system_clock::now());
  const auto day = std::chrono::floor<std::chrono::days>(now);
  const std::chrono::year_month_day date(day);
  const std::chrono::hh_mm_ss time(now - day);
  std::array<char, 32> text{};
  static_cast<void>(std::snprintf(
      text.data(), text.size(), "%04d%02u%02u-%02d%02d%02d-", static_cast<int>(date.year()),
      static_cast<unsigned>(date.month()), static_cast<unsigned>(date.day()),
      static_cast<int>(time.hours().count()), static_cast<int>(time.minutes().count()),
      static_cast<int>(time.seconds().count())));
  std::string id = text.data();
  std::random_device random;
  for (int i = 0; i < 6; ++i) {
    id += static_cast<char>('a' + random() % 26);
  }
  return id;
}

PinnedFile Pin(const std::string& path) {
  std::ifstream file(PathOf(path), std::ios::binary);
  Fnv1a hash;
  std::vector<char> block(std::size_t{1} << 16);
  while (file.read(block.data(), static_cast<std::streamsize>(block.size())), file.gcount() > 0) {
    hash.Add({block.data(), static_cast<std::size_t>(file.gcount())});
  }
  if (!file.eof()) {
    throw RenderError(Text(path, ": cannot be read"));
  }
  return {path, hash.Digits()};
}

}  // namespace veltra::cli
