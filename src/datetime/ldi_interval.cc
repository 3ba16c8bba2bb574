// Making, checking, storing, comparing and converting intervals.
#include <cstring>

#include "datetime/array_form.h"
#include "datetime/interval_value.h"
#include "kestra/interval.h"

const uint8_t LdiTypeCode[14] = {0, 32, 16, 8, 4, 2, 1, 48, 12, 14, 15, 6, 7, 3};
const uint32_t LdiPower10[10] = {1,       10,        100,        1'000,       10'000,
                                 100'000, 1'000'000, 10'000'000, 100'000'000, 1'000'000'000};
const uint32_t LdiPrecLimit[10] = {0,      9,       99,        999,        9'999,
                                   99'999, 999'999, 9'999'999, 99'999'999, 999'999'999};

namespace kestra::datetime {
namespace {

// What a field holds when another leads.
constexpr std::int32_t kFieldMax[2][5] = {{23, 23, 59, 59, kNanos - 1}, {0, 11, 0, 0, 0}};
constexpr std::uint32_t kFieldFault[2][5] = {
    {0, KES_INTERVAL_FAULT_HOUR, KES_INTERVAL_FAULT_MINUTE, KES_INTERVAL_FAULT_SECOND,
     KES_INTERVAL_FAULT_FRACTION},
    {0, KES_INTERVAL_FAULT_MONTH, 0, 0, 0}};

std::uint32_t Faults(const LdiInter& inter) noexcept {
  if (!IsIntervalType(inter.type)) return KES_INTERVAL_FAULT_TYPE;
  const IntervalType& type = kIntervalTypes[inter.type];
  const bool year_month = IsYearMonth(inter.type);
  std::uint32_t faults = 0;
  if ((inter.pad | inter.zero) != 0) faults |= KES_INTERVAL_FAULT_UNUSED;
  bool positive = false;
  bool negative = false;
  for (int i = 0; i < 5; ++i) {
    const std::int32_t value = inter.field[i];
    positive |= value > 0;
    negative |= value < 0;
    const bool used =
        (i >= type.first && i <= type.last) || (i == kNanosField && HasSeconds(inter.type));
    if (!used) {
      if (value != 0) faults |= KES_INTERVAL_FAULT_UNUSED;
    } else if (i == type.first) {
      if (value > kMaxLeading || value < -kMaxLeading) faults |= KES_INTERVAL_FAULT_LEADING;
    } else if (value > kFieldMax[year_month][i] || value < -kFieldMax[year_month][i]) {
      faults |= kFieldFault[year_month][i];
    }
  }
  if (positive && negative) faults |= KES_INTERVAL_FAULT_SIGNS;
  return faults;
}

std::uint32_t Convert(LdiInter& out, const LdiInter& in, std::uint32_t type, std::uint32_t leading,
                      std::uint32_t fraction) noexcept {
  if (!IsIntervalType(in.type)) return KES_DATETIME_BAD_INTERVAL;
  if (const std::uint32_t error = CompletePrecisions(type, leading, fraction)) return error;
  if (IsYearMonth(in.type) != IsYearMonth(type)) return KES_DATETIME_NOT_COMPARABLE;
  Amount amount = AmountOf(in);
  if (HasSeconds(type)) amount = RoundAmount(amount, fraction);
  return SetAmount(out, amount, type, LdiPrecLimit[leading]);
}

constexpr std::uint32_t kSignBias = 0x80000000;
constexpr std::int32_t kFieldBias = 60;
constexpr std::size_t kYearMonthBytes = 5;
constexpr std::size_t kDaySecondBytes = 11;

void StoreBiased(std::uint8_t* to, std::int32_t value) noexcept {
  const std::uint32_t word = __builtin_bswap32(static_cast<std::uint32_t>(value) ^ kSignBias);
  std::memcpy(to, &word, sizeof word);
}

std::int32_t LoadBiased(const std::uint8_t* from) noexcept {
  std::uint32_t word;
  std::memcpy(&word, from, sizeof word);
  return static_cast<std::int32_t>(__builtin_bswap32(word) ^ kSignBias);
}

std::uint8_t Biased(std::int32_t field) noexcept {
  return static_cast<std::uint8_t>(field + kFieldBias);
}

std::uint32_t Store(std::uint8_t* bytes, std::size_t size, std::size_t& length,
                    const LdiInter& in) noexcept {
  if (const std::uint32_t faults = Faults(in)) return LdiInterFault(faults);
  const bool year_month = IsYearMonth(in.type);
  const std::size_t needed = year_month ? kYearMonthBytes : kDaySecondBytes;
  if (needed > size) return KES_DATETIME_NO_ROOM;
  LdiInter full;
  // Never out of range: the leading field only gets smaller.
  static_cast<void>(SetAmount(full, AmountOf(in), FullType(in.type)));
  StoreBiased(bytes, full.field[0]);
  bytes[4] = Biased(full.field[1]);
  if (!year_month) {
    bytes[5] = Biased(full.field[2]);
    bytes[6] = Biased(full.field[3]);
    StoreBiased(bytes + 7, full.field[kNanosField]);
  }
  length = needed;
  return 0;
}

std::uint32_t Load(LdiInter& out, const std::uint8_t* bytes, std::size_t length,
                   std::uint32_t type) noexcept {
  if (!IsIntervalType(type)) return KES_DATETIME_BAD_INTERVAL;
  const bool year_month = IsYearMonth(type);
  if (length != (year_month ? kYearMonthBytes : kDaySecondBytes)) return KES_DATETIME_FAILED;
  LdiInter full{};
  full.type = static_cast<std::uint8_t>(FullType(type));
  full.field[0] = LoadBiased(bytes);
  full.field[1] = bytes[4] - kFieldBias;
  if (!year_month) {
    full.field[2] = bytes[5] - kFieldBias;
    full.field[3] = bytes[6] - kFieldBias;
    full.field[kNanosField] = LoadBiased(bytes + 7);
  }
  if (const std::uint32_t faults = Faults(full)) return LdiInterFault(faults);
  return SetAmount(out, AmountOf(full), type);
}

std::uint32_t CheckFamilies(std::uint32_t x_type, std::uint32_t y_type) noexcept {
  if (!IsIntervalType(x_type) || !IsIntervalType(y_type)) return KES_DATETIME_BAD_INTERVAL;
  return IsYearMonth(x_type) == IsYearMonth(y_type) ? 0 : KES_DATETIME_NOT_COMPARABLE;
}

std::uint32_t Compare(const LdiInter& x, const LdiInter& y, std::int8_t& order) noexcept {
  if (const std::uint32_t error = CheckFamilies(x.type, y.type)) return error;
  const Amount a = AmountOf(x);
  const Amount b = AmountOf(y);
  order = static_cast<std::int8_t>((b < a) - (a < b));
  return 0;
}

}  // namespace
}  // namespace kestra::datetime

