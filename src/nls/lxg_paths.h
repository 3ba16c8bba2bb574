// The paths of conversion: one loop for each kind of source and kind of destination.
#pragma once

#include "nls/lxg_conversion.h"
#include "nls/object_view.h"

namespace kestra::nls::convert {

// How a set is read and written. The kinds behind kPathCount go by blocks (lxg_blocks.h).
enum class SetKind : std::uint8_t {
  kUtf8,           // 873
  kUtf8Units,      // 871
  kUtfEbcdic,      // 872
  kUtf16Be,        // 2000, and 1000 as destination
  kUtf16Le,        // 2002
  kSingle,         // single-byte tables
  kMultibyte,      // multibyte tables, characters of at most 2 bytes
  kMultibyteWide,  // multibyte tables, up to 4 bytes
  kGb18030,        // 854
  kPathCount,
  kUtf16Marked = kPathCount,  // 1000 as source: ResolveByteOrder makes one of the two orders of it
  kStateful,                  // shift-out, shift-in
  kIso2022,
};

inline SetKind KindOf(CharsetView set) noexcept {
  switch (set.id()) {
    case 871:
      return SetKind::kUtf8Units;
    case 872:
      return SetKind::kUtfEbcdic;
    case 873:
      return SetKind::kUtf8;
    case 1000:
      return SetKind::kUtf16Marked;
    case 2000:
      return SetKind::kUtf16Be;
    case 2002:
      return SetKind::kUtf16Le;
    case 854:
      return SetKind::kGb18030;
    default:
      break;
  }
  if (set.id() >= 9994 && set.id() <= 9999) return SetKind::kIso2022;
  if (set.class_byte() == 1) return SetKind::kStateful;
  if ((set.flags() & nlb::charset::kMultibyteFlag) == 0) return SetKind::kSingle;
  return set.encode_width() == 4 ? SetKind::kMultibyteWide : SetKind::kMultibyte;
}

// For a source: settles the byte order of id 1000 by its mark, which is passed over, else
// big-endian; cuts the odd last byte off any UTF-16 source.
SetKind ResolveByteOrder(Conversion& c, SetKind kind) noexcept;

using Path = void (*)(Conversion&, CharsetView source, CharsetView destination) noexcept;

// Null: the pair goes by blocks, because a side of it carries a state.
Path FindPath(SetKind source, SetKind destination) noexcept;

}  // namespace kestra::nls::convert
