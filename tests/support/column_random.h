// Random elements and null bitmaps for tests of decimal vectors.
#pragma once

#include <cstdint>
#include <cstring>
#include <random>
#include <vector>

#include "tests/support/wide_reference.h"

namespace kestra::test {

inline constexpr std::size_t kElementWidths[] = {0, 1, 2, 4, 8, 16, 24};  // by precision code

enum class NullKind { kAbsent, kNone, kAll, kRandom, kBytes };
inline constexpr NullKind kNullKinds[] = {NullKind::kAbsent, NullKind::kNone, NullKind::kAll,
                                          NullKind::kRandom, NullKind::kBytes};

class ColumnSource {
 public:
  explicit ColumnSource(std::uint64_t seed) : random_(seed) {}

  std::uint64_t Below(std::uint64_t limit) { return random_() % limit; }

  // A signed integer of at most that many significant bits; the extremes now and then.
  ref::Wide Value(int bits) {
    const ref::Wide limit = ref::Wide::Power(2, bits);
    if (Below(16) == 0) return Below(2) == 0 ? limit - ref::Wide(1) : -(limit - ref::Wide(1));
    unsigned char bytes[32] = {};
    const std::size_t used = Below(3) == 0 ? 1 + Below(24) : 24;
    for (std::size_t i = 0; i < used; ++i) bytes[i] = static_cast<unsigned char>(random_());
    for (int bit = bits; bit < 256; ++bit)
      bytes[bit / 8] &= static_cast<unsigned char>(~(1 << bit % 8));
    const ref::Wide value = ref::Wide::FromBytes(bytes, 32);
    return Below(2) == 0 ? value : -value;
  }

  // Any element bytes of a width; the minimum and maximum now and then.
  std::vector<std::uint8_t> Elements(std::size_t count, std::size_t width) {
    std::vector<std::uint8_t> bytes(count * width);
    for (std::size_t i = 0; i < count; ++i) {
      const int bits = 8 * static_cast<int>(width);
      const auto value =
          Below(20) == 0 ? -ref::Wide::Power(2, bits - 1)
                         : Value(1 + static_cast<int>(Below(static_cast<std::uint64_t>(bits) - 1)));
      value.ToBytes(bytes.data() + i * width, width);
    }
    return bytes;
  }

  // Exactly (count + 7) / 8 bytes, with rubbish past count; empty for kAbsent.
  std::vector<std::uint8_t> Nulls(std::size_t count, NullKind kind) {
    if (kind == NullKind::kAbsent) return {};
    std::vector<std::uint8_t> nulls((count + 7) / 8);
    for (std::uint8_t& byte : nulls) {
      const auto any = static_cast<std::uint8_t>(random_());
      byte = kind == NullKind::kNone     ? 0
             : kind == NullKind::kAll    ? 255
             : kind == NullKind::kRandom ? any
                                         : static_cast<std::uint8_t>(any % 3 == 0   ? 255
                                                                     : any % 3 == 1 ? 0
                                                                                    : any);
    }
    if (count % 8 != 0) nulls.back() = static_cast<std::uint8_t>(nulls.back() | 0xFF << count % 8);
    return nulls;
  }

 private:
  std::mt19937_64 random_;
};

inline bool IsNull(const std::vector<std::uint8_t>& nulls, std::size_t i) {
  return !nulls.empty() && (nulls[i / 8] >> i % 8 & 1) != 0;
}
inline const std::uint8_t* OrNone(const std::vector<std::uint8_t>& nulls) {
  return nulls.empty() ? nullptr : nulls.data();
}

}  // namespace kestra::test
