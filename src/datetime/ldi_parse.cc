// Datetimes read by formats: the reader of dates walks the text, here its fields become a value.
//
// Tests: tests/datetime/ldi_text_test.cc; fuzz/ldi_text_fuzz.cc.
#include <cstring>

#include "datetime/array_form.h"
#include "datetime/date_read.h"
#include "datetime/datetime_model.h"
#include "datetime/datetime_plan.h"
#include "datetime/datetime_text.h"
#include "datetime/text_set.h"
#include "datetime/utf16_text.h"
#include "kestra/convert.h"
#include "kestra/timezone.h"

namespace kestra::datetime {
namespace {

constexpr std::uint32_t kTextLeft = 1830;
constexpr std::uint32_t kHourDisagrees = 1836;
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
  if (minutes != nullptr && abbreviation.empty()) {
    Moment utc = LocalMoment(date);
    utc.seconds -= *minutes * 60;
    if (HasOffsetAt(zone, utc, *minutes)) {
      SetZone(date, *minutes, zone.region);
      return 0;
    }
  }
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
    // Whole minutes may show the instant that is meant on another clock than its seconds do.
    const Moment shown = LocalMoment(date);
    const std::int32_t whole = reading.offset / 60;
    if (reading.offset % 60 != 0 && !HasOffsetAt(zone, {shown.seconds - whole * 60, 0}, whole)) {
      return ShowInZone(date, {shown.seconds - reading.offset, shown.nanos}, zone);
    }
    SetZone(date, whole, zone.region);
    return InCalendar(UtcMoment(date).seconds) ? 0 : std::uint32_t{KES_DATETIME_BAD_YEAR};
  }
  return abbreviation_fits ? KES_DATETIME_NO_REGION : KES_DATETIME_BAD_NAME;
}

