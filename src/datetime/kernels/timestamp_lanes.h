// The array forms of timestamps on vectors, for every instruction set; included after date_lanes.h
// and record_lanes.h. A record of 20 bytes is three parts: its fields, a lane as a DATE is;
// its fraction with zone and type, a lane; and four bytes that are only copied. A vector of which
// one element is unusual goes through the scalar bodies.
//
// What the including file defines besides:
//   MultiplySigned      of the low halves, signed, into 64 bits
//   RightBy             right shifts by the lanes of the second operand
//   SubtractFrom        0 less the lanes of a mask, other lanes as they are
//   KeyOrder            the bytes of fields in the order of their weight
//   StoreSigns          a byte for each lane: -1 in the first mask, 1 in the second, else 0

constexpr std::int64_t kFractionBits = 0xFFFFFFFF;  // of the second lane; then two bytes of offset,
constexpr unsigned kTypeAt = 48;                    // and the type
constexpr std::int64_t kTypeOne = std::int64_t{1} << kTypeAt;
constexpr std::int64_t kTypeTwo = std::int64_t{2} << kTypeAt;

struct DateLanes {
  Lanes fields;
  Lanes rest;
};
struct IntervalLanes {
  Lanes first;   // fields 1 and 2
  Lanes second;  // fields 3 and 4
  Lanes third;   // field 5 and the type
};

// The types 1, 3, 5 and 7: those that have a date.
KES_DATE_LANES inline Mask AreDated(Lanes rest) noexcept {
  return Equal(And(rest, Set(std::int64_t{0xF9} << kTypeAt)), Set(kTypeOne));
}

// The lanes, or with -1 in sign 0 less the lanes.
KES_DATE_LANES inline Lanes Turn(Lanes x, Lanes sign) noexcept {
  return Subtract(Xor(x, sign), sign);
}

// AddPlain. sign: 0, or -1 for subtraction.
struct SumLanes {
  DateLanes sum;
  Mask done;
};
KES_DATE_LANES inline SumLanes AddIntervalLanes(const DateLanes& date, const IntervalLanes& inter,
                                                Lanes sign) noexcept {
  constexpr std::int64_t kDayToSecond = 0b11'1111'0111'1000;
  constexpr std::int64_t kLimit = std::int64_t{1} << 31;
  constexpr std::int64_t kMargin = 10;
  const Lanes zero = Set(0);
  const Lanes nano = Set(kNanos);

  Lanes nanos = Add(And(date.rest, Set(kFractionBits)), Turn(SignedLow(inter.third), sign));
  const Mask near = IsBetween<1 - std::int64_t{kNanos}, 2 * std::int64_t{kNanos} - 1>(nanos);
  const Mask below = Less(nanos, zero);
  const Mask above = Not(Less(nanos, nano));
  nanos = SubtractWhere(above, AddWhere(below, nanos, nano), nano);

  const Lanes hours = MultiplySigned(Right<32>(inter.first), Set(3600));
  const Lanes minutes = MultiplySigned(inter.second, Set(60));
  const Lanes time = Turn(Add(Add(hours, minutes), SignedHigh(inter.second)), sign);
  const Lanes carried = AddWhere(above, SubtractWhere(below, time, Set(1)), Set(1));
  const DaySplit split = SplitSeconds(Add(SecondsOf(date.fields), carried));
  const Lanes days = Add(split.days, Turn(SignedLow(inter.first), sign));

  const Lanes number = Add(DayNumberLanes(date.fields), days);
  const Lanes moved = SplitDayLanes(number);
  const Lanes day = Choose(Equal(days, zero), And(date.fields, Set(kDayBits)), moved);
  const Lanes top = And(date.fields, Set(~(kDayBits | kTimeBits)));
  const Lanes fields = Or(Or(day, top), PackSeconds(split.seconds));

  const Lanes type = And(Right<32>(inter.third), Set(0xFF));
  const Mask to_second = Equal(And(RightBy(Set(kDayToSecond), type), Set(1)), Set(1));
  const Mask has_fraction = Not(Equal(And(date.rest, Set(3 * kTypeTwo)), zero));
  const Mask typed =
      Both(Both(AreDated(date.rest), to_second), Either(has_fraction, Equal(nanos, zero)));
  const Mask inside =
      Both(IsBetween<march_year::kFirstCommonDay + kMargin, kMaxDay - kMargin>(number),
           Not(Equal(And(moved, Set(kYearBits)), zero)));
  const Mask small = Both(near, IsBetween<-kLimit, kLimit - 1>(time));
  return {{fields, Or(And(date.rest, Set(~kFractionBits)), nanos)},
          Both(Both(typed, inside), Both(small, HasPlainYear(date.fields)))};
}

