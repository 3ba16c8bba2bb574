// Datetimes in formats. What the plan of a format does not serve (datetime_plan.h) is cut at the
// elements that only datetimes have; what lies between is written by the writer of dates.
//
// Tests: tests/datetime/ldi_text_test.cc; fuzz/ldi_text_fuzz.cc.
#include <cstring>

#include "datetime/array_form.h"
#include "datetime/date_names.h"
#include "datetime/date_write.h"
#include "datetime/datetime_model.h"
#include "datetime/datetime_plan.h"
#include "datetime/datetime_text.h"
#include "datetime/utf16_text.h"

namespace kestra::datetime {
namespace {

constexpr std::uint32_t kDamaged = 1821;
constexpr std::uint32_t kDatesNoRoom = 1801;
constexpr std::size_t kUnitsRoom = 4096;  // bytes of the set that are turned into units

class Formatter {
 public:
  Formatter(LdiParseContext& ctx, const LdiDate& date, std::uint32_t precision,
            std::span<std::uint8_t> out) noexcept
      : ctx_(ctx), state_(StateOf(ctx.date)), date_(date), precision_(precision), out_(out) {
    const bool dated = HasDate(date.type);
    parts_ = {dated ? date.year : std::int16_t{1},
              dated ? date.month : std::uint8_t{1},
              dated ? date.day : std::uint8_t{1},
              date.hour,
              date.minute,
              date.second,
              0};
  }

  std::size_t used() const noexcept { return used_; }

  // plan: the format's, or null.
  std::uint32_t Format(std::span<const std::uint8_t> format, const DatetimePlan* plan) noexcept {
    const bool served = plan != nullptr && ServesType(*plan, date_.type);
    if (served && plan->covered != 0) {
      if (!PutDatetimePlan(*plan, date_, precision_, out_, used_)) {
        return KES_DATETIME_NO_ROOM;
      }
      format = format.subspan(plan->covered);
    }
    std::span<const std::uint8_t> left = format;
    std::size_t run = 0;  // where the items began that are left to the writer of dates
    while (!left.empty()) {
      const std::size_t at = format.size() - left.size();
      LdiFormatItem item;
      if (!NextItem(left, item)) return kDamaged;
      if (!served && !TypeHasElement(date_.type, item.code)) return KES_DATETIME_NO_FIELD;
      if (format[at] != kDatetimeEscape) continue;
      if (const std::uint32_t error = Dates(format.subspan(run, at - run))) return error;
      if (const std::uint32_t error = Element(item.code)) return error;
      run = format.size() - left.size();
    }
    return Dates(format.subspan(run));
  }

 private:
  std::uint32_t Dates(std::span<const std::uint8_t> run) noexcept {
    if (run.empty()) return 0;
    std::size_t length = 0;
    const Fault fault = WriteDate(ctx_.date, parts_, run, out_.subspan(used_), length);
    used_ += length;
    return fault.number == kDatesNoRoom ? std::uint32_t{KES_DATETIME_NO_ROOM} : fault.number;
  }

  std::uint32_t Element(std::uint32_t code) noexcept {
    if (code == kRadix) return DecimalCharacter();
    PlainWriter text;
    if (const std::uint32_t error = MakeElement(code, text)) return error;
    const std::string_view made = text.view();
    if (made.size() > out_.size() - used_) return KES_DATETIME_NO_ROOM;
    for (const char c : made) {
      out_[used_++] = state_.ascii[static_cast<std::size_t>(c) & 0x7F];
    }
    return 0;
  }

  std::uint32_t DecimalCharacter() noexcept {
    NeedNames(ctx_.date);
    const std::string_view text = TextOf(state_, state_.decimal_character);
    if (text.size() > out_.size() - used_) return KES_DATETIME_NO_ROOM;
    std::memcpy(out_.data() + used_, text.data(), text.size());
    used_ += text.size();
    return 0;
  }

  std::uint32_t MakeElement(std::uint32_t code, PlainWriter& text) const noexcept {
    const std::int32_t zone = ZoneMinutes(date_);
    const auto minutes = static_cast<std::uint32_t>(zone < 0 ? -zone : zone);
    const ltzfile* zones = ctx_.session != nullptr ? ctx_.session->zones : nullptr;
    if (code >= kFraction1) {
      text.PutFraction(date_.fraction, code - kFraction1 + 1);
      return 0;
    }
    switch (code) {
      case kHour25:
        text.PutNumber(date_.hour, 2);
        return 0;
      case kFraction:
        if (precision_ != 0) text.PutFraction(date_.fraction, precision_);
        return 0;
      case kZoneHour:
        text.Put(zone < 0 ? '-' : '+');
        text.PutNumber(minutes / 60, 2);
        return 0;
      case kZoneMinute:
        text.PutNumber(minutes % 60, 2);
        return 0;
      case kZoneRegion:
        return PutRegionName(text, date_, zones);
      default:
        return PutZoneAbbreviation(text, date_, zones);
    }
  }

