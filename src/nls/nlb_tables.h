// Where each type keeps its table of offsets; shared by checking and swapping.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "kestra/object.h"
#include "nls/nlb_format.h"
#include "nls/object_view.h"

namespace kestra::nls {

struct OffsetTable {
  std::size_t at;
  std::size_t count;
  std::size_t width;   // bytes of an offset, 2 or 4
  std::size_t end_at;  // u32, where the last table ends
  std::size_t base;    // what offsets are relative to, and the size of the fixed part

  std::uint32_t offset(const std::uint8_t* object, std::size_t index) const noexcept {
    if (index == count) return Load32(object, end_at);
    return width == 2 ? Load16(object, at + 2 * index) : Load32(object, at + 4 * index);
  }
  std::size_t size(const std::uint8_t* object, std::size_t index) const noexcept {
    return offset(object, index + 1) - offset(object, index);
  }
};

inline constexpr OffsetTable kLanguageOffsets = {nlb::language::kOffsetsAt,
                                                 nlb::language::kStringCount, 2,
                                                 nlb::language::kEndOffsetAt, nlb::language::kBase};
inline constexpr OffsetTable kTerritoryOffsets = {
    nlb::territory::kOffsetsAt, nlb::territory::kStringCount, 2, nlb::territory::kEndOffsetAt,
    nlb::territory::kBase};
inline constexpr OffsetTable kCharsetOffsets = {nlb::charset::kOffsetsAt,
                                                nlb::charset::kOffsetCount, 4,
                                                nlb::charset::kEndOffsetAt, nlb::charset::kBase};
inline constexpr OffsetTable kCommonOffsets = {nlb::common::kOffsetsAt, nlb::common::kOffsetCount,
                                               4, nlb::common::kEndOffsetAt, nlb::common::kBase};

// Null for types that have no tables.
inline const OffsetTable* OffsetsOf(std::uint32_t type) noexcept {
  switch (type) {
    case KES_OBJECT_LANGUAGE:
      return &kLanguageOffsets;
    case KES_OBJECT_TERRITORY:
      return &kTerritoryOffsets;
    case KES_OBJECT_CHARSET:
      return &kCharsetOffsets;
    case KES_OBJECT_SORT:
    case KES_OBJECT_SUPPLEMENT:
    case KES_OBJECT_CALENDAR:
      return &kCommonOffsets;
    default:
      return nullptr;
  }
}

}  // namespace kestra::nls
