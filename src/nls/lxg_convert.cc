// lxgcnv, lxgcnvb: checks of the arguments, choice of the path, status.
//
// Paths, first match wins: copy (a set is missing, or is the set of raw bytes); Unicode forms among
// each other; and for sets described by tables, to, from and through Unicode. Files:
//   lxg_conversion.h     state, and the loop all paths share
//   lxg_unicode_codec.h  lxg_table_codec.h   reading and writing one character of a set
//   lxg_paths.cc         the loops, one for each kind of source and of destination
//   lxg_blocks.h         the sets that carry a state, by blocks of code points
//   kernels/             long runs
#include <algorithm>

#include "kestra/convert.h"
#include "kestra/object.h"
#include "nls/lxg_entry.h"
#include "nls/lxg_runs.h"

namespace kestra::nls {
namespace {

using convert::Conversion;
using convert::SetKind;

bool IsRaw(const lxobject* set) noexcept {
  return set == nullptr || reinterpret_cast<const std::uint8_t*>(set) == lxdlwkb;
}

void CopyBytes(Conversion& c) noexcept {
  const std::size_t size = std::min(c.source_left(), c.room());
  if (size == 0) return;
  std::memcpy(c.out, c.in, size);
  c.in += size;
  c.out += size;
  c.characters += size;
  c.full = c.in < c.in_end;
}

// Whether a text of the set that is in the base state has ASCII as it is, but for the characters of
// shifts and escapes. Korean text begins with a header.
bool BeginsInAscii(std::uint32_t id, bool is_destination) noexcept {
  return id >= 9994 && id <= 9999 && !(is_destination && id == 9998);
}

// For short texts the choice of a path is most of the work, so some things go to their kernel at
// once: ASCII at the start of a text between sets that hold it, and UTF-16 and UTF-8. What they
// leave is for the path. Both sides are in their base state.
kernels::Progress RunShortCut(std::uint8_t* out, CharsetView destination, std::size_t room,
                              const std::uint8_t* in, CharsetView source,
                              std::size_t size) noexcept {
  const kernels::ConvertKernels& run = kernels::GetConvertKernels();
  const bool from_ascii = source.ascii_runs();
  const bool to_ascii = destination.ascii_runs();
  if (from_ascii && to_ascii) {
    if (*in >= 0x80) return {};
    const std::size_t done = run.copy_ascii(in, std::min(size, room), out);
    return {done, done, done};
  }
  const std::uint32_t from = source.id();
  const std::uint32_t to = destination.id();
  if (from == 2000 && to == 873) {
    return run.utf16be_to_utf8(in, size & ~std::size_t{1}, out, room);
  }
  if (from == 873 && to == 2000) return run.utf8_to_utf16be(in, size, out, room);
  if ((from_ascii || BeginsInAscii(from, false)) && (to_ascii || BeginsInAscii(to, true))) {
    const std::size_t done = run.copy_unshifted(in, std::min(size, room), out);
    return {done, done, done};
  }
  return {};
}

void RunPath(Conversion& c, const lxobject* to, const lxobject* from, convert::Markup markup,
             lxcontext* context) noexcept {
  if (IsRaw(to) || IsRaw(from)) {
    CopyBytes(c);
    return;
  }
  const CharsetView source(from);
  const CharsetView destination(to);
  const SetKind source_kind = convert::ResolveByteOrder(c, convert::KindOf(source));
  const SetKind destination_kind = convert::KindOf(destination);
  const convert::Path path = convert::FindPath(source_kind, destination_kind);
  if (path == nullptr || markup != convert::Markup::kNone) {
    convert::ConvertByBlocks(c, source, source_kind, destination, destination_kind, markup,
                             context);
  } else if (c.in < c.in_end) {  // else nothing but a byte-order mark
    path(c, source, destination);
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
  status.shift_in = c.shift_in;
  status.shift_out = c.shift_out;
  context->status = status;
}

}  // namespace

std::size_t convert::ConvertCall(std::uint8_t* destination, const lxobject* destination_set,
                                 std::size_t room, const std::uint8_t* source,
                                 const lxobject* source_set, std::size_t size,
                                 std::uint32_t options, Markup markup,
                                 lxcontext* context) noexcept {
  if (destination == nullptr) room = 0;
  if (source == nullptr) size = 0;
  kernels::Progress done;
  std::uint32_t shift_in = 0;
  std::uint32_t shift_out = 0;
  if ((options & KES_CONVERT_CONTINUE) != 0) {
    shift_in = context->status.shift_in;
    shift_out = context->status.shift_out;
  }
  const bool direct = markup == Markup::kNone && (shift_in | shift_out) == 0 && room != 0 &&
                      size != 0 && !IsRaw(destination_set) && !IsRaw(source_set);
  if (direct) {
    done = RunShortCut(destination, CharsetView(destination_set), room, source,
                       CharsetView(source_set), size);
    if (done.consumed == size) {
      context->error = KES_NLS_OK;
      lxstatus status{};
      status.consumed = size;
      status.first_replaced = UINT64_MAX;
      status.characters = static_cast<std::uint16_t>(done.characters);
      status.characters_total = done.characters;
      context->status = status;
      return done.written;
    }
  }
  Conversion c{.start = source,
               .in = source + done.consumed,
               .in_end = source + size,
               .out = destination + done.written,
               .out_end = destination + room,
               .shift_in = shift_in,
               .shift_out = shift_out,
               .characters = done.characters};
  c.stop = (options & KES_CONVERT_STOP) != 0;
  c.more = (options & KES_CONVERT_MORE) != 0;
  const bool returns = size == 0 && c.shift_out != 0 && !c.more;
  if (room != 0 && (size != 0 || returns)) {
    RunPath(c, destination_set, source_set, markup, context);
  } else {
    c.full = size != 0 || returns;
  }
  ReportStatus(c, TakesOneOff(c, destination_set, source_set), context);
  return static_cast<std::size_t>(c.out - destination);
}

}  // namespace kestra::nls

extern "C" {

size_t lxgcnvb(uint8_t* destination, const lxobject* destination_charset, size_t destination_length,
               const uint8_t* source, const lxobject* source_charset, size_t source_length,
               uint32_t options, lxcontext* context) noexcept {
  using namespace kestra::nls::convert;
  return ConvertCall(destination, destination_charset, destination_length, source, source_charset,
                     source_length, options, Markup::kNone, context);
}

size_t lxgcnv(uint8_t* destination, const lxobject* destination_charset, size_t destination_length,
              const uint8_t* source, const lxobject* source_charset, size_t source_length,
              lxcontext* context) noexcept {
  using namespace kestra::nls::convert;
  return ConvertCall(destination, destination_charset, destination_length, source, source_charset,
                     source_length, 0, Markup::kNone, context);
}

}  // extern "C"
