// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// JPEG files through libjpeg-turbo.
#include <cstdio>  // jpeglib.h leaves this to us

#include <jerror.h>
#include <jpeglib.h>

#include <array>
#include <csetjmp>
#include <cstdlib>
#include <cstring>
#include <string_view>

#include "base/error.h"
#include "pictures/formats/formats.h"

namespace veltra::pictures {
namespace {

constexpr std::size_t kFileBufferBytes = std::size_t{1} << 16;
constexpr int kProfileMarker = JPEG_APP0 + 2;
constexpr int kXmpMarker = JPEG_APP0 + 1;
constexpr std::string_view kXmpStart("http://ns.adobe.com/xap/1.0/\0", 29);

/// libjpeg leaves a failure by longjmp to the place that Guarded sets; the text waits here.
struct JpegFailure {
  jpeg_error_mgr manager{};  // first, so that the library's pointer is ours
  std::jmp_buf place{};
  char text[JMSG_LENGTH_MAX] = "";
};

void OnError(j_common_ptr jpeg) {
  auto* failure = reinterpret_cast<JpegFailure*>(jpeg->err);
  jpeg->err->format_message(jpeg, failure->text);
  std::longjmp(failure->place, 1);  // NOLINT(cert-err52-cpp): a C library's way out
}

void IgnoreMessage(j_common_ptr) {}

/// Corrupt data is only a warning to libjpeg, which goes on with grey; to us it is a failure.
/// Harmless oddities, such as stray bytes between markers, stay warnings.
void OnMessage(j_common_ptr jpeg, int level) {
  const int code = jpeg->err->msg_code;
  if (level < 0 && (code == JWRN_HIT_MARKER || code == JWRN_HUFF_BAD_CODE ||
                    code == JWRN_JPEG_EOF || code == JWRN_MUST_RESYNC)) {
    OnError(jpeg);
  }
}

jpeg_error_mgr* Prepare(JpegFailure* failure) {
  jpeg_error_mgr* manager = jpeg_std_error(&failure->manager);
  manager->error_exit = OnError;
  manager->output_message = IgnoreMessage;
  manager->emit_message = OnMessage;
  return manager;
}

/// Runs calls of libjpeg; false when one failed. What runs must own nothing that needs a
/// destructor, since a failure jumps over it.
template <class Calls>
bool Guarded(JpegFailure* failure, const Calls& calls) {
  if (setjmp(failure->place) != 0) {  // NOLINT(cert-err52-cpp)
    return false;
  }
  calls();
  return true;
}

// ---- Reading ----

struct JpegSource {
  jpeg_source_mgr manager{};  // first, as above
  const ByteSource* source = nullptr;
  std::uint64_t offset = 0;
  std::array<JOCTET, kFileBufferBytes> buffer{};
};

void StartSource(j_decompress_ptr) {}

boolean FillSource(j_decompress_ptr jpeg) {
  auto* source = reinterpret_cast<JpegSource*>(jpeg->src);
  const std::size_t got =
      source->source->ReadAt(source->offset, source->buffer.data(), source->buffer.size());
  if (got == 0) {
    auto* failure = reinterpret_cast<JpegFailure*>(jpeg->err);
    std::strcpy(failure->text, "the file ends early");  // NOLINT: shorter than the buffer
    std::longjmp(failure->place, 1);                    // NOLINT(cert-err52-cpp)
  }
  source->offset += got;
  source->manager.next_input_byte = source->buffer.data();
  source->manager.bytes_in_buffer = got;
  return TRUE;
}

void SkipSource(j_decompress_ptr jpeg, long count) {
  auto* source = reinterpret_cast<JpegSource*>(jpeg->src);
  if (count <= 0) {
    return;
  }
  const auto skip = static_cast<std::size_t>(count);
  if (skip <= source->manager.bytes_in_buffer) {
    source->manager.next_input_byte += skip;
    source->manager.bytes_in_buffer -= skip;
    return;
  }
  source->offset += skip - source->manager.bytes_in_buffer;
  source->manager.bytes_in_buffer = 0;
}

void EndSource(j_decompress_ptr) {}

class JpegReader : public PictureReader {
 public:
  explicit JpegReader(const ByteSource& source) {
    input_.source = &source;
    input_.manager.init_source = StartSource;
    input_.manager.fill_input_buffer = FillSource;
    input_.manager.skip_input_data = SkipSource;
    input_.manager.resync_to_restart = jpeg_resync_to_restart;
    input_.manager.term_source = EndSource;
    jpeg_.err = Prepare(&failure_);
    if (!Guarded(&failure_, [&] { ReadHeader(); })) {
      jpeg_destroy_decompress(&jpeg_);
      ThrowDamaged("JPEG", failure_.text);
    }
    try {
      Describe();
    } catch (...) {
      jpeg_destroy_decompress(&jpeg_);
      throw;
    }
  }

