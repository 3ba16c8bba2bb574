// Models of datetimes: contexts, compiled formats and what can be said of them.
//
// Tests: tests/datetime/ldi_text_test.cc; fuzz/ldi_text_fuzz.cc.
#include <algorithm>
#include <cstring>

#include "datetime/date_names.h"
#include "datetime/date_read.h"
#include "datetime/datetime_model.h"
#include "datetime/datetime_text.h"
#include "datetime/interval_value.h"
#include "datetime/spelled_number.h"

namespace kestra::datetime {
namespace {

static_assert(sizeof(LdiParseContext) == sizeof(ldxctx) + 64);

constexpr std::uint32_t kDamaged = 1821;

enum class Use { kInput, kOutput };

// What ldxsti and ldxsto leave in the context, and what only datetimes check.
std::uint32_t Finish(const LdiParseContext& ctx, std::span<const std::uint8_t> format, Use use,
                     std::uint32_t type, std::size_t& length) noexcept {
  if (ctx.date.error != 0) return ctx.date.error;
  if (use == Use::kInput) {
    if (const Fault fault = CheckReadable(format, true)) return fault.number;
  }
  LdiFormatItem item;
  std::span<const std::uint8_t> left = format;
  while (NextItem(left, item) && item.code != 0) {
    if (type != 0 && !TypeHasElement(type, item.code)) return KES_DATETIME_NO_FIELD;
  }
  length = format.size();
  return 0;
}

std::uint32_t Compile(std::span<std::uint8_t> out, std::size_t& length,
                      std::span<const std::uint8_t> text, Use use, std::uint32_t type,
                      LdiParseContext& ctx) noexcept {
  ctx.date.error = 0;
  const auto compile = use == Use::kInput ? ldxsti : ldxsto;
  const std::size_t used = compile(&ctx.date, text.data(), text.size(), out.data(), out.size());
  return Finish(ctx, out.first(used), use, type, length);
}

std::uint32_t CompileUnits(std::span<std::uint8_t> out, std::size_t& length,
                           const std::uint16_t* text, std::size_t units, Use use,
                           std::uint32_t type, LdiParseContext& ctx) noexcept {
  ctx.date.error = 0;
  const auto* bytes = reinterpret_cast<const std::uint8_t*>(text);
  std::size_t remaining = 2 * units;
  std::uint8_t* to = out.data();
  std::size_t space = out.size();
  ldxscan state{};
  state.repeat = use == Use::kOutput ? 1 : 0;
  while (ldxsnfcom(&ctx.date, &bytes, &remaining, &to, &space, &state) != 0) {
  }
  return Finish(ctx, out.first(out.size() - space), use, type, length);
}

// The widest of a group of names, blanks of fill mode included.
std::size_t WidestName(const NameForms* names, std::size_t count, std::size_t width) noexcept {
  std::size_t widest = 0;
  for (std::size_t i = 0; i < count; ++i) {
    for (const NameRef& form : names[i].form) {
      const std::size_t blanks = width > form.columns ? width - form.columns : 0;
      widest = std::max(widest, form.length + blanks);
    }
  }
  return widest;
}

std::size_t WidestLanguageName(ldxctx& ctx, std::size_t group, std::size_t count) noexcept {
  NeedNames(ctx);
  const State& state = StateOf(ctx);
  return WidestName(&state.names[group], count, state.widths[group]);
}

std::size_t WidestCalendarName(ldxctx& ctx, std::size_t group, std::size_t count) noexcept {
  if (ctx.calendar == 0) return 0;
  NeedCalendarNames(ctx);
  const State& state = StateOf(ctx);
  return WidestName(&state.calendar_names[group], count, state.calendar_widths[group]);
}

std::size_t WidestElement(ldxctx& ctx, std::uint32_t code, std::uint32_t modifier) noexcept {
  if ((modifier & kSpelled) != 0) return kSpelledRoom + 1;
  switch (code) {
    case KES_DATE_YEAR:
    case KES_DATE_SYEAR:
      return kSpelledRoom + 1;
    case KES_DATE_MONTH:
      return std::max(WidestLanguageName(ctx, kMonthNames, 12),
                      WidestCalendarName(ctx, kCalendarMonths, 13));
    case KES_DATE_MON:
      return std::max(WidestLanguageName(ctx, kShortMonthNames, 12),
                      WidestCalendarName(ctx, kCalendarShortMonths, 13));
    case KES_DATE_DAY:
      return WidestLanguageName(ctx, kDayNames, 7);
    case KES_DATE_DY:
      return WidestLanguageName(ctx, kShortDayNames, 7);
    case KES_DATE_AM:
      return WidestLanguageName(ctx, kMeridianNames, 2);
    case KES_DATE_A_M:
      return WidestLanguageName(ctx, kPeriodMeridians, 2);
    case KES_DATE_AD:
      return WidestLanguageName(ctx, kEraNames, 2);
    case KES_DATE_A_D:
      return WidestLanguageName(ctx, kPeriodEras, 2);
    case KES_DATE_RM:
      return WidestLanguageName(ctx, kRomanMonths, 13);
    case KES_DATE_EE:
      return WidestCalendarName(ctx, kCalendarEras, 8);
    case KES_DATE_E:
      return WidestCalendarName(ctx, kCalendarShortEras, 8);
    case KES_DATE_FX:
      return 0;
    case KES_DATE_Y_YYY:
    case KES_DATE_SY_YYY:
      return 6 + kCopySlack;  // the separator is a character of the language
    default:
      return (kDescriptors[code].flags & kDigitsMask) + 4u;  // a sign, a suffix, a longer year
  }
}

std::size_t WidestDatetimeElement(ldxctx& ctx, std::uint32_t code) noexcept {
  if (code >= kFraction1) return code - kFraction1 + 1;
  switch (code) {
    case kFraction:
      return 9;
    case kRadix:
      NeedNames(ctx);
      return StateOf(ctx).decimal_character.length;
    case kZoneRegion:
    case kZoneAbbreviation:
      return kRegionRoom;
    default:
      return 3;
  }
}

}  // namespace

bool NextItem(std::span<const std::uint8_t>& format, LdiFormatItem& item) noexcept {
  item = {};
  if (format.empty()) return true;
  if (format.size() < kElementSize) return false;
  const std::uint8_t code = format[0];
  item.modifier = format[1];
  if (code >= kLiteralBase) {
    const std::size_t length = code - kLiteralBase;
    if (format.size() - kLiteralHead < length) return false;
    item.code = KES_DATETIME_LITERAL_ITEM;
    item.literal = format.data() + kLiteralHead;
    item.literal_length = length;
    format = format.subspan(kLiteralHead + length);
    return true;
  }
  if (code == kDatetimeEscape) {
    if (!IsDatetimeElement(format[1])) return false;
    item.code = format[1];
    item.modifier = kFill;
  } else {
    if (!IsElementCode(code)) return false;
    item.code = code == KES_DATE_NYYYY ? std::uint32_t{KES_DATETIME_NYYYY} : code;
  }
  format = format.subspan(kElementSize);
  return true;
}

bool TypeHasElement(std::uint32_t type, std::uint32_t code) noexcept {
  if (code == KES_DATETIME_LITERAL_ITEM || code == KES_DATE_FX || code == kRadix) return true;
  if (code == kFraction || (code >= kFraction1 && code <= kFraction9)) return HasFraction(type);
  if (code == kZoneHour || code == kZoneMinute || code == kZoneRegion ||
      code == kZoneAbbreviation) {
    return HasZone(type);
  }
  constexpr std::uint64_t kClock = Bit(KES_DATE_HH24) | Bit(KES_DATE_HH12) | Bit(KES_DATE_MI) |
                                   Bit(KES_DATE_SS) | Bit(KES_DATE_SSSSS) | Bit(KES_DATE_AM) |
                                   Bit(KES_DATE_A_M) | Bit(kHour25);
  return HasDate(type) || (kClock >> code & 1) != 0;
}

}  // namespace kestra::datetime

