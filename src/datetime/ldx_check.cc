// Validation: bits that tell all that is wrong with a value.
#include "datetime/array_form.h"
#include "datetime/date_operations.h"

namespace kestra::datetime {
namespace {

constexpr std::uint32_t If(bool condition, std::uint32_t bits) noexcept {
  return condition ? bits : 0;
}

// Year, month and day, the same in parts and in stored form.
inline std::uint32_t CheckDay(std::int32_t year, std::uint32_t month, std::uint32_t day) noexcept {
  const bool month_exists = month >= 1 && month <= 12;
  const std::uint32_t length = month_exists ? MonthLength(year, month) : 31;
  return If(day == 0, KES_DATE_BAD_DAY | KES_DATE_ZERO_DAY) | If(day > length, KES_DATE_BAD_DAY) |
         If(!month_exists, KES_DATE_BAD_MONTH) | If(month == 0, KES_DATE_ZERO_MONTH) |
         If(year > kMaxYear, KES_DATE_BAD_YEAR) |
         If(year < kMinYear, KES_DATE_BAD_YEAR | KES_DATE_LOW_YEAR) |
         If(IsSkipped(year, month, day), KES_DATE_SKIPPED_DAY) | If(year == 0, KES_DATE_YEAR_ZERO);
}

inline std::uint32_t CheckParts(const ldxdate& d) noexcept {
  return CheckDay(d.year, d.month, d.day) | If(d.hour >= 24, KES_DATE_BAD_HOUR) |
         If(d.minute >= 60, KES_DATE_BAD_MINUTE) | If(d.second >= 60, KES_DATE_BAD_SECOND);
}

inline std::uint32_t CheckStored(const std::uint8_t* b) noexcept {
  constexpr std::uint32_t kLowestCentury = 53;
  constexpr std::uint32_t kHighest = 199;  // of both year bytes
  const std::int32_t year = b[0] * 100 + b[1] - 10100;
  return CheckDay(year, b[2], b[3]) |
         If(b[0] == 0 || b[0] > kHighest || b[1] > kHighest, KES_DATE_BAD_YEAR) |
         If(b[0] < kLowestCentury || b[1] == 0, KES_DATE_BAD_YEAR | KES_DATE_LOW_YEAR) |
         If(b[4] == 0, KES_DATE_BAD_HOUR | KES_DATE_ZERO_HOUR) | If(b[4] > 24, KES_DATE_BAD_HOUR) |
         If(b[5] == 0, KES_DATE_BAD_MINUTE | KES_DATE_ZERO_MINUTE) |
         If(b[5] > 60, KES_DATE_BAD_MINUTE) |
         If(b[6] == 0, KES_DATE_BAD_SECOND | KES_DATE_ZERO_SECOND) |
         If(b[6] > 60, KES_DATE_BAD_SECOND);
}

inline std::uint32_t CheckJulian(const ldxjdate& j) noexcept {
  return If(j.day > kMaxDay, KES_DATE_BAD_DAY) |
         If(j.day <= 0, KES_DATE_BAD_DAY | KES_DATE_ZERO_DAY) |
         If(j.second < 0 || j.second >= kDaySeconds, KES_DATE_BAD_SECOND);
}

inline std::uint32_t Check(const void* value, std::uint32_t kind) noexcept {
  switch (kind) {
    case KES_DATE_PARTS:
      return CheckParts(*static_cast<const ldxdate*>(value));
    case KES_DATE_JULIAN:
      return CheckJulian(*static_cast<const ldxjdate*>(value));
    case KES_DATE_STORED:
      return CheckStored(static_cast<const std::uint8_t*>(value));
    default:
      return KES_DATE_BAD_KIND;
  }
}

constexpr std::uint32_t Absent(bool hour, bool minute, bool second) noexcept {
  return If(hour, KES_DATE_NO_HOUR) | If(minute, KES_DATE_NO_MINUTE) |
         If(second, KES_DATE_NO_SECOND);
}

inline std::uint32_t CheckAbsent(const void* value, std::uint32_t kind) noexcept {
  std::uint32_t absent = 0;
  if (kind == KES_DATE_PARTS) {
    const auto& d = *static_cast<const ldxdate*>(value);
    absent = Absent(d.hour == 255, d.minute == 255, d.second == 255);
  } else if (kind == KES_DATE_STORED) {
    const auto* b = static_cast<const std::uint8_t*>(value);
    absent = Absent(b[4] == 0, b[5] == 0, b[6] == 0);
  }
  return Check(value, kind) | absent;
}

}  // namespace
}  // namespace kestra::datetime

using namespace kestra::datetime;

std::uint32_t ldxchk(ldxctx*, const void* value, std::uint32_t kind) noexcept {
  return Check(value, kind);
}

std::uint32_t ldxrck(ldxctx*, const void* value, std::uint32_t kind) noexcept {
  return CheckAbsent(value, kind);
}

void ldxchkarr(ldxctx*, std::uint32_t* bits, const void* const* in, std::size_t count,
               const std::uint32_t* kinds, std::uint32_t flags, std::size_t* processed) noexcept {
  const Operands<std::uint32_t> kind(kinds, flags);
  RunAll(count, processed, [=](std::size_t i) { bits[i] = Check(in[i], kind[i]); });
}

void ldxrckarr(ldxctx*, std::uint32_t* bits, const void* const* in, std::size_t count,
               const std::uint32_t* kinds, std::uint32_t flags, std::size_t* processed) noexcept {
  const Operands<std::uint32_t> kind(kinds, flags);
  RunAll(count, processed, [=](std::size_t i) { bits[i] = CheckAbsent(in[i], kind[i]); });
}
