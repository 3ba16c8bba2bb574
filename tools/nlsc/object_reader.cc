#include "object_reader.h"

#include <fmt/format.h>
#include <zlib.h>

#include <algorithm>
#include <fstream>
#include <iterator>

#include "input.h"
#include "nls/nlb_format.h"

namespace kestra::nlsc {

namespace nlb = kestra::nls::nlb;

std::string TypeName(std::uint32_t type) {
  constexpr const char* kNames[] = {"language", "territory",  "character set",
                                    "sort",     "supplement", "calendar"};
  return type < std::size(kNames) ? kNames[type] : fmt::format("type {}", type);
}

std::span<const std::uint8_t> BytesReader::Slice(std::size_t at, std::size_t size) const {
  if (at > bytes_.size() || size > bytes_.size() - at) {
    throw BadObject(
        fmt::format("bytes {} to {} lie outside its {} bytes", at, at + size, bytes_.size()));
  }
  return bytes_.subspan(at, size);
}

std::uint32_t BytesReader::Number(std::span<const std::uint8_t> field) const {
  std::uint32_t value = 0;
  for (std::size_t i = 0; i < field.size(); ++i) {
    value = value << 8 | field[big_ ? i : field.size() - 1 - i];
  }
  return value;
}

std::string BytesReader::Field(std::size_t at, std::size_t size) const {
  const std::span<const std::uint8_t> field = Slice(at, size);
  return {field.begin(), std::find(field.begin(), field.end(), 0)};
}

std::string BytesReader::String(std::size_t at) const {
  Slice(at, 0);
  const std::span<const std::uint8_t> rest = bytes_.subspan(at);
  const auto end = std::find(rest.begin(), rest.end(), 0);
  if (end == rest.end()) throw BadObject(fmt::format("the string at {} does not end", at));
  return {rest.begin(), end};
}

ObjectReader::ObjectReader(std::span<const std::uint8_t> bytes)
    : BytesReader(bytes, bytes.size() > nlb::kByteFlagsAt &&
                             (bytes[nlb::kByteFlagsAt] & nlb::kBigEndianFlag) != 0) {
  if (bytes.size() < nlb::kHeaderSize) throw BadObject("shorter than a header");
  if (U8(nlb::kMagicAt) != nlb::kMagic) throw BadObject("no object: the magic byte is missing");
  type_ = U16(nlb::kTypeAt);
  switch (type_) {
    case kLanguageObject:
      offsets_at_ = nlb::language::kOffsetsAt;
      offset_width_ = 2;
      table_count_ = nlb::language::kStringCount;
      end_at_ = nlb::language::kEndOffsetAt;
      base_ = nlb::language::kBase;
      break;
    case kTerritoryObject:
      offsets_at_ = nlb::territory::kOffsetsAt;
      offset_width_ = 2;
      table_count_ = nlb::territory::kStringCount;
      end_at_ = nlb::territory::kEndOffsetAt;
      base_ = nlb::territory::kBase;
      break;
    case kCharsetObject:
      offsets_at_ = nlb::charset::kOffsetsAt;
      offset_width_ = 4;
      table_count_ = nlb::charset::kOffsetCount;
      end_at_ = nlb::charset::kEndOffsetAt;
      base_ = nlb::charset::kBase;
      break;
    case kSortObject:
    case kSupplementObject:
    case kCalendarObject:
      offsets_at_ = nlb::common::kOffsetsAt;
      offset_width_ = 4;
      table_count_ = nlb::common::kOffsetCount;
      end_at_ = nlb::common::kEndOffsetAt;
      base_ = nlb::common::kBase;
      break;
    default:
      break;
  }
}

std::uint32_t ObjectReader::id() const { return U16(nlb::kObjectIdAt); }
std::string ObjectReader::name() const { return Field(nlb::kNameAt, nlb::kNameSize); }
std::string ObjectReader::sources() const { return Field(nlb::kSourceAt, nlb::kSourceSize); }
std::uint32_t ObjectReader::checksum() const { return U32(nlb::kChecksumAt); }

std::uint32_t ObjectReader::computed_checksum() const {
  const auto body = Slice(nlb::kHeaderSize, size() - nlb::kHeaderSize);
  return static_cast<std::uint32_t>(crc32_z(0, body.data(), body.size()));
}

std::size_t ObjectReader::end_offset() const { return table_count_ == 0 ? 0 : U32(end_at_); }

std::size_t ObjectReader::TableBegin(std::size_t table) const {
  if (table >= table_count_) throw BadObject(fmt::format("there is no table {}", table));
  const std::size_t at = offsets_at_ + offset_width_ * table;
  return base_ + (offset_width_ == 2 ? U16(at) : U32(at));
}

std::size_t ObjectReader::TableEnd(std::size_t table) const {
  return table + 1 == table_count_ ? base_ + end_offset() : TableBegin(table + 1);
}

BytesReader ObjectReader::Table(std::size_t table) const {
  const std::size_t begin = TableBegin(table), end = TableEnd(table);
  if (end < begin) throw BadObject(fmt::format("table {} ends before it begins", table));
  return {Slice(begin, end - begin), big_endian()};
}

bool BootReader::IsBoot(std::span<const std::uint8_t> bytes) {
  return bytes.size() >= nlb::boot::kHeaderSize && bytes[nlb::boot::kMagicAt] == nlb::boot::kMagic;
}

BootReader::BootReader(std::span<const std::uint8_t> bytes)
    : BytesReader(bytes,
                  IsBoot(bytes) && (bytes[nlb::boot::kByteFlagsAt] & nlb::kBigEndianFlag) != 0) {
  if (!IsBoot(bytes)) throw BadObject("no boot file: the magic byte is missing");
}

std::uint32_t BootReader::count() const { return U16(nlb::boot::kCountAt); }

std::uint32_t BootReader::RunStart(std::uint32_t run) const {
  return U16(nlb::boot::kRunsAt + 2 * std::size_t{run});
}

BootEntry BootReader::Entry(std::uint32_t index) const {
  namespace boot = nlb::boot;
  const std::size_t at = boot::kHeaderSize + boot::kEntrySize * std::size_t{index};
  BootEntry entry;
  entry.size = U32(at + boot::kEntryObjectSizeAt);
  entry.type = U16(at + boot::kEntryTypeAt);
  entry.id = U16(at + boot::kEntryIdAt);
  entry.name_length = U8(at + boot::kEntryNameLengthAt);
  entry.name = Field(at + boot::kEntryNameAt, boot::kEntryNameSize);
  entry.flags1 = U8(at + boot::kEntryFlags1At);
  entry.flags2 = U8(at + boot::kEntryFlags2At);
  return entry;
}

std::vector<std::uint8_t> ReadObjectFile(const std::filesystem::path& path) {
  if (!std::filesystem::is_regular_file(path)) {
    throw OutputError(path.string() + ": is no regular file");
  }
  std::ifstream file(path, std::ios::binary);
  std::vector<std::uint8_t> bytes(std::istreambuf_iterator<char>(file), {});
  if (!file.is_open() || file.bad()) throw OutputError(path.string() + ": cannot be read");
  return bytes;
}

}  // namespace kestra::nlsc
