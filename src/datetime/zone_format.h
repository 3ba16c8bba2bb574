// Layout of a time-zone file: the one description that the look-ups and the data compiler share.
// docs/formats/zone.md tells the same byte by byte.
//
// Header and zone entries, then tables in any order. Every integer is in the file's byte order,
// which its magic tells; offsets count from the start of the file.
#pragma once

#include <cstddef>
#include <cstdint>

namespace kestra::datetime::zone {

inline constexpr std::uint32_t kMagic = 0x4B65545A;  // "KeTZ", big-endian
inline constexpr std::uint32_t kVersion = 3;
inline constexpr std::size_t kMaxSize = 2097152;
inline constexpr std::uint32_t kMaxId = 8191;

inline constexpr std::size_t kMagicAt = 0;             // u32
inline constexpr std::size_t kSizeAt = 4;              // u32, of the whole file
inline constexpr std::size_t kVersionAt = 8;           // u16
inline constexpr std::size_t kContentAt = 10;          // u16, (year - 2000) * 100 + release letter
inline constexpr std::size_t kFileIdAt = 12;           // u16
inline constexpr std::size_t kNameCountAt = 14;        // u16
inline constexpr std::size_t kReservedAt = 16;         // 8 bytes, 0
inline constexpr std::size_t kNameIndexAt = 24;        // u32
inline constexpr std::size_t kTransitionsAt = 28;      // u32
inline constexpr std::size_t kTypesAt = 32;            // u32
inline constexpr std::size_t kTransitionTypesAt = 36;  // u32
inline constexpr std::size_t kFlagsAt = 40;            // u32
inline constexpr std::size_t kHeaderSize = 44;

// Zone entries, one for each id: entry k lies at kHeaderSize + 16 * k; entry 0 is unused.
inline constexpr std::size_t kEntrySize = 16;
inline constexpr std::size_t kEntryCountAt = 0;  // u32, transitions; 0: no such zone
inline constexpr std::size_t kEntryFirstAt = 4;  // u32, index of the first one
inline constexpr std::size_t kEntryNameAt = 8;   // u32, offset of the name
inline constexpr std::size_t kTablesAt = kHeaderSize + kEntrySize * (kMaxId + 1);

// Name index, ascending by name without regard to case.
inline constexpr std::size_t kNameSize = 8;
inline constexpr std::size_t kNameTextAt = 0;  // u32, offset
inline constexpr std::size_t kNameIdAt = 4;    // u16

// A transition: an LdiDate, UTC, of type 3, with the canonical zone in its region field. Each zone
// begins with one on 1 January of year 1.
inline constexpr std::size_t kTransitionSize = 20;
// Transition to type: u16 each. Flags: one byte each, 1 for daylight-saving time.
// A type.
inline constexpr std::size_t kTypeSize = 8;
inline constexpr std::size_t kTypeOffsetAt = 0;  // i32, seconds east of UTC
inline constexpr std::size_t kTypeNameAt = 4;    // u32, offset of the abbreviation

// What a writer puts into the file id.
inline constexpr std::uint32_t kCommonFileId = 1;    // timezone_N.dat
inline constexpr std::uint32_t kCompleteFileId = 2;  // timezlrg_N.dat

// Offsets from UTC lie within this many seconds on either side.
inline constexpr std::int32_t kMaxOffset = 26 * 3600 - 1;

// Ids that stand for their low nine bits. Never assigned to a zone.
inline constexpr std::uint16_t kReplacedIds[] = {1124, 1125, 1127, 1474, 1636, 2150, 2662};
inline constexpr std::uint32_t kCanonicalMask = 511;

}  // namespace kestra::datetime::zone
