// An object or boot file in the making: bytes in either byte order.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace kestra::nlsc {

// Bytes that are written in one byte order.
class ByteBuffer {
 public:
  explicit ByteBuffer(bool big_endian, std::size_t size = 0) : bytes_(size), big_(big_endian) {}

  bool big_endian() const { return big_; }
  std::size_t size() const { return bytes_.size(); }
  const std::vector<std::uint8_t>& bytes() const { return bytes_; }

  // Overwrite at a place; throw std::logic_error past the end.
  void Put8(std::size_t at, std::uint32_t value) { Put(at, value, 1); }
  void Put16(std::size_t at, std::uint32_t value) { Put(at, value, 2); }
  void Put32(std::size_t at, std::uint32_t value) { Put(at, value, 4); }
  // Text into a field padded with NUL; throws std::length_error when it leaves no room for one.
  void PutText(std::size_t at, std::string_view text, std::size_t field_size);

  void Append(std::uint32_t value, std::size_t width);
  void AppendText(std::string_view text);  // with a terminating NUL
  void AppendBytes(const ByteBuffer& other);
  void Pad(std::size_t multiple);

 private:
  void Put(std::size_t at, std::uint32_t value, std::size_t width);

  std::vector<std::uint8_t> bytes_;
  bool big_;
};

// What the directory says of an object, and the object's bytes.
struct Object {
  std::uint32_t type = 0;
  std::uint32_t id = 0;
  std::string name;
  std::vector<std::uint8_t> bytes;
};

// The identity of an object: what its header holds.
struct ObjectHeader {
  std::uint32_t type = 0;
  std::uint32_t id = 0;
  std::string name;
  std::string sources;  // for example "glibc 2.36 UCD 15.0.0"
};

// Completes an object: the header, the total size, the variable part and the checksum.
// fixed is everything up to the type's base, variable the tables or strings behind it.
Object FinishObject(const ObjectHeader& header, ByteBuffer fixed, const ByteBuffer& variable);

// lx20001.nlb: the file of an object; lx1boot.nlb: the boot file.
std::string ObjectFileName(std::uint32_t type, std::uint32_t id);
inline constexpr const char* kBootFileName = "lx1boot.nlb";

// The boot file: objects must be sorted by type and id.
std::vector<std::uint8_t> WriteBoot(const std::vector<Object>& objects, bool big_endian);

}  // namespace kestra::nlsc
