// The array forms on vectors of dates, for every instruction set. A file of kernels defines what a
// vector of 64-bit lanes can do and then includes this one inside of its own unnamed namespace; its
// table may leave out what brings it nothing.
//
// A date is 8 bytes and so one lane, into which all of the arithmetic of day_number.h fits.
// Divisions by constants are a multiplication and a shift, exact over the values that come up
// (Reciprocal). A vector of which one date fails, or has a year that is unusual (none of a date, or
// -4712), goes through the scalar bodies.
//
// What the including file defines: KES_DATE_LANES and KES_DATE_LANES_ENTRY (the target attributes of
// what is inlined and of what is called), Lanes, Mask, kLanes, and the functions
//   Set, Add, Subtract, And, Or, Xor, Left, Right, Byte     on lanes of 64 bits
//   Multiply        of the low halves, unsigned, into 64 bits
//   AddHalves, RightOfHalves    on halves of 32 bits; HighWords the high 16 bits of products of words
//   SignedWord, SignedLow, SignedHigh    a lane's low word, low half, high half with its sign
//   Less, Equal, IsBetween      comparisons, signed; IsBetween with its limits
//   Both, Either, Not, All, None         masks; Choose, AddWhere, SubtractWhere by them
//   HaveLowHalvesAlone          all low halves are not 0, all high ones are
//   Load, Store, LoadNumbers    8-byte records behind addresses; numbers of 32 bits, or records, in a row

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
KES_DATE_LANES inline Lanes Divide(Lanes x) noexcept {
  constexpr std::uint64_t kMultiplier = Reciprocal<kBy, kLargest, kShift>::kMultiplier;
  return Right<kShift>(Multiply(x, Set(static_cast<std::int64_t>(kMultiplier))));
}

// ---- Parts of a date in its lane: year in the low 16 bits, then a byte each.

KES_DATE_LANES inline Lanes YearOf(Lanes date) noexcept { return SignedWord(date); }
// The year from -4800 on, of years that are not before it.
KES_DATE_LANES inline Lanes PositiveYearOf(Lanes date) noexcept {
  return And(Add(date, Set(march_year::kFirst)), Set(0xFFFF));
}
// Years that the functions below take: -4711 to 9999, as the first year's rules are its own.
KES_DATE_LANES inline Mask HasPlainYear(Lanes date) noexcept {
  constexpr std::int64_t kLowest = march_year::kFirst + kMinYear + 1;
  return IsBetween<kLowest, march_year::kFirst + kMaxYear>(PositiveYearOf(date));
}
KES_DATE_LANES inline Lanes MonthOf(Lanes date) noexcept { return Byte<2>(date); }
KES_DATE_LANES inline Lanes DayOf(Lanes date) noexcept { return Byte<3>(date); }

constexpr std::int64_t kYearBits = 0xFFFF;
constexpr std::int64_t kDayBits = 0xFFFFFFFF;  // year, month and day
constexpr std::int64_t kTimeBits = 0x00FFFFFF00000000;

KES_DATE_LANES inline Lanes SecondsOf(Lanes date) noexcept {
  const Lanes minutes = Add(Multiply(Byte<4>(date), Set(60)), Byte<5>(date));
  return Add(Multiply(minutes, Set(60)), Byte<6>(date));
}
// Of 0 to 86399, in place.
KES_DATE_LANES inline Lanes PackSeconds(Lanes seconds) noexcept {
  const Lanes hour = Divide<3600, 86400, 29>(seconds);
  const Lanes rest = Subtract(seconds, Multiply(hour, Set(3600)));
  const Lanes minute = Divide<60, 3600, 23>(rest);
  const Lanes second = Subtract(rest, Multiply(minute, Set(60)));
  return Or(Left<32>(hour), Or(Left<40>(minute), Left<48>(second)));
}

