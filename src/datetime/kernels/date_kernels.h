// The array forms that have more than one implementation, behind one table that is chosen once. The
// scalar table is the reference.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>

#include "core/os/cpu.h"
#include "datetime/array_form.h"
#include "kestra/datetime.h"

namespace kestra::datetime {

// Each stops before the first element that fails and tells its error.
struct DateKernels {
  const char* name;
  void (*to_julian)(ldxjdate* const* out, const ldxdate* const* in, std::size_t count) noexcept;
  ArrayResult (*from_julian)(ldxdate* const* out, const ldxjdate* const* in,
                             std::size_t count) noexcept;
  ArrayResult (*add_delta)(ldxdate* const* out, const ldxdate* const* in, std::size_t count,
                           Operands<ldxdelta> deltas) noexcept;
  ArrayResult (*add_months)(ldxdate* const* out, const ldxdate* const* in, std::size_t count,
                            Operands<std::int32_t> months) noexcept;
  void (*last_day)(ldxdate* const* out, const ldxdate* const* in, std::size_t count) noexcept;
  ArrayResult (*next_day)(ldxdate* const* out, const ldxdate* const* in, std::size_t count,
                          Operands<std::uint32_t> weekdays, std::uint32_t first_weekday) noexcept;
  // LdiDateInterAdd and, with a negative sign, LdiDateInterSubtract.
  ArrayResult (*add_interval)(LdiDate* const* out, const LdiDate* const* in, std::size_t count,
                              Operands<const LdiInter*> inters, std::int32_t sign) noexcept;
  // LdiDateDateSubtract, days to seconds.
  ArrayResult (*subtract_dates)(LdiInter* const* out, const LdiDate* const* x, std::size_t count,
                                Operands<const LdiDate*> y) noexcept;
  ArrayResult (*compare_dates)(const LdiDate* const* x, std::size_t count,
                               Operands<const LdiDate*> y, const LdiSession* session,
                               std::int8_t* order) noexcept;
};

// What the scalar table holds; other tables take from it where they have nothing better.
namespace scalar {
void ToJulianArray(ldxjdate* const* out, const ldxdate* const* in, std::size_t count) noexcept;
ArrayResult FromJulianArray(ldxdate* const* out, const ldxjdate* const* in,
                            std::size_t count) noexcept;
ArrayResult AddDeltaArray(ldxdate* const* out, const ldxdate* const* in, std::size_t count,
                          Operands<ldxdelta> deltas) noexcept;
ArrayResult AddMonthsArray(ldxdate* const* out, const ldxdate* const* in, std::size_t count,
                           Operands<std::int32_t> months) noexcept;
void LastDayArray(ldxdate* const* out, const ldxdate* const* in, std::size_t count) noexcept;
ArrayResult NextDayArray(ldxdate* const* out, const ldxdate* const* in, std::size_t count,
                         Operands<std::uint32_t> weekdays, std::uint32_t first_weekday) noexcept;
ArrayResult AddIntervalArray(LdiDate* const* out, const LdiDate* const* in, std::size_t count,
                             Operands<const LdiInter*> inters, std::int32_t sign) noexcept;
ArrayResult SubtractDatesArray(LdiInter* const* out, const LdiDate* const* x, std::size_t count,
                               Operands<const LdiDate*> y) noexcept;
ArrayResult CompareDatesArray(const LdiDate* const* x, std::size_t count,
                              Operands<const LdiDate*> y, const LdiSession* session,
                              std::int8_t* order) noexcept;
}  // namespace scalar

extern const DateKernels kScalarDateKernels;
#if defined(__x86_64__)
extern const DateKernels kAvx2DateKernels;
extern const DateKernels kAvx512DateKernels;
#endif

// The best table at a level.
const DateKernels& DateKernelsFor(os::CpuLevel level) noexcept;

extern constinit std::atomic<const DateKernels*> active_date_kernels;
const DateKernels& ChooseDateKernels() noexcept;

inline const DateKernels& ActiveDateKernels() noexcept {
  const DateKernels* kernels = active_date_kernels.load(std::memory_order_relaxed);
  if (kernels == nullptr) [[unlikely]]
    return ChooseDateKernels();
  return *kernels;
}

}  // namespace kestra::datetime
