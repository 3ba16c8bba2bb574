// The three representations of a date: stored bytes, parts, day number with seconds.
#include <cstring>

#include "datetime/array_form.h"
#include "datetime/date_operations.h"
#include "datetime/kernels/date_kernels.h"

namespace kestra::datetime {
namespace {

constexpr std::int32_t kYearBias = 100;  // of both year bytes

static_assert(sizeof(ldxdate) == 8 && sizeof(ldxjdate) == 8 && sizeof(ldxdelta) == 8);

inline void FromStored(const std::uint8_t* in, ldxdate& out) noexcept {
  const std::int32_t year = in[0] * 100 + in[1] - (kYearBias * 100 + kYearBias);
  out = {static_cast<std::int16_t>(year),
         in[2],
         in[3],
         static_cast<std::uint8_t>(in[4] - 1),
         static_cast<std::uint8_t>(in[5] - 1),
         static_cast<std::uint8_t>(in[6] - 1),
         0};
}

inline void ToStored(const ldxdate& in, std::uint8_t* out) noexcept {
  const std::int32_t century = in.year / 100;
  const std::uint8_t bytes[KES_DATE_BYTES] = {
      static_cast<std::uint8_t>(century + kYearBias),
      static_cast<std::uint8_t>(in.year - century * 100 + kYearBias),
      in.month,
      in.day,
      static_cast<std::uint8_t>(in.hour + 1),
      static_cast<std::uint8_t>(in.minute + 1),
      static_cast<std::uint8_t>(in.second + 1)};
  std::memcpy(out, bytes, sizeof bytes);
}

}  // namespace
}  // namespace kestra::datetime

using namespace kestra::datetime;

void ldxeti(ldxctx*, ldxdate* out, const std::uint8_t* in) noexcept { FromStored(in, *out); }

void ldxite(ldxctx*, std::uint8_t* out, const ldxdate* in) noexcept { ToStored(*in, out); }

void ldxetiarr(ldxctx*, ldxdate* const* out, const std::uint8_t* const* in, std::size_t count,
               const void*, std::uint32_t, std::size_t* processed) noexcept {
  RunAll(count, processed, [=](std::size_t i) { FromStored(in[i], *out[i]); });
}

void ldxitearr(ldxctx*, std::uint8_t* const* out, const ldxdate* const* in, std::size_t count,
               const void*, std::uint32_t, std::size_t* processed) noexcept {
  RunAll(count, processed, [=](std::size_t i) { ToStored(*in[i], out[i]); });
}

void ldxdtd(ldxctx*, ldxjdate* out, const ldxdate* in) noexcept { ToJulian(*in, *out); }

void ldxdfd(ldxctx* ctx, ldxdate* out, const ldxjdate* in) {
  const std::uint32_t error = FromJulian(*in, *out);
  if (error != 0) ldxerr(ctx, error);
}

void ldxdtdarr(ldxctx*, ldxjdate* const* out, const ldxdate* const* in, std::size_t count,
               const void*, std::uint32_t, std::size_t* processed) noexcept {
  ActiveDateKernels().to_julian(out, in, count);
  Report(count, processed);
}

void ldxdfdarr(ldxctx* ctx, ldxdate* const* out, const ldxjdate* const* in, std::size_t count,
               const void*, std::uint32_t, std::size_t* processed) {
  Finish(ctx, ActiveDateKernels().from_julian(out, in, count), processed);
}