// DayNumber, of dates with a plain year.
KES_DATE_LANES inline Lanes DayNumberLanes(Lanes date) noexcept {
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
KES_DATE_LANES inline Lanes SplitDayLanes(Lanes number) noexcept {
  using namespace march_year;
  constexpr std::uint64_t kQuarters = 4 * std::uint64_t{kMaxDay + kGregorianStart} + 3;
  const Lanes quarters = Add(Left<2>(number), Set(4 * kGregorianStart + 3));
  const Lanes century = Divide<146097, kQuarters, 43>(quarters);
  const Lanes left_out = Subtract(Subtract(century, Right<2>(century)), Set(kGregorianGain));
  const Lanes n = AddWhere(Less(Set(kFirstGregorianDay - 1), number), number, left_out);
  const Lanes years = Multiply(Add(Left<2>(n), Set(4 * (kJulianStart - 1) + 3)), Set(2939745));
  const Lanes fraction = RightOfHalves<2>(years);  // of the low half, which counts
  const Lanes day_of_year = Divide<2939745, 0x3FFFFFFF, 52>(fraction);
  const Lanes months = Add(Multiply(day_of_year, Set(2141)), Set(197913));  // month in its place
  const Mask late = Less(Set(305), day_of_year);
  const Lanes year = AddWhere(late, Subtract(Right<32>(years), Set(kFirst)), Set(1));
  const Lanes month = SubtractWhere(late, And(months, Set(0xFF0000)), Set(12 << 16));
  static_assert(Reciprocal<2141, 0xFFFF, 27>::kMultiplier == 62690);
  const Lanes day = Add(Right<11>(HighWords(months, Set(62690))), Set(1));
  return Or(Or(And(year, Set(kYearBits)), month), Left<24>(day));
}

KES_DATE_LANES inline Mask ArePlainDays(Lanes number) noexcept {
  return IsBetween<march_year::kFirstCommonDay, kMaxDay>(number);
}

// Gives dates of the year 0 the year 1 or -1.
KES_DATE_LANES inline Lanes WithoutYearZeroLanes(Lanes date, Mask forward) noexcept {
  const Mask year_zero = Equal(And(date, Set(kYearBits)), Set(0));
  if (None(year_zero)) [[likely]]
    return date;
  return Choose(year_zero, Or(date, Choose(forward, Set(1), Set(kYearBits))), date);
}

// MonthLength, for years from -5000 on and months 1 to 12; others get what has no meaning either.
KES_DATE_LANES inline Lanes MonthLengthLanes(Lanes year, Lanes month) noexcept {
  const Mask fourth = Equal(And(year, Set(3)), Set(0));
  const Lanes y = Add(year, Set(5000));  // a multiple of 100
  const Lanes century = Divide<100, 20000, 21>(y);
  const Mask even = Equal(Multiply(century, Set(100)), y);
  const Mask fourth_century = Equal(And(year, Set(15)), Set(0));
  const Mask julian = Less(year, Set(kReformYear + 1));
  const Mask century_rule = Either(Either(julian, fourth_century), Not(even));
  const Mask leap = Both(Both(fourth, century_rule), Not(Equal(year, Set(kMinYear))));
  const Lanes odd = And(Xor(month, Right<3>(month)), Set(1));
  const Lanes february = AddWhere(leap, Set(28), Set(1));
  return Choose(Equal(month, Set(2)), february, Or(odd, Set(30)));
}

// The second operands of a vector of elements, as signed numbers or as pairs of 32 bits.
template <typename T>
KES_DATE_LANES inline Lanes LoadOperand(const Operands<T>& operands, std::size_t i) noexcept {
  if (operands.step() != 0) return LoadNumbers(operands.values() + i);
  if constexpr (sizeof(T) == 8) {
    std::int64_t both;
    __builtin_memcpy(&both, operands.values(), sizeof both);
    return Set(both);
  } else {
    return Set(static_cast<std::int32_t>(*operands.values()));
  }
}

// ---- The operations on lanes: the result, and the lanes that have one.
struct LanesResult {
  Lanes value;
  Mask done;
};

// Days without seconds, none of them 0: the common case, with the time as it is. A sum of 32 bits
// that is too large or negative is a large lane.
KES_DATE_LANES inline LanesResult AddDaysLanes(Lanes date, Lanes delta) noexcept {
  const Lanes number = AddHalves(DayNumberLanes(date), delta);
  const Lanes moved = Or(SplitDayLanes(number), And(date, Set(~kDayBits)));
  const Mask forward = Not(Less(Left<32>(delta), Set(0)));
  return {WithoutYearZeroLanes(moved, forward), Both(HasPlainYear(date), ArePlainDays(number))};
}

// Seconds of 32 bits and a few days as days and seconds of a day.
struct DaySplit {
  Lanes days;
  Lanes seconds;
};
KES_DATE_LANES inline DaySplit SplitSeconds(Lanes seconds) noexcept {
  constexpr std::int64_t kShiftDays = 24856;  // past the largest negative number of seconds
  constexpr std::uint64_t kLargest = (std::uint64_t{1} << 25) + (1 << 21);  // in 128 seconds
  const Lanes shifted = Add(seconds, Set(kShiftDays * kDaySeconds));
  const Lanes days = Divide<kDaySeconds / 128, kLargest, 36>(Right<7>(shifted));
  return {Subtract(days, Set(kShiftDays)), Subtract(shifted, Multiply(days, Set(kDaySeconds)))};
}

KES_DATE_LANES inline LanesResult AddDeltaLanes(Lanes date, Lanes delta) noexcept {
  if (HaveLowHalvesAlone(delta)) return AddDaysLanes(date, delta);
  const Lanes zero = Set(0);
  Lanes days = SignedLow(delta);
  const Lanes seconds = SignedHigh(delta);
  const Mask no_days = Equal(days, zero);
  const Mask timed = Either(no_days, Not(Equal(seconds, zero)));
  const Mask forward = Either(Less(zero, days), Both(no_days, Less(zero, seconds)));
  const DaySplit split = SplitSeconds(Add(SecondsOf(date), seconds));
  const Lanes time = Choose(timed, PackSeconds(split.seconds), And(date, Set(kTimeBits)));
  days = AddWhere(timed, days, split.days);
  const Lanes number = Add(DayNumberLanes(date), days);
  const Mask moved = Not(Equal(days, zero));
  const Lanes day = Choose(moved, SplitDayLanes(number), And(date, Set(kDayBits)));
  const Lanes top = And(date, Set(~(kDayBits | kTimeBits)));
  return {WithoutYearZeroLanes(Or(Or(day, time), top), forward),
          Both(HasPlainYear(date), Either(ArePlainDays(number), Not(moved)))};
}

KES_DATE_LANES inline LanesResult AddMonthsLanes(Lanes date, Lanes months) noexcept {
  constexpr std::int64_t kShiftYears = 5000;
  constexpr std::int64_t kLast = 12 * (std::int64_t{kMaxYear} + 1) + 11;
  constexpr std::int64_t kFirst = 12 * std::int64_t{kMinYear} + 1;
  const Lanes year = YearOf(date);
  const Lanes month = MonthOf(date);
  const Lanes day = DayOf(date);
  const Lanes total = Add(Add(months, month), Subtract(Left<4>(year), Left<2>(year)));  // 12 * year
  const Mask inside = IsBetween<kFirst, kLast>(total);
  const Lanes shifted = Add(total, Set(12 * kShiftYears - 1));
  const Lanes years = Divide<12, kLast + 12 * kShiftYears, 22>(shifted);
  const Lanes to_month = Add(Subtract(shifted, Multiply(years, Set(12))), Set(1));
  const Mask nought = IsBetween<1, 11>(total);
  const Lanes instead = Choose(Less(year, Set(1)), Set(1), Set(-1));
  const Lanes to_year = Choose(nought, instead, Subtract(years, Set(kShiftYears)));
  const Lanes to_length = MonthLengthLanes(to_year, to_month);
  const Mask last = Either(Less(to_length, day), Equal(day, MonthLengthLanes(year, month)));
  const Lanes to_day = Choose(last, to_length, day);
  const Lanes packed = Or(Or(And(to_year, Set(kYearBits)), Left<16>(to_month)), Left<24>(to_day));
  return {Or(packed, And(date, Set(~kDayBits))), Both(inside, HasPlainYear(date))};
}

KES_DATE_LANES inline LanesResult NextDayLanes(Lanes date, Lanes weekday,
                                               Lanes first_weekday) noexcept {
  constexpr std::int64_t kMondayOfFirst = 7 * 10000 - 6;  // brings Sunday to 0, above 0
  const Lanes number = DayNumberLanes(date);
  const Lanes counted = Subtract(Add(number, Set(kMondayOfFirst)), first_weekday);
  const Lanes weeks = Divide<7, kMaxDay + 2 * 70000, 33>(counted);
  const Lanes here = Add(Subtract(counted, Multiply(weeks, Set(7))), Set(1));
  Lanes ahead = Subtract(weekday, here);
  ahead = AddWhere(Less(ahead, Set(1)), ahead, Set(7));
  const Lanes to = Add(number, ahead);
  const Mask is_weekday = IsBetween<1, 7>(weekday);
  const Lanes moved = Or(SplitDayLanes(to), And(date, Set(~kDayBits)));
  return {WithoutYearZeroLanes(moved, Equal(to, to)),
          Both(Both(ArePlainDays(to), is_weekday), HasPlainYear(date))};
}

KES_DATE_LANES inline LanesResult ToJulianLanes(Lanes date) noexcept {
  return {Or(DayNumberLanes(date), Left<32>(SecondsOf(date))), HasPlainYear(date)};
}

KES_DATE_LANES inline LanesResult FromJulianLanes(Lanes julian) noexcept {
  const Lanes number = SignedLow(julian);
  const Lanes seconds = Right<32>(julian);
  const Mask in_day = IsBetween<0, kDaySeconds - 1>(seconds);
  return {Or(SplitDayLanes(number), PackSeconds(seconds)), Both(ArePlainDays(number), in_day)};
}

KES_DATE_LANES inline LanesResult LastDayLanes(Lanes date) noexcept {
  const Lanes length = MonthLengthLanes(YearOf(date), MonthOf(date));
  const Lanes rest = And(date, Set(static_cast<std::int64_t>(0xFFFFFFFF00FFFFFF)));
  const Mask is_month = IsBetween<1, 12>(MonthOf(date));
  return {Or(rest, Left<24>(length)), Both(HasPlainYear(date), is_month)};
}

// ---- The arrays: a vector at a time, with a scalar body for what lanes do not have.

[[maybe_unused]] KES_DATE_LANES_ENTRY void ToJulianArray(ldxjdate* const* out,
                                                         const ldxdate* const* in,
                                                         std::size_t count) noexcept {
  std::size_t i = 0;
  for (; i + kLanes <= count; i += kLanes) {
    const LanesResult result = ToJulianLanes(Load(in + i));
    if (All(result.done)) [[likely]] {
      Store(out + i, result.value);
    } else {
      for (std::size_t j = i; j < i + kLanes; ++j) ToJulian(*in[j], *out[j]);
    }
  }
  for (; i < count; ++i) ToJulian(*in[i], *out[i]);
}

[[maybe_unused]] KES_DATE_LANES_ENTRY ArrayResult FromJulianArray(ldxdate* const* out,
                                                                  const ldxjdate* const* in,
                                                                  std::size_t count) noexcept {
  const auto body = [=](std::size_t i) { return FromJulian(*in[i], *out[i]); };
  std::size_t i = 0;
  for (; i + kLanes <= count; i += kLanes) {
    const LanesResult result = FromJulianLanes(Load(in + i));
    if (All(result.done)) [[likely]] {
      Store(out + i, result.value);
    } else if (const ArrayResult end = RunFrom(i, i + kLanes, body); end.error != 0) {
      return end;
    }
  }
  return RunFrom(i, count, body);
}

[[maybe_unused]] KES_DATE_LANES_ENTRY ArrayResult
AddDeltaArray(ldxdate* const* out, const ldxdate* const* in, std::size_t count,
              Operands<ldxdelta> deltas) noexcept {
  const auto body = [=](std::size_t i) { return AddDelta(*in[i], deltas[i], *out[i]); };
  std::size_t i = 0;
  for (; i + kLanes <= count; i += kLanes) {
    const LanesResult result = AddDeltaLanes(Load(in + i), LoadOperand(deltas, i));
    if (All(result.done)) [[likely]] {
      Store(out + i, result.value);
    } else if (const ArrayResult end = RunFrom(i, i + kLanes, body); end.error != 0) {
      return end;
    }
  }
  return RunFrom(i, count, body);
}

[[maybe_unused]] KES_DATE_LANES_ENTRY ArrayResult
AddMonthsArray(ldxdate* const* out, const ldxdate* const* in, std::size_t count,
               Operands<std::int32_t> months) noexcept {
  const auto body = [=](std::size_t i) {
    bool last_day = false;
    return AddMonths(*in[i], months[i], *out[i], last_day);
  };
  std::size_t i = 0;
  for (; i + kLanes <= count; i += kLanes) {
    const LanesResult result = AddMonthsLanes(Load(in + i), LoadOperand(months, i));
    if (All(result.done)) [[likely]] {
      Store(out + i, result.value);
    } else if (const ArrayResult end = RunFrom(i, i + kLanes, body); end.error != 0) {
      return end;
    }
  }
  return RunFrom(i, count, body);
}

[[maybe_unused]] KES_DATE_LANES_ENTRY void LastDayArray(ldxdate* const* out,
                                                        const ldxdate* const* in,
                                                        std::size_t count) noexcept {
  std::size_t i = 0;
  for (; i + kLanes <= count; i += kLanes) {
    const LanesResult result = LastDayLanes(Load(in + i));
    if (All(result.done)) [[likely]] {
      Store(out + i, result.value);
    } else {
      for (std::size_t j = i; j < i + kLanes; ++j) LastDay(*in[j], *out[j]);
    }
  }
  for (; i < count; ++i) LastDay(*in[i], *out[i]);
}

[[maybe_unused]] KES_DATE_LANES_ENTRY ArrayResult
NextDayArray(ldxdate* const* out, const ldxdate* const* in, std::size_t count,
             Operands<std::uint32_t> weekdays, std::uint32_t first_weekday) noexcept {
  const auto body = [=](std::size_t i) {
    return NextDay(*in[i], weekdays[i], first_weekday, *out[i]);
  };
  const Lanes first = Set(first_weekday % 7);
  std::size_t i = 0;
  for (; i + kLanes <= count; i += kLanes) {
    const LanesResult result = NextDayLanes(Load(in + i), LoadOperand(weekdays, i), first);
    if (All(result.done)) [[likely]] {
      Store(out + i, result.value);
    } else if (const ArrayResult end = RunFrom(i, i + kLanes, body); end.error != 0) {
      return end;
    }
  }
  return RunFrom(i, count, body);
}
