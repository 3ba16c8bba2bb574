// Reading fields of an object that the loader has checked and put into native byte order.
#pragma once

#include <cstdint>
#include <cstring>

#include "kestra/context.h"
#include "nls/nlb_format.h"

namespace kestra::nls {

template <typename T>
inline T LoadAt(const void* object, std::size_t offset) noexcept {
  T value;
  std::memcpy(&value, static_cast<const std::uint8_t*>(object) + offset, sizeof value);
  return value;
}
inline std::uint8_t Load8(const void* object, std::size_t offset) noexcept {
  return static_cast<const std::uint8_t*>(object)[offset];
}
inline std::uint16_t Load16(const void* object, std::size_t offset) noexcept {
  return LoadAt<std::uint16_t>(object, offset);
}
inline std::uint32_t Load32(const void* object, std::size_t offset) noexcept {
  return LoadAt<std::uint32_t>(object, offset);
}

// A character-set object. The bounds pass has proved what the accessors rely on.
class CharsetView {
 public:
  constexpr CharsetView() noexcept = default;
  explicit CharsetView(const lxobject* object) noexcept
      : bytes_(reinterpret_cast<const std::uint8_t*>(object)) {}
  constexpr explicit CharsetView(const std::uint8_t* bytes) noexcept : bytes_(bytes) {}

  const std::uint8_t* bytes() const noexcept { return bytes_; }
  explicit operator bool() const noexcept { return bytes_ != nullptr; }

  std::uint32_t id() const noexcept { return Load16(bytes_, nlb::charset::kIdAt); }
  std::uint32_t flags() const noexcept { return Load32(bytes_, nlb::charset::kFlagsAt); }
  std::uint32_t handle_flags() const noexcept {
    return Load32(bytes_, nlb::charset::kHandleFlagsAt);
  }
  unsigned max_bytes() const noexcept { return bytes_[nlb::charset::kMaxBytesAt]; }
  unsigned class_byte() const noexcept { return bytes_[nlb::charset::kClassByteAt]; }
  bool ascii_runs() const noexcept {
    return (bytes_[nlb::charset::kTraitsAt] & nlb::charset::kAsciiTrait) != 0;
  }
  bool maps_nul() const noexcept {
    return (bytes_[nlb::charset::kTraitsAt] & nlb::charset::kNulTrait) != 0;
  }
  unsigned replacement_length() const noexcept {
    return bytes_[nlb::charset::kReplacementLengthAt];
  }
  const std::uint8_t* replacement() const noexcept { return bytes_ + nlb::charset::kReplacementAt; }
  unsigned decode_width() const noexcept { return bytes_[nlb::charset::kWidthsAt] & 15u; }
  unsigned encode_width() const noexcept { return bytes_[nlb::charset::kWidthsAt] >> 4; }
  unsigned class_kind() const noexcept { return bytes_[nlb::charset::kClassKindAt]; }
  std::uint32_t encode_index_size() const noexcept {
    return Load32(bytes_, nlb::charset::kEncodeIndexAt);
  }

  // Objects are 8-byte aligned and these tables 4-byte aligned within them.
  const std::uint16_t* class_table() const noexcept {
    return reinterpret_cast<const std::uint16_t*>(bytes_ + nlb::charset::kClassTableAt);
  }
  const std::uint16_t* single() const noexcept {
    return reinterpret_cast<const std::uint16_t*>(bytes_ + nlb::charset::kSingleAt);
  }
  const std::uint8_t* upper() const noexcept { return bytes_ + nlb::charset::kUpperAt; }
  const std::uint8_t* lower() const noexcept { return bytes_ + nlb::charset::kLowerAt; }
  const std::uint8_t* table(nlb::charset::Table index) const noexcept {
    return bytes_ + nlb::charset::kBase + Load32(bytes_, OffsetAt(index));
  }
  std::size_t table_size(nlb::charset::Table index) const noexcept {
    return Load32(bytes_, OffsetAt(index) + 4) - Load32(bytes_, OffsetAt(index));
  }

 private:
  static constexpr std::size_t OffsetAt(nlb::charset::Table index) noexcept {
    return nlb::charset::kOffsetsAt + 4 * static_cast<std::size_t>(index);
  }
  const std::uint8_t* bytes_ = nullptr;
};

}  // namespace kestra::nls
