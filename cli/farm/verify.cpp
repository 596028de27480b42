// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Decodes pictures to see whether they are whole.
#include "cli/farm/verify.h"

#include <algorithm>
#include <cstdlib>
#include <exception>
#include <iterator>
#include <mutex>
#include <new>

#include "base/error.h"
#include "base/text.h"
#include "cli/video/ffmpeg.h"
#include "host/base/thread_pool.h"
#include "pictures/bytes/file_source.h"
#include "pictures/picture_world.h"
#include "system/files.h"
#include "system/interrupt.h"

namespace veltra::cli {

std::string PictureTrouble(const std::string& path, const ExpectedPicture& expected) {
  try {
    const std::unique_ptr<pictures::ByteSource> source = pictures::OpenFileSource(path);
    const std::unique_ptr<pictures::PictureReader> reader = pictures::OpenPicture(*source);
    const pictures::PictureInfo& info = reader->Info();
    if (info.width != expected.width || info.height != expected.height) {
      return Text(info.width, " x ", info.height, " pixels (expected ", expected.width, " x ",
                  expected.height, ")");
    }
    if (info.stored != expected.stored) {
      return Text(pictures::SampleTypeName(info.stored), " samples (expected ",
                  pictures::SampleTypeName(expected.stored), ")");
    }
    static_cast<void>(pictures::ReadWorld(*reader, pictures::DepthOf(info), nullptr));
    return "";
  } catch (const RenderError& error) {
    return error.what();
  } catch (const std::bad_alloc&) {
    return "not enough memory to look at it";
  } catch (const std::exception& error) {
    return error.what();
  }
}

std::string VideoTrouble(const std::string& path, std::size_t frames) {
  try {
    const std::string counted = FfmpegOutput(
        {"ffprobe", "-v", "error", "-count_frames", "-select_streams", "v:0", "-show_entries",
         "stream=nb_read_frames", "-of", "default=nokey=1:noprint_wrappers=1", FileUrl(path)},
        path);
    const std::size_t found = std::strtoull(counted.c_str(), nullptr, 10);
    return found == frames ? "" : Text(Count(found, "frame"), " (expected ", frames, ")");
  } catch (const RenderError& error) {
    return error.what();
  }
}

Verified FindFrames(const FileName& name, const std::vector<int>& numbers) {
  // The folder may hold a million frames of which a task made a few.
  constexpr std::size_t kFew = 1000;
  std::vector<int> onDisk;
  if (numbers.size() > kFew) {
    onDisk = FramesOnDisk(name);
  } else {
    std::copy_if(numbers.begin(), numbers.end(), std::back_inserter(onDisk),
                 [&name](int number) { return StatusOf(name.At(number)).kind == FileKind::kFile; });
  }
  Verified found;
  for (const int number : numbers) {
    if (std::binary_search(onDisk.begin(), onDisk.end(), number)) {
      ++found.whole;
    } else {
      found.missing.push_back(number);
    }
  }
  return found;
}

Verified VerifyFrames(const FileName& name, const std::vector<int>& numbers,
                      const ExpectedPicture& expected, int threads,
                      const std::function<void()>& onFrame) {
  Verified verified = FindFrames(name, numbers);
  std::vector<int> there;
  std::set_difference(numbers.begin(), numbers.end(), verified.missing.begin(),
                      verified.missing.end(), std::back_inserter(there));
  std::mutex mutex;
  host::ThreadPool pool(threads);
  pool.ForEach(static_cast<int>(there.size()), [&](int index) {
    if (InterruptFlag()) {
      return;
    }
    const int number = there[static_cast<std::size_t>(index)];
    const std::string trouble = PictureTrouble(name.At(number), expected);
    const std::lock_guard lock(mutex);
    if (!trouble.empty()) {
      --verified.whole;
      verified.damaged[number] = trouble;
    }
    onFrame();
  });
  ThrowIfInterrupted();
  return verified;
}

}  // namespace veltra::cli
