// A zone file of which nothing is trusted but that as many bytes can be read as its size field says.
// Every access is compared with that size; a field that leads outside makes the look-up fail.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

#include "datetime/zone_format.h"
#include "datetime/zone_key.h"
#include "kestra/timezone.h"

namespace kestra::datetime {

// The transitions of a zone, which lie inside the file together with their types and flags.
struct ZoneRun {
  const std::uint8_t* transitions = nullptr;
  const std::uint8_t* types = nullptr;
  const std::uint8_t* flags = nullptr;
  std::uint32_t first = 0;
  std::uint32_t count = 0;
};

class ZoneFile {
 public:
  // Looks at magic, version and size: 0, 1, 2 or 3.
  int Open(const void* file) noexcept {
    if (file == nullptr) return KES_ZONE_MISSING;
    bytes_ = static_cast<const std::uint8_t*>(file);
    swapped_ = false;
    const std::uint32_t magic = U32(zone::kMagicAt);
    if (magic != zone::kMagic) {
      if (__builtin_bswap32(magic) != zone::kMagic) return KES_ZONE_DAMAGED;
      swapped_ = true;
    }
    if (U16(zone::kVersionAt) != zone::kVersion) return KES_ZONE_BAD_VERSION;
    size_ = U32(zone::kSizeAt);
    strings_end_ = kUnknown;
    if (size_ < zone::kTablesAt || size_ > zone::kMaxSize) return KES_ZONE_DAMAGED;
    return KES_ZONE_OK;
  }

  const std::uint8_t* bytes() const noexcept { return bytes_; }
  std::uint32_t size() const noexcept { return size_; }
  bool swapped() const noexcept { return swapped_; }

  // Only for places inside the file.
  std::uint16_t U16(std::size_t at) const noexcept {
    std::uint16_t value;
    std::memcpy(&value, bytes_ + at, sizeof value);
    return swapped_ ? __builtin_bswap16(value) : value;
  }
  std::uint32_t U32(std::size_t at) const noexcept {
    std::uint32_t value;
    std::memcpy(&value, bytes_ + at, sizeof value);
    return swapped_ ? __builtin_bswap32(value) : value;
  }

  bool Contains(std::uint64_t at, std::uint64_t size) const noexcept {
    return at <= size_ && size <= size_ - at;
  }
  // The string at a place; null when it does not end inside the file.
  const char* Text(std::uint32_t at) const noexcept {
    return at < strings_end() ? reinterpret_cast<const char*>(bytes_ + at) : nullptr;
  }
  // Behind the last NUL: every string that begins before it ends. Searched for once.
  std::uint32_t strings_end() const noexcept {
    if (strings_end_ == kUnknown) {
      const void* last = memrchr(bytes_, 0, size_);
      strings_end_ =
          last == nullptr
              ? 0
              : static_cast<std::uint32_t>(static_cast<const std::uint8_t*>(last) - bytes_ + 1);
    }
    return strings_end_;
  }

  // The zone that an id stands for: itself, or its low nine bits. Requires 1 <= id <= 8191.
  static std::uint32_t Replaced(std::uint32_t id) noexcept {
    for (const std::uint16_t replaced : zone::kReplacedIds) {
      if (id == replaced) return id & zone::kCanonicalMask;
    }
    return id;
  }
  static std::size_t EntryAt(std::uint32_t id) noexcept {
    return zone::kHeaderSize + zone::kEntrySize * id;
  }

  // The run of a zone: 0, 2 when it leads outside the file, 4 or 5.
  int FindRun(std::uint32_t id, ZoneRun& run) const noexcept {
    if (id == 0 || id > zone::kMaxId) return KES_ZONE_BAD_ID;
    const std::size_t entry = EntryAt(Replaced(id));
    run.count = U32(entry + zone::kEntryCountAt);
    run.first = U32(entry + zone::kEntryFirstAt);
    if (run.count == 0) return KES_ZONE_NOT_FOUND;
    const std::uint64_t first = run.first;
    const std::uint64_t transitions = U32(zone::kTransitionsAt) + first * zone::kTransitionSize;
    const std::uint64_t types = U32(zone::kTransitionTypesAt) + first * 2;
    const std::uint64_t flags = U32(zone::kFlagsAt) + first;
    if (!Contains(transitions, std::uint64_t{run.count} * zone::kTransitionSize) ||
        !Contains(types, std::uint64_t{run.count} * 2) || !Contains(flags, run.count)) {
      return KES_ZONE_DAMAGED;
    }
    run.transitions = bytes_ + transitions;
    run.types = bytes_ + types;
    run.flags = bytes_ + flags;
    return KES_ZONE_OK;
  }

  std::uint64_t Key(const ZoneRun& run, std::uint32_t i) const noexcept {
    return KeyOfBytes(run.transitions + std::size_t{i} * zone::kTransitionSize, swapped_);
  }
  // In this machine's byte order.
  LdiDate Transition(const ZoneRun& run, std::uint32_t i) const noexcept {
    LdiDate date;
    std::memcpy(&date, run.transitions + std::size_t{i} * zone::kTransitionSize, sizeof date);
    if (swapped_) {
      date.year =
          static_cast<std::int16_t>(__builtin_bswap16(static_cast<std::uint16_t>(date.year)));
      date.fraction = __builtin_bswap32(date.fraction);
      date.region = __builtin_bswap16(date.region);
      date.reserved = __builtin_bswap16(date.reserved);
    }
    return date;
  }
  bool Daylight(const ZoneRun& run, std::uint32_t i) const noexcept { return run.flags[i] != 0; }
  // The place of the zone type of a transition; false when it leads outside.
  bool TypeAt(const ZoneRun& run, std::uint32_t i, std::size_t& at) const noexcept {
    std::uint16_t type;
    std::memcpy(&type, run.types + std::size_t{i} * 2, sizeof type);
    if (swapped_) type = __builtin_bswap16(type);
    const std::uint64_t place = U32(zone::kTypesAt) + std::uint64_t{type} * zone::kTypeSize;
    at = static_cast<std::size_t>(place);
    return Contains(place, zone::kTypeSize);
  }
  std::int32_t Offset(std::size_t type_at) const noexcept {
    return static_cast<std::int32_t>(U32(type_at + zone::kTypeOffsetAt));
  }
  const char* Abbreviation(std::size_t type_at) const noexcept {
    return Text(U32(type_at + zone::kTypeNameAt));
  }

 private:
  static constexpr std::uint32_t kUnknown = UINT32_MAX;
  const std::uint8_t* bytes_ = nullptr;
  std::uint32_t size_ = 0;
  mutable std::uint32_t strings_end_ = kUnknown;
  bool swapped_ = false;
};

}  // namespace kestra::datetime
