// The array forms for every machine: the scalar bodies inlined into loops.
#include "datetime/date_operations.h"
#include "datetime/kernels/date_kernels.h"

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

}  // namespace scalar

const DateKernels kScalarDateKernels = {"scalar",
                                        scalar::ToJulianArray,
                                        scalar::FromJulianArray,
                                        scalar::AddDeltaArray,
                                        scalar::AddMonthsArray,
                                        scalar::LastDayArray,
                                        scalar::NextDayArray};

}  // namespace kestra::datetime
