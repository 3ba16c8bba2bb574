// The classification family: the class word of the character under the cursor.
//
// One-byte characters are answered by the class table of first bytes. Others have a class number,
// found by the cell that decodes them (table sets) or by their code point (computed sets), which
// leads to one of at most 32 class words.
#include <bit>

#include "kestra/charset.h"
#include "nls/lxg_gb18030_codec.h"
#include "nls/lxg_paths.h"
#include "nls/lxg_stateful_codec.h"
#include "nls/lxg_table_codec.h"
#include "nls/lxg_unicode_codec.h"
#include "nls/lxm_cursor.h"

namespace kestra::nls::cursor {
namespace {

using convert::Decoded;
using convert::SetKind;

std::uint32_t WordOfClass(CharsetView set, std::uint32_t number) noexcept {
  if (number >= set.table_size(nlb::charset::kClassWordTable) / 2) return 0;
  return Load16(set.table(nlb::charset::kClassWordTable), std::size_t{2} * number);
}

std::uint32_t ClassOfCell(CharsetView set, std::size_t cell) noexcept {
  if (cell >= set.table_size(nlb::charset::kClassTable)) return 0;
  return WordOfClass(set, set.table(nlb::charset::kClassTable)[cell]);
}

// The code point of a character of the computed sets.
std::uint32_t DecodeCodePoint(CharsetView set, SetKind kind, const std::uint8_t* p,
                              const std::uint8_t* end) noexcept {
  switch (kind) {
    case SetKind::kUtf8:
      return convert::Utf8Decoder{}.Next(p, end).code_point;
    case SetKind::kUtf8Units:
      return convert::Cesu8Decoder{}.Next(p, end).code_point;
    case SetKind::kUtfEbcdic:
      return convert::UtfEbcdicDecoder{}.Next(p, end).code_point;
    case SetKind::kUtf16Be:
    case SetKind::kUtf16Marked:
      if (end - p < 2) return convert::kTruncated;
      return convert::Utf16Decoder<std::endian::big>{}.Next(p, end).code_point;
    case SetKind::kUtf16Le:
      if (end - p < 2) return convert::kTruncated;
      return convert::Utf16Decoder<std::endian::little>{}.Next(p, end).code_point;
    case SetKind::kGb18030:
      return convert::Gb18030Decoder(set).Next(p, end).code_point;
    default:
      return convert::kMalformed;
  }
}

}  // namespace

// The ids without an object of their own are served by that of big-endian UTF-16.
SetKind KindOfHandle(const lxcursor& cursor) noexcept {
  if (cursor.handle->charset_id == 2002) return SetKind::kUtf16Le;
  const SetKind kind = convert::KindOf(CharsetView(cursor.charset));
  return kind == SetKind::kUtf16Marked ? SetKind::kUtf16Be : kind;
}

std::uint32_t ClassOfCodePoint(CharsetView set, std::uint32_t code_point) noexcept {
  if (code_point > convert::kMaxCodePoint) return 0;
  const std::uint8_t* classes = set.table(nlb::charset::kClassTable);
  const std::size_t size = set.table_size(nlb::charset::kClassTable);
  constexpr std::size_t kIndexBytes = 2 * nlb::charset::kClassIndexSize;
  if (size < kIndexBytes) return 0;
  const std::size_t cell = kIndexBytes +
                           std::size_t{Load16(classes, std::size_t{2} * (code_point >> 8))} *
                               nlb::charset::kClassBlockSize +
                           (code_point & 0xFF);
  return cell < size ? WordOfClass(set, classes[cell]) : 0;
}

namespace {

std::uint32_t ClassOfMultibyte(const lxcursor& cursor, const std::uint8_t* end) noexcept {
  const CharsetView set(cursor.charset);
  switch (set.class_kind()) {
    case nlb::charset::kByCell: {
      if (end - cursor.position < 2) return 0;
      const std::size_t cell =
          cursor.stateful != 0
              ? convert::PairTable(set).Cell(cursor.position[0], cursor.position[1])
              : convert::MultibyteDecoder(set).FindCell(cursor.position, end);
      return ClassOfCell(set, cell);
    }
    case nlb::charset::kByCodePoint: {
      const SetKind kind = KindOfHandle(cursor);
      return ClassOfCodePoint(set, DecodeCodePoint(set, kind, cursor.position, end));
    }
    default:
      return 0;
  }
}

}  // namespace

std::uint32_t ClassWord(const lxcursor& cursor) noexcept {
  const std::size_t left = BytesLeft(cursor);
  if (left == 0 || cursor.charset == nullptr) return 0;
  const std::uint8_t* p = cursor.position;
  const std::uint32_t word = ClassOfByte(cursor, *p);
  if (cursor.stateful != 0 ? cursor.shift_state == 0
                           : (word & KES_CLASS_LENGTH) == 0 &&
                                 ((cursor.handle->flags & KES_CHARSET_GB18030) == 0 || *p < 0x80)) {
    return word;
  }
  if (CharacterLength(cursor, left) > left) return 0;
  if (*p == 0 && cursor.handle->charset_id != 2002 &&
      (CharsetView(cursor.charset).flags() & nlb::charset::kLeadingZeroFlag) != 0) {
    return left < 2 ? 0 : ClassOfByte(cursor, p[1]);
  }
  return ClassOfMultibyte(cursor, cursor.start + cursor.length);
}

namespace {

int Test(const lxcursor* cursor, lxcontext* context, std::uint32_t bits) noexcept {
  context->error = KES_NLS_OK;
  return (ClassWord(*cursor) & bits) != 0;
}

constexpr std::uint32_t kGraphic = KES_CLASS_ALPHABETIC | KES_CLASS_DIGIT | KES_CLASS_PUNCTUATION;

}  // namespace
}  // namespace kestra::nls::cursor