  ~JpegReader() override { jpeg_destroy_decompress(&jpeg_); }

  void ReadRows(int, int count, std::byte* out) override {
    const bool read = Guarded(&failure_, [&] {
      if (!started_) {
        started_ = true;
        jpeg_start_decompress(&jpeg_);
      }
      for (int row = 0; row < count; ++row) {
        auto* line =
            reinterpret_cast<JSAMPROW>(out + static_cast<std::size_t>(row) * info_.RowBytes());
        jpeg_read_scanlines(&jpeg_, &line, 1);
      }
    });
    if (!read) {
      ThrowDamaged("JPEG", failure_.text);
    }
  }

 private:
  void ReadHeader() {
    constexpr unsigned kWholeMarker = 0xFFFF;
    jpeg_create_decompress(&jpeg_);
    jpeg_.src = &input_.manager;
    jpeg_save_markers(&jpeg_, kProfileMarker, kWholeMarker);
    jpeg_save_markers(&jpeg_, kXmpMarker, kWholeMarker);
    jpeg_read_header(&jpeg_, TRUE);
  }

  void Describe() {
    CheckPictureSize(jpeg_.image_width, jpeg_.image_height);
    if (jpeg_.jpeg_color_space == JCS_CMYK || jpeg_.jpeg_color_space == JCS_YCCK) {
      throw RenderError("a JPEG in print colours (CMYK); convert it to RGB first");
    }
    const bool grey = jpeg_.jpeg_color_space == JCS_GRAYSCALE;
    jpeg_.out_color_space = grey ? JCS_GRAYSCALE : JCS_RGB;
    info_.format = PictureFormat::kJpeg;
    info_.width = static_cast<int>(jpeg_.image_width);
    info_.height = static_cast<int>(jpeg_.image_height);
    info_.channels = grey ? 1 : 3;
    JOCTET* profile = nullptr;
    unsigned length = 0;
    if (jpeg_read_icc_profile(&jpeg_, &profile, &length) == TRUE) {
      info_.metadata.iccProfile.assign(profile, profile + length);
      std::free(profile);  // NOLINT: libjpeg's malloc
    }
    for (jpeg_saved_marker_ptr marker = jpeg_.marker_list; marker != nullptr;
         marker = marker->next) {
      const std::string_view data(reinterpret_cast<const char*>(marker->data), marker->data_length);
      if (marker->marker == kXmpMarker && data.starts_with(kXmpStart)) {
        info_.metadata.xmp = data.substr(kXmpStart.size());
      }
    }
  }

