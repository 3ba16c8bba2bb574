// What fuzz targets share: the bytes of an input taken one after the other, and laws. Header only,
// and without a test library.
#pragma once

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string_view>
#include <vector>

namespace kestra::test {

inline void Require(bool law) {
  if (!law) std::abort();
}

// Zeros follow the end.
class FuzzInput {
 public:
  FuzzInput(const std::uint8_t* data, std::size_t size) : data_(data), size_(size) {}

  std::size_t size() const { return size_; }
  const std::uint8_t* data() const { return data_; }
  std::string_view text() const { return {reinterpret_cast<const char*>(data_), size_}; }

  template <typename T = std::uint8_t>
  T Take() {
    T value = {};
    Copy(&value, sizeof value);
    return value;
  }
  // In an allocation of exactly that size, so that a sanitizer sees a step too far.
  std::vector<std::uint8_t> Bytes(std::size_t count) {
    std::vector<std::uint8_t> bytes(count);
    Copy(bytes.data(), count);
    return bytes;
  }

 private:
  void Copy(void* to, std::size_t count) {
    const std::size_t have = count < size_ ? count : size_;
    if (have != 0) std::memcpy(to, data_, have);
    data_ += have;
    size_ -= have;
  }

  const std::uint8_t* data_;
  std::size_t size_;
};

}  // namespace kestra::test
