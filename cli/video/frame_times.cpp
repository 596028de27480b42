// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Counting packets and comparing their times with a constant rate.
#include "cli/video/frame_times.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <optional>

#include "base/error.h"
#include "base/text.h"
#include "cli/video/ffmpeg.h"

namespace veltra::cli {
namespace {

/// Containers that round times do so to a millisecond, or more finely.
constexpr double kCoarsestRounding = 0.001;

struct Packet {
  std::optional<double> seconds;
  bool shown = false;
};

Packet ParsePacket(std::string_view line) {
  Packet packet;
  const std::size_t size = line.find(',');
  const std::size_t flags = line.find(',', std::min(size, line.size() - 1) + 1);
  if (size == std::string_view::npos || flags == std::string_view::npos) {
    return packet;
  }
  double seconds = 0;
  if (std::from_chars(line.data(), line.data() + size, seconds).ec == std::errc()) {
    packet.seconds = seconds;
  }
  // An empty packet repeats the frame before it; D marks what an edit list cuts away.
  const bool empty = line.substr(size + 1, flags - size - 1) == "0";
  packet.shown = !empty && line.substr(flags + 1, 3).find('D') == std::string_view::npos;
  return packet;
}

bool IsConstant(const std::vector<double>& seconds, PF_RationalScale rate) {
  const double frame = static_cast<double>(rate.den) / rate.num;
  for (std::size_t i = 0; i < seconds.size(); ++i) {
    const double off = std::abs(seconds[i] - static_cast<double>(i) * frame);
    if (off >= frame / 2 + kCoarsestRounding) {
      return false;
    }
  }
  return true;
}

}  // namespace

FrameTimes TimesFromPackets(std::string_view lines, int told, PF_RationalScale rate) {
  constexpr int kMostFrames = 10000000;  // what a frame number can be
  FrameTimes times;
  int packets = 0;
  bool allTimed = true;
  while (!lines.empty() && packets < kMostFrames) {
    const std::size_t end = std::min(lines.find('\n'), lines.size());
    const std::string_view line = lines.substr(0, end);
    lines.remove_prefix(std::min(end + 1, lines.size()));
    if (line.empty()) {
      continue;
    }
    ++packets;
    const Packet packet = ParsePacket(line);
    if (packet.shown) {
      ++times.count;
      allTimed = allTimed && packet.seconds.has_value();
      times.seconds.push_back(packet.seconds.value_or(0));
    }
  }
  if (told > packets) {
    times.damage = Text("tells of ", Count(static_cast<std::size_t>(told), "frame"), " but has ",
                        packets, " (cut short or damaged)");
    times.count = std::max(times.count, told);
  }
  std::sort(times.seconds.begin(), times.seconds.end());
  const double first = times.seconds.empty() ? 0 : times.seconds.front();
  for (double& seconds : times.seconds) {
    seconds -= first;
  }
  // What is missing at the end of a damaged file leaves gaps that say nothing of its rate.
  if (!allTimed || !times.damage.empty() || IsConstant(times.seconds, rate)) {
    times.seconds.clear();
  }
  return times;
}

FrameTimes ReadFrameTimes(const std::string& path, int told, PF_RationalScale rate) {
  const std::unique_ptr<Process> process =
      StartFfmpeg({"ffprobe", "-v", "error", "-select_streams", "v:0", "-show_entries",
                   "packet=pts_time,size,flags", "-of", "csv=p=0", FileUrl(path)},
                  Process::Pipe::kFromChild);
  std::string lines;
  std::array<char, 1 << 16> block{};
  std::size_t got = 0;
  while ((got = process->Read(block.data(), block.size())) > 0) {
    lines.append(block.data(), got);
  }
  const ProcessEnd end = process->Finish();
  FrameTimes times = TimesFromPackets(lines, told, rate);
  const std::string complaint = ComplaintIn(end.output);
  if (times.damage.empty() && (!end.Succeeded() || !complaint.empty())) {
    times.damage = complaint.empty() ? "cannot be read to its end" : complaint;
    times.seconds.clear();
  }
  return times;
}

std::int64_t PlaceAtTime(const FrameTimes& times, double seconds) {
  const auto after =
      std::upper_bound(times.seconds.begin(), times.seconds.end(), seconds + kCoarsestRounding);
  return std::max<std::int64_t>(after - times.seconds.begin() - 1, 0);
}

}  // namespace veltra::cli