using namespace kestra::datetime;

uint32_t LdiParseContextInit(LdiParseContext* out, const lxhandle* handle, lxcontext* nls,
                             const LdiSession* session) noexcept {
  if (nls == nullptr && handle != nullptr) nls = handle->context;
  *out = {};
  ldxnbeg(&out->date, handle, nls, nullptr, nullptr, KES_DATE_NO_DEFAULT);
  StateOf(out->date).datetime = true;
  out->session = session;
  return out->date.error;
}

uint32_t LdiParseContextTerm(LdiParseContext* ctx) noexcept {
  if (ctx != nullptr) ldxend(&ctx->date);
  return 0;
}

uint32_t LdiParseForInput(uint8_t* out, size_t size, size_t* length, const uint8_t* text,
                          size_t text_length, LdiParseContext* ctx) noexcept {
  return Compile({out, size}, *length, {text, text_length}, Use::kInput, 0, *ctx);
}

uint32_t LdiParseForInputU(uint8_t* out, size_t size, size_t* length, const uint16_t* text,
                           size_t units, LdiParseContext* ctx) noexcept {
  return CompileUnits({out, size}, *length, text, units, Use::kInput, 0, *ctx);
}

uint32_t LdiParseForInputType(uint8_t* out, size_t size, size_t* length, const uint8_t* text,
                              size_t text_length, uint32_t type, LdiParseContext* ctx) noexcept {
  if (!IsDatetimeType(type)) return KES_DATETIME_BAD_TYPE;
  return Compile({out, size}, *length, {text, text_length}, Use::kInput, type, *ctx);
}

