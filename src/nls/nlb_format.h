// Layout of locale data objects and boot files: the one description that the loader and the data
// compiler share. docs/formats/ tells the same byte by byte.
//
// Every object is one allocation used in place. A multi-byte field is in the byte order that the
// flags byte of the header tells; the loader puts it into the platform's order. Table offsets are
// relative to the type's base.
#pragma once

#include <cstddef>
#include <cstdint>

#include "core/os/archive_format.h"

namespace kestra::nls::nlb {

inline constexpr std::uint32_t kMinVersion = 0x02100000;
inline constexpr std::uint32_t kVersion = 0x02100000;
inline constexpr std::uint32_t kRelease = 19000000;
inline constexpr std::uint8_t kBigEndianFlag = 0x10;  // bit 4 of the flags byte
inline constexpr std::uint32_t kIdMask = 0x3FFF;      // low 14 bits of an id word

// Boot file: header, then 40-byte entries. Entry 0 is empty. Run n of the ten runs holds the
// objects of type n.
namespace boot {
inline constexpr std::size_t kHeaderSize = 48;
inline constexpr std::size_t kEntrySize = 40;
inline constexpr std::size_t kVersionAt = 0;
inline constexpr std::size_t kReleaseAt = 4;  // u32, reserved for the loader: data release
inline constexpr std::size_t kSizeAt = 8;     // u32, total file size
inline constexpr std::size_t kReservedAt = 12;
inline constexpr std::size_t kFlagsAt = 16;  // u32
inline constexpr std::uint32_t kBuiltInFlag = 2;
inline constexpr std::size_t kRunsAt = 20;  // u16 x 10, the run starts; the entry count follows
inline constexpr std::size_t kRunCount = 10;
inline constexpr std::size_t kCountAt = 40;  // u16
inline constexpr std::size_t kMagicAt = 44;
inline constexpr std::uint8_t kMagic = 0xA5;
inline constexpr std::size_t kByteFlagsAt = 45;
inline constexpr std::uint8_t kAsciiNamesFlag = 1;
// Offsets inside an entry.
inline constexpr std::size_t kEntryObjectSizeAt = 0;  // u32
inline constexpr std::size_t kEntryTypeAt = 4;        // u16
inline constexpr std::size_t kEntryIdAt = 6;          // u16, low 14 bits; the top 2 are flags
inline constexpr std::size_t kEntryNameLengthAt = 8;  // u8, with the NUL, 1..29
inline constexpr std::size_t kEntryNameAt = 9;
inline constexpr std::size_t kEntryNameSize = 29;
inline constexpr std::size_t kEntryFlags1At = 38;
inline constexpr std::size_t kEntryFlags2At = 39;
}  // namespace boot

// Header of every object.
inline constexpr std::size_t kHeaderSize = 92;
inline constexpr std::size_t kVersionAt = 0;
inline constexpr std::size_t kReleaseAt = 4;        // u32
inline constexpr std::size_t kSizeAt = 8;           // u32, total size
inline constexpr std::size_t kVariablePartAt = 12;  // u32, equals the type's end-offset field
inline constexpr std::size_t kChecksumAt = 16;      // u32, CRC-32 of bytes 92.. as stored
inline constexpr std::size_t kTypeAt = 20;          // u16
inline constexpr std::size_t kObjectIdAt = 22;      // u16
inline constexpr std::size_t kMagicAt = 25;
inline constexpr std::uint8_t kMagic = 'Z';
inline constexpr std::size_t kByteFlagsAt = 26;
inline constexpr std::size_t kNameAt = 28;  // the directory's name again, NUL-padded
inline constexpr std::size_t kNameSize = 30;
inline constexpr std::size_t kSourceAt = 58;  // versions of the sources, ASCII, NUL-padded
inline constexpr std::size_t kSourceSize = 34;

// Language (type 0): string s is at kBase + offset[s], NUL-terminated UTF-8. Strings 0-61 are the
// query items of the same numbers (60: the name); 62 is the long date format. Every string has at
// least its NUL, so that offsets strictly increase; the end offset closes the last one.
namespace language {
inline constexpr std::size_t kIdAt = 92;                // u16
inline constexpr std::size_t kDefaultCharsetAt = 94;    // u16 id
inline constexpr std::size_t kDefaultTerritoryAt = 96;  // u16 id
inline constexpr std::size_t kStringCharsetAt = 98;     // u16 id, 873
inline constexpr std::size_t kFlagsAt = 100;            // u16
inline constexpr std::uint16_t kRightToLeftFlag = 1;
inline constexpr std::uint16_t kLowerCaseNamesFlag = 2;
inline constexpr std::size_t kDefaultSortAt = 102;  // u16 id, 0 none
inline constexpr std::size_t kOffsetsAt = 106;      // u16 x kStringCount
inline constexpr std::size_t kStringCount = 95;
inline constexpr std::size_t kEndOffsetAt = 296;  // u32
inline constexpr std::size_t kBase = 324;
inline constexpr std::size_t kLongDate = 62;  // item 143
}  // namespace language

// Territory (type 1): string s is at kBase + offset[s], NUL-terminated UTF-8, strictly increasing.
namespace territory {
inline constexpr std::size_t kIdAt = 92;              // u16
inline constexpr std::size_t kIsoNumberAt = 94;       // u16
inline constexpr std::size_t kFirstDayAt = 96;        // u8, 0 Sunday
inline constexpr std::size_t kMinDaysAt = 97;         // u8, days that make a first week (ISO: 4)
inline constexpr std::size_t kCurrencyDigitsAt = 98;  // u8
inline constexpr std::size_t kStringCharsetAt = 100;  // u16 id, 873
inline constexpr std::size_t kFlagsAt = 102;          // u16
inline constexpr std::size_t kOffsetsAt = 120;        // u16 x 48
inline constexpr std::size_t kStringCount = 48;
inline constexpr std::size_t kEndOffsetAt = 216;  // u32
inline constexpr std::size_t kBase = 228;
// Strings, with the query item that answers them.
inline constexpr std::size_t kCurrency = 0;      // 69
inline constexpr std::size_t kIsoCurrency = 1;   // 70, three letters
inline constexpr std::size_t kNumeric = 2;       // 71, decimal and group character
inline constexpr std::size_t kMonetary = 3;      // 72
inline constexpr std::size_t kList = 4;          // 73
inline constexpr std::size_t kDebit = 5;         // 74
inline constexpr std::size_t kCredit = 6;        // 75
inline constexpr std::size_t kDateFormat = 7;    // 76
inline constexpr std::size_t kDualCurrency = 8;  // 121
inline constexpr std::size_t kTime = 9;          // 126
inline constexpr std::size_t kTimestamp = 10;    // 127
inline constexpr std::size_t kTimeTz = 11;       // 128
inline constexpr std::size_t kTimestampTz = 12;  // 129
inline constexpr std::size_t kTimeFormat = 13;   // 144
inline constexpr std::size_t kShortDate = 14;    // 151
inline constexpr std::size_t kIsoCode = 15;      // 110, ISO 3166 letters
inline constexpr std::size_t kEnglishName = 16;  // 111
inline constexpr std::size_t kNativeName = 17;   // 112, in the territory's main language
inline constexpr std::size_t kFirstUnused = 18;  // from here on: empty strings
}  // namespace territory

// Character set (type 2).
namespace charset {
inline constexpr std::size_t kIdAt = 92;     // u16
inline constexpr std::size_t kBasisAt = 94;  // u16, see Basis
inline constexpr std::size_t kFlagsAt = 96;  // u32
inline constexpr std::uint32_t kDisplayFlag = 1u << 1;
inline constexpr std::uint32_t kMultibyteFlag = 1u << 2;    // table-driven multibyte
inline constexpr std::uint32_t kAlgorithmicFlag = 1u << 7;  // 871, 872: computed, not tables
inline constexpr std::uint32_t kLeadingZeroFlag = 1u << 8;  // first byte 0: class of the second
inline constexpr std::size_t kHandleFlagsAt = 100;          // u32, a handle's KES_CHARSET_ bits
inline constexpr std::size_t kMaxBytesAt = 104;             // u8, longest character
inline constexpr std::size_t kMinBytesAt = 105;             // u8
inline constexpr std::size_t kShiftedWidthAt = 106;         // u8
inline constexpr std::size_t kShiftInAt = 107;              // u8
inline constexpr std::size_t kShiftOutAt = 108;             // u8
inline constexpr std::size_t kReplacementLengthAt = 109;    // u8, 1..4
inline constexpr std::size_t kReplacementAt = 110;          // 4 bytes
inline constexpr std::size_t kWidthsAt = 114;     // u8: bits 0-3 bytes of a decode cell (0, 2, 4),
                                                  // bits 4-7 of an encode cell (0, 1, 2, 4)
inline constexpr std::size_t kClassByteAt = 115;  // u8:
inline constexpr std::uint8_t kStatefulClass = 1;
inline constexpr std::size_t kTraitsAt = 116;     // u8:
inline constexpr std::uint8_t kAsciiTrait = 1;    // a first byte below 80 is ASCII and stands alone
inline constexpr std::uint8_t kNulTrait = 2;      // byte 00 is U+0000
inline constexpr std::size_t kClassKindAt = 117;  // u8, see ClassKind
inline constexpr std::size_t kDecodeCellsAt = 120;   // u32, number of decode cells
inline constexpr std::size_t kRowsAt = 124;          // u32, number of rows
inline constexpr std::size_t kEncodeBlocksAt = 128;  // u32, number of encode blocks
inline constexpr std::size_t kEncodeIndexAt = 132;   // u32, entries of the encode index
inline constexpr std::size_t kMappingsAt = 136;      // u32, byte sequences that decode
inline constexpr std::size_t kClassTableAt = 140;    // u16 x 256, by first byte
inline constexpr std::size_t kUpperAt = 652;         // u8 x 256, single-byte sets
inline constexpr std::size_t kLowerAt = 908;         // u8 x 256
inline constexpr std::size_t kSingleAt = 1164;  // u16 x 256: code point of a one-byte character
inline constexpr std::uint16_t kNoCharacter = 0xFFFF;  // ... or this
inline constexpr std::size_t kOffsetsAt = 2280;        // u32 x 48, non-decreasing
inline constexpr std::size_t kOffsetCount = 48;
inline constexpr std::size_t kEndOffsetAt = 2472;  // u32
inline constexpr std::size_t kBase = 2476;

enum Basis : std::uint16_t { kOther = 0, kAscii = 1, kEbcdic = 2, kIso646 = 3 };

// Tables by index of their offset. A table ends where the next begins; each is padded with zeros to
// a multiple of 4 bytes.
enum Table : std::size_t {
  // Single-byte sets: 256 x 4 bytes: the UTF-8 bytes of byte b (at most 3), then their number, 0
  // for a byte that is no character. Bytes, so the same in every byte order.
  kUtf8Table = 0,
  // Multibyte sets: u16 x 256, by first byte: row number + 1, 0 none.
  kLeadTable = 1,
  // Rows of 8 bytes: u8 first and u8 last trail byte, u16 zero, u32 cell of the first trail byte.
  // Cells of an inner row (characters of 3 or 4 bytes) hold row number + 1 instead of code points.
  kRowTable = 2,
  // u16 or u32 cells: code point, 0 no character.
  kDecodeTable = 3,
  // Classes (its offset is at byte 2296), see ClassKind.
  kClassTable = 4,
  // u16 x kClassWords: the distinct class words, which the bytes of the class table index.
  kClassWordTable = 5,
  // u16, by code point >> 6: block number. Code points past the index are unmapped.
  kEncodeIndex = 6,
  // Blocks of 64 cells of 1, 2 or 4 bytes: the bytes of the character as one number, the first byte
  // highest. As many bytes as the number needs. 0 is unmapped, except for the code point that byte
  // 00 stands for (the first entry at kSingleAt: U+0000, in braille U+2800, or none).
  kEncodeTable = 7,
  // GB18030: u16 code points of the four-byte characters below 90 30 81 30 in their linear order,
  // 0 none. Those from there on follow by counting from U+10000 and stand in no table.
  kLinearTable = 8,
  kTableCount = 9
};
// The two-byte rows of GB18030: first bytes 81..FE, each with a cell for every second byte 40..FE,
// one row after the other from cell 0.
inline constexpr std::uint32_t kGb18030Row = 191;
inline constexpr std::uint32_t kGb18030FirstTrail = 0x40;
inline constexpr std::size_t kBlockShift = 6;
inline constexpr std::size_t kBlockSize = 64;
inline constexpr std::size_t kRowSize = 8;
inline constexpr std::size_t kClassWords = 32;

enum ClassKind : std::uint8_t {
  kNoClasses = 0,    // single-byte sets: the class table by first byte says all
  kByCell = 1,       // kClassTable: u8 by decode cell
  kByCodePoint = 2,  // kClassTable: u16 x 4352 by code point >> 8 (block), then blocks of 256 u8
};
inline constexpr std::size_t kClassIndexSize = 4352;
inline constexpr std::size_t kClassBlockSize = 256;
}  // namespace charset

// Linguistic sort (type 3), supplement (4) and calendar (5) share these places.
namespace common {
inline constexpr std::size_t kOffsetsAt = 144;  // u32 x 48, non-decreasing
inline constexpr std::size_t kOffsetCount = 48;
inline constexpr std::size_t kEndOffsetAt = 336;  // u32
inline constexpr std::size_t kBase = 352;
}  // namespace common

namespace sort {
inline constexpr std::size_t kIdAt = 92;      // u16
inline constexpr std::size_t kEngineAt = 94;  // u16: 0 monolingual, 1 multi-level, 2 Unicode
inline constexpr std::uint16_t kUnicodeEngine = 2;
inline constexpr std::size_t kFlagsAt = 96;  // u32
inline constexpr std::uint32_t kContractionFlag = 1;
inline constexpr std::uint32_t kExpansionFlag = 2;
inline constexpr std::uint32_t kBackwardsFlag = 4;
inline constexpr std::uint32_t kExternalFlag = 1u << 5;
inline constexpr std::uint32_t kDefinitionOnlyFlag = 1u << 8;  // no weight tables in this object
inline constexpr std::size_t kCompareFunctionAt = 100;         // u16, index into lxsftb
inline constexpr std::size_t kKeyFunctionAt = 102;             // u16
// Tables: NUL-terminated ASCII.
inline constexpr std::size_t kLocale = 0;
inline constexpr std::size_t kType = 1;
inline constexpr std::size_t kFeatures = 2;
inline constexpr std::size_t kTableCount = 3;
}  // namespace sort

// Supplement: data common to all territories.
namespace supplement {
inline constexpr std::size_t kIdAt = 92;          // u16
inline constexpr std::size_t kCountAt = 94;       // u16, entries of table 0
inline constexpr std::uint16_t kCurrencies = 17;  // the id of the currency list
// Table 0: sorted entries of 4 bytes: three letters of ISO 4217, one byte of minor digits.
inline constexpr std::size_t kCurrencyTable = 0;
inline constexpr std::size_t kTableCount = 1;
}  // namespace supplement

namespace calendar {
inline constexpr std::size_t kIdAt = 92;          // u16
inline constexpr std::size_t kKindAt = 94;        // u16: the calendar's id whose arithmetic it has,
                                                  // 0: names only, no arithmetic
inline constexpr std::size_t kMonthsAt = 96;      // u16: 12 or 13
inline constexpr std::size_t kLanguagesAt = 98;   // u16
inline constexpr std::size_t kErasAt = 100;       // u16, entries of the era table
inline constexpr std::size_t kNamedErasAt = 102;  // u16, eras with names, at most kMaxNamedEras
inline constexpr std::size_t kYearOffsetAt = 104;  // i16: year = Gregorian year + this; 0 none
// Tables.
inline constexpr std::size_t kLanguageTable = 0;  // u16 language ids, ascending
inline constexpr std::size_t kStringIndex = 1;    // u32 x kStringsPerLanguage a language, into 2
inline constexpr std::size_t kStrings = 2;        // NUL-terminated UTF-8
inline constexpr std::size_t kEraTable = 3;       // 8 bytes each: i16 year, u8 month, u8 day
                                                  // (Gregorian start, all 0 unknown), u16 number,
                                                  // u16 zero; ascending by start
inline constexpr std::size_t kDateFormat = 4;     // default date format, NUL-terminated ASCII;
                                                  // empty: the territory's
inline constexpr std::size_t kTableCount = 5;
inline constexpr std::size_t kEraSize = 8;
// The Gregorian calendar lists no languages: its names are the language objects' own. The others
// always have AMERICAN (id 1), for languages without names of their own.
// Strings of a language: 13 months, 13 short months, era names (the latest ones), short era names.
inline constexpr std::size_t kMonthName = 0;
inline constexpr std::size_t kShortMonthName = 13;
inline constexpr std::size_t kEraName = 26;
inline constexpr std::size_t kMaxNamedEras = 8;
inline constexpr std::size_t kShortEraName = 34;
inline constexpr std::size_t kStringsPerLanguage = 42;
}  // namespace calendar

// The archive of files inside a data library.
namespace archive = os::archive;

}  // namespace kestra::nls::nlb
