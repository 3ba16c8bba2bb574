// Checking the bytes of data objects and boot files before anything relies on them.
//
// The bounds pass runs on every object, whatever its byte order was. What it proves is what the
// accessors of object_view.h and the conversion loops rely on; see CheckObject.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace kestra::nls {

// A static English text that names the first fault; null: none.
using Fault = const char*;

// Header of a boot file, in native order: magic, version and a size that covers the entries.
Fault CheckBootHeader(std::span<const std::uint8_t> header) noexcept;
// The eleven run words are non-decreasing.
Fault CheckBootRuns(std::span<const std::uint8_t> header) noexcept;
// A whole boot object: also that the runs lie in the directory, hold entries of their type in
// strictly ascending order of ids with terminated names, and that there are a language, a
// territory and a character set with the id 1. Entry 0 belongs to no run.
Fault CheckBootDirectory(const std::uint8_t* boot, std::size_t size) noexcept;

// Header of an object, in native order: magic and version.
Fault CheckObjectHeader(std::span<const std::uint8_t> header) noexcept;

// The table offsets never decrease and stay inside the object, and every table is as large as the
// counts say. Enough to walk the tables, not to follow what is in them.
Fault CheckTables(std::span<const std::uint8_t> object) noexcept;

// The bounds pass: CheckTables, and that every number in a table that leads to another place leads
// into its table.
//   character set: row numbers by lead byte and in the cells of inner rows, cell ranges of rows,
//     block numbers of the encode and class indexes, indexes of class words, lengths of the UTF-8
//     and replacement bytes; code points are at most 10FFFF.
//   calendar: string offsets lie in the strings, which end in a NUL.
Fault CheckObject(std::span<const std::uint8_t> object) noexcept;

// lxlchkobj: the rules that an object of the platform's byte order has to meet on top of the bounds
// pass: string offsets strictly increasing, the variable part where the header says. Types above 8
// are accepted.
Fault lxlchkobj(std::span<const std::uint8_t> object) noexcept;

// Byte order of a file: true when it differs from the platform's.
bool HasForeignOrder(std::uint8_t byte_flags) noexcept;

// Swap in place. lxladjobj swaps the tables of an object whose header (SwapObjectHeader) is in
// native order already, and answers false when they are not inside the object.
void SwapBootHeader(std::span<std::uint8_t> header) noexcept;
void SwapBootEntries(std::span<std::uint8_t> boot) noexcept;
void SwapObjectHeader(std::span<std::uint8_t> header) noexcept;
bool lxladjobj(std::span<std::uint8_t> object) noexcept;

}  // namespace kestra::nls