std::uint32_t ReadZone(const DatetimeFields& fields, const LdiSession* session,
                       LdiDate& date) noexcept {
  const bool offset = (fields.seen & (DatetimeBit(kZoneHour) | DatetimeBit(kZoneMinute))) != 0 ||
                      ((fields.seen & DatetimeBit(kZoneRegion)) != 0 && fields.region[0] == 0);
  const std::int32_t magnitude = fields.zone_hour * 60 + fields.zone_minute;
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
    // Regions go further, see kMaxRegionMinutes.
    if (magnitude > kMaxZoneMinutes) return KES_DATETIME_BAD_ZONE_MINUTE;
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

// What is the same for all texts of a call.
class Job {
 public:
  Job(const std::uint8_t* model, std::size_t length, std::uint32_t wanted, std::uint32_t digits,
      LdiParseContext& context) noexcept
      : format(model, length), type(wanted), precision(digits), ctx(context) {
    if (!IsDatetimeType(type)) {
      error_ = KES_DATETIME_BAD_TYPE;
    } else if (precision > KES_DATETIME_MAX_PRECISION) {
      error_ = KES_DATETIME_BAD_FRACTION;
    } else {
      const DatetimePlan* any = DatetimePlanOf(ctx.date, format);
      if (any == nullptr || !any->whole_readable || !ServesType(*any, type)) return;
      checked_ = true;
      if (any->readable) plan = any;
    }
  }

  // The errors of the arguments and of the format, which is looked at once.
  std::uint32_t CheckFormat() noexcept {
    if (checked_ || error_ != 0) return error_;
    checked_ = true;
    error_ = CheckReadable(format, true).number;
    if (error_ == 0) error_ = CheckTypes(format, type);
    return error_;
  }

  std::span<const std::uint8_t> format;
  std::uint32_t type;
  std::uint32_t precision;
  LdiParseContext& ctx;
  const DatetimePlan* plan = nullptr;  // serves the type

 private:
  std::uint32_t error_ = 0;
  bool checked_ = false;
};

// What the plan did not say by itself: more elements, a rounding, a session's zone.
[[gnu::noinline]] bool FinishPlanned(LdiDate& out, std::span<const std::uint8_t> text,
                                     const PlannedFields& planned, const Job& job) noexcept {
  DatetimeFields more;
  more.fraction = planned.fraction;
  if (job.plan->sign_at != kNoPlace) {
    more.seen = DatetimeBit(kZoneHour) | DatetimeBit(kZoneMinute);
    more.zone_negative = planned.zone_negative;
    more.zone_hour = planned.zone_minutes / 60;
    more.zone_minute = planned.zone_minutes % 60;
    more.zone_positive = more.zone_hour != 0 && !more.zone_negative;
    more.zone_hour_said = true;
    more.zone_minute_said = job.plan->minute_at != kNoPlace;
  }
  const std::span<const std::uint8_t> left = job.format.subspan(job.plan->covered);
  if (!left.empty()) {
    ReadFields fields;
    fields.datetime = &more;
    if (ReadText(job.ctx.date, text.subspan(planned.used), left, false, fields)) return false;
  }
  return Combine(out, job.ctx, planned.parts, more, job.type, job.precision) == 0;
}

// A text that agrees with the plan of its format. False: it does not, or there is something to
// complain about.
inline bool ReadByPlan(LdiDate& out, std::span<const std::uint8_t> text, const Job& job) noexcept {
  PlannedFields planned;
  const DatetimePlan& plan = *job.plan;
  if (!ReadDatetimePlan(plan, text, planned)) return false;
  const bool whole = plan.covered == job.format.size();
  if (whole && planned.used != text.size()) return false;
  // Offsets do not lead out of the calendar but in its first and last years.
  const bool zoned = job.type == KES_DATETIME_TIMESTAMP_TZ && plan.sign_at != kNoPlace &&
                     planned.parts.year > kMinYear && planned.parts.year < kMaxYear;
  if (!whole || planned.digits > job.precision || (HasZone(job.type) && !zoned)) {
    return FinishPlanned(out, text, planned, job);
  }
  LdiDate date{};
  std::memcpy(&date, &planned.parts, sizeof planned.parts);
  date.fraction = planned.fraction;
  date.type = static_cast<std::uint8_t>(job.type);
  if (zoned) SetZone(date, planned.zone_negative ? -planned.zone_minutes : planned.zone_minutes, 0);
  out = date;
  return true;
}

// By walking along the format.
[[gnu::noinline]] std::uint32_t ReadAny(LdiDate& out, std::span<const std::uint8_t> text,
                                        Job& job) noexcept {
  job.ctx.date.error_offset = 0;
  if (const std::uint32_t error = job.CheckFormat()) return error;
  const auto attempt = [&](bool full_years) {
    DatetimeFields more;
    ReadFields fields;
    fields.datetime = &more;
    ldxdate parts{};
    Fault fault = ReadText(job.ctx.date, text, job.format, full_years, fields);
    if (!fault) fault = CombineFields(job.ctx.date, fields, parts);
    const bool hour25 = (more.seen & DatetimeBit(kHour25)) != 0 && fields.has(KES_DATE_SSSSS);
    if (!fault && hour25 && more.hour25 % 24 != parts.hour) fault.number = kHourDisagrees;
    if (!fault) fault.number = Combine(out, job.ctx, parts, more, job.type, job.precision);
    return fault;
  };
  const Fault fault = attempt(false);
  if (!fault) return 0;
  const RetryFacts facts = FactsOf(job.format);
  if (facts.short_year && !facts.exact && !attempt(true)) return 0;
  job.ctx.date.error_offset = fault.offset;
  return fault.number;
}

inline std::uint32_t ReadBytes(LdiDate& out, std::span<const std::uint8_t> text,
                               Job& job) noexcept {
  if (job.plan != nullptr && ReadByPlan(out, text, job)) return 0;
  return ReadAny(out, text, job);
}

std::uint32_t ReadUnits(LdiDate& out, std::span<const std::uint8_t> units, Job& job) noexcept {
  const ldxctx& ctx = job.ctx.date;
  if (units.size() > 2 * kMaxUnits) {
    job.ctx.date.error_offset = 0;
    return kTextLeft;
  }
  std::uint8_t bytes[8 * kMaxUnits];
  const bool utf8 = ctx.handle == nullptr || KeepsUtf8(ctx);
  const std::size_t length = utf8 ? UnitsToUtf8(units, OrderOfUnits(ctx), bytes)
                                  : lxgcnv(bytes, TextSet(ctx), sizeof bytes, units.data(),
                                           UnitSet(ctx), units.size(), ctx.nls);
  const std::uint32_t error = ReadBytes(out, {bytes, length}, job);
  if (error != 0 && utf8) {
    const std::size_t offset = job.ctx.date.error_offset;
    job.ctx.date.error_offset = UnitBytes({bytes, offset < length ? offset : length});
  }
  return error;
}

inline std::uint32_t Read(LdiDate& out, std::span<const std::uint8_t> text, Job& job) noexcept {
  if (StateOf(job.ctx.date).two_byte_units) [[unlikely]]
    return ReadUnits(out, text, job);
  return ReadBytes(out, text, job);
}

}  // namespace
}  // namespace kestra::datetime

using namespace kestra::datetime;

uint32_t LdiDateFromString(LdiDate* out, const uint8_t* text, size_t length, const uint8_t* format,
                           size_t format_length, uint32_t type, uint32_t precision,
                           LdiParseContext* ctx) noexcept {
  Job job(format, format_length, type, precision, *ctx);
  return Read(*out, {text, length}, job);
}

uint32_t LdiDateFromStringU(LdiDate* out, const uint16_t* text, size_t units, const uint8_t* format,
                            size_t format_length, uint32_t type, uint32_t precision,
                            LdiParseContext* ctx) noexcept {
  Job job(format, format_length, type, precision, *ctx);
  return ReadUnits(*out, {reinterpret_cast<const std::uint8_t*>(text), 2 * units}, job);
}

uint32_t LdiDateFromStringarr(LdiDate* const* out, const uint8_t* const* texts, size_t count,
                              const size_t* lengths, const uint8_t* format, size_t format_length,
                              uint32_t type, uint32_t precision, LdiParseContext* ctx,
                              uint32_t flags, size_t* done) noexcept {
  const Operands length(lengths, flags);
  Job job(format, format_length, type, precision, *ctx);
  return RunArray(count, done, [&](std::size_t i) {
    return Read(*out[i], {texts[i], length[i]}, job);
  });
}
