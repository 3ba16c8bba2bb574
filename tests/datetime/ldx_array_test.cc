// Array forms do what the scalar ones do: every form, each level of the processor, shared and own
// second operands, addresses that follow each other and ones that do not, errors anywhere.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <functional>

#include "core/os/cpu.h"
#include "datetime/kernels/date_kernels.h"
#include "tests/support/date_values.h"

namespace kestra::test {
namespace {

using datetime::ChooseDateKernels;
using os::CpuLevel;

// Uses the kernels of a level while it lives.
class AtLevel {
 public:
  explicit AtLevel(CpuLevel level) {
    os::ForceCpuLevel(level);
    ChooseDateKernels();
  }
  ~AtLevel() {
    os::ForceCpuLevel(CpuLevel::kAvx512);
    ChooseDateKernels();
  }
};
constexpr CpuLevel kLevels[] = {CpuLevel::kBaseline, CpuLevel::kAvx2, CpuLevel::kAvx512};

template <typename In, typename Out, typename Operand>
struct Form {
  using Scalar = std::function<void(ldxctx*, Out*, const In*, const Operand&)>;
  using Array = std::function<void(ldxctx*, const std::vector<Out*>&, const std::vector<const In*>&,
                                   const Operand*, std::uint32_t, std::size_t*)>;
  Scalar scalar;
  Array array;
};

// Runs both, stops where the scalar form raises, and compares bytes, counts and errors.
template <typename In, typename Out, typename Operand>
void Compare(const Form<In, Out, Operand>& form, const std::vector<In>& in,
             const std::vector<Operand>& operands, bool shared, std::mt19937_64& random) {
  WeekContext ctx(static_cast<unsigned>(random() % 7));
  const Out filler = {};
  std::vector<Out> expected(in.size(), filler), out(in.size(), filler);
  std::size_t done = 0;
  const std::uint32_t error = Raised([&] {
    for (; done < in.size(); ++done) {
      form.scalar(ctx, &expected[done], &in[done], operands[shared ? 0 : done]);
    }
  });
  std::vector<const In*> from = Addresses(in);
  std::vector<Out*> to = Addresses(out);
  const bool scattered = random() % 2 == 0;
  std::vector<In> moved;
  if (scattered) {  // the same values in another order of places
    std::vector<std::size_t> place(in.size());
    for (std::size_t i = 0; i < place.size(); ++i) place[i] = i;
    std::shuffle(place.begin(), place.end(), random);
    moved = in;
    for (std::size_t i = 0; i < place.size(); ++i) {
      moved[place[i]] = in[i];
      from[i] = &moved[place[i]];
      to[i] = &out[place[i]];
    }
  }
  std::size_t processed = SIZE_MAX;
  const std::uint32_t array_error = Raised([&] {
    form.array(ctx, to, from, operands.data(), shared ? KES_DATE_SHARED : 0, &processed);
  });
  ASSERT_EQ(array_error, error);
  ASSERT_EQ(processed, done);
  for (std::size_t i = 0; i < in.size(); ++i) {
    ASSERT_EQ(std::memcmp(to[i], &expected[i], sizeof(Out)), 0)
        << "element " << i << " of " << in.size();
  }
}

template <typename In, typename Out, typename Operand>
void CompareOften(const Form<In, Out, Operand>& form, In (*make)(std::mt19937_64&),
                  const std::function<Operand(std::mt19937_64&)>& operand) {
  for (const CpuLevel level : kLevels) {
    AtLevel at(level);
    std::mt19937_64 random(31);
    for (int round = 0; round < 3000; ++round) {
      SCOPED_TRACE("level " + std::to_string(static_cast<int>(level)) + ", round " +
                   std::to_string(round));
      const std::size_t count = random() % 41;
      std::vector<In> in;
      std::vector<Operand> operands = {operand(random)};
      for (std::size_t i = 0; i < count; ++i) {
        in.push_back(make(random));
        operands.push_back(operand(random));
      }
      Compare(form, in, operands, round % 2 == 0, random);
      if (testing::Test::HasFatalFailure()) return;
    }
  }
}

// Mostly dates, at times any bytes.
ldxdate AnyDate(std::mt19937_64& random) {
  return random() % 50 == 0 ? RandomParts(random) : RandomDate(random);
}
ldxjdate AnyJulian(std::mt19937_64& random) {
  if (random() % 60 == 0) {
    return {static_cast<std::int32_t>(random()), static_cast<std::int32_t>(random())};
  }
  return {static_cast<std::int32_t>(random() % 5373484) + 1,
          static_cast<std::int32_t>(random() % 86400)};
}
ldxdelta AnyDelta(std::mt19937_64& random) {
  const auto days = static_cast<std::int32_t>(random());
  const auto seconds = static_cast<std::int32_t>(random());
  switch (random() % 8) {
    case 0:
      return {0, seconds};
    case 1:
      return {days % 1'000'000, 0};
    case 2:
      return {0, 0};
    case 3:
      return {0, seconds % 100'000};
    case 4:
      return random() % 20 == 0 ? ldxdelta{days, seconds} : ldxdelta{1, -1};
    default:
      return {days % 40'000, seconds % 86'400};
  }
}
std::int32_t AnyMonths(std::mt19937_64& random) {
  const auto months = static_cast<std::int32_t>(random());
  return random() % 50 == 0 ? months : random() % 8 == 0 ? months % 100'000 : months % 500;
}
const std::function<int(std::mt19937_64&)> kNothing = [](std::mt19937_64&) { return 0; };

TEST(LdxArray, AddDays) {
  CompareOften<ldxdate, ldxdate, ldxdelta>(
      {[](ldxctx* c, ldxdate* o, const ldxdate* i, const ldxdelta& d) { ldxads(c, o, i, &d); },
       [](ldxctx* c, const auto& o, const auto& i, const ldxdelta* d, std::uint32_t f,
          std::size_t* p) { ldxadsarr(c, o.data(), i.data(), i.size(), d, f, p); }},
      AnyDate, AnyDelta);
}
TEST(LdxArray, AddMonths) {
  CompareOften<ldxdate, ldxdate, std::int32_t>(
      {[](ldxctx* c, ldxdate* o, const ldxdate* i, const std::int32_t& n) { ldxadm(c, o, i, n); },
       [](ldxctx* c, const auto& o, const auto& i, const std::int32_t* n, std::uint32_t f,
          std::size_t* p) { ldxadmarr(c, o.data(), i.data(), i.size(), n, f, p); }},
      AnyDate, AnyMonths);
}
TEST(LdxArray, NextDay) {
  CompareOften<ldxdate, ldxdate, std::uint32_t>(
      {[](ldxctx* c, ldxdate* o, const ldxdate* i, const std::uint32_t& n) { ldxnxd(c, o, i, n); },
       [](ldxctx* c, const auto& o, const auto& i, const std::uint32_t* n, std::uint32_t f,
          std::size_t* p) { ldxnxdarr(c, o.data(), i.data(), i.size(), n, f, p); }},
      AnyDate, [](std::mt19937_64& random) {
        return static_cast<std::uint32_t>(random() % 200 == 0 ? random() : random() % 7 + 1);
      });
}
TEST(LdxArray, LastDay) {
  CompareOften<ldxdate, ldxdate, int>(
      {[](ldxctx* c, ldxdate* o, const ldxdate* i, const int&) { ldxldd(c, o, i); },
       [](ldxctx* c, const auto& o, const auto& i, const int*, std::uint32_t f, std::size_t* p) {
         ldxlddarr(c, o.data(), i.data(), i.size(), nullptr, f, p);
       }},
      AnyDate, kNothing);
}
TEST(LdxArray, ToJulian) {
  CompareOften<ldxdate, ldxjdate, int>(
      {[](ldxctx* c, ldxjdate* o, const ldxdate* i, const int&) { ldxdtd(c, o, i); },
       [](ldxctx* c, const auto& o, const auto& i, const int*, std::uint32_t f, std::size_t* p) {
         ldxdtdarr(c, o.data(), i.data(), i.size(), nullptr, f, p);
       }},
      AnyDate, kNothing);
}
TEST(LdxArray, FromJulian) {
  CompareOften<ldxjdate, ldxdate, int>(
      {[](ldxctx* c, ldxdate* o, const ldxjdate* i, const int&) { ldxdfd(c, o, i); },
       [](ldxctx* c, const auto& o, const auto& i, const int*, std::uint32_t f, std::size_t* p) {
         ldxdfdarr(c, o.data(), i.data(), i.size(), nullptr, f, p);
       }},
      AnyJulian, kNothing);
}
template <auto kScalar, auto kArray>
void CompareUnits() {
  CompareOften<ldxdate, ldxdate, std::uint32_t>(
      {[](ldxctx* c, ldxdate* o, const ldxdate* i, const std::uint32_t& n) { kScalar(c, o, i, n); },
       [](ldxctx* c, const auto& o, const auto& i, const std::uint32_t* n, std::uint32_t f,
          std::size_t* p) { kArray(c, o.data(), i.data(), i.size(), n, f, p); }},
      AnyDate, [](std::mt19937_64& random) {
        return static_cast<std::uint32_t>(random() % 40 == 0 ? random() % 60 : random() % 11 + 16);
      });
}
TEST(LdxArray, Truncate) { CompareUnits<ldxtrn, ldxtrnarr>(); }
TEST(LdxArray, Round) { CompareUnits<ldxrnd, ldxrndarr>(); }

struct StoredDate {
  std::uint8_t bytes[KES_DATE_BYTES];
};
TEST(LdxArray, StoredForms) {
  std::mt19937_64 random(32);
  WeekContext ctx;
  std::vector<ldxdate> dates, back(1000);
  for (int i = 0; i < 1000; ++i) dates.push_back(RandomDate(random));
  std::vector<StoredDate> stored(1000);
  std::vector<std::uint8_t*> to;
  std::vector<const std::uint8_t*> from;
  for (StoredDate& s : stored) {
    to.push_back(s.bytes);
    from.push_back(s.bytes);
  }
  std::size_t processed = 0;
  ldxitearr(ctx, to.data(), Addresses(std::as_const(dates)).data(), 1000, nullptr, 0, &processed);
  EXPECT_EQ(processed, 1000u);
  ldxetiarr(ctx, Addresses(back).data(), from.data(), 1000, nullptr, 0, nullptr);
  EXPECT_EQ(back, dates);
  for (std::size_t i = 0; i < 1000; ++i) {
    std::uint8_t bytes[KES_DATE_BYTES];
    ldxite(ctx, bytes, &dates[i]);
    ASSERT_EQ(std::memcmp(bytes, stored[i].bytes, sizeof bytes), 0);
  }
}

TEST(LdxArray, AnswersThatAreNumbers) {
  std::mt19937_64 random(33);
  WeekContext ctx(1);
  constexpr std::size_t kCount = 500;
  std::vector<ldxdate> a, b;
  for (std::size_t i = 0; i < kCount; ++i) {
    a.push_back(AnyDate(random));
    b.push_back(random() % 4 == 0 ? a.back() : AnyDate(random));
  }
  const std::vector<const ldxdate*> x = Addresses(std::as_const(a)),
                                    y = Addresses(std::as_const(b));
  std::vector<const void*> values(x.begin(), x.end());
  std::vector<std::uint32_t> bits(kCount), all_bits(kCount), week(kCount), weekday(kCount);
  std::vector<std::int32_t> order(kCount), shared_order(kCount), iso_year(kCount);
  std::vector<ldxjdate> julian(kCount);
  const std::uint32_t parts = KES_DATE_PARTS;
  std::size_t processed = 0;
  ldxchkarr(ctx, bits.data(), values.data(), kCount, &parts, KES_DATE_SHARED, &processed);
  ldxrckarr(ctx, all_bits.data(), values.data(), kCount, &parts, KES_DATE_SHARED, &processed);
  ldxcmparr(ctx, order.data(), x.data(), kCount, y.data(), 0, &processed);
  ldxcmparr(ctx, shared_order.data(), x.data(), kCount, y.data(), KES_DATE_SHARED, &processed);
  ldxiswarr(ctx, week.data(), x.data(), kCount, nullptr, 0, &processed);
  ldxisyarr(ctx, iso_year.data(), x.data(), kCount, nullptr, 0, &processed);
  ldxdtdarr(ctx, Addresses(julian).data(), x.data(), kCount, nullptr, 0, &processed);
  ldxdowarr(ctx, weekday.data(), Addresses(std::as_const(julian)).data(), kCount, nullptr, 0,
            &processed);
  EXPECT_EQ(processed, kCount);
  for (std::size_t i = 0; i < kCount; ++i) {
    EXPECT_EQ(bits[i], ldxchk(ctx, &a[i], parts));
    EXPECT_EQ(all_bits[i], ldxrck(ctx, &a[i], parts));
    EXPECT_EQ(order[i], ldxcmp(&a[i], &b[i]));
    EXPECT_EQ(shared_order[i], ldxcmp(&a[i], &b[0]));
    EXPECT_EQ(week[i], ldxisw(ctx, &a[i]));
    EXPECT_EQ(iso_year[i], ldxisy(ctx, &a[i]));
    EXPECT_EQ(weekday[i], ldxdow(ctx, julian[i].day));
  }
}

TEST(LdxArray, MonthsBetween) {
  std::mt19937_64 random(34);
  WeekContext ctx;
  std::vector<ldxdate> a, b;
  for (int i = 0; i < 200; ++i) {
    a.push_back(RandomDate(random));
    b.push_back(RandomDate(random));
  }
  struct Number {
    std::uint8_t bytes[22];
  };
  std::vector<Number> out(200);
  std::vector<std::uint8_t*> to;
  for (Number& n : out) to.push_back(n.bytes);
  for (const std::uint32_t flags : {0u, std::uint32_t{KES_DATE_SHARED}}) {
    std::size_t processed = 0;
    ldxsbmarr(ctx, to.data(), Addresses(std::as_const(a)).data(), 200,
              Addresses(std::as_const(b)).data(), flags, &processed);
    EXPECT_EQ(processed, 200u);
    for (std::size_t i = 0; i < 200; ++i) {
      Number number = {};
      ldxsbm(ctx, number.bytes, &a[i], &b[flags == 0 ? i : 0]);
      ASSERT_EQ(std::memcmp(number.bytes, out[i].bytes, number.bytes[0] + 1u), 0);
    }
  }
}

TEST(LdxArray, ResultsMayBeTheirInputs) {
  for (const CpuLevel level : kLevels) {
    AtLevel at(level);
    WeekContext ctx;
    std::vector<ldxdate> dates(100, Date("2019-01-31"));
    const ldxdelta delta = {1, 0};
    ldxadsarr(ctx, Addresses(dates).data(), Addresses(std::as_const(dates)).data(), 100, &delta,
              KES_DATE_SHARED, nullptr);
    EXPECT_EQ(dates, std::vector<ldxdate>(100, Date("2019-02-01")));
  }
}

}  // namespace
}  // namespace kestra::test
