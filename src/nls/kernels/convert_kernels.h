// Kernels of conversion: long runs without anything special in them.
//
// A kernel converts a prefix of its source and stops in front of the first character that is
// malformed, incomplete, U+FFFD or not in the set, and when the room may not suffice for its next
// step. The caller converts on from there character by character, so a kernel never replaces,
// never reports, and may stop early for any reason of its own. It writes nothing outside the room;
// within it, bytes behind the result may be overwritten.
//
// "Units" are UTF-16 code units in the platform's order, well formed and without U+FFFD.
// tests/nls/lxg_kernels_test.cc compares every kernel with the scalar ones.
#pragma once

#include <cstddef>
#include <cstdint>

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

// The tables of a multibyte source.
struct MultibyteDecodeTable {
  const std::uint16_t* code_points;  // by byte, FFFF: not a character by itself
  const std::uint16_t* classes;      // by first byte, bits 0-1: bytes that follow
  const std::uint8_t* leads;         // u16 by first byte: row + 1
  const std::uint8_t* rows;          // 8 bytes each
  const std::uint8_t* cells;
  std::uint32_t row_count;  // 0 also when the leads are missing
  std::uint32_t cell_count;
  bool wide;   // cells of four bytes, else of two
  bool ascii;  // bytes below 80 are ASCII
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

// Text in, text out; sizes and rooms in bytes.
using TextKernel = Progress (*)(const std::uint8_t* in, std::size_t size, std::uint8_t* out,
                                std::size_t room) noexcept;

struct ConvertKernels {
  // Copies bytes below 80 up to the first other one; returns how many.
  std::size_t (*copy_ascii)(const std::uint8_t* in, std::size_t size, std::uint8_t* out) noexcept;
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
  // Single-byte text to as many units, by the 256 code points of the set (FFFF: none).
  std::size_t (*single_to_units)(const std::uint16_t* code_points, const std::uint8_t* in,
                                 std::size_t size, std::uint16_t* out) noexcept;
  // Units to as many bytes.
  std::size_t (*units_to_single)(const ByteEncodeTable& table, const std::uint16_t* in,
                                 std::size_t count, std::uint8_t* out) noexcept;
  // One- and two-byte characters of the basic plane.
  Progress (*multibyte_to_units)(const MultibyteDecodeTable& table, const std::uint8_t* in,
                                 std::size_t size, std::uint16_t* out, std::size_t room) noexcept;
};

extern const ConvertKernels kScalarConvertKernels;
#if defined(__x86_64__) && defined(__GNUC__)
extern const ConvertKernels kAvx512ConvertKernels;
#endif

// Those of the processor's level (core/os/cpu.h).
const ConvertKernels& GetConvertKernels() noexcept;

}  // namespace kestra::nls::kernels
