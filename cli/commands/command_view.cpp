// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// `veltra view`: a flat picture, or a globe, out of a 360-degree frame, sequence or video.
#include <array>
#include <filesystem>
#include <memory>
#include <optional>
#include <utility>

#include "base/error.h"
#include "base/text.h"
#include "cli/commands/command_line.h"
#include "cli/commands/commands.h"
#include "cli/job/frame_sink.h"
#include "cli/job/frame_source.h"
#include "cli/job/progress.h"
#include "cli/job/schedule.h"
#include "cli/settings/options.h"
#include "cli/view/sphere_view.h"
#include "pictures/picture_world.h"
#include "system/interrupt.h"

namespace veltra::cli {
namespace {

/// What of render's options a view has too, with the same meaning.
constexpr std::array kShared = {
    "frame",        "output",        "channels",     "depth",   "frames",   "rate",
    "skip-missing", "resume",        "output-depth", "format",  "no-alpha", "compression",
    "jpeg-quality", "video-options", "no-clobber",   "threads", "quiet",    "progress"};

constexpr const char* kViewExamples =
    "examples:\n"
    "  veltra view -f pano.png -o ahead.png --yaw 30 --pitch -10 --fov 100\n"
    "  veltra view -f pano.png -o globe.png --globe --size 800x800\n"
    "  veltra view -f shot.mp4 -o flat.mp4 --size 1920x1080\n";

struct ViewJob {
  RenderOptions options;
  ViewSettings view;
};

void AddSharedOptions(CommandLine& commandLine, RenderOptions& options) {
  for (const char* name : kShared) {
    const OptionSpec& option = *FindOption(name);
    const auto apply = [&option, &options](const std::string& text) {
      try {
        option.apply(options, text);
      } catch (const UsageError& error) {
        throw UsageError(Text("--", option.name, ": ", error.what()));
      }
    };
    const std::string names = option.shortName[0] == '\0'
                                  ? Text("--", option.name)
                                  : Text("-", option.shortName, ",--", option.name);
    if (option.IsFlag()) {
      commandLine
          .Flag(
              names, [apply] { apply("on"); }, option.help)
          .Group(option.group);
    } else {
      commandLine.Option(names, apply, option.help)
          .LastCounts()
          .Type(option.placeholder)
          .Group(option.group);
    }
  }
}

double Angle(const char* name, const std::string& text, double least, double most) {
  try {
    const double angle = ParseNumber(text);
    if (angle >= least && angle <= most) {
      return angle;
    }
  } catch (const UsageError& error) {
    throw UsageError(Text("--", name, ": ", error.what()));
  }
  throw UsageError(Text("--", name, ": '", text, "' is out of range (expected ",
                        static_cast<int>(least), " to ", static_cast<int>(most), " degrees)"));
}

/// False when help was asked for.
bool ParseView(const Arguments& arguments, ViewJob& job) {
  CommandLine commandLine(
      "Shows a 360-degree frame as a camera in its middle sees it, or as a globe.", "veltra view");
  commandLine.Footer(kViewExamples);
  std::string yaw = "0";
  std::string pitch = "0";
  std::string fov;
  std::string size = "1280x720";
  const auto add = [&commandLine](const char* name, std::string& text, const char* kind,
                                  const char* help) {
    commandLine.Option(name, text, help).Type(kind).Group("View");
  };
  add("--yaw", yaw, "DEGREES", "to the right of the frame's centre, -360 to 360 (default 0)");
  add("--pitch", pitch, "DEGREES", "above the horizon, -90 to 90 (default 0)");
  add("--fov", fov, "DEGREES", "from the left edge to the right one, 1 to 170 (default 90)");
  add("--size", size, "WxH", "of the view (default 1280x720)");
  commandLine.Flag("--globe", job.view.globe, "the frame on a ball, seen from outside")
      .Group("View");
  AddSharedOptions(commandLine, job.options);
  if (!commandLine.Read(arguments)) {
    return false;
  }
  if (job.view.globe && !fov.empty()) {
    throw UsageError("--fov: a globe is seen from far away (leave out --fov or --globe)");
  }
  constexpr double kTurn = 360;
  constexpr double kPole = 90;
  constexpr double kNarrowest = 1;
  constexpr double kWidest = 170;
  job.view.yaw = Angle("yaw", yaw, -kTurn, kTurn);
  job.view.pitch = Angle("pitch", pitch, -kPole, kPole);
  job.view.fov = fov.empty() ? job.view.fov : Angle("fov", fov, kNarrowest, kWidest);
  try {
    const PictureSize parsed = ParseSize(size);
    job.view.width = parsed.width;
    job.view.height = parsed.height;
  } catch (const UsageError& error) {
    throw UsageError(Text("--size: ", error.what()));
  }
  if (job.options.frame.empty()) {
    throw UsageError("a view of what? (give --frame)");
  }
  if (job.options.output.empty()) {
    throw UsageError("where to? (give --output)");
  }
  return true;
}

PF_RationalScale RateOf(const RenderOptions& options, const VideoInfo* video) {
  if (video != nullptr && !video->times.seconds.empty() && !options.rate) {
    throw UsageError(Text(video->path, ": its frames come at varying times (give --rate)"));
  }
  return options.rate.value_or(video != nullptr ? video->rate : PF_RationalScale{24, 1});
}

JobFiles OpenFiles(const RenderOptions& options) {
  JobFiles files;
  files.output = OutputMedia(options.output);
  JobInput& frame = files.frame.emplace();
  frame.media = InputMedia(options.frame);
  frame.source = OpenSource(frame.media, {options.channels});
  const VideoInfo* video = frame.source->Video();
  if (video != nullptr && !video->times.damage.empty()) {
    throw RenderError(Text(video->path, ": ", video->times.damage));
  }
  frame.source->SetTiming({false, {}, RateOf(options, video)});
  return files;
}

/// One frame after the other; all threads draw the same one.
class ViewRun {
 public:
  explicit ViewRun(const ViewJob& job)
      : job_(job),
        files_(OpenFiles(job.options)),
        source_(*files_.frame->source),
        rate_(RateOf(job.options, source_.Video())),
        sink_(MakeSink(files_.output, job.options)),
        schedule_(job.options, files_),
        pool_(ThreadsOf(job.options)) {}