  JpegFailure failure_;
  JpegSource input_;
  jpeg_decompress_struct jpeg_{};
  bool started_ = false;
};

// ---- Writing ----

struct JpegTarget {
  jpeg_destination_mgr manager{};  // first, as above
  ByteSink* sink = nullptr;
  std::array<JOCTET, kFileBufferBytes> buffer{};
};

void StartTarget(j_compress_ptr jpeg) {
  auto* target = reinterpret_cast<JpegTarget*>(jpeg->dest);
  target->manager.next_output_byte = target->buffer.data();
  target->manager.free_in_buffer = target->buffer.size();
}

boolean EmptyTarget(j_compress_ptr jpeg) {
  auto* target = reinterpret_cast<JpegTarget*>(jpeg->dest);
  if (!target->sink->Write(target->buffer.data(), target->buffer.size())) {
    auto* failure = reinterpret_cast<JpegFailure*>(jpeg->err);
    std::longjmp(failure->place, 1);  // NOLINT(cert-err52-cpp)
  }
  StartTarget(jpeg);
  return TRUE;
}

void EndTarget(j_compress_ptr jpeg) {
  auto* target = reinterpret_cast<JpegTarget*>(jpeg->dest);
  target->sink->Write(target->buffer.data(),
                      target->buffer.size() - target->manager.free_in_buffer);
}

class JpegWriter : public PictureWriter {
 public:
  JpegWriter(ByteSink& sink, int width, int height, const PictureOptions& options)
      : rowBytes_(static_cast<std::size_t>(width) * 3U),
        xmp_(std::string(kXmpStart).append(options.metadata.xmp)) {
    target_.sink = &sink;
    target_.manager.init_destination = StartTarget;
    target_.manager.empty_output_buffer = EmptyTarget;
    target_.manager.term_destination = EndTarget;
    jpeg_.err = Prepare(&failure_);
    if (!Guarded(&failure_, [&] { Start(width, height, options); })) {
      jpeg_destroy_compress(&jpeg_);
      sink.ThrowIfFailed();
      throw RenderError("cannot write JPEG: " + std::string(failure_.text));
    }
  }

  ~JpegWriter() override { jpeg_destroy_compress(&jpeg_); }

  void WriteRows(int count, std::byte* rows) override {
    Check(Guarded(&failure_, [&] {
      for (int row = 0; row < count; ++row) {
        // libjpeg's rows are not const, but it does not write to them.
        auto* line = reinterpret_cast<JSAMPROW>(
            const_cast<std::byte*>(rows + static_cast<std::size_t>(row) * rowBytes_));
        jpeg_write_scanlines(&jpeg_, &line, 1);
      }
    }));
  }

  void Finish() override {
    Check(Guarded(&failure_, [&] { jpeg_finish_compress(&jpeg_); }));
  }

 private:
  void Start(int width, int height, const PictureOptions& options) {
    jpeg_create_compress(&jpeg_);
    jpeg_.dest = &target_.manager;
    jpeg_.image_width = static_cast<JDIMENSION>(width);
    jpeg_.image_height = static_cast<JDIMENSION>(height);
    jpeg_.input_components = 3;
    jpeg_.in_color_space = JCS_RGB;
    jpeg_set_defaults(&jpeg_);
    jpeg_set_quality(&jpeg_, options.jpegQuality, TRUE);
    constexpr int kFullColourQuality = 90;
    if (options.jpegQuality >= kFullColourQuality) {
      jpeg_.comp_info[0].h_samp_factor = 1;  // colour at full resolution: placed text stays crisp
      jpeg_.comp_info[0].v_samp_factor = 1;
    }
    jpeg_start_compress(&jpeg_, TRUE);
    constexpr std::size_t kLongestMarker = 65533;
    if (xmp_.size() > kXmpStart.size() && xmp_.size() <= kLongestMarker) {
      jpeg_write_marker(&jpeg_, kXmpMarker, reinterpret_cast<const JOCTET*>(xmp_.data()),
                        static_cast<unsigned>(xmp_.size()));
    }
    const auto& profile = options.metadata.iccProfile;
    if (!profile.empty()) {
      jpeg_write_icc_profile(&jpeg_, profile.data(), static_cast<unsigned>(profile.size()));
    }
  }

  void Check(bool done) {
    target_.sink->ThrowIfFailed();
    if (!done) {
      throw RenderError("cannot write JPEG: " + std::string(failure_.text));
    }
  }

  JpegFailure failure_;
  JpegTarget target_;
  jpeg_compress_struct jpeg_{};
  std::size_t rowBytes_;
  std::string xmp_;
};

}  // namespace

std::unique_ptr<PictureReader> OpenJpeg(const ByteSource& source) {
  return std::make_unique<JpegReader>(source);
}

std::unique_ptr<PictureWriter> CreateJpeg(ByteSink& sink, int width, int height,
                                          const PictureOptions& options) {
  return std::make_unique<JpegWriter>(sink, width, height, options);
}

}  // namespace veltra::pictures
