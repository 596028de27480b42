// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Fuzzes every reader of a value on the command line.

#include <algorithm>
#include <string>
#include <vector>

#include "base/error.h"
#include "cli/job/sequence.h"
#include "cli/settings/controls.h"
#include "cli/settings/options.h"
#include "cli/settings/values.h"
#include "fuzz/byte_reader.h"

namespace veltra::fuzz {
namespace {

constexpr int kMostRun = 1000;

void TryNumbers(std::string_view text) {
  Expect(std::abs(cli::ParseInteger(text, -5, 5)) <= 5, "an integer out of range was accepted");
}

void TryFixed(std::string_view text) {
  const PF_Fixed fixed = cli::ParseFixed(text);
  Expect(cli::ParseFixed(cli::FixedText(fixed)) == fixed, "16.16 does not survive its text");
}

void TrySize(std::string_view text) {
  const cli::PictureSize size = cli::ParseSize(text);
  Expect(size.width > 0 && size.height > 0 && size.width <= kHostMaxWorldSide &&
             size.height <= kHostMaxWorldSide,
         "an impossible size was accepted");
}

void TryRegion(std::string_view text) {
  const PF_LRect region = cli::ParseRegion(text);
  Expect(region.left < region.right && region.top < region.bottom, "an empty region was accepted");
}

void TryRatio(std::string_view text) {
  const PF_RationalScale ratio = cli::ParseRatio(text);
  Expect(ratio.num > 0 && ratio.den > 0, "a ratio that is not positive was accepted");
}

void TryPoint(std::string_view text) {
  const cli::PointText point = cli::ParsePoint(text);
  for (const int side : {1, 2048, kHostMaxWorldSide}) {
    try {
      point.ColumnOf(side);
      point.RowOf(side);
    } catch (const UsageError&) {
    }
  }
}

void TryFrames(std::string_view text) {
  const cli::FrameList list = cli::ParseFrames(text);
  int last = 0;
  for (const cli::FrameRange& range : list.ranges) {
    Expect(range.first >= 0 && range.last >= range.first && range.step >= 1,
           "an impossible frame range was accepted");
    last = std::max(last, range.last);
  }
  if (last < kMostRun && list.ranges.size() < kMostRun) {
    const std::vector<int> numbers = list.Numbers();
    Expect(!numbers.empty() && numbers.back() <= last, "frames outside their ranges");
    cli::NumbersText(numbers);
  }
}

void TryFileName(std::string_view text) {
  const cli::FileName name{std::string(text)};
  Expect(name.At(7) == cli::FileName(name).At(7), "a file name that changes");
  Expect(name.IsSequence() || name.At(1) == name.At(2), "a still with two names");
}

void TrySwitch(std::string_view text) {
  cli::ParseSwitch(text);
}

void TryNumber(std::string_view text) {
  const double number = cli::ParseNumber(text);
  Expect(number - number == 0.0, "a number that is not finite was accepted");
}

/// One control of each type, as an effect might declare it.
std::vector<host::ControlDeclaration> Declarations() {
  std::vector<host::ControlDeclaration> all(5);
  all[0].type = PF_Param_LAYER;
  all[1].type = PF_Param_POINT;
  all[2].type = PF_Param_POPUP;
  all[2].choices = {"Stretch", "Tile", "Solo"};
  all[3].type = PF_Param_FIX_SLIDER;
  all[3].validMin = -10000 * 65536;
  all[3].validMax = 10000 * 65536;
  all[4].type = PF_Param_CHECKBOX;
  return all;
}

void TryControl(std::string_view text) {
  static const std::vector<host::ControlDeclaration> declarations = Declarations();
  for (const host::ControlDeclaration& declaration : declarations) {
    try {
      const cli::ControlSetting setting = cli::ParseControl(declaration, text);
      setting.OnFrame(1, 1);
      setting.OnFrame(kHostMaxWorldSide, kHostMaxWorldSide);
      if (declaration.type == PF_Param_FIX_SLIDER) {
        Expect(setting.value >= declaration.validMin && setting.value <= declaration.validMax,
               "a slider value out of range was accepted");
      }
    } catch (const UsageError&) {
    }
  }
}

void TryOptions(std::string_view text) {
  for (const cli::OptionSpec& spec : cli::RenderOptionSpecs()) {
    cli::RenderOptions options;
    try {
      spec.apply(options, text);
    } catch (const UsageError&) {
    }
  }
}

constexpr void (*kReaders[])(std::string_view) = {TryNumbers, TryFixed,  TrySize,    TryRegion,
                                                  TryRatio,   TryPoint,  TryFrames,  TryFileName,
                                                  TrySwitch,  TryNumber, TryControl, TryOptions};

}  // namespace
}  // namespace veltra::fuzz

/// The first byte picks the reader, the rest is the text.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace veltra;
  if (size == 0) {
    return 0;
  }
  const std::string text(data + 1, data + size);
  try {
    fuzz::kReaders[data[0] % std::size(fuzz::kReaders)](text);
  } catch (const UsageError&) {
  }
  return 0;
}
