// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// ffmpeg's concatenation, with every segment put where its frames belong.
#include "cli/video/video_join.h"

#include <array>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "base/error.h"
#include "base/paths.h"
#include "base/text.h"
#include "cli/video/ffmpeg.h"
#include "pictures/output_file.h"

namespace veltra::cli {
namespace {

double SecondsOf(std::int64_t frames, PF_RationalScale rate) {
  return static_cast<double>(frames) * rate.den / rate.num;
}

std::string SecondsText(double seconds) {
  std::array<char, 64> text{};
  static_cast<void>(std::snprintf(text.data(), text.size(), "%.6f", seconds));
  return text.data();
}

/// What ffmpeg's concatenation reads. Each segment is said to last until its successor begins, in
/// microseconds of the whole, so that no rounding adds up.
std::string ListText(const std::vector<Segment>& segments, PF_RationalScale rate) {
  constexpr double kMicroseconds = 1e6;
  const auto place = [rate](std::int64_t frames) {
    return std::llround(SecondsOf(frames, rate) * kMicroseconds);
  };
  std::string text = "ffconcat version 1.0\n";
  std::int64_t before = 0;
  for (const Segment& segment : segments) {
    std::string name;
    for (const char c : std::filesystem::absolute(PathOf(segment.path)).string()) {
      name += c == '\'' ? "'\\''" : std::string(1, c);
    }
    const auto length = place(before + segment.frames) - place(before);
    text += Text("file '", FileUrl(name), "'\nduration ",
                 SecondsText(static_cast<double>(length) / kMicroseconds), "\n");
    before += segment.frames;
  }
  return text;
}

/// Of the user's options for the encoder those that are for the sound or the container: the picture
/// is encoded already.
Words WordsForJoining(const Words& wish) {
  Words words;
  for (std::size_t i = 0; i < wish.size(); ++i) {
    const std::string& word = wish[i];
    if (word == "-an") {
      words.push_back(word);
      continue;
    }
    constexpr std::array<std::string_view, 12> kTaken = {"-c:a", "-codec:a",  "-acodec",   "-b:a",
                                                         "-q:a", "-ab",       "-ar",       "-ac",
                                                         "-af",  "-movflags", "-metadata", "-f"};
    for (const std::string_view taken : kTaken) {
      if (i + 1 < wish.size() && (word == taken || word.starts_with(Text(taken, ":")))) {
        words.insert(words.end(), {word, wish[i + 1]});
        ++i;
        break;
      }
    }
  }
  return words;
}

/// How ffmpeg writes the sound; `conversions` gets what is converted.
Words SoundWords(const std::string& path, const VideoOptions& options, const EncoderWish& wish,
                 Words& conversions) {
  if (options.source == nullptr || !options.sound) {
    return {};
  }
  EncodingRequest request;
  request.extension = LowerExtension(path);
  request.width = options.source->picture.width;
  request.height = options.source->picture.height;
  request.sound = options.source->sound;
  const Encoding encoding = ChooseEncoding(request, wish);
  conversions = encoding.conversions;
  Words words = {"-map", "1:a?"};
  Append(words, encoding.sound);
  return words;
}

/// Matroska counts milliseconds: rounded once in the segment and once more in the whole, frames
/// would lie off their place.
Words TimesFilter(const std::string& path, PF_RationalScale rate) {
  const std::string extension = LowerExtension(path);
  if (extension != ".mkv" && extension != ".webm") {
    return {};
  }
  const std::string frames = Text(rate.num, "/", rate.den);
  const auto exact = [&frames](const char* time) {
    return Text("round(round(", time, "*TB*", frames, ")/(", frames, ")/TB)");
  };
  return {"-bsf:v", Text("setts=pts=", exact("PTS"), ":dts=", exact("DTS"))};
}

/// Throws unless the file shows that many frames in the time that they take.
void CheckWhole(const std::string& file, const std::string& path, std::int64_t frames,
                PF_RationalScale rate) {
  const VideoInfo info = ProbeVideo(file);
  if (info.times.count != frames) {
    throw RenderError(
        Text(path, ": the joined video has ", info.times.count, " frames (expected ", frames, ")"));
  }
  if (!info.times.seconds.empty()) {
    throw RenderError(Text(path, ": the frames of the joined video lie off their places"));
  }
  const std::string text =
      FfmpegOutput({"ffprobe", "-v", "error", "-select_streams", "v:0", "-show_entries",
                    "format=duration", "-of", "default=nokey=1:noprint_wrappers=1", FileUrl(file)},
                   path);
  const double told = std::strtod(text.c_str(), nullptr);
  const double expected = SecondsOf(frames, rate);
  // The sound may end a little later than the picture.
  constexpr double kSoundBlock = 0.1;
  if (told < expected - SecondsOf(1, rate) || told > expected + SecondsOf(1, rate) + kSoundBlock) {
    throw RenderError(Text(path, ": the joined video lasts ", SecondsText(told), " s (expected ",
                           SecondsText(expected), ")"));
  }
}

}  // namespace

std::vector<Segment> ReadSegments(const std::string& list) {
  std::ifstream file(PathOf(list));
  std::vector<Segment> segments;
  std::int64_t frames = 0;
  for (std::string path; file >> frames && file.get() == ' ' && std::getline(file, path);) {
    segments.push_back({path, frames});
  }
  if (!file.eof() || segments.empty()) {
    throw RenderError(Text(list, ": not a list of segments (expected FRAMES PATH, a line each)"));
  }
  return segments;
}

std::vector<std::string> JoinVideo(const std::string& path, const std::vector<Segment>& segments,
                                   const VideoOptions& options) {
  const pictures::TemporaryFile list(pictures::TemporaryNameBeside(path + ".txt"));
  {
    const std::string text = ListText(segments, options.rate);
    std::ofstream file(PathOf(list.Path()), std::ios::binary);
    if (!(file << text) || !file.flush()) {
      throw RenderError(Text(path, ": the list of its segments cannot be written beside it"));
    }
  }
  std::int64_t frames = 0;
  for (const Segment& segment : segments) {
    frames += segment.frames;
  }
  pictures::TemporaryFile temporary(pictures::TemporaryNameBeside(path));
  const EncoderWish wish = ReadEncoderWish(options.encoder);
  Words conversions;
  Words words = {"ffmpeg",
                 "-v",
                 "error",
                 "-nostdin",
                 "-y",
                 "-f",
                 "concat",
                 "-safe",
                 "0",
                 "-protocol_whitelist",
                 "file",
                 "-i",
                 FileUrl(list.Path())};
  Append(words, SourceWords(options));
  Append(words, {"-map", "0:v:0", "-c:v", "copy"});
  if (options.source != nullptr) {
    Append(words, {"-map_metadata", "1"});
  }
  Append(words, SoundWords(path, options, wish, conversions));
  Append(words, TimesFilter(path, options.rate));
  if (LowerExtension(path) == ".mpg") {
    Append(words, {"-f", "vob"});
  }
  Append(words, WordsForJoining(wish.words));
  words.push_back(FileUrl(temporary.Path()));
  const ProcessEnd end = StartFfmpeg(words, Process::Pipe::kFromChild)->Finish();
  if (!end.Succeeded()) {
    throw RenderError(
        Text(path, ": the segments cannot be joined (", ComplaintIn(end.output), ")"));
  }
  std::vector<std::string> lost;
  for (const std::string& conversion : conversions) {
    lost.push_back(Text("the sound is converted from ", conversion, " to fit the container"));
  }
  CheckWhole(temporary.Path(), path, frames, options.rate);
  AddProjection(temporary.Path(), path, options, lost);
  temporary.RenameTo(path);
  return lost;
}

}  // namespace veltra::cli
