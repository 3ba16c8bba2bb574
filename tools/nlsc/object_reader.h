// Reading finished objects and boot files, of either byte order, for dump and check. Nothing of a
// file is trusted: an access outside it throws BadObject.
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace kestra::nlsc {

enum ObjectType : std::uint32_t {
  kLanguageObject = 0,
  kTerritoryObject = 1,
  kCharsetObject = 2,
  kSortObject = 3,
  kSupplementObject = 4,
  kCalendarObject = 5,
};

// "character set"; "type 7" for a type without a name.
std::string TypeName(std::uint32_t type);

class BadObject : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

class BytesReader {
 public:
  BytesReader(std::span<const std::uint8_t> bytes, bool big_endian)
      : bytes_(bytes), big_(big_endian) {}

  bool big_endian() const { return big_; }
  std::size_t size() const { return bytes_.size(); }
  std::uint8_t U8(std::size_t at) const { return Slice(at, 1)[0]; }
  std::uint16_t U16(std::size_t at) const {
    return static_cast<std::uint16_t>(Number(Slice(at, 2)));
  }
  std::uint32_t U32(std::size_t at) const { return Number(Slice(at, 4)); }
  std::span<const std::uint8_t> Slice(std::size_t at, std::size_t size) const;
  // A NUL-padded field, or the string that begins at a place.
  std::string Field(std::size_t at, std::size_t size) const;
  std::string String(std::size_t at) const;

 private:
  std::uint32_t Number(std::span<const std::uint8_t> field) const;

  std::span<const std::uint8_t> bytes_;
  bool big_;
};

// The header of an object and, for the types that have one, its table of offsets.
class ObjectReader : public BytesReader {
 public:
  // Throws BadObject when this is no object.
  explicit ObjectReader(std::span<const std::uint8_t> bytes);

  std::uint32_t type() const { return type_; }
  std::uint32_t id() const;
  std::string name() const;
  std::string sources() const;
  std::uint32_t checksum() const;           // as stored
  std::uint32_t computed_checksum() const;  // of the bytes

  // Offsets; zero tables for a type that has none.
  std::size_t base() const { return base_; }
  std::size_t table_count() const { return table_count_; }
  std::size_t end_offset() const;  // of the last table
  std::size_t TableBegin(std::size_t table) const;
  std::size_t TableEnd(std::size_t table) const;
  BytesReader Table(std::size_t table) const;
  std::string TableString(std::size_t table) const { return String(TableBegin(table)); }

 private:
  std::uint32_t type_ = 0;
  std::size_t offsets_at_ = 0, offset_width_ = 0, table_count_ = 0, end_at_ = 0, base_ = 0;
};

struct BootEntry {
  std::uint32_t size = 0, type = 0, id = 0;
  std::uint8_t name_length = 0, flags1 = 0, flags2 = 0;
  std::string name;
};

class BootReader : public BytesReader {
 public:
  explicit BootReader(std::span<const std::uint8_t> bytes);
  static bool IsBoot(std::span<const std::uint8_t> bytes);
  std::uint32_t count() const;
  std::uint32_t RunStart(std::uint32_t run) const;  // run == kRunCount: the entry count
  BootEntry Entry(std::uint32_t index) const;
};

// Reads a whole file; throws OutputError when it cannot.
std::vector<std::uint8_t> ReadObjectFile(const std::filesystem::path& path);

}  // namespace kestra::nlsc
