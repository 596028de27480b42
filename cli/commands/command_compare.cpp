// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// `veltra compare`: how two pictures, sequences or videos differ.
#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <memory>
#include <optional>

#include "base/error.h"
#include "base/print.h"
#include "base/text.h"
#include "cli/commands/command_line.h"
#include "cli/commands/commands.h"
#include "cli/compare/picture_difference.h"
#include "cli/job/frame_source.h"
#include "cli/job/media.h"
#include "cli/settings/values.h"
#include "pictures/output_file.h"
#include "pictures/picture_world.h"
#include "system/interrupt.h"

namespace veltra::cli {
namespace {

constexpr const char* kCompareExamples =
    "Exits with 0 when no channel differs by more than the threshold, with 1 otherwise.\n"
    "\n"
    "examples:\n"
    "  veltra compare a.png b.png\n"
    "  veltra compare a.####.exr b.####.exr --threshold 0.001\n"
    "  veltra compare a.tif b.png --threshold 1/255 --difference difference.png\n";

struct CompareJob {
  std::string first;
  std::string second;
  double threshold = 0;
  std::optional<FrameList> frames;
  std::string difference;
  std::optional<double> gain;
};

/// A share of full scale: "0.004" or "1/255".
double ParseShare(const std::string& text) {
  const std::size_t slash = text.find('/');
  if (slash == std::string::npos) {
    return ParseNumber(text);
  }
  const double divisor = ParseNumber(text.substr(slash + 1));
  if (!(divisor > 0)) {
    ThrowNotA(text, "a share", "a number such as 0.004 or 1/255");
  }
  return ParseNumber(text.substr(0, slash)) / divisor;
}

template <class Parse>
auto Option(const char* name, const std::string& text, const Parse& parse) {
  try {
    return parse(text);
  } catch (const UsageError& error) {
    throw UsageError(Text(name, ": ", error.what()));
  }
}

bool ParseCompare(const Arguments& arguments, CompareJob& job) {
  CommandLine commandLine("Tells how two pictures, sequences or videos differ.", "veltra compare");
  commandLine.Footer(kCompareExamples);
  std::string threshold = "0";
  std::string frames;
  std::string gain;
  commandLine.Option("a", job.first, "a picture, a sequence or a video").Type("A");
  commandLine.Option("b", job.second, "what it is compared with").Type("B");
  commandLine.Option("--threshold", threshold, "how much a channel may differ; 1 is full scale (0)")
      .Type("N");
  commandLine.Option("--frames", frames, "these frames only: 12, 1-240 or 1-240x2").Type("RANGE");
  commandLine.Option("--difference", job.difference, "a picture, or sequence, of the differences")
      .Type("FILE");
  commandLine
      .Option("--gain", gain,
              "how much brighter differences are shown (default: the worst is white)")
      .Type("N");
  if (!commandLine.Read(arguments)) {
    return false;
  }
  if (job.first.empty() || job.second.empty()) {
    throw UsageError("compare what? (give two pictures, sequences or videos)");
  }
  job.threshold = Option("--threshold", threshold, ParseShare);
  if (job.threshold < 0) {
    throw UsageError("--threshold: cannot be less than 0");
  }
  if (!frames.empty()) {
    job.frames = Option("--frames", frames, ParseFrames);
  }
  if (!gain.empty()) {
    job.gain = Option("--gain", gain, ParseNumber);
  }
  return true;
}

std::string Number(double value, std::chars_format format, int digits) {
  std::array<char, 64> text{};
  const auto end = std::to_chars(text.data(), text.data() + text.size(), value, format, digits).ptr;
  return {text.data(), end};
}

/// Six digits that count.
std::string Short(double value) {
  constexpr int kDigits = 6;
  return Number(value, std::chars_format::general, kDigits);
}

/// A pixel in the unit of the files: 0..255 or 0..65535 where both are such, otherwise 0..1.
std::string PixelText(const std::array<double, 4>& pixel, double scale) {
  std::string text;
  for (const double channel : pixel) {
    text +=
        Text(text.empty() ? "" : " ",
             scale == 1 ? Short(channel) : Number(channel * scale, std::chars_format::fixed, 0));
  }
  return text;
}

double ScaleOf(const pictures::PictureInfo& a, const pictures::PictureInfo& b) {
  constexpr double kFull8 = 255;
  constexpr double kFull16 = 65535;
  if (a.stored != b.stored || pictures::IsFloat(a.stored)) {
    return 1;
  }
  return a.stored == pictures::SampleType::kUint8 ? kFull8 : kFull16;
}

class CompareRun {
 public:
  explicit CompareRun(const CompareJob& job)
      : job_(job), a_(InputMedia(job.first)), b_(InputMedia(job.second)) {
    if ((a_.kind == MediaKind::kStill) != (b_.kind == MediaKind::kStill)) {
      throw UsageError(
          Text(job.first, " and ", job.second,
               ": one is a still and the other has frames (give the name of a frame)"));
    }
    const bool many = a_.kind != MediaKind::kStill;
    difference_ = OutputMedia(job.difference);
    if (!job.difference.empty()) {
      if (difference_.kind == MediaKind::kVideo) {
        throw UsageError("--difference: a picture or a sequence, not a video");
      }
      if (many != (difference_.kind == MediaKind::kSequence)) {
        throw UsageError(many ? "--difference: needs a place for the number (name.####.png)"
                              : "--difference: one picture needs no place for a number");
      }
      format_ = pictures::WritableFormatOf(job.difference);
    }
    first_ = OpenSource(a_, {});
    second_ = OpenSource(b_, {});
    const VideoInfo* video = first_->Video();
    const PF_RationalScale rate = video != nullptr ? video->rate : PF_RationalScale{24, 1};
    first_->SetTiming({false, {}, rate});
    second_->SetTiming({false, {}, rate});
    const SourceSettings settings{host::Depth::kFloat, 1, {1, 1}, false, &pool_};
    first_->Prepare(settings);
    second_->Prepare(settings);
  }