extern "C" {

int lxmalnx(const lxcursor* cursor, lxcontext* context) noexcept {
  return kestra::nls::cursor::Test(cursor, context, KES_CLASS_ALPHABETIC | KES_CLASS_DIGIT);
}
int lxmalpx(const lxcursor* cursor, lxcontext* context) noexcept {
  return kestra::nls::cursor::Test(cursor, context, KES_CLASS_ALPHABETIC);
}
int lxmcntx(const lxcursor* cursor, lxcontext* context) noexcept {
  return kestra::nls::cursor::Test(cursor, context, KES_CLASS_CONTROL);
}
int lxmdigx(const lxcursor* cursor, lxcontext* context) noexcept {
  return kestra::nls::cursor::Test(cursor, context, KES_CLASS_DIGIT);
}
int lxmgrax(const lxcursor* cursor, lxcontext* context) noexcept {
  return kestra::nls::cursor::Test(cursor, context, kestra::nls::cursor::kGraphic);
}
int lxmlowx(const lxcursor* cursor, lxcontext* context) noexcept {
  return kestra::nls::cursor::Test(cursor, context, KES_CLASS_LOWER);
}
int lxmprix(const lxcursor* cursor, lxcontext* context) noexcept {
  return kestra::nls::cursor::Test(cursor, context,
                                   kestra::nls::cursor::kGraphic | KES_CLASS_BLANK);
}
int lxmpunx(const lxcursor* cursor, lxcontext* context) noexcept {
  return kestra::nls::cursor::Test(cursor, context, KES_CLASS_PUNCTUATION);
}
int lxmspax(const lxcursor* cursor, lxcontext* context) noexcept {
  return kestra::nls::cursor::Test(cursor, context, KES_CLASS_SPACE);
}
int lxmuppx(const lxcursor* cursor, lxcontext* context) noexcept {
  return kestra::nls::cursor::Test(cursor, context, KES_CLASS_UPPER);
}
int lxmxdix(const lxcursor* cursor, lxcontext* context) noexcept {
  return kestra::nls::cursor::Test(cursor, context, KES_CLASS_HEX_DIGIT);
}

}  // extern "C"
