// Years and weeks of ISO 8601.
#include "datetime/array_form.h"
#include "datetime/date_operations.h"

namespace kestra::datetime {
namespace {

inline std::int32_t IsoYear(const ldxdate& date) noexcept {
  return WithoutYearZero(IsoWeekOf(DayNumber(date)).year, false);
}

inline std::uint32_t IsoWeekNumber(const ldxdate& date) noexcept {
  return static_cast<std::uint32_t>(IsoWeekOf(DayNumber(date)).week);
}

}  // namespace
}  // namespace kestra::datetime

using namespace kestra::datetime;

std::int32_t ldxisy(ldxctx*, const ldxdate* in) noexcept { return IsoYear(*in); }

std::uint32_t ldxisw(ldxctx*, const ldxdate* in) noexcept { return IsoWeekNumber(*in); }

void ldxisyarr(ldxctx*, std::int32_t* out, const ldxdate* const* in, std::size_t count, const void*,
               std::uint32_t, std::size_t* processed) noexcept {
  RunAll(count, processed, [=](std::size_t i) { out[i] = IsoYear(*in[i]); });
}

void ldxiswarr(ldxctx*, std::uint32_t* out, const ldxdate* const* in, std::size_t count,
               const void*, std::uint32_t, std::size_t* processed) noexcept {
  RunAll(count, processed, [=](std::size_t i) { out[i] = IsoWeekNumber(*in[i]); });
}