  void Run() {
    schedule_.CheckOutputs(job_.options, files_.output);
    const std::size_t all = schedule_.Numbers().size() + schedule_.LeftOut();
    Progress progress(job_.options, static_cast<int>(all));
    if (!schedule_.Numbers().empty()) {
      for (const std::string& line : schedule_.CheckInputs(job_.options, files_)) {
        progress.Warn(line);
      }
      Prepare();
      progress.Skip(static_cast<int>(schedule_.LeftOut()));
      while (RenderNext(progress)) {
      }
      for (const std::string& line : sink_->Finish()) {
        progress.Warn(line);
      }
    }
    progress.Finish(job_.options.output);
  }

 private:
  void Prepare() {
    pictures::SetPictureThreads(ThreadsOf(job_.options));
    const pictures::PictureInfo first = source_.Look(schedule_.Numbers().front());
    const host::Depth depth = job_.options.depth.value_or(pictures::DepthOf(first));
    if (source_.Video() != nullptr) {
      video_.emplace(*source_.Video()).spherical = {};  // a flat picture is no sphere any more
    }
    sink_->Prepare({depth, rate_, schedule_.Numbers(), video_ ? &*video_ : nullptr, &pool_}, first);
    source_.Prepare({depth, 1, {1, 1}, schedule_.Numbers().size() > 1, &pool_});
  }

  bool RenderNext(Progress& progress) {
    ThrowIfInterrupted();
    const std::optional<Schedule::Turn> turn = schedule_.Next();
    const auto picture = turn ? source_.Take(turn->number) : nullptr;
    if (picture == nullptr) {
      if (turn && !schedule_.HasOpenEnd()) {
        throw RenderError(Text(files_.frame->media.Name(), ": has no frame ", turn->number));
      }
      return false;
    }
    schedule_.Advance();
    const SharedWorld frame = picture->Read();
    pictures::PictureInfo info = picture->Info();
    info.metadata.KeepForPart();
    for (const std::string& warning : info.warnings) {
      if (std::exchange(lastWarning_, warning) != warning) {
        progress.Warn(Text(files_.frame->media.Name(), ": ", warning));
      }
    }
    const host::World view = DrawView(*frame, job_.view, pool_);
    progress.FrameDone(turn->number, sink_->Write({turn->index, turn->number, info}, view));
    return true;
  }

  const ViewJob& job_;
  JobFiles files_;
  FrameSource& source_;
  PF_RationalScale rate_;
  std::unique_ptr<FrameSink> sink_;
  Schedule schedule_;
  host::ThreadPool pool_;
  std::optional<VideoInfo> video_;
  std::string lastWarning_;
};

}  // namespace

int RunView(const Arguments& arguments) {
  ViewJob job;
  if (ParseView(arguments, job)) {
    CatchInterrupts();
    ViewRun(job).Run();
  }
  return kExitDone;
}

}  // namespace veltra::cli
