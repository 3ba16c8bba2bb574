// ldxstd, ldxstdnew, ldxstdu, ldxstdyfr, ldxstdarr: text to dates.
#include <algorithm>

#include "datetime/date_read.h"
#include "datetime/format_choice.h"
#include "datetime/text_set.h"
#include "datetime/utf16_text.h"
#include "kestra/convert.h"
#include "kestra/date_format.h"

namespace kestra::datetime {
namespace {

constexpr std::uint32_t kTextLeft = 1830;
constexpr std::size_t kMaxUnits = 1024;

// Text of two-byte units, as the walk takes it.
class UnitText {
 public:
  UnitText(const ldxctx& ctx, std::span<const std::uint8_t> units) noexcept
      : utf8_(ctx.handle == nullptr || KeepsUtf8(ctx)) {
    size_ = units.size();
    fits_ = size_ <= 2 * kMaxUnits;
    const std::span<const std::uint8_t> taken = units.first(std::min(units.size(), 2 * kMaxUnits));
    length_ = utf8_ ? UnitsToUtf8(taken, OrderOfUnits(ctx), bytes_)
                    : lxgcnv(bytes_, TextSet(ctx), sizeof bytes_, taken.data(), UnitSet(ctx),
                             taken.size(), ctx.nls);
  }
  bool fits() const noexcept { return fits_; }
  std::span<const std::uint8_t> bytes() const noexcept { return {bytes_, length_}; }
  // In units' bytes; in other sets than UTF-8 the offset stays that of the converted text.
  std::size_t OffsetInUnits(std::size_t offset) const noexcept {
    return utf8_ ? std::min(UnitBytes({bytes_, std::min(offset, length_)}), size_) : offset;
  }

 private:
  bool utf8_;
  bool fits_;
  std::size_t size_;
  std::size_t length_;
  std::uint8_t bytes_[8 * kMaxUnits];
};

Fault ReadUnits(ldxctx& ctx, std::span<const std::uint8_t> units,
                std::span<const std::uint8_t> format, bool retry, ldxdate& out) noexcept {
  // Offsets of its errors lie in the format.
  if (const Fault fault = CheckReadable(format)) return fault;
  const UnitText text(ctx, units);
  if (!text.fits()) return {kTextLeft, 2 * kMaxUnits};
  const Fault fault = ReadDate(ctx, text.bytes(), format, retry, out);
  return {fault.number, text.OffsetInUnits(fault.offset)};
}

inline Fault Read(ldxctx& ctx, std::span<const std::uint8_t> text, const FormatChoice& format,
                  bool retry, ldxdate& out) noexcept {
  if (format.plan != nullptr && format.plan->readable) [[likely]] {
    ldxdate date;
    if (ReadPlan(*format.plan, text, date)) {
      out = date;
      return {};
    }
  }
  ldxdate date;
  const Fault fault = StateOf(ctx).two_byte_units ? ReadUnits(ctx, text, format.bytes, retry, date)
                                                  : ReadDate(ctx, text, format.bytes, retry, date);
  if (!fault) out = date;
  return fault;
}

Fault ReadOne(ldxctx& ctx, std::span<const std::uint8_t> text, const std::uint8_t* format,
              std::size_t format_length, bool retry, ldxdate& out) noexcept {
  FormatChoice choice;
  if (const Fault fault = Choose(ctx, format, format_length, choice)) return fault;
  return Read(ctx, text, choice, retry, out);
}

}  // namespace
}  // namespace kestra::datetime

using namespace kestra::datetime;

extern "C" {

std::uint32_t ldxstd(ldxctx* ctx, const std::uint8_t* text, std::size_t length,
                     const std::uint8_t* format, std::size_t format_length, ldxdate* out) {
  const Fault fault = ReadOne(*ctx, {text, length}, format, format_length, true, *out);
  if (!fault) [[likely]]
    return 0;
  Raise(ctx, fault);
  return fault.number;
}

std::uint32_t ldxstdnew(ldxctx* ctx, const std::uint8_t* text, std::size_t length,
                        const std::uint8_t* format, std::size_t format_length, ldxdate* out,
                        std::uint32_t flags, std::size_t* bad) {
  const bool retry = (flags & KES_DATE_NO_RETRY) == 0;
  const Fault fault = ReadOne(*ctx, {text, length}, format, format_length, retry, *out);
  if (bad != nullptr) *bad = fault.offset;
  if (!fault) [[likely]]
    return 0;
  if ((flags & KES_DATE_QUIET) != 0) {
    ctx->error = fault.number;
    ctx->error_offset = fault.offset;
  } else {
    Raise(ctx, fault);
  }
  return fault.number;
}

std::uint32_t ldxstdu(ldxctx* ctx, const std::uint16_t* text, std::size_t length,
                      const std::uint8_t* format, std::size_t format_length, ldxdate* out) {
  FormatChoice choice;
  Fault fault = Choose(*ctx, format, format_length, choice);
  if (!fault) {
    ldxdate date;
    fault = ReadUnits(*ctx, {reinterpret_cast<const std::uint8_t*>(text), 2 * length}, choice.bytes,
                      true, date);
    if (!fault) *out = date;
  }
  Raise(ctx, fault);
  return fault.number;
}

std::int32_t ldxstdyfr(ldxctx* ctx, const std::uint8_t* text, std::size_t length,
                       const std::uint8_t* format, std::size_t format_length,
                       ldxdate* out) noexcept {
  FormatChoice choice;
  Fault fault = Choose(*ctx, format, format_length, choice);
  if (!fault) fault = CheckReadable(choice.bytes);
  if (!fault) {
    if (!FactsOf(choice.bytes).short_year) return -1;
    ldxdate date;
    ReadFields fields;
    if (StateOf(*ctx).two_byte_units) {
      const UnitText units(*ctx, {text, length});
      fault = units.fits() ? ReadText(*ctx, units.bytes(), choice.bytes, true, fields)
                           : Fault{kTextLeft, 2 * kMaxUnits};
    } else {
      fault = ReadText(*ctx, {text, length}, choice.bytes, true, fields);
    }
    if (!fault) fault = CombineFields(*ctx, fields, date);
    if (!fault) *out = date;
  }
  return static_cast<std::int32_t>(fault.number);
}

void ldxstdarr(ldxctx* ctx, ldxdate* const* out, const std::uint8_t* const* texts,
               std::size_t count, const std::size_t* lengths, const std::uint8_t* format,
               std::size_t format_length, std::uint32_t flags, std::size_t* processed) {
  FormatChoice choice;
  Fault fault = Choose(*ctx, format, format_length, choice);
  const std::size_t step = (flags & KES_DATE_SHARED) != 0 ? 0 : 1;
  std::size_t done = 0;
  for (; !fault && done < count; ++done) {
    fault = Read(*ctx, {texts[done], lengths[done * step]}, choice, true, *out[done]);
    if (fault) break;
  }
  if (processed != nullptr) *processed = done;
  Raise(ctx, fault);
}

}  // extern "C"
