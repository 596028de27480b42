// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Stands in for ffmpeg.exe and ffprobe.exe where there are none: their options and pipes, as far as
// videos need them, and a video format of its own. What it does not know is an error.
#include <fcntl.h>
#include <io.h>
#include <windows.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <map>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

using Wide = std::wstring;

// ---- The video format ----

// A line of text, then the sound's bytes, then the frames one after the other.
constexpr const char* kHeader = "stand-in video %15s %d %d %d %d %10d %10d\n";
constexpr int kFields = 7;

struct Video {
  std::array<char, 16> format{};  ///< ffmpeg's name: rgba or rgba64le
  int width = 0;
  int height = 0;
  int rate = 0;
  int rateBelow = 1;
  int frames = 0;
  int soundBytes = 0;

  std::size_t FrameBytes() const {
    const std::size_t pixel = std::string(format.data()) == "rgba64le" ? 8 : 4;
    return pixel * static_cast<std::size_t>(width) * static_cast<std::size_t>(height);
  }
};

struct Closed {
  void operator()(std::FILE* file) const { static_cast<void>(std::fclose(file)); }
};
using FilePointer = std::unique_ptr<std::FILE, Closed>;

std::string Narrow(const Wide& text) {
  std::string narrow(4 * text.size() + 1, '\0');
  const int length =
      WideCharToMultiByte(CP_UTF8, 0, text.data(), static_cast<int>(text.size()), narrow.data(),
                          static_cast<int>(narrow.size()), nullptr, nullptr);
  narrow.resize(static_cast<std::size_t>(length));
  return narrow;
}

[[noreturn]] void Fail(const std::string& reason) {
  throw std::runtime_error(reason);
}

/// Opens what "file:NAME" means.
FilePointer OpenUrl(const Wide& url, const wchar_t* mode) {
  const Wide kProtocol = L"file:";
  if (url.compare(0, kProtocol.size(), kProtocol) != 0) {
    Fail(Narrow(url) + ": Protocol not found");
  }
  FilePointer file(_wfopen(url.substr(kProtocol.size()).c_str(), mode));
  if (file == nullptr) {
    Fail(Narrow(url.substr(kProtocol.size())) + ": No such file or directory");
  }
  return file;
}

Video ReadHeader(std::FILE* file, const Wide& url) {
  Video video;
  std::array<char, 128> line{};
  if (std::fgets(line.data(), line.size(), file) == nullptr ||
      std::sscanf(line.data(), kHeader, video.format.data(), &video.width, &video.height,
                  &video.rate, &video.rateBelow, &video.frames, &video.soundBytes) != kFields) {
    Fail(Narrow(url.substr(url.find(L':') + 1)) + ": Invalid data found when processing input");
  }
  return video;
}

void WriteHeader(std::FILE* file, const Video& video) {
  std::fprintf(file, kHeader, video.format.data(), video.width, video.height, video.rate,
               video.rateBelow, video.frames, video.soundBytes);
}

// ---- Options ----

struct Source {
  Wide url;
  std::multimap<Wide, Wide> options;  ///< those that stand before it
};

/// Every input, then the output; a single source of nothing but options where there is neither.
std::vector<Source> TakeApart(const std::vector<Wide>& words) {
  const std::vector<Wide> kAlone = {L"-nostdin", L"-xerror", L"-y", L"-version", L"-show_streams"};
  const std::vector<Wide> kWithValue = {L"-v",
                                        L"-i",
                                        L"-f",
                                        L"-pix_fmt",
                                        L"-s",
                                        L"-r",
                                        L"-map",
                                        L"-vf",
                                        L"-map_metadata",
                                        L"-c:a",
                                        L"-c:v",
                                        L"-fps_mode",
                                        L"-sws_flags",
                                        L"-colorspace",
                                        L"-color_range",
                                        L"-color_trc",
                                        L"-crf",
                                        L"-preset",
                                        L"-color_primaries",
                                        L"-select_streams",
                                        L"-show_entries",
                                        L"-of"};
  const auto knows = [](const std::vector<Wide>& list, const Wide& word) {
    return std::find(list.begin(), list.end(), word) != list.end();
  };
  std::vector<Source> sources(1);
  for (std::size_t i = 0; i < words.size(); ++i) {
    if (knows(kWithValue, words[i]) && i + 1 < words.size()) {
      if (words[i] == L"-i") {
        sources.back().url = words[i + 1];
        sources.emplace_back();
      } else {
        sources.back().options.emplace(words[i], words[i + 1]);
      }
      ++i;
    } else if (knows(kAlone, words[i])) {
      sources.back().options.emplace(words[i], L"");
    } else if (words[i].starts_with(L"-")) {
      Fail("Unrecognized option '" + Narrow(words[i].substr(1)) + "'.");
    } else {
      sources.back().url = words[i];
    }
  }
  return sources;
}

std::string Value(const Source& source, const Wide& option) {
  const auto found = source.options.find(option);
  return found == source.options.end() ? "" : Narrow(found->second);
}

void Expect(const Source& source, const Wide& option, const std::string& value) {
  if (Value(source, option) != value) {
    Fail("the stand-in needs " + Narrow(option) + " " + value + ", not '" + Value(source, option) +
         "'");
  }
}

// ---- ffprobe ----

