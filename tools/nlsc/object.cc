#include "object.h"

#include <fmt/format.h>
#include <zlib.h>

#include <algorithm>
#include <stdexcept>
#include <utility>

#include "nls/nlb_format.h"

namespace kestra::nlsc {

namespace nlb = kestra::nls::nlb;

void ByteBuffer::Put(std::size_t at, std::uint32_t value, std::size_t width) {
  if (at + width > bytes_.size()) throw std::logic_error("a field lies outside its object");
  if (width < 4 && value >> (8 * width) != 0) {
    throw std::logic_error(fmt::format("{} does not fit {} bytes at {}", value, width, at));
  }
  for (std::size_t i = 0; i < width; ++i) {
    const std::size_t shift = 8 * (big_ ? width - 1 - i : i);
    bytes_[at + i] = static_cast<std::uint8_t>(value >> shift);
  }
}

void ByteBuffer::PutText(std::size_t at, std::string_view text, std::size_t field_size) {
  if (text.size() >= field_size) {
    throw std::length_error(fmt::format("\"{}\" is longer than {} bytes", text, field_size - 1));
  }
  for (std::size_t i = 0; i < text.size(); ++i) Put8(at + i, static_cast<std::uint8_t>(text[i]));
}

void ByteBuffer::Append(std::uint32_t value, std::size_t width) {
  bytes_.resize(bytes_.size() + width);
  Put(bytes_.size() - width, value, width);
}

void ByteBuffer::AppendText(std::string_view text) {
  bytes_.insert(bytes_.end(), text.begin(), text.end());
  bytes_.push_back(0);
}

void ByteBuffer::AppendBytes(const ByteBuffer& other) {
  bytes_.insert(bytes_.end(), other.bytes_.begin(), other.bytes_.end());
}

void ByteBuffer::Pad(std::size_t multiple) {
  bytes_.resize((bytes_.size() + multiple - 1) / multiple * multiple);
}

Object FinishObject(const ObjectHeader& header, ByteBuffer fixed, const ByteBuffer& variable) {
  const auto variable_size = static_cast<std::uint32_t>(variable.size());
  fixed.Put32(nlb::kVersionAt, nlb::kVersion);
  fixed.Put32(nlb::kReleaseAt, nlb::kRelease);
  fixed.Put32(nlb::kSizeAt, static_cast<std::uint32_t>(fixed.size()) + variable_size);
  fixed.Put32(nlb::kVariablePartAt, variable_size);
  fixed.Put16(nlb::kTypeAt, header.type);
  fixed.Put16(nlb::kObjectIdAt, header.id);
  fixed.Put8(nlb::kMagicAt, nlb::kMagic);
  fixed.Put8(nlb::kByteFlagsAt, fixed.big_endian() ? nlb::kBigEndianFlag : 0);
  fixed.PutText(nlb::kNameAt, header.name, nlb::kNameSize);
  fixed.PutText(nlb::kSourceAt, header.sources, nlb::kSourceSize);
  fixed.AppendBytes(variable);
  const std::vector<std::uint8_t>& bytes = fixed.bytes();
  fixed.Put32(nlb::kChecksumAt,
              static_cast<std::uint32_t>(
                  crc32_z(0, bytes.data() + nlb::kHeaderSize, bytes.size() - nlb::kHeaderSize)));
  return Object{header.type, header.id, header.name, fixed.bytes()};
}

std::string ObjectFileName(std::uint32_t type, std::uint32_t id) {
  return fmt::format("lx{:x}{:04x}.nlb", type, id);
}

std::vector<std::uint8_t> WriteBoot(const std::vector<Object>& objects, bool big_endian) {
  namespace boot = nlb::boot;
  const std::size_t count = objects.size() + 1;  // entry 0 is empty
  const std::size_t size = boot::kHeaderSize + boot::kEntrySize * count;
  ByteBuffer out(big_endian, size);
  out.Put32(boot::kVersionAt, nlb::kVersion);
  out.Put32(boot::kReleaseAt, nlb::kRelease);
  out.Put32(boot::kSizeAt, static_cast<std::uint32_t>(size));
  for (std::uint32_t type = 0; type < boot::kRunCount; ++type) {
    const auto first = std::find_if(objects.begin(), objects.end(),
                                    [&](const Object& object) { return object.type >= type; });
    out.Put16(boot::kRunsAt + 2 * type, static_cast<std::uint32_t>(first - objects.begin()) + 1);
  }
  out.Put16(boot::kCountAt, static_cast<std::uint32_t>(count));
  out.Put8(boot::kMagicAt, boot::kMagic);
  out.Put8(boot::kByteFlagsAt, boot::kAsciiNamesFlag | (big_endian ? nlb::kBigEndianFlag : 0u));
  for (std::size_t i = 0; i < objects.size(); ++i) {
    const Object& object = objects[i];
    const std::size_t entry = boot::kHeaderSize + boot::kEntrySize * (i + 1);
    out.Put32(entry + boot::kEntryObjectSizeAt, static_cast<std::uint32_t>(object.bytes.size()));
    out.Put16(entry + boot::kEntryTypeAt, object.type);
    out.Put16(entry + boot::kEntryIdAt, object.id);
    out.Put8(entry + boot::kEntryNameLengthAt, static_cast<std::uint32_t>(object.name.size()) + 1);
    out.PutText(entry + boot::kEntryNameAt, object.name, boot::kEntryNameSize);
  }
  return out.bytes();
}

}  // namespace kestra::nlsc
