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
  std::memcpy(c.out, c.in, size);
  c.in += size;
  c.out += size;
  c.characters += size;
  c.full = c.in < c.in_end;
}

// The two commonest conversions into UTF-8 go to their kernel at once: for short texts the choice
// of a path is most of the work. False: something is left for the path.
bool RunShortCut(Conversion& c, CharsetView source) noexcept {
  const kernels::ConvertKernels& run = kernels::GetConvertKernels();
  if (source.id() == 2000) {
    const std::size_t size = c.source_left() & ~std::size_t{1};
    const kernels::Progress done = run.utf16be_to_utf8(c.in, size, c.out, c.room());
    Advance(c, done.consumed, done.written, done.characters);
    return done.consumed == size;
  }
  if (source.id() == 1 && source.ascii_runs()) {
    const std::size_t done = run.copy_ascii(c.in, std::min(c.source_left(), c.room()), c.out);
    Advance(c, done, done, done);
    return c.in == c.in_end;
  }
  return false;
}

void RunPath(Conversion& c, const lxobject* to, const lxobject* from, convert::Markup markup,
             lxcontext* context) noexcept {
  if (IsRaw(to) || IsRaw(from)) {
    CopyBytes(c);
    return;
  }
  const CharsetView source(from);
  const CharsetView destination(to);
  if (destination.id() == 873 && markup == convert::Markup::kNone && RunShortCut(c, source)) return;
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

std::size_t convert::ConvertCall(DestinationText destination, SourceText source,
                                 std::uint32_t options, Markup markup,
                                 lxcontext* context) noexcept {
  if (destination.bytes == nullptr) destination.length = 0;
  if (source.bytes == nullptr) source.length = 0;
  Conversion c{.start = source.bytes,
               .in = source.bytes,
               .in_end = source.bytes + source.length,
               .out = destination.bytes,
               .out_end = destination.bytes + destination.length};
  c.stop = (options & KES_CONVERT_STOP) != 0;
  c.more = (options & KES_CONVERT_MORE) != 0;
  if ((options & KES_CONVERT_CONTINUE) != 0) {
    c.shift_in = context->status.shift_in;
    c.shift_out = context->status.shift_out;
  }
  const bool returns = source.length == 0 && c.shift_out != 0 && !c.more;
  if (destination.length != 0 && (source.length != 0 || returns)) {
    RunPath(c, destination.charset, source.charset, markup, context);
  } else {
    c.full = source.length != 0 || returns;
  }
  ReportStatus(c, TakesOneOff(c, destination.charset, source.charset), context);
  return static_cast<std::size_t>(c.out - destination.bytes);
}

}  // namespace kestra::nls

extern "C" {

size_t lxgcnvb(uint8_t* destination, const lxobject* destination_charset, size_t destination_length,
               const uint8_t* source, const lxobject* source_charset, size_t source_length,
               uint32_t options, lxcontext* context) noexcept {
  using namespace kestra::nls::convert;
  return ConvertCall({destination, destination_length, destination_charset},
                     {source, source_length, source_charset}, options, Markup::kNone, context);
}

size_t lxgcnv(uint8_t* destination, const lxobject* destination_charset, size_t destination_length,
              const uint8_t* source, const lxobject* source_charset, size_t source_length,
              lxcontext* context) noexcept {
  return lxgcnvb(destination, destination_charset, destination_length, source, source_charset,
                 source_length, 0, context);
}

}  // extern "C"