uint32_t LdiParseForInputTypeU(uint8_t* out, size_t size, size_t* length, const uint16_t* text,
                               size_t units, uint32_t type, LdiParseContext* ctx) noexcept {
  if (!IsDatetimeType(type)) return KES_DATETIME_BAD_TYPE;
  return CompileUnits({out, size}, *length, text, units, Use::kInput, type, *ctx);
}

uint32_t LdiParseForOutput(uint8_t* out, size_t size, size_t* length, const uint8_t* text,
                           size_t text_length, LdiParseContext* ctx) noexcept {
  return Compile({out, size}, *length, {text, text_length}, Use::kOutput, 0, *ctx);
}

uint32_t LdiParseForOutputU(uint8_t* out, size_t size, size_t* length, const uint16_t* text,
                            size_t units, LdiParseContext* ctx) noexcept {
  return CompileUnits({out, size}, *length, text, units, Use::kOutput, 0, *ctx);
}

uint32_t LdiGetFormatItem(LdiFormatItem* item, const uint8_t* format, size_t length,
                          size_t* offset) noexcept {
  if (*offset > length) return kDamaged;
  std::span<const std::uint8_t> left(format + *offset, length - *offset);
  LdiFormatItem found;
  if (!NextItem(left, found)) return kDamaged;
  *offset = length - left.size();
  *item = found;
  return 0;
}

uint32_t LdiMaxSize(size_t* size, const uint8_t* format, size_t format_length,
                    LdiParseContext* ctx) noexcept {
  std::span<const std::uint8_t> left(format, format_length);
  LdiFormatItem item;
  std::size_t widest = 0;
  while (!left.empty()) {
    if (!NextItem(left, item)) return kDamaged;
    if (item.code == KES_DATETIME_LITERAL_ITEM) {
      widest += item.literal_length;
    } else if (item.code == KES_DATETIME_NYYYY) {
      widest += WidestElement(ctx->date, KES_DATE_NYYYY, item.modifier);
    } else if (item.code >= kHour25) {
      widest += WidestDatetimeElement(ctx->date, item.code);
    } else {
      widest += WidestElement(ctx->date, item.code, item.modifier);
    }
  }
  // A byte of UTF-8 becomes a unit of two bytes at most.
  *size = StateOf(ctx->date).two_byte_units ? 2 * widest : widest;
  return 0;
}

uint32_t LdiMaxDispWidth(size_t* width, uint32_t type, int interval, uint32_t leading_precision,
                         uint32_t fraction_precision) noexcept {
  if (interval != 0) {
    if (const std::uint32_t error =
            CompletePrecisions(type, leading_precision, fraction_precision)) {
      return error;
    }
    const IntervalType& fields = kIntervalTypes[type];
    const std::size_t leading = leading_precision == 0 ? 1 : leading_precision;
    const std::size_t more = 3u * static_cast<std::size_t>(fields.last - fields.first);
    *width = 1 + leading + more + (fraction_precision != 0 ? 1 + fraction_precision : 0);
    return 0;
  }
  if (!IsDatetimeType(type)) return KES_DATETIME_BAD_TYPE;
  if (fraction_precision == KES_PRECISION_DEFAULT) fraction_precision = 6;
  if (fraction_precision > KES_DATETIME_MAX_PRECISION) return KES_DATETIME_BAD_FRACTION;
  std::size_t columns = 8;
  if (HasDate(type)) columns += 12;  // sign, ten columns, blank
  if (HasFraction(type) && fraction_precision != 0) columns += 1 + fraction_precision;
  if (HasZone(type)) columns += HasDate(type) ? 1 + 32 : 1 + 6;
  *width = columns;
  return 0;
}

uint32_t LdiPrecisionCode(uint32_t* code, uint32_t precision) noexcept {
  if (precision == KES_PRECISION_DEFAULT) {
    *code = KES_DATETIME_FF;
    return 0;
  }
  if (precision == 0 || precision > KES_DATETIME_MAX_PRECISION) return KES_DATETIME_BAD_FRACTION;
  *code = KES_DATETIME_FF1 + precision - 1;
  return 0;
}
