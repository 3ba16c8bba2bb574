// lxgcnv, lxgcnvb: checks of the arguments, choice of the path, status.
//
// Paths, first match wins: copy (a set is missing, or is the set of raw bytes); Unicode forms among
// each other; and for sets described by tables, to, from and through Unicode. Files:
//   lxg_conversion.h     state, and the loop all paths share
//   lxg_unicode_codec.h  lxg_table_codec.h   reading and writing one character of a set
//   lxg_paths.cc         the loops, one for each kind of source and of destination
//   kernels/             long runs
#include <algorithm>

#include "kestra/convert.h"
#include "kestra/object.h"
#include "nls/lxg_paths.h"

namespace kestra::nls {
namespace {

using convert::Conversion;
using convert::SetKind;

bool IsRaw(const lxobject* set) noexcept {
  return set == nullptr || reinterpret_cast<const std::uint8_t*>(set) == lxdlwkb;
}

void CopyBytes(Conversion& c) noexcept {
  const std::size_t size = std::min(c.source_left(), c.room());
  std::memcpy(c.out, c.in, size);
  c.in += size;
  c.out += size;
  c.characters += size;
  c.full = c.in < c.in_end;
}

void RunPath(Conversion& c, const lxobject* to, const lxobject* from) noexcept {
  if (IsRaw(to) || IsRaw(from)) {
    CopyBytes(c);
    return;
  }
  const CharsetView source(from);
  const CharsetView destination(to);
  const SetKind source_kind = convert::ResolveByteOrder(c, convert::KindOf(source));
  const SetKind destination_kind = convert::KindOf(destination);
  if (c.in == c.in_end) return;  // nothing but a byte-order mark
  if (const convert::Path path = convert::FindPath(source_kind, destination_kind)) {
    path(c, source, destination);
  } else {
    c.unavailable = true;
  }
}

// From big-endian UTF-16 into UTF-8 the count of characters is that of the units read, less the
// pairs and less one after error 6: the unit that did not fit. It is taken off also where the
// destination was filled to its last byte and no further unit was read.
bool TakesOneOff(const Conversion& c, const lxobject* to, const lxobject* from) noexcept {
  return c.full && c.room() == 0 && c.characters != 0 && !IsRaw(to) && !IsRaw(from) &&
         CharsetView(from).id() == 2000 && CharsetView(to).id() == 873;
}

void ReportStatus(const Conversion& c, bool one_off, lxcontext* context) noexcept {
  context->error = c.unavailable ? std::uint32_t{KES_NLS_OBJECT_UNAVAILABLE}
                   : c.full      ? std::uint32_t{KES_NLS_DESTINATION_FULL}
                                 : std::uint32_t{KES_NLS_OK};
  lxstatus status{};
  status.consumed = static_cast<std::uint64_t>(c.in - c.start);
  status.first_replaced = c.first_replaced;
  status.characters_total = c.characters;
  status.characters = static_cast<std::uint16_t>(c.characters - (one_off ? 1 : 0));
  status.replacement = c.produced_replacement ? 1000 : 0;
  context->status = status;
}

}  // namespace
}  // namespace kestra::nls

extern "C" {

size_t lxgcnvb(uint8_t* destination, const lxobject* destination_charset, size_t destination_length,
               const uint8_t* source, const lxobject* source_charset, size_t source_length,
               uint32_t options, lxcontext* context) noexcept {
  using namespace kestra::nls;
  if (destination == nullptr) destination_length = 0;
  if (source == nullptr) source_length = 0;
  convert::Conversion c{.start = source,
                        .in = source,
                        .in_end = source + source_length,
                        .out = destination,
                        .out_end = destination + destination_length};
  c.stop = (options & KES_CONVERT_STOP) != 0;
  c.more = (options & KES_CONVERT_MORE) != 0;
  if (source_length != 0 && destination_length != 0) {
    RunPath(c, destination_charset, source_charset);
  } else {
    c.full = source_length != 0;
  }
  ReportStatus(c, TakesOneOff(c, destination_charset, source_charset), context);
  return static_cast<size_t>(c.out - destination);
}

size_t lxgcnv(uint8_t* destination, const lxobject* destination_charset, size_t destination_length,
              const uint8_t* source, const lxobject* source_charset, size_t source_length,
              lxcontext* context) noexcept {
  return lxgcnvb(destination, destination_charset, destination_length, source, source_charset,
                 source_length, 0, context);
}

}  // extern "C"
