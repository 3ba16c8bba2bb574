// Kernels of conversion: long runs without anything special in them.
//
// A kernel converts a prefix of its source and stops in front of the first character that is
// malformed, incomplete, U+FFFD or not in the set, and when the room may not suffice for its next
// step. The caller converts on from there character by character, so a kernel never replaces,
// never reports, and may stop early for any reason of its own. It writes nothing outside the room;
// within it, bytes behind the result may be overwritten.
//
// "Units" are UTF-16 code units in the platform's order, well formed and without U+FFFD.
// tests/nls/lxg_laws_test.cc and fuzz/lxg_convert_fuzz.cc compare every kernel with the scalar
// ones.
#pragma once

#include <cstddef>
#include <cstdint>

#include "core/os/cpu.h"
#include "nls/object_view.h"

namespace kestra::nls::kernels {

struct Progress {
  std::size_t consumed = 0;  // bytes of a text, or units
  std::size_t written = 0;   // the same of the other side
  std::size_t characters = 0;
};

// The tables of a single-byte destination, as TableEncoder holds them.
struct ByteEncodeTable {
  const std::uint8_t* index;  // u16 block numbers, by code point >> 6
  const std::uint8_t* cells;  // blocks of 64 bytes
  std::uint32_t index_size;
  std::uint32_t block_count;
  bool maps_nul;
};

inline std::uint32_t FindByteCell(const ByteEncodeTable& table, std::uint32_t code_point) noexcept {
  const std::uint32_t slot = code_point >> 6;
  if (slot >= table.index_size) return 0;
  const std::uint32_t block = LoadAt<std::uint16_t>(table.index, std::size_t{2} * slot);
  return block < table.block_count ? table.cells[std::size_t{block} * 64 + (code_point & 63)] : 0u;
}

// The rows of the first bytes 80..FF of pairs, collected for long texts: the cell of the first trail
// byte, that byte, and the number of trail bytes (0: no row).
struct LeadRows {
  std::uint32_t cell[128];
  std::uint8_t first[128];
  std::uint8_t count[128];
};

// The tables of a multibyte source.
struct MultibyteDecodeTable {
  const std::uint16_t* code_points;  // by byte, FFFF: not a character by itself
  const std::uint16_t* classes;      // by first byte, bits 0-1: bytes that follow
  const std::uint8_t* leads;         // u16 by first byte: row + 1
  const std::uint8_t* rows;          // 8 bytes each
  const std::uint8_t* cells;
  std::uint32_t row_count;  // 0 also when the leads are missing
  std::uint32_t cell_count;
  bool wide;                  // cells of four bytes, else of two
  bool ascii;                 // bytes below 80 are ASCII
  bool longer;                // there are characters of more than two bytes
  const LeadRows* lead_rows;  // null: not collected
};

// Number of the cell that a trail byte chooses in a row; kNoCell: none.
inline constexpr std::uint32_t kNoCell = 0xFFFFFFFF;
inline std::uint32_t FindRowCell(const MultibyteDecodeTable& table, std::uint32_t row,
                                 std::uint32_t trail) noexcept {
  if (row >= table.row_count) return kNoCell;
  const std::uint8_t* entry = table.rows + std::size_t{row} * 8;
  if (trail < entry[0] || trail > entry[1]) return kNoCell;
  const std::uint64_t cell = std::uint64_t{LoadAt<std::uint32_t>(entry, 4)} + (trail - entry[0]);
  return cell < table.cell_count ? static_cast<std::uint32_t>(cell) : kNoCell;
}
inline std::uint32_t LoadCell(const MultibyteDecodeTable& table, std::uint32_t cell) noexcept {
  return table.wide ? LoadAt<std::uint32_t>(table.cells, std::size_t{4} * cell)
                    : LoadAt<std::uint16_t>(table.cells, std::size_t{2} * cell);
}

// For each 64 units of the basic plane what to add to a unit for the number of its cell, modulo
// 2^32; collected for long texts.
struct EncodeBases {
  static constexpr std::uint32_t kCount = 0x10000 >> 6;
  std::uint32_t base[kCount];
};

// The tables of a multibyte destination: cells of width bytes, a character's bytes as one number.
struct MultibyteEncodeTable {
  const std::uint8_t* index;
  const std::uint8_t* cells;
  std::uint32_t index_size;
  std::uint32_t block_count;
  std::uint32_t width;  // 2 or 4
  bool ascii;
  const EncodeBases* bases;  // null: not collected
};

// The cell of a code point; 0 for none, and for U+0000.
inline std::uint32_t FindEncodeCell(const MultibyteEncodeTable& table,
                                    std::uint32_t code_point) noexcept {
  const std::uint32_t slot = code_point >> 6;
  if (slot >= table.index_size) return 0;
  const std::uint32_t block = LoadAt<std::uint16_t>(table.index, std::size_t{2} * slot);
  if (block >= table.block_count) return 0;
  const std::size_t cell = std::size_t{block} * 64 + (code_point & 63);
  return table.width == 2 ? LoadAt<std::uint16_t>(table.cells, 2 * cell)
                          : LoadAt<std::uint32_t>(table.cells, 4 * cell);
}

// False: the tables are not in order, and units have to be looked up one check at a time.
inline bool CollectBases(const MultibyteEncodeTable& table, EncodeBases& bases) noexcept {
  // Surrogates have no cells, so their block is that of all units without one.
  constexpr std::uint32_t kSurrogates = 0xD800 >> 6;
  if (table.index_size <= kSurrogates) return false;
  const std::uint32_t empty = LoadAt<std::uint16_t>(table.index, 2 * kSurrogates);
  std::uint32_t highest = empty;
  if (empty >= table.block_count) return false;
  const std::uint8_t* cells = table.cells + std::size_t{empty} * 64 * table.width;
  for (std::size_t i = 0; i < std::size_t{64} * table.width; ++i) {
    if (cells[i] != 0) return false;
  }
  const std::uint32_t listed =
      table.index_size < EncodeBases::kCount ? table.index_size : EncodeBases::kCount;
  for (std::uint32_t slot = 0; slot < listed; ++slot) {
    const std::uint32_t block = LoadAt<std::uint16_t>(table.index, std::size_t{2} * slot);
    highest = block > highest ? block : highest;
    bases.base[slot] = (block - slot) * 64;
  }
  for (std::uint32_t slot = listed; slot < EncodeBases::kCount; ++slot) {
    bases.base[slot] = (empty - slot) * 64;
  }
  return highest < table.block_count;
}

inline void CollectLeadRows(const MultibyteDecodeTable& table, LeadRows& rows) noexcept {
  for (std::size_t i = 0; i < 128; ++i) {
    const std::uint32_t row = LoadAt<std::uint16_t>(table.leads, 2 * (i + 128)) - 1u;
    rows.cell[i] = rows.first[i] = rows.count[i] = 0;
    if (row >= table.row_count || (table.classes[i + 128] & 3u) != 1) continue;
    if (table.code_points[i + 128] != nlb::charset::kNoCharacter) continue;
    const std::uint8_t* entry = table.rows + std::size_t{8} * row;
    if (entry[0] > entry[1]) continue;
    rows.cell[i] = LoadAt<std::uint32_t>(entry, 4);
    rows.first[i] = entry[0];
    rows.count[i] = static_cast<std::uint8_t>(entry[1] - entry[0] + 1);
  }
}

// Text in, text out; sizes and rooms in bytes.
using TextKernel = Progress (*)(const std::uint8_t* in, std::size_t size, std::uint8_t* out,
                                std::size_t room) noexcept;

struct ConvertKernels {
  // Copies bytes below 80 up to the first other one; returns how many.
  std::size_t (*copy_ascii)(const std::uint8_t* in, std::size_t size, std::uint8_t* out) noexcept;
  // The same, also up to the first SO, SI or ESC.
  std::size_t (*copy_unshifted)(const std::uint8_t* in, std::size_t size,
                                std::uint8_t* out) noexcept;
  // Bytes below 80 to units and back, up to the first other one.
  std::size_t (*widen_ascii)(const std::uint8_t* in, std::size_t size, std::uint16_t* out) noexcept;
  std::size_t (*narrow_ascii)(const std::uint16_t* in, std::size_t count,
                              std::uint8_t* out) noexcept;
  TextKernel utf16be_to_utf8;
  TextKernel utf16le_to_utf8;
  TextKernel utf8_to_utf16be;
  TextKernel utf8_to_utf16le;
  // UTF-16 text of count units; stops at surrogates as well.
  std::size_t (*utf16be_to_units)(const std::uint8_t* in, std::size_t count,
                                  std::uint16_t* out) noexcept;
  std::size_t (*utf16le_to_units)(const std::uint8_t* in, std::size_t count,
                                  std::uint16_t* out) noexcept;
  // Code points to as many units, up to the first that is not one unit or is U+FFFD.
  std::size_t (*narrow_code_points)(const std::uint32_t* in, std::size_t count,
                                    std::uint16_t* out) noexcept;
  // Single-byte text to as many units, by the 256 code points of the set (FFFF: none).
  std::size_t (*single_to_units)(const std::uint16_t* code_points, const std::uint8_t* in,
                                 std::size_t size, std::uint16_t* out) noexcept;
  // Units to as many bytes.
  std::size_t (*units_to_single)(const ByteEncodeTable& table, const std::uint16_t* in,
                                 std::size_t count, std::uint8_t* out) noexcept;
  // Single-byte text straight to UTF-8 and back; ascii: bytes below 80 are ASCII.
  Progress (*single_to_utf8)(const std::uint16_t* code_points, bool ascii, const std::uint8_t* in,
                             std::size_t size, std::uint8_t* out, std::size_t room) noexcept;
  Progress (*utf8_to_single)(const ByteEncodeTable& table, bool ascii, const std::uint8_t* in,
                             std::size_t size, std::uint8_t* out, std::size_t room) noexcept;
  // One- and two-byte characters of the basic plane.
  Progress (*multibyte_to_units)(const MultibyteDecodeTable& table, const std::uint8_t* in,
                                 std::size_t size, std::uint16_t* out, std::size_t room) noexcept;
  // The room, in bytes, is at least table.width for each unit.
  Progress (*units_to_multibyte)(const MultibyteEncodeTable& table, const std::uint16_t* in,
                                 std::size_t count, std::uint8_t* out, std::size_t room) noexcept;
};

extern const ConvertKernels kScalarConvertKernels;
// By level.
#if defined(__x86_64__) && defined(__GNUC__)
extern const ConvertKernels kAvx2ConvertKernels;
extern const ConvertKernels kAvx512ConvertKernels;
inline const ConvertKernels* const kConvertKernels[] = {
    &kScalarConvertKernels, &kAvx2ConvertKernels, &kAvx512ConvertKernels};
#else
inline const ConvertKernels* const kConvertKernels[] = {
    &kScalarConvertKernels, &kScalarConvertKernels, &kScalarConvertKernels};
#endif

// Those of the processor's level.
inline const ConvertKernels& GetConvertKernels() noexcept {
  return *kConvertKernels[static_cast<int>(os::GetCpuLevel())];
}

}  // namespace kestra::nls::kernels
