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

struct ConvertKernels {
  // Copies bytes below 80 up to the first other one; returns how many.
  std::size_t (*copy_ascii)(const std::uint8_t* in, std::size_t size, std::uint8_t* out);
  // UTF-16 text of the given byte order to UTF-8 and back; sizes and rooms in bytes.
  Progress (*utf16be_to_utf8)(const std::uint8_t* in, std::size_t size, std::uint8_t* out,
                              std::size_t room);
  Progress (*utf16le_to_utf8)(const std::uint8_t* in, std::size_t size, std::uint8_t* out,
                              std::size_t room);
  Progress (*utf8_to_utf16be)(const std::uint8_t* in, std::size_t size, std::uint8_t* out,
                              std::size_t room);
  Progress (*utf8_to_utf16le)(const std::uint8_t* in, std::size_t size, std::uint8_t* out,
                              std::size_t room);
  // Single-byte text to as many units, by the 256 code points of the set (FFFF: none).
  std::size_t (*single_to_units)(const std::uint16_t* code_points, const std::uint8_t* in,
                                 std::size_t size, std::uint16_t* out);
  // Units to as many bytes.
  std::size_t (*units_to_single)(const ByteEncodeTable& table, const std::uint16_t* in,
                                 std::size_t count, std::uint8_t* out);
  // Bytes below 80 to units and back, up to the first other one.
  std::size_t (*widen_ascii)(const std::uint8_t* in, std::size_t size, std::uint16_t* out);
  std::size_t (*narrow_ascii)(const std::uint16_t* in, std::size_t count, std::uint8_t* out);
};

extern const ConvertKernels kScalarConvertKernels;
#if defined(__x86_64__) && defined(__GNUC__)
extern const ConvertKernels kAvx512ConvertKernels;
#endif

// Those of the processor's level (core/os/cpu.h).
const ConvertKernels& GetConvertKernels() noexcept;

}  // namespace kestra::nls::kernels
