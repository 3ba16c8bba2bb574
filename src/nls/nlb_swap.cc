// Putting objects of the other byte order into the platform's.
#include <bit>
#include <cstring>

#include "nls/nlb_check.h"
#include "nls/nlb_tables.h"

namespace kestra::nls {
namespace {

void Swap16(std::uint8_t* at, std::size_t count) noexcept {
  for (std::size_t i = 0; i < count; ++i, at += 2) {
    const std::uint16_t value = __builtin_bswap16(Load16(at, 0));
    std::memcpy(at, &value, sizeof value);
  }
}

void Swap32(std::uint8_t* at, std::size_t count) noexcept {
  for (std::size_t i = 0; i < count; ++i, at += 4) {
    const std::uint32_t value = __builtin_bswap32(Load32(at, 0));
    std::memcpy(at, &value, sizeof value);
  }
}

void SwapCells(std::uint8_t* at, std::size_t count, std::size_t width) noexcept {
  if (width == 2) Swap16(at, count);
  if (width == 4) Swap32(at, count);
}

// Fields between the header and the offset table, by type.
void SwapFields(std::uint8_t* object, std::uint32_t type) noexcept {
  switch (type) {
    case KES_OBJECT_LANGUAGE:
      Swap16(object + nlb::language::kIdAt, 6);
      break;
    case KES_OBJECT_TERRITORY:
      Swap16(object + nlb::territory::kIdAt, 2);
      Swap16(object + nlb::territory::kStringCharsetAt, 2);
      break;
    case KES_OBJECT_CHARSET:
      Swap16(object + nlb::charset::kIdAt, 2);
      Swap32(object + nlb::charset::kFlagsAt, 2);
      Swap32(object + nlb::charset::kDecodeCellsAt, 5);
      Swap16(object + nlb::charset::kClassTableAt, 256);
      Swap16(object + nlb::charset::kSingleAt, 256);
      break;
    case KES_OBJECT_SORT:
      Swap16(object + nlb::sort::kIdAt, 2);
      Swap32(object + nlb::sort::kFlagsAt, 1);
      Swap16(object + nlb::sort::kCompareFunctionAt, 2);
      break;
    case KES_OBJECT_SUPPLEMENT:
      Swap16(object + nlb::supplement::kIdAt, 2);
      break;
    case KES_OBJECT_CALENDAR:
      Swap16(object + nlb::calendar::kIdAt, 7);
      break;
    default:
      break;
  }
}

void SwapCharsetTables(std::uint8_t* object) noexcept {
  using namespace nlb::charset;
  const auto table = [object](Table index) {
    return object + kBase + kCharsetOffsets.offset(object, index);
  };
  if (kCharsetOffsets.size(object, kLeadTable) >= 512) Swap16(table(kLeadTable), 256);
  std::uint8_t* row = table(kRowTable);
  for (std::size_t i = Load32(object, kRowsAt); i > 0; --i, row += kRowSize) {
    Swap16(row + 2, 1);
    Swap32(row + 4, 1);
  }
  SwapCells(table(kDecodeTable), Load32(object, kDecodeCellsAt), object[kWidthsAt] & 15u);
  SwapCells(table(kEncodeTable), kBlockSize * Load32(object, kEncodeBlocksAt),
            object[kWidthsAt] >> 4);
  Swap16(table(kEncodeIndex), Load32(object, kEncodeIndexAt));
  Swap16(table(kLinearTable), kCharsetOffsets.size(object, kLinearTable) / 2);
  if (object[kClassKindAt] == kByCodePoint) Swap16(table(kClassTable), kClassIndexSize);
  if (object[kClassKindAt] != kNoClasses) Swap16(table(kClassWordTable), kClassWords);
}

void SwapCalendarTables(std::uint8_t* object) noexcept {
  using namespace nlb::calendar;
  const auto table = [object](std::size_t index) {
    return object + nlb::common::kBase + kCommonOffsets.offset(object, index);
  };
  const std::size_t languages = Load16(object, kLanguagesAt);
  Swap16(table(kLanguageTable), languages);
  Swap32(table(kStringIndex), languages * kStringsPerLanguage);
  std::uint8_t* era = table(kEraTable);
  for (std::size_t i = Load16(object, kErasAt); i > 0; --i, era += kEraSize) {
    Swap16(era, 1);
    Swap16(era + 4, 2);
  }
}

}  // namespace

bool HasForeignOrder(std::uint8_t byte_flags) noexcept {
  return (byte_flags & nlb::kBigEndianFlag) != lxpendian;
}

void SwapBootHeader(std::span<std::uint8_t> header) noexcept {
  Swap32(header.data(), 5);
  Swap16(header.data() + nlb::boot::kRunsAt, 12);
}

void SwapBootEntries(std::span<std::uint8_t> boot) noexcept {
  const std::size_t count = Load16(boot.data(), nlb::boot::kCountAt);
  std::uint8_t* entry = boot.data() + nlb::boot::kHeaderSize;
  for (std::size_t i = 0; i < count; ++i, entry += nlb::boot::kEntrySize) {
    Swap32(entry + nlb::boot::kEntryObjectSizeAt, 1);
    Swap16(entry + nlb::boot::kEntryTypeAt, 2);
  }
}

void SwapObjectHeader(std::span<std::uint8_t> header) noexcept {
  Swap32(header.data(), 5);
  Swap16(header.data() + nlb::kTypeAt, 2);
}

bool lxladjobj(std::span<std::uint8_t> object) noexcept {
  const std::uint32_t type = Load16(object.data(), nlb::kTypeAt);
  const OffsetTable* offsets = OffsetsOf(type);
  if (offsets == nullptr) return true;
  if (object.size() < offsets->base) return false;
  SwapFields(object.data(), type);
  SwapCells(object.data() + offsets->at, offsets->count, offsets->width);
  Swap32(object.data() + offsets->end_at, 1);
  if (CheckTables(object) != nullptr) return false;
  if (type == KES_OBJECT_CHARSET) SwapCharsetTables(object.data());
  if (type == KES_OBJECT_CALENDAR) SwapCalendarTables(object.data());
  return true;
}

}  // namespace kestra::nls
