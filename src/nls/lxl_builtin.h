// Built-in objects: what remains when there is no boot file, and character sets that have no file.
#pragma once

#include <cstddef>
#include <cstdint>

#include "kestra/object.h"

namespace kestra::nls::builtin {

// lxdlbot has a language, a territory and a character set, in the slots 1, 2 and 3.
inline constexpr std::size_t kBootSize = 48 + 4 * 40;

// The UTF-16 forms without a directory entry: UTF16 (1000: the order that a mark tells, else
// big-endian) and AL16UTF16LE (2002). Their classes are those of AL16UTF16 (2000).
inline constexpr std::uint32_t kUtf16Id = 1000;
inline constexpr std::uint32_t kAl16Utf16Id = 2000;
inline constexpr std::uint32_t kAl16Utf16LeId = 2002;
const lxobject* Utf16() noexcept;
const lxobject* Al16Utf16Le() noexcept;

// The ISO-2022 sets, which are for conversion only; null for other ids.
inline constexpr std::uint32_t kIso2022FirstId = 9994;
inline constexpr std::uint32_t kIso2022LastId = 9999;
const lxobject* Iso2022(std::uint32_t id) noexcept;

// The built-in US7ASCII: the character set of the names in the directory.
inline const lxobject* Us7Ascii() noexcept { return reinterpret_cast<const lxobject*>(lxdlchr); }

}  // namespace kestra::nls::builtin