  /// Whether all frames are within the threshold.
  bool Run() {
    if (a_.kind == MediaKind::kStill) {
      CompareFrame(0);
      return failed_ == 0;
    }
    const std::vector<int> numbers = Numbers();
    int frame = 1;
    if (!numbers.empty()) {
      for (const int number : numbers) {
        if (!CompareFrame(number)) {
          throw RenderError(Text("neither has a frame ", number));
        }
      }
    } else {
      while (CompareFrame(frame)) {
        ++frame;
      }
    }
    Print(stdout, Count(compared_, "frame"), ", ", failed_ == 0 ? "none" : Text(failed_),
          " beyond the threshold",
          compared_ > 0 ? Text(", worst ", Short(worst_), " in frame ", worstFrame_) : "", "\n");
    return failed_ == 0;
  }

 private:
  /// The frames to compare; none for videos, which go on until both end.
  std::vector<int> Numbers() const {
    if (job_.frames) {
      return job_.frames->Numbers();
    }
    const bool aCounts = a_.kind == MediaKind::kSequence;
    const bool bCounts = b_.kind == MediaKind::kSequence;
    std::vector<int> numbers = aCounts ? FramesOnDisk(a_.name) : std::vector<int>();
    const std::vector<int> others = bCounts ? FramesOnDisk(b_.name) : std::vector<int>();
    if ((aCounts && numbers.empty()) || (bCounts && others.empty())) {
      throw RenderError(
          Text(aCounts && numbers.empty() ? a_.Name() : b_.Name(), ": no such files"));
    }
    // A frame that one alone has is missed in the other.
    numbers.insert(numbers.end(), others.begin(), others.end());
    std::sort(numbers.begin(), numbers.end());
    numbers.erase(std::unique(numbers.begin(), numbers.end()), numbers.end());
    return numbers;
  }

  /// False when both have ended.
  bool CompareFrame(int number) {
    ThrowIfInterrupted();
    const auto a = first_->Take(number);
    const auto b = second_->Take(number);
    if (a == nullptr || b == nullptr) {
      if (a == nullptr && b == nullptr) {
        return false;
      }
      throw RenderError(Text(a == nullptr ? job_.first : job_.second, ": has no frame ", number,
                             ", which the other one has"));
    }
    const std::string nameA = a_.At(number);
    const std::string nameB = b_.At(number);
    if (a->Info().width != b->Info().width || a->Info().height != b->Info().height) {
      throw RenderError(Text(nameB, ": ", b->Info().width, "x", b->Info().height, ", but ", nameA,
                             " is ", a->Info().width, "x", a->Info().height));
    }
    const SharedWorld worldA = a->Read();
    const SharedWorld worldB = b->Read();
    const PictureDifference difference = CompareWorlds(*worldA, *worldB);
    Report(number, nameA, nameB, difference, ScaleOf(a->Info(), b->Info()));
    if (!job_.difference.empty()) {
      WriteDifference(number, *worldA, *worldB, difference.worst);
    }
    return true;
  }

  void Report(int number, const std::string& nameA, const std::string& nameB,
              const PictureDifference& difference, double scale) {
    ++compared_;
    failed_ += difference.worst > job_.threshold ? 1U : 0U;
    if (compared_ == 1 || difference.worst > worst_) {
      worst_ = difference.worst;
      worstFrame_ = number;
    }
    const std::string frame = a_.kind == MediaKind::kVideo ? Text(" frame ", number) : "";
    if (difference.pixels == 0) {
      Print(stdout, nameA, " and ", nameB, frame, ": equal\n");
      return;
    }
    Print(stdout, nameA, " and ", nameB, frame, ": worst ", Short(difference.worst), " at ",
          difference.x, ",", difference.y, " (", PixelText(difference.first, scale), " and ",
          PixelText(difference.second, scale), "), ", Count(difference.pixels, "pixel"), ", PSNR ",
          Number(difference.Psnr(), std::chars_format::fixed, 2), " dB\n");
  }

  void WriteDifference(int number, const host::World& a, const host::World& b, double worst) {
    const bool known = worst > 0 && std::isfinite(worst);
    const host::World picture = DifferencePicture(a, b, job_.gain.value_or(known ? 1 / worst : 1));
    pictures::PictureOptions options;
    options.format = format_;
    options.stored = pictures::WritableTypes(format_).front();
    options.alpha = false;
    pictures::OutputFile file(difference_.At(number));
    pictures::WriteWorld(picture, file, options, &pool_);
    file.Commit();
  }

  const CompareJob& job_;
  Media a_;
  Media b_;
  Media difference_;
  pictures::PictureFormat format_ = pictures::PictureFormat::kPng;
  host::ThreadPool pool_;
  std::unique_ptr<FrameSource> first_;
  std::unique_ptr<FrameSource> second_;
  std::size_t compared_ = 0;
  std::size_t failed_ = 0;
  double worst_ = 0;
  int worstFrame_ = 0;
};

}  // namespace

int RunCompare(const Arguments& arguments) {
  CompareJob job;
  if (!ParseCompare(arguments, job)) {
    return kExitDone;
  }
  CatchInterrupts();
  return CompareRun(job).Run() ? kExitDone : kExitFailed;
}

}  // namespace veltra::cli
