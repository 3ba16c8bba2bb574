// The text of intervals: fields, and ISO 8601 durations.
//
// Tests: tests/datetime/ldi_interval_text_test.cc.
#include "datetime/array_form.h"
#include "datetime/interval_value.h"
#include "datetime/plain_text.h"
#include "kestra/interval.h"

namespace kestra::datetime {
namespace {

bool IsNegative(const LdiInter& inter) noexcept {
  for (const std::int32_t field : inter.field) {
    if (field < 0) return true;
  }
  return false;
}

std::uint32_t Magnitude(std::int32_t value) noexcept {
  return value < 0 ? 0u - static_cast<std::uint32_t>(value) : static_cast<std::uint32_t>(value);
}

// Checks the interval and makes its text.
std::uint32_t WriteFields(PlainWriter& out, const LdiInter& in, std::uint32_t leading,
                          std::uint32_t fraction) noexcept {
  if (const std::uint32_t faults = LdiInterCheck(&in)) return LdiInterFault(faults);
  LdiInter inter;
  if (const std::uint32_t error = LdiDefaultCheck(in.type, &leading, &fraction)) return error;
  if (const std::uint32_t error = LdiInterInterConvert(&inter, &in, in.type, leading, fraction)) {
    return error;
  }
  const IntervalType& type = kIntervalTypes[inter.type];
  out.Put(IsNegative(inter) ? '-' : '+');
  out.PutNumber(Magnitude(inter.field[type.first]), leading);
  for (int i = type.first + 1; i <= type.last; ++i) {
    out.Put(IsYearMonth(inter.type) ? '-' : i == 1 ? ' ' : ':');
    out.PutNumber(Magnitude(inter.field[i]), 2);
  }
  if (fraction != 0) {
    out.Put('.');
    out.PutFraction(Magnitude(inter.field[kNanosField]), fraction);
  }
  return 0;
}

void PutPart(PlainWriter& out, std::int32_t value, char designator) noexcept {
  if (value == 0) return;
  out.PutNumber(Magnitude(value));
  out.Put(designator);
}

std::uint32_t WriteIso(PlainWriter& out, const LdiInter& in) noexcept {
  if (const std::uint32_t faults = LdiInterCheck(&in)) return LdiInterFault(faults);
  LdiInter full;
  if (const std::uint32_t error = SetAmount(full, AmountOf(in), FullType(in.type))) return error;
  if (IsNegative(full)) out.Put('-');
  out.Put('P');
  if (IsYearMonth(in.type)) {
    PutPart(out, full.field[0], 'Y');
    PutPart(out, full.field[1], 'M');
    if (AmountOf(full).count == 0) out.Put("0M");
    return 0;
  }
  PutPart(out, full.field[0], 'D');
  const std::int32_t nanos = full.field[kNanosField];
  const bool clock = (full.field[1] | full.field[2] | full.field[3] | nanos) != 0;
  if (!clock && full.field[0] != 0) return 0;
  out.Put('T');
  PutPart(out, full.field[1], 'H');
  PutPart(out, full.field[2], 'M');
  if (nanos != 0) {
    out.PutNumber(Magnitude(full.field[3]));
    out.Put('.');
    out.PutShortFraction(Magnitude(nanos));
    out.Put('S');
  } else if (clock) {
    PutPart(out, full.field[3], 'S');
  } else {
    out.Put("0S");
  }
  return 0;
}

}  // namespace
}  // namespace kestra::datetime

using namespace kestra::datetime;

uint32_t LdiInterToString(uint8_t* out, size_t size, size_t* length, const LdiInter* in,
                          uint32_t leading_precision, uint32_t fraction_precision,
                          const lxhandle* handle) noexcept {
  PlainWriter text;
  if (const std::uint32_t error = WriteFields(text, *in, leading_precision, fraction_precision)) {
    return error;
  }
  return text.CopyTo(out, size, *length, handle);
}

uint32_t LdiInterToStringU(uint16_t* out, size_t size, size_t* length, const LdiInter* in,
                           uint32_t leading_precision, uint32_t fraction_precision) noexcept {
  PlainWriter text;
  if (const std::uint32_t error = WriteFields(text, *in, leading_precision, fraction_precision)) {
    return error;
  }
  return text.CopyTo(out, size, *length);
}

uint32_t LdiInterToStringarr(uint8_t* const* out, const LdiInter* const* in, size_t count,
                             const size_t* rooms, size_t* lengths, uint32_t leading_precision,
                             uint32_t fraction_precision, const lxhandle* handle, uint32_t flags,
                             size_t* done) noexcept {
  const Operands room(rooms, flags);
  return RunArray(count, done, [&](std::size_t i) {
    return LdiInterToString(out[i], room[i], &lengths[i], in[i], leading_precision,
                            fraction_precision, handle);
  });
}

uint32_t LdiInterToStringISO(uint8_t* out, size_t size, size_t* length, const LdiInter* in,
                             const lxhandle* handle) noexcept {
  PlainWriter text;
  if (const std::uint32_t error = WriteIso(text, *in)) return error;
  return text.CopyTo(out, size, *length, handle);
}

uint32_t LdiInterToStringISOarr(uint8_t* const* out, const LdiInter* const* in, size_t count,
                                const size_t* rooms, size_t* lengths, const lxhandle* handle,
                                uint32_t flags, size_t* done) noexcept {
  const Operands room(rooms, flags);
  return RunArray(count, done, [&](std::size_t i) {
    return LdiInterToStringISO(out[i], room[i], &lengths[i], in[i], handle);
  });
}

uint32_t LdiInterToStringISOU(uint16_t* out, size_t size, size_t* length,
                              const LdiInter* in) noexcept {
  PlainWriter text;
  if (const std::uint32_t error = WriteIso(text, *in)) return error;
  return text.CopyTo(out, size, *length);
}
