// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Reads and rebuilds the index ("moov") of MP4 and MOV files.
#include "pictures/spherical.h"

#include <array>
#include <cstdint>
#include <memory>
#include <optional>
#include <string_view>
#include <vector>

#include "base/error.h"
#include "pictures/bytes/file_source.h"
#include "system/files.h"

namespace veltra::pictures {
namespace {

// A box is a 32-bit size that counts everything, a four-letter type, and the contents; size 1
// means a 64-bit size follows the type, size 0 that the box goes to the end of the file.
constexpr std::size_t kBoxHeader = 8;
constexpr std::uint64_t kLargestIndex = std::uint64_t{1} << 28;
// Of a sample description before its first entry, and of a video's entry before its own boxes.
constexpr std::size_t kDescriptionFields = 8;
constexpr std::size_t kVideoEntryFields = 78;
constexpr std::string_view kSphericalUuid =
    "\xff\xcc\x82\x63\xf8\x55\x4a\x93\x88\x14\x58\x7a\x02\x52\x1f\xdd";

std::uint32_t Number32(std::string_view bytes) {
  std::uint32_t value = 0;
  for (std::size_t i = 0; i < 4; ++i) {
    value = value << 8U | static_cast<unsigned char>(bytes[i]);
  }
  return value;
}

std::string Bytes32(std::uint64_t value) {
  std::string bytes;
  for (int shift = 24; shift >= 0; shift -= 8) {
    bytes += static_cast<char>(value >> static_cast<unsigned>(shift));
  }
  return bytes;
}

std::string MakeBox(std::string_view type, std::string_view contents) {
  std::string box = Bytes32(kBoxHeader + contents.size());
  box.append(type).append(contents);
  return box;
}

struct Box {
  std::string_view type;
  std::string_view contents;
  std::string_view whole;
};

/// The boxes that lie one after the other; what is damaged ends the list.
std::vector<Box> Boxes(std::string_view bytes) {
  std::vector<Box> boxes;
  while (bytes.size() >= kBoxHeader) {
    const std::uint32_t size = Number32(bytes);
    if (size < kBoxHeader || size > bytes.size()) {
      break;
    }
    boxes.push_back(
        {bytes.substr(4, 4), bytes.substr(kBoxHeader, size - kBoxHeader), bytes.substr(0, size)});
    bytes.remove_prefix(size);
  }
  return boxes;
}

std::optional<std::string_view> Contents(std::string_view bytes, std::string_view type) {
  for (const Box& box : Boxes(bytes)) {
    if (box.type == type) {
      return box.contents;
    }
  }
  return std::nullopt;
}

bool IsVideoTrack(std::string_view track) {
  const auto media = Contents(track, "mdia");
  const auto handler = media ? Contents(*media, "hdlr") : std::nullopt;
  constexpr std::size_t kHandlerType = 8;
  return handler && handler->size() >= kHandlerType + 4 &&
         handler->substr(kHandlerType, 4) == "vide";
}

bool IsSphericalUuid(const Box& box) {
  return box.type == "uuid" && box.contents.starts_with(kSphericalUuid);
}

// ---- Finding the index in a file ----

struct Place {
  std::uint64_t offset = 0;
  std::uint64_t size = 0;
};

struct Layout {
  std::optional<Place> index;
  bool fragmented = false;
};

Layout FindIndex(const ByteSource& source) {
  Layout layout;
  std::uint64_t offset = 0;
  std::array<char, 16> header{};
  while (source.ReadAt(offset, header.data(), header.size()) >= kBoxHeader) {
    const std::string_view bytes(header.data(), header.size());
    std::uint64_t size = Number32(bytes);
    if (size == 1) {
      size =
          static_cast<std::uint64_t>(Number32(bytes.substr(8))) << 32U | Number32(bytes.substr(12));
    } else if (size == 0) {
      size = source.Size() - offset;
    }
    if (size < kBoxHeader || size > source.Size() - offset) {
      break;
    }
    if (bytes.substr(4, 4) == "moov") {
      layout.index = Place{offset, size};
    }
    layout.fragmented = layout.fragmented || bytes.substr(4, 4) == "moof";
    offset += size;
  }
  return layout;
}

/// The contents of the index, or nothing.
std::optional<std::string> ReadIndex(const ByteSource& source, const Place& place) {
  std::array<char, 4> size{};
  if (place.size > kLargestIndex || source.ReadAt(place.offset, size.data(), 4) != 4 ||
      Number32({size.data(), 4}) != place.size) {
    return std::nullopt;  // an index with a 64-bit size is not one that any program writes
  }
  std::string bytes(static_cast<std::size_t>(place.size - kBoxHeader), '\0');
  if (source.ReadAt(place.offset + kBoxHeader, bytes.data(), bytes.size()) != bytes.size()) {
    return std::nullopt;
  }
  return bytes;
}

// ---- Rebuilding ----

/// The boxes with one of them replaced by what `change` makes of its contents.
template <class Change>
std::string WithChanged(std::string_view bytes, std::string_view type, const Change& change) {
  std::string rebuilt;
  bool done = false;
  for (const Box& box : Boxes(bytes)) {
    if (!done && box.type == type) {
      rebuilt += MakeBox(type, change(box.contents));
      done = true;
    } else {
      rebuilt += box.whole;
    }
  }
  return rebuilt;
}

std::string EntryWith(std::string_view entry, std::string_view addition) {
  if (entry.size() < kVideoEntryFields) {
    return std::string(entry);
  }
  std::string rebuilt(entry.substr(0, kVideoEntryFields));
  for (const Box& box : Boxes(entry.substr(kVideoEntryFields))) {
    if (box.type != "st3d" && box.type != "sv3d") {
      rebuilt += box.whole;
    }
  }
  return rebuilt.append(addition);
}

std::string DescriptionWith(std::string_view description, std::string_view addition) {
  if (description.size() < kDescriptionFields) {
    return std::string(description);
  }
  std::string rebuilt(description.substr(0, kDescriptionFields));
  for (const Box& entry : Boxes(description.substr(kDescriptionFields))) {
    rebuilt += MakeBox(entry.type, EntryWith(entry.contents, addition));
  }
  return rebuilt;
}

std::string TrackWith(std::string_view track, const SphericalBoxes& boxes) {
  std::string rebuilt = WithChanged(track, "mdia", [&](std::string_view media) {
    return WithChanged(media, "minf", [&](std::string_view information) {
      return WithChanged(information, "stbl", [&](std::string_view table) {
        return WithChanged(table, "stsd", [&](std::string_view description) {
          return DescriptionWith(description, boxes.inSampleEntry);
        });
      });
    });
  });
  return rebuilt.append(boxes.inTrack);
}

std::optional<std::string> IndexWith(std::string_view index, const SphericalBoxes& boxes) {
  std::string rebuilt;
  bool done = false;
  for (const Box& box : Boxes(index)) {
    if (!done && box.type == "trak" && IsVideoTrack(box.contents)) {
      rebuilt += MakeBox("trak", TrackWith(box.contents, boxes));
      done = true;
    } else {
      rebuilt += box.whole;
    }
  }
  return done ? std::optional(rebuilt) : std::nullopt;
}

bool WriteAt(const File& file, std::uint64_t offset, std::string_view bytes) {
  return file.Seek(offset) == 0 && file.Write(bytes.data(), bytes.size()) == 0;
}

}  // namespace

SphericalBoxes ReadSpherical(const ByteSource& source) {
  SphericalBoxes boxes;
  const Layout layout = FindIndex(source);
  const auto index = layout.index ? ReadIndex(source, *layout.index) : std::nullopt;
  if (!index) {
    return boxes;
  }
  for (const Box& track : Boxes(*index)) {
    if (track.type != "trak" || !IsVideoTrack(track.contents)) {
      continue;
    }
    for (const Box& box : Boxes(track.contents)) {
      if (IsSphericalUuid(box)) {
        boxes.inTrack += box.whole;
      }
    }
    std::optional<std::string_view> inside = track.contents;
    for (const std::string_view type : {"mdia", "minf", "stbl", "stsd"}) {
      inside = inside ? Contents(*inside, type) : std::nullopt;
    }
    if (inside && inside->size() > kDescriptionFields) {
      const std::vector<Box> entries = Boxes(inside->substr(kDescriptionFields));
      if (!entries.empty() && entries[0].contents.size() > kVideoEntryFields) {
        for (const Box& box : Boxes(entries[0].contents.substr(kVideoEntryFields))) {
          if (box.type == "st3d" || box.type == "sv3d") {
            boxes.inSampleEntry += box.whole;
          }
        }
      }
    }
    break;
  }
  return boxes;
}

std::string StereoOf(const SphericalBoxes& boxes) {
  constexpr std::size_t kMode = 8;  // after the type, version and flags
  const std::size_t box = boxes.inSampleEntry.find("st3d");
  if (box == std::string::npos || box + kMode >= boxes.inSampleEntry.size()) {
    return {};
  }
  const char mode = boxes.inSampleEntry[box + kMode];
  return mode == '\1' ? "top-bottom" : mode == '\2' ? "left-right" : "";
}

SphericalBoxes MakeEquirectangular(const std::string& stereo) {
  const std::string version(4, '\0');
  const char eyes = stereo == "top and bottom" ? '\1' : stereo == "side by side" ? '\2' : '\0';
  std::string header = version;
  header.append("veltra").append(1, '\0');
  const std::string angles(12, '\0');  // yaw, pitch and roll
  const std::string bounds(16, '\0');  // the whole sphere
  const std::string projection =
      MakeBox("prhd", version + angles) + MakeBox("equi", version + bounds);
  SphericalBoxes boxes;
  boxes.inSampleEntry = MakeBox("st3d", version + eyes) +
                        MakeBox("sv3d", MakeBox("svhd", header) + MakeBox("proj", projection));
  return boxes;
}

bool AddSpherical(const std::string& path, const SphericalBoxes& boxes) {
  const std::unique_ptr<ByteSource> source = OpenFileSource(path);
  const Layout layout = FindIndex(*source);
  const auto index =
      layout.index && !layout.fragmented ? ReadIndex(*source, *layout.index) : std::nullopt;
  const auto rebuilt = index ? IndexWith(*index, boxes) : std::nullopt;
  if (!rebuilt) {
    return false;
  }
  Expected<File> file = OpenForWriting(path);
  if (!file) {
    return false;
  }
  const bool atEnd = layout.index->offset + layout.index->size == source->Size();
  const std::uint64_t place = atEnd ? layout.index->offset : source->Size();
  // An index that stood before the pictures becomes free space once the new one is whole.
  constexpr std::uint64_t kType = 4;
  const bool written = WriteAt(*file, place, MakeBox("moov", *rebuilt)) &&
                       (atEnd || WriteAt(*file, layout.index->offset + kType, "free"));
  return file->Close() == 0 && written;
}

}  // namespace veltra::pictures