// SubtractPlain.
struct DifferenceLanes {
  IntervalLanes difference;
  Mask done;
};
KES_DATE_LANES inline DifferenceLanes SubtractDatesLanes(const DateLanes& x,
                                                         const DateLanes& y) noexcept {
  constexpr std::int64_t kType = std::int64_t{KES_INTERVAL_DAY_TO_SECOND} << 32;
  const Lanes zero = Set(0);
  const Lanes low = Set(kFractionBits);
  Lanes days = Subtract(DayNumberLanes(x.fields), DayNumberLanes(y.fields));
  Lanes seconds = Subtract(SecondsOf(x.fields), SecondsOf(y.fields));
  Lanes nanos = Subtract(And(x.rest, low), And(y.rest, low));
  const Mask small = Both(IsBetween<1 - kDaySeconds, kDaySeconds - 1>(seconds),
                          IsBetween<1 - kNanos, kNanos - 1>(nanos));
  const Mask plain = Both(HasPlainYear(x.fields), HasPlainYear(y.fields));
  const Mask one_zone = Equal(Right<32>(x.rest), Right<32>(y.rest));
  const Mask done = Both(Both(small, plain), Both(one_zone, AreDated(x.rest)));

  // Negative: the seconds are, or they are nothing and the nanoseconds are.
  const Lanes total = Add(MultiplySigned(days, Set(kDaySeconds)), seconds);
  const Mask negative = Less(SubtractWhere(Less(nanos, zero), Add(total, total), Set(1)), zero);
  nanos = SubtractFrom(negative, nanos);
  const Mask second = Less(nanos, zero);
  nanos = AddWhere(second, nanos, Set(kNanos));
  seconds = SubtractWhere(second, SubtractFrom(negative, seconds), Set(1));
  const Mask day = Less(seconds, zero);
  seconds = AddWhere(day, seconds, Set(kDaySeconds));
  days = SubtractFrom(negative, SubtractWhere(day, SubtractFrom(negative, days), Set(1)));

  const Lanes hour = Divide<3600, 86400, 29>(seconds);
  const Lanes rest = Subtract(seconds, Multiply(hour, Set(3600)));
  const Lanes minute = Divide<60, 3600, 23>(rest);
  const Lanes last = SubtractFrom(negative, Subtract(rest, Multiply(minute, Set(60))));
  const Lanes hours = SubtractFrom(negative, hour);
  const Lanes minutes = SubtractFrom(negative, minute);
  return {{Or(And(days, low), Left<32>(hours)), Or(And(minutes, low), Left<32>(last)),
           Or(And(SubtractFrom(negative, nanos), low), Set(kType))},
          done};
}

KES_DATE_LANES inline DateLanes LoadDates(Operands<const LdiDate*> dates, std::size_t i) noexcept {
  Lanes parts[2];
  LoadRecords<LdiDate>(dates, i, parts);
  return {parts[0], parts[1]};
}

[[maybe_unused]] KES_DATE_LANES_ENTRY ArrayResult AddIntervalArray(LdiDate* const* out,
                                                                   const LdiDate* const* in,
                                                                   std::size_t count,
                                                                   Operands<const LdiInter*> inters,
                                                                   std::int32_t sign) noexcept {
  const Lanes signs = Set(sign < 0 ? -1 : 0);
  const auto body = [=](std::size_t i) { return AddInterval(*out[i], *in[i], *inters[i], sign); };
  std::size_t i = 0;
  for (; i + kLanes <= count; i += kLanes) {
    Lanes parts[3];
    LoadRecords<LdiInter>(inters, i, parts);
    const SumLanes result =
        AddIntervalLanes(LoadDates({in, 0}, i), {parts[0], parts[1], parts[2]}, signs);
    if (All(result.done)) [[likely]] {
      StoreDates(out + i, in + i, result.sum.fields, result.sum.rest);
    } else if (const ArrayResult end = RunFrom(i, i + kLanes, body); end.error != 0) {
      return end;
    }
  }
  return RunFrom(i, count, body);
}

[[maybe_unused]] KES_DATE_LANES_ENTRY ArrayResult
SubtractDatesArray(LdiInter* const* out, const LdiDate* const* x, std::size_t count,
                   Operands<const LdiDate*> y) noexcept {
  const auto body = [=](std::size_t i) {
    return SubtractDates(*out[i], *x[i], *y[i], KES_INTERVAL_DAY_TO_SECOND);
  };
  std::size_t i = 0;
  for (; i + kLanes <= count; i += kLanes) {
    const DifferenceLanes result = SubtractDatesLanes(LoadDates({x, 0}, i), LoadDates(y, i));
    if (All(result.done)) [[likely]] {
      const IntervalLanes& difference = result.difference;
      StoreIntervals(out + i, difference.first, difference.second, difference.third);
    } else if (const ArrayResult end = RunFrom(i, i + kLanes, body); end.error != 0) {
      return end;
    }
  }
  return RunFrom(i, count, body);
}

[[maybe_unused]] KES_DATE_LANES_ENTRY ArrayResult CompareDatesArray(const LdiDate* const* x,
                                                                    std::size_t count,
                                                                    Operands<const LdiDate*> y,
                                                                    const LdiSession* session,
                                                                    std::int8_t* order) noexcept {
  const Lanes low = Set(kFractionBits);
  const auto body = [=](std::size_t i) {
    int result = 0;
    const std::uint32_t error = CompareDates(*x[i], *y[i], session, result);
    if (error == 0) order[i] = static_cast<std::int8_t>(result);
    return error;
  };
  std::size_t i = 0;
  for (; i + kLanes <= count; i += kLanes) {
    const DateLanes a = LoadDates({x, 0}, i);
    const DateLanes b = LoadDates(y, i);
    // The types 1 and 3, which have no zone.
    const Lanes types = Or(Xor(a.rest, Set(kTypeOne)), Xor(b.rest, Set(kTypeOne)));
    const Mask plain = Equal(And(types, Set(std::int64_t{0xFD} << kTypeAt)), Set(0));
    if (All(plain)) [[likely]] {
      const Lanes u = KeyOrder(a.fields);
      const Lanes v = KeyOrder(b.fields);
      const Mask same = Equal(u, v);
      const Lanes f = And(a.rest, low);
      const Lanes g = And(b.rest, low);
      StoreSigns(order + i, Either(Less(u, v), Both(same, Less(f, g))),
                 Either(Less(v, u), Both(same, Less(g, f))));
    } else if (const ArrayResult end = RunFrom(i, i + kLanes, body); end.error != 0) {
      return end;
    }
  }
  return RunFrom(i, count, body);
}