  LdiParseContext& ctx_;
  State& state_;
  const LdiDate& date_;
  std::uint32_t precision_;
  std::span<std::uint8_t> out_;
  std::size_t used_ = 0;
  ldxdate parts_;
};

std::uint32_t CheckValue(const LdiDate& date, std::uint32_t precision) noexcept {
  if (precision > KES_DATETIME_MAX_PRECISION) return KES_DATETIME_BAD_FRACTION;
  return LdiDateFault(LdiDateCheck(&date));
}

// What is the same for all values of a call.
struct Job {
  std::span<const std::uint8_t> format;
  std::uint32_t precision;
  LdiParseContext& ctx;
  const DatetimePlan* plan;
  bool planned;  // the plan does all of it

  Job(const std::uint8_t* text, std::size_t length, std::uint32_t digits,
      LdiParseContext& context) noexcept
      : format(text, length), precision(digits), ctx(context) {
    plan = DatetimePlanOf(ctx.date, format);
    planned = plan != nullptr && plan->covered == length &&
              precision <= KES_DATETIME_MAX_PRECISION && !StateOf(ctx.date).two_byte_units;
  }
};

std::uint32_t FormatUnits(std::span<std::uint8_t> out, std::size_t& used, const LdiDate& date,
                          const Job& job) noexcept {
  std::uint8_t bytes[kUnitsRoom];
  Formatter formatter(job.ctx, date, job.precision, bytes);
  if (const std::uint32_t error = formatter.Format(job.format, job.plan)) return error;
  std::size_t length = 0;
  if (!TextToUnits(job.ctx.date, {bytes, formatter.used()}, out, length)) {
    return KES_DATETIME_NO_ROOM;
  }
  used = length;
  return 0;
}

[[gnu::noinline]] std::uint32_t FormatAny(std::span<std::uint8_t> out, std::size_t& used,
                                          const LdiDate& date, const Job& job) noexcept {
  if (const std::uint32_t error = CheckValue(date, job.precision)) return error;
  if (StateOf(job.ctx.date).two_byte_units) return FormatUnits(out, used, date, job);
  Formatter formatter(job.ctx, date, job.precision, out);
  if (const std::uint32_t error = formatter.Format(job.format, job.plan)) return error;
  used = formatter.used();
  return 0;
}

inline std::uint32_t Format(std::span<std::uint8_t> out, std::size_t& used, const LdiDate& date,
                            const Job& job) noexcept {
  if (job.planned && IsPlainValue(date) && ServesType(*job.plan, date.type)) [[likely]] {
    return PutDatetimePlan(*job.plan, date, job.precision, out, used)
               ? 0
               : std::uint32_t{KES_DATETIME_NO_ROOM};
  }
  return FormatAny(out, used, date, job);
}

}  // namespace
}  // namespace kestra::datetime

using namespace kestra::datetime;

uint32_t LdiDateToString(uint8_t* out, size_t size, size_t* length, const LdiDate* in,
                         const uint8_t* format, size_t format_length, uint32_t precision,
                         LdiParseContext* ctx) noexcept {
  return Format({out, size}, *length, *in, Job(format, format_length, precision, *ctx));
}

uint32_t LdiDateToStringU(uint16_t* out, size_t size, size_t* length, const LdiDate* in,
                          const uint8_t* format, size_t format_length, uint32_t precision,
                          LdiParseContext* ctx) noexcept {
  if (const std::uint32_t error = CheckValue(*in, precision)) return error;
  std::size_t bytes = 0;
  const std::span room(reinterpret_cast<std::uint8_t*>(out), 2 * size);
  const Job job(format, format_length, precision, *ctx);
  if (const std::uint32_t error = FormatUnits(room, bytes, *in, job)) return error;
  *length = bytes / 2;
  return 0;
}

uint32_t LdiDateToStringarr(uint8_t* const* out, const LdiDate* const* in, size_t count,
                            const size_t* rooms, size_t* lengths, const uint8_t* format,
                            size_t format_length, uint32_t precision, LdiParseContext* ctx,
                            uint32_t flags, size_t* done) noexcept {
  const Operands room(rooms, flags);
  const Job job(format, format_length, precision, *ctx);
  return RunArray(count, done, [&](std::size_t i) {
    return Format({out[i], room[i]}, lengths[i], *in[i], job);
  });
}
