// Eight dates at a time: a date is 8 bytes and so one 64-bit lane, into which all of the arithmetic
// of day_number.h fits. Divisions by constants are a multiplication and a shift, exact over the
// values that come up (Reciprocal). Addresses that follow each other, the usual case, are loaded
// and stored as one vector; others one by one, which is faster than gathering and scattering.
//
// Eight dates of which one fails, or whose year is no date's, go through the scalar bodies.
//
// Against the scalar table, 4096 dates: see docs/performance-dates.md.
#include "datetime/date_operations.h"
#include "datetime/kernels/date_kernels.h"

#if defined(__x86_64__)

// GCC 12 takes the undefined vectors inside its own headers for uninitialized variables.
#if !defined(__clang__)
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"
#pragma GCC diagnostic ignored "-Wuninitialized"
#endif
#include <immintrin.h>

#define KES_DATE_AVX512 __attribute__((target("avx512f,avx512dq,avx512bw,avx512vl"), always_inline))
#define KES_DATE_AVX512_ENTRY __attribute__((target("avx512f,avx512dq,avx512bw,avx512vl")))

namespace kestra::datetime {
namespace {

constexpr std::size_t kLanes = 8;
using Lanes = __m512i;
using Mask = __mmask8;

KES_DATE_AVX512 inline Lanes Set(std::int64_t value) noexcept { return _mm512_set1_epi64(value); }
KES_DATE_AVX512 inline Lanes Add(Lanes x, Lanes y) noexcept { return _mm512_add_epi64(x, y); }
KES_DATE_AVX512 inline Lanes Subtract(Lanes x, Lanes y) noexcept { return _mm512_sub_epi64(x, y); }
KES_DATE_AVX512 inline Lanes And(Lanes x, Lanes y) noexcept { return _mm512_and_si512(x, y); }
KES_DATE_AVX512 inline Lanes Or(Lanes x, Lanes y) noexcept { return _mm512_or_si512(x, y); }
// Of the low 32 bits, unsigned.
KES_DATE_AVX512 inline Lanes Multiply(Lanes x, Lanes y) noexcept { return _mm512_mul_epu32(x, y); }
template <unsigned kBits>
KES_DATE_AVX512 inline Lanes Left(Lanes x) noexcept {
  return _mm512_slli_epi64(x, kBits);
}
template <unsigned kBits>
KES_DATE_AVX512 inline Lanes Right(Lanes x) noexcept {
  return _mm512_srli_epi64(x, kBits);
}
// One byte of each lane.
template <unsigned kPlace>
KES_DATE_AVX512 inline Lanes Byte(Lanes x) noexcept {
  constexpr auto kNone = static_cast<std::int64_t>(0x8080808080808000);
  const Lanes places =
      _mm512_set4_epi64(kNone + 8 + kPlace, kNone + kPlace, kNone + 8 + kPlace, kNone + kPlace);
  return _mm512_shuffle_epi8(x, places);
}
KES_DATE_AVX512 inline Mask Less(Lanes x, Lanes y) noexcept {
  return _mm512_cmplt_epi64_mask(x, y);
}
KES_DATE_AVX512 inline Mask Equal(Lanes x, Lanes y) noexcept {
  return _mm512_cmpeq_epi64_mask(x, y);
}
KES_DATE_AVX512 inline Lanes Choose(Mask mask, Lanes yes, Lanes no) noexcept {
  return _mm512_mask_mov_epi64(no, mask, yes);
}
KES_DATE_AVX512 inline Lanes AddWhere(Mask mask, Lanes x, Lanes y) noexcept {
  return _mm512_mask_add_epi64(x, mask, x, y);
}
KES_DATE_AVX512 inline Lanes SubtractWhere(Mask mask, Lanes x, Lanes y) noexcept {
  return _mm512_mask_sub_epi64(x, mask, x, y);
}

// Division by a constant: x / kBy = x * multiplier >> kShift for all x <= kLargest. With the
// multiplier rounded up by e / kBy, the quotient is right as long as x * e < 2 to the kShift.
template <std::uint64_t kBy, std::uint64_t kLargest, unsigned kShift>
struct Reciprocal {
  static constexpr std::uint64_t kMultiplier = ((std::uint64_t{1} << kShift) + kBy - 1) / kBy;
  static constexpr std::uint64_t kExcess = kMultiplier * kBy - (std::uint64_t{1} << kShift);
  static_assert(kLargest < (std::uint64_t{1} << 32) && kMultiplier < (std::uint64_t{1} << 32));
  static_assert(kExcess == 0 || kLargest < (std::uint64_t{1} << kShift) / kExcess);
};
template <std::uint64_t kBy, std::uint64_t kLargest, unsigned kShift>
KES_DATE_AVX512 inline Lanes Divide(Lanes x) noexcept {
  constexpr std::uint64_t kMultiplier = Reciprocal<kBy, kLargest, kShift>::kMultiplier;
  return Right<kShift>(Multiply(x, Set(static_cast<std::int64_t>(kMultiplier))));
}

// The eight 8-byte records behind addresses.
KES_DATE_AVX512 inline bool AreTogether(Lanes addresses) noexcept {
  const Lanes first = _mm512_broadcastq_epi64(_mm512_castsi512_si128(addresses));
  const Lanes steps = _mm512_setr_epi64(0, 8, 16, 24, 32, 40, 48, 56);
  return _mm512_cmpneq_epi64_mask(addresses, Add(first, steps)) == 0;
}
template <typename T>
KES_DATE_AVX512 inline Lanes Load(const T* const* in) noexcept {
  static_assert(sizeof(T) == 8);
  const Lanes addresses = _mm512_loadu_si512(in);
  if (AreTogether(addresses)) [[likely]]
    return _mm512_loadu_si512(in[0]);
  return _mm512_i64gather_epi64(addresses, nullptr, 1);
}
template <typename T>
KES_DATE_AVX512 inline void Store(T* const* out, Lanes values) noexcept {
  static_assert(sizeof(T) == 8);
  if (AreTogether(_mm512_loadu_si512(out))) [[likely]] {
    _mm512_storeu_si512(out[0], values);
    return;
  }
  alignas(64) T copies[kLanes];
  _mm512_store_si512(copies, values);
  for (std::size_t i = 0; i < kLanes; ++i) *out[i] = copies[i];
}

// ---- Parts of a date in its lane: year in the low 16 bits, then a byte each.

KES_DATE_AVX512 inline Lanes YearOf(Lanes date) noexcept {
  return _mm512_srai_epi64(Left<48>(date), 48);
}
// The year from -4800 on, of years that are not before it.
KES_DATE_AVX512 inline Lanes PositiveYearOf(Lanes date) noexcept {
  return And(Add(date, Set(march_year::kFirst)), Set(0xFFFF));
}
// Years that the functions below take: -4711 to 9999, as the first year's rules are its own.
KES_DATE_AVX512 inline Mask HasPlainYear(Lanes date) noexcept {
  constexpr std::int64_t kLowest = march_year::kFirst + kMinYear + 1;
  return _mm512_cmple_epu64_mask(Subtract(PositiveYearOf(date), Set(kLowest)),
                                 Set(kMaxYear - kMinYear - 1));
}
KES_DATE_AVX512 inline Lanes MonthOf(Lanes date) noexcept { return Byte<2>(date); }
KES_DATE_AVX512 inline Lanes DayOf(Lanes date) noexcept { return Byte<3>(date); }

constexpr std::int64_t kYearBits = 0xFFFF;
constexpr std::int64_t kDayBits = 0xFFFFFFFF;  // year, month and day
constexpr std::int64_t kTimeBits = 0x00FFFFFF00000000;

KES_DATE_AVX512 inline Lanes SecondsOf(Lanes date) noexcept {
  const Lanes minutes = Add(Multiply(Byte<4>(date), Set(60)), Byte<5>(date));
  return Add(Multiply(minutes, Set(60)), Byte<6>(date));
}
// Of 0 to 86399, in place.
KES_DATE_AVX512 inline Lanes PackSeconds(Lanes seconds) noexcept {
  const Lanes hour = Divide<3600, 86400, 29>(seconds);
  const Lanes rest = Subtract(seconds, Multiply(hour, Set(3600)));
  const Lanes minute = Divide<60, 3600, 23>(rest);
  const Lanes second = Subtract(rest, Multiply(minute, Set(60)));
  return Or(Left<32>(hour), Or(Left<40>(minute), Left<48>(second)));
}

// DayNumber, of dates with a plain year.
KES_DATE_AVX512 inline Lanes DayNumber8(Lanes date) noexcept {
  using namespace march_year;
  const Lanes month = MonthOf(date);
  const Lanes day = DayOf(date);
  const Mask early = Less(month, Set(3));
  const Lanes y = SubtractWhere(early, PositiveYearOf(date), Set(1));
  const Lanes m = AddWhere(early, month, Set(12));
  const Lanes century = Divide<100, kMaxYear + kFirst, 19>(y);
  const Lanes gregorian = Add(Subtract(Right<2>(century), century), Set(kGregorianGain));
  const Lanes days_before = Right<5>(Subtract(Multiply(m, Set(979)), Set(2919)));
  const Lanes days = Add(Right<2>(Multiply(y, Set(1461))), Add(days_before, day));
  const Lanes julian = Subtract(days, Set(kJulianStart));
  const Mask reformed = Less(Set(kFirstGregorianDay + kSkippedDays - 1), julian);
  return AddWhere(reformed, julian, gregorian);
}

// SplitDay, for kFirstCommonDay to kMaxDay: year, month and day in their places.
KES_DATE_AVX512 inline Lanes SplitDay8(Lanes number) noexcept {
  using namespace march_year;
  constexpr std::uint64_t kQuarters = 4 * std::uint64_t{kMaxDay + kGregorianStart} + 3;
  const Lanes quarters = Add(Left<2>(number), Set(4 * kGregorianStart + 3));
  const Lanes century = Divide<146097, kQuarters, 43>(quarters);
  const Lanes left_out = Subtract(Subtract(century, Right<2>(century)), Set(kGregorianGain));
  const Lanes n =
      AddWhere(static_cast<Mask>(~Less(number, Set(kFirstGregorianDay))), number, left_out);
  const Lanes years = Multiply(Add(Left<2>(n), Set(4 * (kJulianStart - 1) + 3)), Set(2939745));
  const Lanes fraction = _mm512_srli_epi32(years, 2);  // of the low half, which counts
  const Lanes day_of_year = Divide<2939745, 0x3FFFFFFF, 52>(fraction);
  const Lanes months = Add(Multiply(day_of_year, Set(2141)), Set(197913));  // month in its place
  const Mask late = static_cast<Mask>(~Less(day_of_year, Set(306)));
  const Lanes year = AddWhere(late, Subtract(Right<32>(years), Set(kFirst)), Set(1));
  const Lanes month = SubtractWhere(late, And(months, Set(0xFF0000)), Set(12 << 16));
  static_assert(Reciprocal<2141, 0xFFFF, 27>::kMultiplier == 62690);
  const Lanes day = Add(Right<11>(_mm512_mulhi_epu16(months, Set(62690))), Set(1));
  return Or(Or(And(year, Set(kYearBits)), month), Left<24>(day));
}

KES_DATE_AVX512 inline Mask ArePlainDays(Lanes number) noexcept {
  using march_year::kFirstCommonDay;
  return _mm512_cmple_epu64_mask(Subtract(number, Set(kFirstCommonDay)),
                                 Set(kMaxDay - kFirstCommonDay));
}

// Gives dates of the year 0 the year 1 or -1.
KES_DATE_AVX512 inline Lanes WithoutYearZero8(Lanes date, Mask forward) noexcept {
  const Mask year_zero = Equal(And(date, Set(kYearBits)), _mm512_setzero_si512());
  if (year_zero == 0) [[likely]]
    return date;
  return Choose(year_zero, Or(date, Choose(forward, Set(1), Set(kYearBits))), date);
}

// MonthLength, for years from -5000 on and months 1 to 12; others get what has no meaning either.
KES_DATE_AVX512 inline Lanes MonthLength8(Lanes year, Lanes month) noexcept {
  const Mask fourth = Equal(And(year, Set(3)), _mm512_setzero_si512());
  const Lanes y = Add(year, Set(5000));  // a multiple of 100
  const Lanes century = Divide<100, 20000, 21>(y);
  const Mask even = Equal(Multiply(century, Set(100)), y);
  const Mask fourth_century = Equal(And(year, Set(15)), _mm512_setzero_si512());
  const Mask julian = Less(year, Set(kReformYear + 1));
  const auto leap =
      static_cast<Mask>(fourth & (julian | ~even | fourth_century) & ~Equal(year, Set(kMinYear)));
  const Lanes odd = And(_mm512_xor_si512(month, Right<3>(month)), Set(1));
  const Lanes february = AddWhere(leap, Set(28), Set(1));
  return Choose(Equal(month, Set(2)), february, Or(odd, Set(30)));
}

template <typename T>
KES_DATE_AVX512 inline Lanes LoadOperand(const Operands<T>& operands, std::size_t i) noexcept {
  if (operands.step() == 0) {
    if constexpr (sizeof(T) == 8) {
      std::int64_t both;
      __builtin_memcpy(&both, operands.values(), sizeof both);
      return Set(both);
    } else {
      return Set(static_cast<std::int64_t>(*operands.values()));
    }
  }
  if constexpr (sizeof(T) == 8) {
    return _mm512_loadu_si512(operands.values() + i);
  } else {
    return _mm512_cvtepi32_epi64(
        _mm256_loadu_si256(reinterpret_cast<const __m256i*>(operands.values() + i)));
  }
}

// ---- The operations on lanes: the result, and the lanes that have one.
struct Result8 {
  Lanes value;
  Mask done;
};

// Days without seconds, none of them 0: the common case, with the time as it is. A sum of 32 bits
// that is too large or negative is a large lane.
KES_DATE_AVX512 inline Result8 AddDays8(Lanes date, Lanes delta) noexcept {
  const Lanes number = _mm512_add_epi32(DayNumber8(date), delta);
  const Lanes moved = Or(SplitDay8(number), And(date, Set(~kDayBits)));
  const auto forward = static_cast<Mask>(~Less(Left<32>(delta), Set(0)));
  return {WithoutYearZero8(moved, forward),
          static_cast<Mask>(HasPlainYear(date) & ArePlainDays(number))};
}

KES_DATE_AVX512 inline Result8 AddDelta8(Lanes date, Lanes delta) noexcept {
  constexpr std::int64_t kShiftDays = 24856;  // past the largest negative number of seconds
  constexpr std::int64_t kShift = kShiftDays * kDaySeconds;
  constexpr std::uint64_t kLargest = (std::uint64_t{1} << 25) + (1 << 21);  // in 128 seconds
  constexpr __mmask16 kLowHalves = 0x5555;
  if (_mm512_test_epi32_mask(delta, delta) == kLowHalves) return AddDays8(date, delta);
  const Lanes zero = _mm512_setzero_si512();
  Lanes days = _mm512_srai_epi64(Left<32>(delta), 32);
  const Lanes seconds = _mm512_srai_epi64(delta, 32);
  const Mask no_days = Equal(days, zero);
  const auto timed = static_cast<Mask>(no_days | ~Equal(seconds, zero));
  const auto forward = static_cast<Mask>(Less(zero, days) | (no_days & Less(zero, seconds)));
  const Lanes total = Add(Add(SecondsOf(date), seconds), Set(kShift));
  const Lanes whole = Divide<kDaySeconds / 128, kLargest, 36>(Right<7>(total));
  const Lanes rest = Subtract(total, Multiply(whole, Set(kDaySeconds)));
  const Lanes time = Choose(timed, PackSeconds(rest), And(date, Set(kTimeBits)));
  days = AddWhere(timed, days, Subtract(whole, Set(kShiftDays)));
  const Lanes number = Add(DayNumber8(date), days);
  const auto moved = static_cast<Mask>(~Equal(days, zero));
  const Lanes day = Choose(moved, SplitDay8(number), And(date, Set(kDayBits)));
  const Lanes top = And(date, Set(~(kDayBits | kTimeBits)));
  return {WithoutYearZero8(Or(Or(day, time), top), forward),
          static_cast<Mask>(HasPlainYear(date) & (ArePlainDays(number) | ~moved))};
}

KES_DATE_AVX512 inline Result8 AddMonths8(Lanes date, Lanes months) noexcept {
  constexpr std::int64_t kShiftYears = 5000;
  constexpr std::int64_t kLast = 12 * (std::int64_t{kMaxYear} + 1) + 11;
  constexpr std::int64_t kFirst = 12 * std::int64_t{kMinYear} + 1;
  const Lanes year = YearOf(date);
  const Lanes month = MonthOf(date);
  const Lanes day = DayOf(date);
  const Lanes total = Add(Add(months, month), Subtract(Left<4>(year), Left<2>(year)));  // 12 * year
  const Mask inside = _mm512_cmple_epu64_mask(Subtract(total, Set(kFirst)), Set(kLast - kFirst));
  const Lanes shifted = Add(total, Set(12 * kShiftYears - 1));
  const Lanes years = Divide<12, kLast + 12 * kShiftYears, 22>(shifted);
  const Lanes to_month = Add(Subtract(shifted, Multiply(years, Set(12))), Set(1));
  const Mask nought = _mm512_cmple_epu64_mask(Subtract(total, Set(1)), Set(10));
  const Lanes instead = Choose(Less(year, Set(1)), Set(1), Set(-1));
  const Lanes to_year = Choose(nought, instead, Subtract(years, Set(kShiftYears)));
  const Lanes to_length = MonthLength8(to_year, to_month);
  const auto last = static_cast<Mask>(Less(to_length, day) | Equal(day, MonthLength8(year, month)));
  const Lanes to_day = Choose(last, to_length, day);
  const Lanes packed = Or(Or(And(to_year, Set(kYearBits)), Left<16>(to_month)), Left<24>(to_day));
  return {Or(packed, And(date, Set(~kDayBits))), static_cast<Mask>(inside & HasPlainYear(date))};
}

KES_DATE_AVX512 inline Result8 NextDay8(Lanes date, Lanes weekday, Lanes first_weekday) noexcept {
  constexpr std::int64_t kMondayOfFirst = 7 * 10000 - 6;  // brings Sunday to 0, above 0
  const Lanes number = DayNumber8(date);
  const Lanes counted = Subtract(Add(number, Set(kMondayOfFirst)), first_weekday);
  const Lanes weeks = Divide<7, kMaxDay + 2 * 70000, 33>(counted);
  const Lanes here = Add(Subtract(counted, Multiply(weeks, Set(7))), Set(1));
  Lanes ahead = Subtract(weekday, here);
  ahead = AddWhere(Less(ahead, Set(1)), ahead, Set(7));
  const Lanes to = Add(number, ahead);
  const Mask is_weekday = _mm512_cmplt_epu64_mask(Subtract(weekday, Set(1)), Set(7));
  const Lanes moved = Or(SplitDay8(to), And(date, Set(~kDayBits)));
  return {WithoutYearZero8(moved, 0xFF),
          static_cast<Mask>(ArePlainDays(to) & is_weekday & HasPlainYear(date))};
}

KES_DATE_AVX512 inline Result8 ToJulian8(Lanes date) noexcept {
  return {Or(DayNumber8(date), Left<32>(SecondsOf(date))), HasPlainYear(date)};
}

KES_DATE_AVX512 inline Result8 FromJulian8(Lanes julian) noexcept {
  const Lanes number = _mm512_srai_epi64(Left<32>(julian), 32);
  const Lanes seconds = Right<32>(julian);
  const Mask in_day = _mm512_cmplt_epu64_mask(seconds, Set(kDaySeconds));
  return {Or(SplitDay8(number), PackSeconds(seconds)),
          static_cast<Mask>(ArePlainDays(number) & in_day)};
}

KES_DATE_AVX512 inline Result8 LastDay8(Lanes date) noexcept {
  const Lanes length = MonthLength8(YearOf(date), MonthOf(date));
  const Lanes rest = And(date, Set(static_cast<std::int64_t>(0xFFFFFFFF00FFFFFF)));
  const Mask is_month = _mm512_cmplt_epu64_mask(Subtract(MonthOf(date), Set(1)), Set(12));
  return {Or(rest, Left<24>(length)), static_cast<Mask>(HasPlainYear(date) & is_month)};
}

// ---- The arrays: eight at a time, with a scalar body for what lanes do not have.

KES_DATE_AVX512_ENTRY void ToJulianArray(ldxjdate* const* out, const ldxdate* const* in,
                                         std::size_t count) noexcept {
  std::size_t i = 0;
  for (; i + kLanes <= count; i += kLanes) {
    const Result8 result = ToJulian8(Load(in + i));
    if (result.done == 0xFF) [[likely]] {
      Store(out + i, result.value);
    } else {
      for (std::size_t j = i; j < i + kLanes; ++j) ToJulian(*in[j], *out[j]);
    }
  }
  for (; i < count; ++i) ToJulian(*in[i], *out[i]);
}

KES_DATE_AVX512_ENTRY ArrayResult FromJulianArray(ldxdate* const* out, const ldxjdate* const* in,
                                                  std::size_t count) noexcept {
  const auto body = [=](std::size_t i) { return FromJulian(*in[i], *out[i]); };
  std::size_t i = 0;
  for (; i + kLanes <= count; i += kLanes) {
    const Result8 result = FromJulian8(Load(in + i));
    if (result.done == 0xFF) [[likely]] {
      Store(out + i, result.value);
    } else if (const ArrayResult end = RunFrom(i, i + kLanes, body); end.error != 0) {
      return end;
    }
  }
  return RunFrom(i, count, body);
}

KES_DATE_AVX512_ENTRY ArrayResult AddDeltaArray(ldxdate* const* out, const ldxdate* const* in,
                                                std::size_t count,
                                                Operands<ldxdelta> deltas) noexcept {
  const auto body = [=](std::size_t i) { return AddDelta(*in[i], deltas[i], *out[i]); };
  std::size_t i = 0;
  for (; i + kLanes <= count; i += kLanes) {
    const Result8 result = AddDelta8(Load(in + i), LoadOperand(deltas, i));
    if (result.done == 0xFF) [[likely]] {
      Store(out + i, result.value);
    } else if (const ArrayResult end = RunFrom(i, i + kLanes, body); end.error != 0) {
      return end;
    }
  }
  return RunFrom(i, count, body);
}

KES_DATE_AVX512_ENTRY ArrayResult AddMonthsArray(ldxdate* const* out, const ldxdate* const* in,
                                                 std::size_t count,
                                                 Operands<std::int32_t> months) noexcept {
  const auto body = [=](std::size_t i) {
    bool last_day = false;
    return AddMonths(*in[i], months[i], *out[i], last_day);
  };
  std::size_t i = 0;
  for (; i + kLanes <= count; i += kLanes) {
    const Result8 result = AddMonths8(Load(in + i), LoadOperand(months, i));
    if (result.done == 0xFF) [[likely]] {
      Store(out + i, result.value);
    } else if (const ArrayResult end = RunFrom(i, i + kLanes, body); end.error != 0) {
      return end;
    }
  }
  return RunFrom(i, count, body);
}

KES_DATE_AVX512_ENTRY void LastDayArray(ldxdate* const* out, const ldxdate* const* in,
                                        std::size_t count) noexcept {
  std::size_t i = 0;
  for (; i + kLanes <= count; i += kLanes) {
    const Result8 result = LastDay8(Load(in + i));
    if (result.done == 0xFF) [[likely]] {
      Store(out + i, result.value);
    } else {
      for (std::size_t j = i; j < i + kLanes; ++j) LastDay(*in[j], *out[j]);
    }
  }
  for (; i < count; ++i) LastDay(*in[i], *out[i]);
}

KES_DATE_AVX512_ENTRY ArrayResult NextDayArray(ldxdate* const* out, const ldxdate* const* in,
                                               std::size_t count, Operands<std::uint32_t> weekdays,
                                               std::uint32_t first_weekday) noexcept {
  const auto body = [=](std::size_t i) {
    return NextDay(*in[i], weekdays[i], first_weekday, *out[i]);
  };
  const Lanes first = Set(first_weekday % 7);
  std::size_t i = 0;
  for (; i + kLanes <= count; i += kLanes) {
    const Result8 result = NextDay8(Load(in + i), LoadOperand(weekdays, i), first);
    if (result.done == 0xFF) [[likely]] {
      Store(out + i, result.value);
    } else if (const ArrayResult end = RunFrom(i, i + kLanes, body); end.error != 0) {
      return end;
    }
  }
  return RunFrom(i, count, body);
}

}  // namespace

const DateKernels kAvx512DateKernels = {"avx512",      ToJulianArray,  FromJulianArray,
                                        AddDeltaArray, AddMonthsArray, LastDayArray,
                                        NextDayArray};

}  // namespace kestra::datetime

#endif