using namespace kestra::datetime;

uint32_t LdiInterConstruct(LdiInter* out, int32_t years, int32_t months, int32_t days,
                           int32_t hours, int32_t minutes, int32_t seconds, int32_t fraction,
                           uint32_t leading_precision, uint32_t fraction_precision,
                           uint32_t type) noexcept {
  if (const std::uint32_t error = CompletePrecisions(type, leading_precision, fraction_precision)) {
    return error;
  }
  const IntervalType& fields = kIntervalTypes[type];
  const std::int32_t given[2][4] = {{days, hours, minutes, seconds}, {years, months, 0, 0}};
  LdiInter inter{};
  inter.type = static_cast<std::uint8_t>(type);
  for (int i = fields.first; i <= fields.last; ++i) inter.field[i] = given[IsYearMonth(type)][i];
  if (HasSeconds(type)) inter.field[kNanosField] = fraction;
  if (const std::uint32_t faults = Faults(inter)) return LdiInterFault(faults);
  const Amount amount = RoundAmount(AmountOf(inter), fraction_precision);
  return SetAmount(*out, amount, type, LdiPrecLimit[leading_precision]);
}

uint32_t LdiInterCheck(const LdiInter* inter) noexcept { return Faults(*inter); }

uint32_t LdiInterFault(uint32_t faults) noexcept {
  constexpr std::uint32_t kErrors[] = {
      KES_DATETIME_BAD_INTERVAL,   KES_DATETIME_BAD_INTERVAL, KES_DATETIME_BAD_INTERVAL,
      KES_DATETIME_INTERVAL_RANGE, KES_DATETIME_BAD_MONTH,    KES_DATETIME_BAD_HOUR,
      KES_DATETIME_BAD_MINUTE,     KES_DATETIME_BAD_SECOND,   KES_DATETIME_BAD_FRACTION};
  for (std::uint32_t i = 0; i < 9; ++i) {
    if ((faults >> i & 1) != 0) return kErrors[i];
  }
  return 0;
}

