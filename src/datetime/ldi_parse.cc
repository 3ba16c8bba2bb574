// Datetimes read by formats: the reader of dates walks the text, here its fields become a value.
//
// Tests: tests/datetime/ldi_text_test.cc; fuzz/ldi_text_fuzz.cc.
#include <cstring>

#include "datetime/array_form.h"
#include "datetime/date_plan.h"
#include "datetime/date_read.h"
#include "datetime/datetime_model.h"
#include "datetime/datetime_text.h"
#include "datetime/text_set.h"
#include "datetime/utf16_text.h"
#include "kestra/convert.h"
#include "kestra/timezone.h"

namespace kestra::datetime {
namespace {

constexpr std::uint32_t kTextLeft = 1830;
constexpr std::size_t kMaxUnits = 1024;

bool SameName(std::string_view x, std::string_view y) noexcept {
  if (x.size() != y.size()) return false;
  for (std::size_t i = 0; i < x.size(); ++i) {
    if (ToUpper(x[i]) != ToUpper(y[i])) return false;
  }
  return true;
}

// One of the two readings of a local time that comes twice, or the only one, that has an offset (if
// there is one) and an abbreviation (if there is one).
std::uint32_t ChooseReading(LdiDate& date, const Zone& zone, const std::int32_t* minutes,
                            std::string_view abbreviation) noexcept {
  if (zone.zones == nullptr) return KES_DATETIME_ZONE_FILE;
  LdiDate local = date;
  local.type = KES_DATETIME_TIMESTAMP;
  ltzlocal answer;
  const int status = ltzGetLocalA(zone.zones, zone.region, &local, &answer);
  if (status != 0) return ZoneError(status);
  const std::uint32_t chosen = answer.kind == KES_ZONE_TWICE ? answer.chosen : 0;
  bool abbreviation_fits = abbreviation.empty();
  for (const std::uint32_t i : {chosen, 1 - chosen}) {
    const auto& reading = answer.reading[i];
    const bool named = abbreviation.empty() || SameName(abbreviation, reading.abbreviation);
    abbreviation_fits = abbreviation_fits || named;
    if (!named || (minutes != nullptr && *minutes != reading.offset / 60)) continue;
    if (answer.kind != KES_ZONE_TWICE) return AttachZone(date, zone);
    SetZone(date, reading.offset / 60, zone.region);
    return InCalendar(UtcMoment(date).seconds) ? 0 : std::uint32_t{KES_DATETIME_BAD_YEAR};
  }
  return abbreviation_fits ? KES_DATETIME_NO_REGION : KES_DATETIME_BAD_NAME;
}

std::uint32_t ReadZone(const DatetimeFields& fields, const LdiSession* session,
                       LdiDate& date) noexcept {
  const bool offset = (fields.seen & (DatetimeBit(kZoneHour) | DatetimeBit(kZoneMinute))) != 0 ||
                      ((fields.seen & DatetimeBit(kZoneRegion)) != 0 && fields.region[0] == 0);
  const std::int32_t magnitude = fields.zone_hour * 60 + fields.zone_minute;
  if (magnitude > kMaxZoneMinutes) return KES_DATETIME_BAD_ZONE_MINUTE;
  const std::int32_t minutes = fields.zone_negative ? -magnitude : magnitude;
  const std::string_view abbreviation(fields.abbreviation);
  Zone zone = SessionZone(session);
  if (fields.region[0] != 0) {
    if (!HasDate(date.type)) return KES_DATETIME_NO_REGION;
    if (const std::uint32_t error = FindRegion(zone.zones, fields.region, zone.region)) {
      return error;
    }
  } else if (offset) {
    // An abbreviation beside a mere offset has no rules that it could belong to.
    if (!abbreviation.empty()) return KES_DATETIME_BAD_NAME;
    return AttachZone(date, {.zones = zone.zones, .region = 0, .minutes = minutes});
  }
  if (zone.region != 0 && HasDate(date.type) && (offset || !abbreviation.empty())) {
    return ChooseReading(date, zone, offset ? &minutes : nullptr, abbreviation);
  }
  if (!abbreviation.empty()) return KES_DATETIME_BAD_NAME;
  if (!HasDate(date.type) && zone.region != 0) {
    if (const std::uint32_t error = OffsetAtUtc(zone, CurrentUtc(), zone.minutes)) return error;
    zone.region = 0;
  }
  return AttachZone(date, zone);
}

std::uint32_t CheckTypes(std::span<const std::uint8_t> format, std::uint32_t type) noexcept {
  LdiFormatItem item;
  while (NextItem(format, item) && item.code != 0) {
    if (!TypeHasElement(type, item.code)) return KES_DATETIME_NO_FIELD;
  }
  return 0;
}

std::uint32_t Combine(LdiDate& out, const LdiParseContext& ctx, const ldxdate& parts,
                      const DatetimeFields& more, std::uint32_t type,
                      std::uint32_t precision) noexcept {
  LdiDate date{};
  date.type = static_cast<std::uint8_t>(type);
  if (HasDate(type)) {
    date.year = parts.year;
    date.month = parts.month;
    date.day = parts.day;
  }
  date.hour = parts.hour;
  date.minute = parts.minute;
  date.second = parts.second;
  date.fraction = more.fraction;
  if ((more.seen & DatetimeBit(kHour25)) != 0) {
    const bool end_of_day = more.hour25 == 24;
    if (end_of_day && (date.minute | date.second | date.fraction) != 0) {
      return KES_DATETIME_BAD_HOUR25;
    }
    date.hour = static_cast<std::uint8_t>(end_of_day ? 0 : more.hour25);
    if (end_of_day && !AddToLocal(date, kDaySeconds, 0)) return KES_DATETIME_BAD_YEAR;
  }
  if (HasZone(type)) {
    if (const std::uint32_t error = ReadZone(more, ctx.session, date)) return error;
    // A timestamp with local zone is shown in the session's, whatever the text said.
    if (type == KES_DATETIME_TIMESTAMP_LTZ) {
      if (const std::uint32_t error = ShowInZone(date, UtcMoment(date), SessionZone(ctx.session))) {
        return error;
      }
    }
  }
  if (const std::uint32_t error = RoundInZone(date, precision, ZonesOf(ctx.session))) return error;
  out = date;
  return 0;
}

// The commonest formats: a plan of dates (date_plan.h), then elements of datetimes and literals. False:
// the format or the text is not of that kind, or there is something to complain about.
bool ReadByPlan(LdiDate& out, std::span<const std::uint8_t> text,
                std::span<const std::uint8_t> format, std::uint32_t type, std::uint32_t precision,
                LdiParseContext& ctx) noexcept {
  constexpr std::size_t kWorthAPlan = 12;
  if (ctx.date.calendar != 0 || !HasDate(type)) return false;
  std::span<const std::uint8_t> left = format;
  LdiFormatItem item;
  while (!left.empty() && left[0] != kDatetimeEscape) {
    if (!NextItem(left, item)) return false;
  }
  const std::size_t run = format.size() - left.size();
  if (run < kWorthAPlan) return false;
  for (std::span<const std::uint8_t> rest = left; !rest.empty();) {
    const bool escape = rest[0] == kDatetimeEscape;
    if (!NextItem(rest, item) || item.code == kHour25 || !TypeHasElement(type, item.code)) {
      return false;
    }
    if (!escape && item.code != KES_DATETIME_LITERAL_ITEM) return false;
  }
  const Plan* plan = PlanOf(StateOf(ctx.date), format.first(run));
  if (plan == nullptr || !plan->readable || text.size() < plan->text_length) return false;
  ldxdate parts;
  if (!ReadPlan(*plan, text.first(plan->text_length), parts)) return false;
  DatetimeFields more;
  if (!left.empty()) {
    if (CheckReadable(left, true)) return false;
    ReadFields fields;
    fields.datetime = &more;
    if (ReadText(ctx.date, text.subspan(plan->text_length), left, false, fields)) return false;
  } else if (text.size() != plan->text_length) {
    return false;
  }
  return Combine(out, ctx, parts, more, type, precision) == 0;
}

std::uint32_t ReadBytes(LdiDate& out, std::span<const std::uint8_t> text,
                        std::span<const std::uint8_t> format, std::uint32_t type,
                        std::uint32_t precision, LdiParseContext& ctx) noexcept {
  if (!IsDatetimeType(type)) return KES_DATETIME_BAD_TYPE;
  if (precision > KES_DATETIME_MAX_PRECISION) return KES_DATETIME_BAD_FRACTION;
  if (ReadByPlan(out, text, format, type, precision, ctx)) return 0;
  if (const Fault fault = CheckReadable(format, true)) return fault.number;
  if (const std::uint32_t error = CheckTypes(format, type)) return error;
  const auto attempt = [&](bool full_years) {
    DatetimeFields more;
    ReadFields fields;
    fields.datetime = &more;
    ldxdate parts{};
    Fault fault = ReadText(ctx.date, text, format, full_years, fields);
    if (!fault) fault = CombineFields(ctx.date, fields, parts);
    if (!fault) fault.number = Combine(out, ctx, parts, more, type, precision);
    return fault;
  };
  const Fault fault = attempt(false);
  if (!fault) return 0;
  const RetryFacts facts = FactsOf(format);
  if (facts.short_year && !facts.exact && !attempt(true)) return 0;
  ctx.date.error_offset = fault.offset;
  return fault.number;
}

std::uint32_t ReadUnits(LdiDate& out, std::span<const std::uint8_t> units,
                        std::span<const std::uint8_t> format, std::uint32_t type,
                        std::uint32_t precision, LdiParseContext& ctx) noexcept {
  if (units.size() > 2 * kMaxUnits) return kTextLeft;
  std::uint8_t bytes[8 * kMaxUnits];
  const bool utf8 = ctx.date.handle == nullptr || KeepsUtf8(ctx.date);
  const std::size_t length = utf8 ? UnitsToUtf8(units, OrderOfUnits(ctx.date), bytes)
                                  : lxgcnv(bytes, TextSet(ctx.date), sizeof bytes, units.data(),
                                           UnitSet(ctx.date), units.size(), ctx.date.nls);
  return ReadBytes(out, {bytes, length}, format, type, precision, ctx);
}

std::uint32_t Read(LdiDate& out, std::span<const std::uint8_t> text,
                   std::span<const std::uint8_t> format, std::uint32_t type,
                   std::uint32_t precision, LdiParseContext& ctx) noexcept {
  return StateOf(ctx.date).two_byte_units ? ReadUnits(out, text, format, type, precision, ctx)
                                          : ReadBytes(out, text, format, type, precision, ctx);
}

}  // namespace
}  // namespace kestra::datetime

using namespace kestra::datetime;

uint32_t LdiDateFromString(LdiDate* out, const uint8_t* text, size_t length, const uint8_t* format,
                           size_t format_length, uint32_t type, uint32_t precision,
                           LdiParseContext* ctx) noexcept {
  return Read(*out, {text, length}, {format, format_length}, type, precision, *ctx);
}

uint32_t LdiDateFromStringU(LdiDate* out, const uint16_t* text, size_t units, const uint8_t* format,
                            size_t format_length, uint32_t type, uint32_t precision,
                            LdiParseContext* ctx) noexcept {
  return ReadUnits(*out, {reinterpret_cast<const std::uint8_t*>(text), 2 * units},
                   {format, format_length}, type, precision, *ctx);
}

uint32_t LdiDateFromStringarr(LdiDate* const* out, const uint8_t* const* texts, size_t count,
                              const size_t* lengths, const uint8_t* format, size_t format_length,
                              uint32_t type, uint32_t precision, LdiParseContext* ctx,
                              uint32_t flags, size_t* done) noexcept {
  const Operands length(lengths, flags);
  return RunArray(count, done, [&](std::size_t i) {
    return Read(*out[i], {texts[i], length[i]}, {format, format_length}, type, precision, *ctx);
  });
}