int Probe(const Source& asked) {
  const FilePointer file = OpenUrl(asked.url, L"rb");
  const Video video = ReadHeader(file.get(), asked.url);
  if (asked.options.count(L"-show_streams") != 0) {
    Expect(asked, L"-of", "json");
    std::printf(
        "{\"streams\": [{\"codec_type\": \"video\", \"codec_name\": \"rawvideo\", \"width\": %d, "
        "\"height\": %d, \"pix_fmt\": \"%s\", \"avg_frame_rate\": \"%d/%d\", \"nb_frames\": "
        "\"%d\"}%s]}\n",
        video.width, video.height, video.format.data(), video.rate, video.rateBelow, video.frames,
        video.soundBytes == 0
            ? ""
            : ", {\"codec_type\": \"audio\", \"codec_name\": \"aac\", \"sample_rate\": \"48000\"}");
    return 0;
  }
  Expect(asked, L"-select_streams", "v:0");
  Expect(asked, L"-show_entries", "packet=pts_time,size,flags");
  Expect(asked, L"-of", "csv=p=0");
  std::fseek(file.get(), video.soundBytes, SEEK_CUR);
  std::vector<char> frame(video.FrameBytes());
  for (int i = 0; std::fread(frame.data(), frame.size(), 1, file.get()) == 1; ++i) {
    std::printf("%.6f,%u,K_\n", static_cast<double>(i) * video.rateBelow / video.rate,
                static_cast<unsigned>(frame.size()));
  }
  return 0;
}

// ---- ffmpeg ----

/// Frames from a file to standard output.
int Decode(const Source& from, const Source& to) {
  const FilePointer file = OpenUrl(from.url, L"rb");
  const Video video = ReadHeader(file.get(), from.url);
  Expect(to, L"-map", "0:v:0");
  Expect(to, L"-f", "rawvideo");
  Expect(to, L"-fps_mode", "passthrough");
  Expect(to, L"-pix_fmt", video.format.data());  // it converts nothing
  Expect(to, L"-s", std::to_string(video.width) + "x" + std::to_string(video.height));
  int first = 0;
  if (std::sscanf(Value(to, L"-vf").c_str(), "trim=start_frame=%d", &first) != 1) {
    Fail("the stand-in needs a trim filter");
  }
  std::fseek(file.get(), video.soundBytes, SEEK_CUR);
  std::vector<char> frame(video.FrameBytes());
  for (int i = 0; i < video.frames; ++i) {
    if (std::fread(frame.data(), frame.size(), 1, file.get()) != 1) {
      Fail("[stand-in @ 0000000000000001] packet " + std::to_string(i) + " is cut short");
    }
    if (i >= first && std::fwrite(frame.data(), frame.size(), 1, stdout) != 1) {
      Fail("Error writing the output");
    }
  }
  return 0;
}

/// The sound of the second input, where it is wanted.
std::vector<char> SoundFor(const std::vector<Source>& sources) {
  const auto wanted = sources.back().options.equal_range(L"-map");
  if (std::none_of(wanted.first, wanted.second,
                   [](const auto& option) { return option.second == L"1:a?"; })) {
    return {};
  }
  const FilePointer file = OpenUrl(sources.at(1).url, L"rb");
  std::vector<char> sound(
      static_cast<std::size_t>(ReadHeader(file.get(), sources.at(1).url).soundBytes));
  if (!sound.empty() && std::fread(sound.data(), sound.size(), 1, file.get()) != 1) {
    Fail("the sound is cut short");
  }
  return sound;
}

/// Frames from standard input to a file. Some encoders of its own have faults.
int Encode(const std::vector<Source>& sources) {
  const Source& from = sources.front();
  const Source& to = sources.back();
  const std::string encoder = Value(to, L"-c:v");
  if (encoder != "libx264" && encoder != "slow" && encoder != "dies") {
    Fail("Unknown encoder '" + encoder + "'");
  }
  Expect(from, L"-f", "rawvideo");
  Video video;
  static_cast<void>(Value(from, L"-pix_fmt").copy(video.format.data(), video.format.size() - 1));
  std::sscanf(Value(from, L"-s").c_str(), "%dx%d", &video.width, &video.height);
  std::sscanf(Value(from, L"-r").c_str(), "%d/%d", &video.rate, &video.rateBelow);
  const std::vector<char> sound = SoundFor(sources);
  video.soundBytes = static_cast<int>(sound.size());
  const FilePointer file = OpenUrl(to.url, L"wb");
  WriteHeader(file.get(), video);
  std::fwrite(sound.data(), 1, sound.size(), file.get());
  std::vector<char> frame(video.FrameBytes());
  std::size_t got = 0;
  while ((got = std::fread(frame.data(), 1, frame.size(), stdin)) == frame.size()) {
    std::fwrite(frame.data(), frame.size(), 1, file.get());
    ++video.frames;
    if (encoder == "dies") {
      TerminateProcess(GetCurrentProcess(), EXCEPTION_ACCESS_VIOLATION);
    }
    Sleep(encoder == "slow" ? 1000 : 0);
  }
  if (got != 0) {
    Fail("Error while decoding: a frame is cut short");
  }
  std::rewind(file.get());
  WriteHeader(file.get(), video);
  return std::fflush(file.get());
}

int Run(const std::vector<Wide>& words) {
  const std::vector<Source> sources = TakeApart(words);
  if constexpr (VELTRA_STAND_IN_PROBES) {
    return Probe(sources.front());
  }
  if (sources.front().options.count(L"-version") != 0) {
    std::puts("ffmpeg version stand-in");
    return 0;
  }
  if (sources.size() < 2) {
    Fail("At least one output file must be specified");
  }
  return sources.front().url == L"pipe:0" ? Encode(sources)
                                          : Decode(sources.front(), sources.back());
}

}  // namespace

int wmain(int count, wchar_t** values) {
  for (std::FILE* stream : {stdin, stdout, stderr}) {
    _setmode(_fileno(stream), _O_BINARY);
  }
  try {
    return Run({values + 1, values + count});
  } catch (const std::exception& error) {
    std::fflush(stdout);
    std::fprintf(stderr, "%s\n", error.what());
    return 1;
  }
}