uint32_t LdiInterCheckarr(uint32_t* faults, const LdiInter* const* in, size_t count,
                          size_t* done) noexcept {
  return RunArray(count, done, [&](std::size_t i) {
    faults[i] = Faults(*in[i]);
    return 0u;
  });
}

uint32_t LdiDefaultCheck(uint32_t type, uint32_t* leading_precision,
                         uint32_t* fraction_precision) noexcept {
  std::uint32_t leading = *leading_precision;
  std::uint32_t fraction = *fraction_precision;
  if (const std::uint32_t error = CompletePrecisions(type, leading, fraction)) return error;
  *leading_precision = leading;
  *fraction_precision = fraction;
  return 0;
}

uint32_t LdiInterToArray(uint8_t* bytes, size_t size, size_t* length, const LdiInter* in) noexcept {
  return Store(bytes, size, *length, *in);
}

uint32_t LdiInterToArrayarr(uint8_t* const* bytes, const LdiInter* const* in, size_t count,
                            const size_t* rooms, size_t* lengths, uint32_t flags,
                            size_t* done) noexcept {
  const Operands room(rooms, flags);
  return RunArray(count, done,
                  [&](std::size_t i) { return Store(bytes[i], room[i], lengths[i], *in[i]); });
}

uint32_t LdiInterFromArray(LdiInter* out, const uint8_t* bytes, size_t length,
                           uint32_t type) noexcept {
  return Load(*out, bytes, length, type);
}

uint32_t LdiInterFromArrayarr(LdiInter* const* out, const uint8_t* const* bytes, size_t count,
                              const size_t* lengths, uint32_t type, uint32_t flags,
                              size_t* done) noexcept {
  const Operands length(lengths, flags);
  return RunArray(count, done,
                  [&](std::size_t i) { return Load(*out[i], bytes[i], length[i], type); });
}

uint32_t LdiInterComparable(uint32_t x_type, uint32_t y_type) noexcept {
  return CheckFamilies(x_type, y_type);
}

uint32_t LdiInterCompare(const LdiInter* x, const LdiInter* y, int* order) noexcept {
  std::int8_t result = 0;
  const std::uint32_t error = Compare(*x, *y, result);
  if (error == 0) *order = result;
  return error;
}

uint32_t LdiInterComparearr(int8_t* order, const LdiInter* const* x, size_t count,
                            const LdiInter* const* y, uint32_t flags, size_t* done) noexcept {
  const Operands other(y, flags);
  return RunArray(count, done, [&](std::size_t i) { return Compare(*x[i], *other[i], order[i]); });
}

uint32_t LdiInterInterConvert(LdiInter* out, const LdiInter* in, uint32_t type,
                              uint32_t leading_precision, uint32_t fraction_precision) noexcept {
  return Convert(*out, *in, type, leading_precision, fraction_precision);
}

uint32_t LdiInterInterConvertarr(LdiInter* const* out, const LdiInter* const* in, size_t count,
                                 uint32_t type, uint32_t leading_precision,
                                 uint32_t fraction_precision, size_t* done) noexcept {
  return RunArray(count, done, [&](std::size_t i) {
    return Convert(*out[i], *in[i], type, leading_precision, fraction_precision);
  });
}

uint32_t LdiInterRoundFS(LdiInter* out, const LdiInter* in, uint32_t fraction_precision) noexcept {
  return Convert(*out, *in, in->type, KES_DATETIME_MAX_PRECISION, fraction_precision);
}

uint32_t LdiInterRoundFSarr(LdiInter* const* out, const LdiInter* const* in, size_t count,
                            uint32_t fraction_precision, size_t* done) noexcept {
  return RunArray(count, done, [&](std::size_t i) {
    return Convert(*out[i], *in[i], in[i]->type, KES_DATETIME_MAX_PRECISION, fraction_precision);
  });
}
