// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Tables of containers and encoders, and the choice among them.
#include "cli/video/encoding.h"

#include <algorithm>
#include <array>
#include <sstream>
#include <tuple>
#include <utility>

#include "base/error.h"
#include "base/text.h"
#include "cli/video/ffmpeg.h"

namespace veltra::cli {
namespace {

Words Split(std::string_view text) {
  std::istringstream stream{std::string(text)};
  Words words;
  for (std::string word; stream >> word;) {
    words.push_back(word);
  }
  return words;
}

// ---- Encoders ----

struct Encoder {
  std::string_view name;
  std::string_view rate;  ///< only where no other is asked for: encoders do not take the later one
  std::string_view options;
};

/// The rates are those at which a grid of fine lines shows no difference at normal size.
constexpr std::array<Encoder, 7> kEncoders = {{
    {"libx264", "-crf 17", "-preset medium"},
    {"libx265", "-crf 17", "-preset medium"},
    {"libvpx-vp9", "-crf 20", "-b:v 0 -row-mt 1"},
    {"prores_ks", "", ""},
    {"dnxhd", "", ""},
    {"mpeg2video", "-q:v 2", "-bf 2"},
    {"ffv1", "", "-level 3"},
}};

struct Row {
  std::string_view encoder;
  std::string_view pixelFormat;
  std::string_view options;
};

/// What each encoder can take.
constexpr std::array kRows = {
    Row{"libx264", "yuv420p", ""},
    Row{"libx264", "yuv422p", ""},
    Row{"libx264", "yuv444p", ""},
    Row{"libx264", "yuv420p10le", ""},
    Row{"libx264", "yuv422p10le", ""},
    Row{"libx264", "yuv444p10le", ""},
    Row{"libx265", "yuv420p", ""},
    Row{"libx265", "yuv422p", ""},
    Row{"libx265", "yuv444p", ""},
    Row{"libx265", "yuv420p10le", ""},
    Row{"libx265", "yuv422p10le", ""},
    Row{"libx265", "yuv444p10le", ""},
    Row{"libx265", "yuv420p12le", ""},
    Row{"libx265", "yuv422p12le", ""},
    Row{"libx265", "yuv444p12le", ""},
    Row{"libvpx-vp9", "yuv420p", ""},
    Row{"libvpx-vp9", "yuva420p", "-auto-alt-ref 0"},
    Row{"libvpx-vp9", "yuv422p", ""},
    Row{"libvpx-vp9", "yuv444p", ""},
    Row{"libvpx-vp9", "yuv420p10le", ""},
    Row{"libvpx-vp9", "yuv422p10le", ""},
    Row{"libvpx-vp9", "yuv444p10le", ""},
    Row{"libvpx-vp9", "yuv420p12le", ""},
    Row{"libvpx-vp9", "yuv422p12le", ""},
    Row{"libvpx-vp9", "yuv444p12le", ""},
    Row{"prores_ks", "yuv422p10le", "-profile:v hq"},
    Row{"prores_ks", "yuv444p10le", "-profile:v 4444"},
    Row{"prores_ks", "yuva444p10le", "-profile:v 4444 -alpha_bits 16"},
    Row{"dnxhd", "yuv422p", "-profile:v dnxhr_hq"},
    Row{"dnxhd", "yuv422p10le", "-profile:v dnxhr_hqx"},
    Row{"dnxhd", "yuv444p10le", "-profile:v dnxhr_444"},
    Row{"mpeg2video", "yuv420p", ""},
    Row{"mpeg2video", "yuv422p", ""},
    Row{"ffv1", "yuv420p", ""},
    Row{"ffv1", "yuv422p", ""},
    Row{"ffv1", "yuv444p", ""},
    Row{"ffv1", "yuv420p10le", ""},
    Row{"ffv1", "yuv422p10le", ""},
    Row{"ffv1", "yuv444p10le", ""},
    Row{"ffv1", "yuv420p16le", ""},
    Row{"ffv1", "yuv422p16le", ""},
    Row{"ffv1", "yuv444p16le", ""},
    Row{"ffv1", "yuva420p", ""},
    Row{"ffv1", "yuva422p", ""},
    Row{"ffv1", "yuva444p", ""},
    Row{"ffv1", "yuva444p16le", ""},
};

/// Less is better: first what would be lost of what is wanted, then what would be stored for
/// nothing. Sides that do not fit the colour's halved resolution make a format impossible.
auto Cost(const PixelFormat& has, const EncodingRequest& request) {
  const PixelFormat& wanted = request.wanted;
  const bool fits =
      has.chroma == Chroma::k444 ||
      (request.width % 2 == 0 && (has.chroma == Chroma::k422 || request.height % 2 == 0));
  const auto missing = [](int want, int have) { return std::max(want - have, 0); };
  const auto chroma = [](const PixelFormat& format) { return static_cast<int>(format.chroma); };
  return std::tuple(!fits, wanted.alpha && !has.alpha, missing(wanted.bits, has.bits),
                    missing(chroma(wanted), chroma(has)), has.alpha && !wanted.alpha,
                    missing(has.bits, wanted.bits), missing(chroma(has), chroma(wanted)));
}

const Row* BestRow(std::string_view encoder, const EncodingRequest& request) {
  const Row* best = nullptr;
  for (const Row& row : kRows) {
    if (row.encoder == encoder &&
        (best == nullptr || Cost(FormatNamed(row.pixelFormat), request) <
                                Cost(FormatNamed(best->pixelFormat), request))) {
      best = &row;
    }
  }
  return best;
}

/// What to offer to an encoder that is in no table.
std::string NameOf(const EncodingRequest& request) {
  EncodingRequest even = request;
  even.wanted.bits = std::min(even.wanted.bits, 10);
  return std::string(BestRow("ffv1", even)->pixelFormat);
}

// ---- Containers ----

struct Container {
  std::string_view extensions;
  std::string_view encoder;
  std::string_view alphaEncoder;  ///< where the frames have alpha; empty where none keeps it
  std::string_view options;
  std::string_view fittingSound;  ///< codecs that are copied; "*" for all
  std::string_view soundOptions;  ///< for all others
  std::string_view soundName;
};

constexpr std::array kContainers = {
    Container{".mp4 .m4v", "libx264", "", "", "aac mp3 mp2 ac3 eac3 alac opus", "aac -b:a 320k",
              "aac"},
    Container{".mov", "libx264", "prores_ks", "",
              "aac mp3 ac3 eac3 alac pcm_s16le pcm_s24le pcm_s32le pcm_s16be pcm_s24be pcm_s32be "
              "pcm_f32le pcm_f64le",
              "pcm_s24le", "24-bit PCM"},
    Container{".mkv", "libx264", "", "", "*", "flac", "flac"},
    Container{".webm", "libvpx-vp9", "libvpx-vp9", "", "opus vorbis", "libopus -b:a 256k", "opus"},
    // What shows the frames of an AVI out of order does so for B-frames.
    Container{".avi", "libx264", "", "-bf 0", "mp3 mp2 ac3 pcm_u8 pcm_s16le pcm_s24le", "pcm_s16le",
              "16-bit PCM"},
    // The muxer named after this ending writes streams for MPEG-1.
    Container{".mpg", "mpeg2video", "", "-f vob", "mp2 mp3 ac3", "ac3 -b:a 640k", "ac3"},
    Container{".mxf", "dnxhd", "", "", "", "pcm_s24le -ar 48000", "24-bit PCM at 48 kHz"},
};

bool HasWord(std::string_view list, std::string_view word) {
  const Words words = Split(list);
  return std::find(words.begin(), words.end(), word) != words.end();
}

const Container& ContainerOf(std::string_view extension) {
  const auto* const found = std::find_if(
      kContainers.begin(), kContainers.end(),
      [extension](const Container& container) { return HasWord(container.extensions, extension); });
  return found != kContainers.end() ? *found : kContainers.front();
}

void ChooseSound(const Container& container, const std::vector<SoundStream>& streams,
                 Encoding& encoding) {
  encoding.sound = {"-c:a", "copy"};
  for (std::size_t i = 0; i < streams.size(); ++i) {
    const std::string& codec = streams[i].codec;
    if (container.fittingSound == "*" || HasWord(container.fittingSound, codec)) {
      continue;
    }
    Words options = Split(container.soundOptions);
    encoding.sound.insert(encoding.sound.end(), {Text("-c:a:", i), options.front()});
    for (std::size_t j = 1; j < options.size(); j += 2) {
      // "-b:a 320k" of this stream alone.
      const std::string name = options[j].substr(0, options[j].find(':'));
      encoding.sound.insert(encoding.sound.end(), {Text(name, ":a:", i), options[j + 1]});
    }
    constexpr int kFittingRate = 48000;  // the only one of the container that copies nothing
    if (codec != options.front() || streams[i].rate != kFittingRate) {
      encoding.conversions.push_back(Text(codec, " to ", container.soundName));
    }
  }
}

/// Whether an option of ffmpeg tells the bits or the quality of a picture.
bool ChoosesRate(std::string_view option) {
  constexpr std::array kOptions = {"-crf", "-qp", "-cqp",    "-b",
                                   "-vb",  "-q",  "-qscale", "-lossless"};
  const std::string_view name = option.substr(0, option.find(':'));
  const std::string_view stream = option.substr(name.size());
  return !stream.starts_with(":a") &&
         std::any_of(kOptions.begin(), kOptions.end(),
                     [name](std::string_view known) { return name == known; });
}

}  // namespace

bool KeepsAlpha(std::string_view extension) {
  return !ContainerOf(extension).alphaEncoder.empty();
}

EncoderWish ReadEncoderWish(const std::string& text) {
  EncoderWish wish;
  const Words words = Split(text);
  for (std::size_t i = 0; i < words.size(); ++i) {
    const std::string& word = words[i];
    const std::string value = i + 1 < words.size() ? words[i + 1] : "";
    const bool filter = word == "-vf" || word == "-filter:v" || word == "-filter:v:0";
    if (filter && i + 1 < words.size()) {
      wish.filter = value;
      ++i;
      continue;
    }
    if (word == "-c:v" || word == "-codec:v" || word == "-vcodec" || word == "-c:v:0") {
      wish.encoder = value;
    }
    if (word == "-pix_fmt" || word == "-pix_fmt:v") {
      wish.pixelFormat = value;
    }
    wish.ownRate = wish.ownRate || ChoosesRate(word);
    wish.ownFormat = wish.ownFormat || word == "-f";
    wish.ownSound = wish.ownSound || word == "-an" || word == "-acodec" ||
                    word.starts_with("-c:a") || word.starts_with("-codec:a") || word == "-c" ||
                    word == "-codec";
    const std::array<std::pair<const char*, std::string*>, 4> tags = {
        {{"-colorspace", &wish.colours.matrix},
         {"-color_primaries", &wish.colours.primaries},
         {"-color_trc", &wish.colours.transfer},
         {"-color_range", &wish.colours.range}}};
    for (const auto& [option, tag] : tags) {
      if (word == option || word == Text(option, ":v")) {
        *tag = value;
      }
    }
    wish.words.push_back(word);
  }
  return wish;
}

Encoding ChooseEncoding(const EncodingRequest& request, const EncoderWish& wish) {
  const Container& container = ContainerOf(request.extension);
  Encoding encoding;
  const std::string_view name = !wish.encoder.empty() ? std::string_view(wish.encoder)
                                : request.wanted.alpha && !container.alphaEncoder.empty()
                                    ? container.alphaEncoder
                                    : container.encoder;
  constexpr int kLeastDnxWidth = 256;
  constexpr int kLeastDnxHeight = 120;
  if (name == "dnxhd" && (request.width < kLeastDnxWidth || request.height < kLeastDnxHeight)) {
    throw RenderError(Text("frames of ", request.width, "x", request.height,
                           " are too small for this kind of video (at least ", kLeastDnxWidth, "x",
                           kLeastDnxHeight, ")"));
  }
  encoding.video = {"-c:v", std::string(name)};
  encoding.impliesBt709 = name == "dnxhd";
  for (const Encoder& encoder : kEncoders) {
    if (encoder.name == name) {
      if (!wish.ownRate) {
        Append(encoding.video, Split(encoder.rate));
      }
      Append(encoding.video, Split(encoder.options));
    }
  }
  if (!wish.ownFormat || container.options.substr(0, 2) != "-f") {
    Append(encoding.video, Split(container.options));
  }
  const Row* row = BestRow(name, request);
  if (!wish.pixelFormat.empty()) {
    encoding.written = FormatNamed(wish.pixelFormat);
  } else if (row != nullptr) {
    encoding.pixelFormat = row->pixelFormat;
    encoding.written = FormatNamed(row->pixelFormat);
    Append(encoding.video, {"-pix_fmt", encoding.pixelFormat});
    Append(encoding.video, Split(row->options));
  } else {
    // An encoder that cannot take it chooses the nearest that it can.
    const std::string offered = NameOf(request);
    encoding.written = FormatNamed(offered);
    encoding.written.alpha = false;
    Append(encoding.video, {"-pix_fmt", offered});
  }
  if (wish.ownSound) {
    encoding.sound = {"-c:a", "copy"};
  } else {
    ChooseSound(container, request.sound, encoding);
  }
  return encoding;
}

std::string AssumedMatrix(int width, int height) {
  constexpr int kStandardWidth = 1024;
  constexpr int kHighHeight = 720;
  return width > kStandardWidth || height >= kHighHeight ? "bt709" : "smpte170m";
}

ColourTags ChooseColours(const std::optional<ColourTags>& source, const ColourTags& wish) {
  ColourTags colours = source.value_or(ColourTags{"bt709", "bt709", "bt709", "tv"});
  const auto prefer = [](std::string& tag, const std::string& wanted) {
    tag = wanted.empty() ? tag : wanted;
  };
  prefer(colours.matrix, wish.matrix);
  prefer(colours.primaries, wish.primaries);
  prefer(colours.transfer, wish.transfer);
  prefer(colours.range, wish.range);
  return colours;
}

std::vector<std::string> ColourWords(const ColourTags& colours, const std::string& matrix,
                                     const std::string& pixelFormat, const std::string& filter) {
  Words words;
  std::string chain = filter.empty() ? "" : Text(filter, ",");
  chain += Text("scale=flags=", kConversion);
  // Frames are tagged as well as the stream, since some encoders look at the one or the other.
  std::string tags;
  const auto tag = [&](const char* option, const char* parameter, const std::string& value) {
    if (!value.empty()) {
      words.insert(words.end(), {option, value});
      tags += Text(tags.empty() ? "" : ":", parameter, "=", value);
    }
  };
  // The conversion knows some matrices under other names than the tags have.
  chain += Text(":out_color_matrix=", matrix == "bt470bg"                           ? "bt470"
                                      : matrix == "bt2020nc" || matrix == "bt2020c" ? "bt2020"
                                                                                    : matrix);
  if (!colours.range.empty()) {
    chain += Text(":out_range=", colours.range);
  }
  if (!pixelFormat.empty()) {
    chain += Text(",format=", pixelFormat);
  }
  tag("-colorspace", "colorspace", colours.matrix);
  tag("-color_range", "range", colours.range);
  tag("-color_primaries", "color_primaries", colours.primaries);
  tag("-color_trc", "color_trc", colours.transfer);
  words.insert(words.end(), {"-vf", tags.empty() ? chain : Text(chain, ",setparams=", tags)});
  return words;
}

}  // namespace veltra::cli
