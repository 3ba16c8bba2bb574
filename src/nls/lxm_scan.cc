// lxcscan: how far a text is well formed, how many characters that is, and how wide.
//
// The text is read by the decoders of the converter, so what they would replace ends the scan. The
// columns come from two bits of each character's class word, found as the classification finds it.
#include "kestra/charset.h"
#include "nls/lxg_blocks.h"
#include "nls/lxg_iso2022.h"
#include "nls/lxg_stateful_codec.h"
#include "nls/lxm_cursor.h"

namespace kestra::nls::cursor {
namespace {

using convert::Block;
using convert::SetKind;

constexpr std::uint32_t Columns(std::uint32_t class_word) noexcept {
  return (class_word & KES_CLASS_WIDE) != 0 ? 2 : (class_word & KES_CLASS_ZERO_WIDTH) != 0 ? 0 : 1;
}

class Scanner {
 public:
  Scanner(const lxcursor& cursor, SetKind kind) noexcept
      : cursor_(cursor), set_(cursor.charset), kind_(kind) {}

  // Characters of a block up to the first malformed one; true when there is none.
  bool Count(const Block& block) noexcept {
    const bool units = kind_ != SetKind::kUtf8 && set_.class_kind() == nlb::charset::kByCodePoint &&
                       kind_ != SetKind::kGb18030;
    for (good_ = 0; good_ < block.count; ++good_) {
      const std::uint32_t code_point = block.code_points[good_];
      if (code_point > convert::kMaxCodePoint) return false;
      // The cursor steps by code units in the forms that are made of them.
      characters_ += units && code_point > 0xFFFF ? 2 : 1;
    }
    return true;
  }

  void AddColumns(const Block& block, const std::uint8_t* p, const std::uint8_t* end,
                  std::uint32_t shift_state) noexcept {
    if (set_.class_kind() == nlb::charset::kByCodePoint) {
      for (std::uint32_t i = 0; i < good_; ++i) {
        columns_ += Columns(ClassOfCodePoint(set_, block.code_points[i]));
      }
      return;
    }
    if (set_.class_kind() == nlb::charset::kNoClasses) {
      for (std::uint32_t i = 0; i < good_; ++i) columns_ += Columns(cursor_.class_table[p[i]]);
      return;
    }
    lxcursor walk = cursor_;
    walk.position = p;
    walk.start = p;
    walk.length = static_cast<std::size_t>(end - p);
    walk.shift_state = shift_state;
    if (walk.stateful != 0) {
      walk.position += SkipShifts(*walk.handle, p, end, &walk.shift_state);
    }
    lxcontext unused;
    for (std::uint32_t i = 0; i < good_; ++i) {
      columns_ += Columns(ClassWord(walk));
      lxmfwdx(&walk, &unused);
    }
  }

  std::uint32_t good() const noexcept { return good_; }
  std::uint64_t characters() const noexcept { return characters_; }
  std::uint64_t columns() const noexcept { return columns_; }

 private:
  const lxcursor& cursor_;
  CharsetView set_;
  SetKind kind_;
  std::uint32_t good_ = 0;
  std::uint64_t characters_ = 0;
  std::uint64_t columns_ = 0;
};

void Scan(const lxcursor& cursor, SetKind kind, lxscan& result,
          const convert::BlockDecoder& decoder, std::size_t length) noexcept {
  convert::Conversion c{.start = cursor.start,
                        .in = cursor.start,
                        .in_end = cursor.start + length,
                        .out = nullptr,
                        .out_end = nullptr};
  Scanner scanner(cursor, kind);
  Block block;
  while (c.in < c.in_end) {
    decoder.Read(c, Block::kSize, block);
    const bool whole = scanner.Count(block);
    scanner.AddColumns(block, c.in, c.in_end, c.shift_in);
    if (!whole) {
      result.verdict = block.code_points[scanner.good()] == convert::kTruncated
                           ? KES_SCAN_CUT_OFF
                           : KES_SCAN_MALFORMED;
      decoder.Read(c, scanner.good(), block);
    }
    c.in += block.bytes;
    c.shift_in = block.state;
    if (!whole) break;
  }
  result.length = static_cast<std::uint64_t>(c.in - c.start);
  result.characters = scanner.characters();
  result.columns = scanner.columns();
  result.shift_state = c.shift_in;
}

}  // namespace
}  // namespace kestra::nls::cursor

extern "C" {

size_t lxcscan(const uint8_t* text, size_t length, lxscan* result, const lxhandle* handle,
               lxcontext* context) noexcept {
  using namespace kestra::nls;
  using convert::SetKind;
  *result = lxscan{};
  lxcursor start;
  lxmopen(text, length, &start, handle, context, 1);
  const SetKind kind =
      start.charset == nullptr ? SetKind::kUtf16Marked : cursor::KindOfHandle(start);
  convert::BlockDecoder decoder;
  // No handle has an ISO-2022 set.
  if (kind == SetKind::kIso2022 || !convert::OpenDecoder(kind, CharsetView(start.charset),
                                                         convert::Iso2022(0, context), decoder)) {
    context->error = KES_NLS_OBJECT_UNAVAILABLE;
    return 0;
  }
  context->error = KES_NLS_OK;
  const bool odd = (handle->flags & KES_CHARSET_UTF16) != 0 && (start.length & 1) != 0;
  cursor::Scan(start, kind, *result, decoder, start.length - (odd ? 1 : 0));
  if (odd && result->verdict == KES_SCAN_WELL_FORMED) result->verdict = KES_SCAN_CUT_OFF;
  return static_cast<std::size_t>(result->length);
}

}  // extern "C"
