// The array forms for every machine: the scalar bodies inlined into loops.
#include "datetime/date_operations.h"
#include "datetime/kernels/date_kernels.h"
#include "datetime/timestamp_operations.h"

namespace kestra::datetime {
namespace scalar {

void ToJulianArray(ldxjdate* const* out, const ldxdate* const* in, std::size_t count) noexcept {
  for (std::size_t i = 0; i < count; ++i) ToJulian(*in[i], *out[i]);
}

ArrayResult FromJulianArray(ldxdate* const* out, const ldxjdate* const* in,
                            std::size_t count) noexcept {
  return RunFrom(0, count, [=](std::size_t i) { return FromJulian(*in[i], *out[i]); });
}

ArrayResult AddDeltaArray(ldxdate* const* out, const ldxdate* const* in, std::size_t count,
                          Operands<ldxdelta> deltas) noexcept {
  return RunFrom(0, count, [=](std::size_t i) { return AddDelta(*in[i], deltas[i], *out[i]); });
}

ArrayResult AddMonthsArray(ldxdate* const* out, const ldxdate* const* in, std::size_t count,
                           Operands<std::int32_t> months) noexcept {
  return RunFrom(0, count, [=](std::size_t i) {
    bool last_day = false;
    return AddMonths(*in[i], months[i], *out[i], last_day);
  });
}

void LastDayArray(ldxdate* const* out, const ldxdate* const* in, std::size_t count) noexcept {
  for (std::size_t i = 0; i < count; ++i) LastDay(*in[i], *out[i]);
}

ArrayResult NextDayArray(ldxdate* const* out, const ldxdate* const* in, std::size_t count,
                         Operands<std::uint32_t> weekdays, std::uint32_t first_weekday) noexcept {
  return RunFrom(0, count, [=](std::size_t i) {
    return NextDay(*in[i], weekdays[i], first_weekday, *out[i]);
  });
}

ArrayResult AddIntervalArray(LdiDate* const* out, const LdiDate* const* in, std::size_t count,
                             Operands<const LdiInter*> inters, std::int32_t sign) noexcept {
  return RunFrom(0, count,
                 [=](std::size_t i) { return AddInterval(*out[i], *in[i], *inters[i], sign); });
}

ArrayResult SubtractDatesArray(LdiInter* const* out, const LdiDate* const* x, std::size_t count,
                               Operands<const LdiDate*> y) noexcept {
  return RunFrom(0, count, [=](std::size_t i) {
    return SubtractDates(*out[i], *x[i], *y[i], KES_INTERVAL_DAY_TO_SECOND);
  });
}

ArrayResult CompareDatesArray(const LdiDate* const* x, std::size_t count,
                              Operands<const LdiDate*> y, const LdiSession* session,
                              std::int8_t* order) noexcept {
  return RunFrom(0, count, [=](std::size_t i) {
    int result = 0;
    const std::uint32_t error = CompareDates(*x[i], *y[i], session, result);
    if (error == 0) order[i] = static_cast<std::int8_t>(result);
    return error;
  });
}

}  // namespace scalar

const DateKernels kScalarDateKernels = {"scalar",
                                        scalar::ToJulianArray,
                                        scalar::FromJulianArray,
                                        scalar::AddDeltaArray,
                                        scalar::AddMonthsArray,
                                        scalar::LastDayArray,
                                        scalar::NextDayArray,
                                        scalar::AddIntervalArray,
                                        scalar::SubtractDatesArray,
                                        scalar::CompareDatesArray};

}  // namespace kestra::datetime
