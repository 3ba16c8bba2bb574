// Compiled models as text again.
//
// Tests: tests/datetime/ldi_text_test.cc, tests/datetime/ldi_sets_test.cc.
#include <algorithm>
#include <cstring>

#include "datetime/datetime_model.h"
#include "datetime/datetime_text.h"
#include "datetime/utf16_text.h"

namespace kestra::datetime {
namespace {

constexpr std::uint32_t kDamaged = 1821;

// Writes names of elements and bytes of the context's set, as they are or as two-byte units.
class ModelWriter {
 public:
  ModelWriter(std::span<std::uint8_t> out, const ldxctx& ctx, bool units) noexcept
      : out_(out), ctx_(ctx), units_(units) {}
  void Put(std::span<const std::uint8_t> text) noexcept {
    if (units_) {
      fits_ = fits_ && TextToUnits(ctx_, text, out_, used_);
    } else if (fits_ && text.size() <= out_.size() - used_) {
      std::copy(text.begin(), text.end(), out_.begin() + static_cast<std::ptrdiff_t>(used_));
      used_ += text.size();
    } else {
      fits_ = false;
    }
  }
  void PutAscii(std::string_view text) noexcept {
    for (const char c : text) {
      const std::uint8_t byte = datetime::InSet(StateOf(ctx_), c);
      Put({&byte, 1});
    }
  }
  std::size_t used() const noexcept { return used_; }
  bool fits() const noexcept { return fits_; }

 private:
  std::span<std::uint8_t> out_;
  const ldxctx& ctx_;
  bool units_;
  bool fits_ = true;
  std::size_t used_ = 0;
};

std::string_view DatetimeName(std::uint32_t code) noexcept {
  for (const DatetimeElement& element : kDatetimeElements) {
    if (element.code == code) return element.name;
  }
  return {};
}

// The name of an element of dates, with its letters as the modifier wants them.
void PutElementName(ModelWriter& out, std::uint32_t code, std::uint32_t modifier) noexcept {
  const ElementTable& table = kAsciiElements;
  for (const ElementRow& row : table.rows) {
    if (row.code != code) continue;
    const std::string_view name(reinterpret_cast<const char*>(row.name), row.length);
    const std::uint32_t letters = modifier & kLettersMask;
    std::size_t seen = 0;
    for (const char c : name) {
      const bool letter = c >= 'A' && c <= 'Z';
      const bool small = letter && (letters == kLower || (letters == kCapitalised && seen > 0));
      const char written = static_cast<char>(small ? c | 0x20 : c);
      out.PutAscii({&written, 1});
      seen += letter ? 1 : 0;
    }
    const std::uint32_t suffix = modifier & kSuffixMask;
    const bool small = letters != kUpper;
    if (suffix == kOrdinal) out.PutAscii(small ? "th" : "TH");
    if (suffix == kSpelled) out.PutAscii(small ? "sp" : "SP");
    if (suffix == kSpelledOrdinal) out.PutAscii(small ? "spth" : "SPTH");
    return;
  }
}

std::uint32_t Unparse(ModelWriter& out, std::span<const std::uint8_t> format) noexcept {
  LdiFormatItem item;
  bool fill = true;
  while (!format.empty()) {
    if (!NextItem(format, item)) return kDamaged;
    if (item.code == KES_DATETIME_LITERAL_ITEM) {
      const std::string_view quote = item.modifier == kQuoted ? "\"" : "";
      out.PutAscii(quote);
      out.Put({item.literal, item.literal_length});
      out.PutAscii(quote);
      continue;
    }
    const std::string_view name = DatetimeName(item.code);
    if (!name.empty()) {
      out.PutAscii(name);
      continue;
    }
    if (((item.modifier & kFill) != 0) != fill) {
      out.PutAscii("FM");
      fill = !fill;
    }
    const std::uint32_t code =
        item.code == KES_DATETIME_NYYYY ? std::uint32_t{KES_DATE_NYYYY} : item.code;
    PutElementName(out, code, item.modifier);
  }
  return out.fits() ? 0 : std::uint32_t{KES_DATETIME_NO_ROOM};
}

}  // namespace
}  // namespace kestra::datetime

using namespace kestra::datetime;

uint32_t LdiUnparse(uint8_t* out, size_t size, size_t* length, const uint8_t* format,
                    size_t format_length, LdiParseContext* ctx) noexcept {
  ModelWriter writer({out, size}, ctx->date, StateOf(ctx->date).two_byte_units);
  if (const std::uint32_t error = Unparse(writer, {format, format_length})) return error;
  *length = writer.used();
  return 0;
}

uint32_t LdiUnparseU(uint16_t* out, size_t size, size_t* length, const uint8_t* format,
                     size_t format_length, LdiParseContext* ctx) noexcept {
  ModelWriter writer({reinterpret_cast<std::uint8_t*>(out), 2 * size}, ctx->date, true);
  if (const std::uint32_t error = Unparse(writer, {format, format_length})) return error;
  *length = writer.used() / 2;
  return 0;
}
