// Columns of raw dates, day numbers and operands, valid or not. Laws: every array form does what the
// scalar one does, with every kernel, up to the element that raises; what an operation gives for
// valid dates is valid but for the two totals that adding months lets through; days and stored forms
// go there and back, also through every calendar that has months of its own.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "core/os/cpu.h"
#include "datetime/calendar.h"
#include "datetime/kernels/date_kernels.h"
#include "kestra/date.h"
#include "nls/nlb_format.h"
#include "tests/support/fuzz_input.h"

using kestra::datetime::active_date_kernels;
using kestra::datetime::DateKernelsFor;
using kestra::os::CpuLevel;
using kestra::test::FuzzInput;
using kestra::test::Require;

namespace {

// The library has no exceptions and a callback must not return, but when it does the call returns
// at once: that is what is used here.
std::uint32_t raised;
void Keep(ldxctx*, std::uint32_t number) { raised = number; }

// A date: mostly made valid, as raw bytes seldom are.
ldxdate TakeDate(FuzzInput& input) {
  auto date = input.Take<ldxdate>();
  if (input.Take() % 8 == 0) return date;
  const std::int32_t number = static_cast<std::int32_t>(
      (static_cast<std::uint32_t>(date.month) << 16 | static_cast<std::uint16_t>(date.year)) %
      5373484);
  const ldxjdate julian = {number + 1, static_cast<std::int32_t>(date.day * 338 % 86400)};
  ldxdfd(nullptr, &date, &julian);
  if (date.year == 0) date.year = 1;
  return date;
}

template <typename Out, typename In, typename Scalar, typename Array>
void Compare(const std::vector<In>& in, const Scalar& scalar, const Array& array) {
  std::vector<Out> expected(in.size()), out(in.size());
  std::size_t done = 0;
  raised = 0;
  for (; done < in.size(); ++done) {
    scalar(&expected[done], &in[done], done);
    if (raised != 0) break;
  }
  const std::uint32_t error = raised;
  std::vector<const In*> from;
  std::vector<Out*> to;
  for (std::size_t i = 0; i < in.size(); ++i) {
    from.push_back(&in[i]);
    to.push_back(&out[i]);
  }
  for (const CpuLevel level : {CpuLevel::kBaseline, CpuLevel::kAvx2, CpuLevel::kAvx512}) {
    if (level > kestra::os::GetCpuLevel()) continue;
    active_date_kernels.store(&DateKernelsFor(level));
    out.assign(in.size(), Out{});
    std::size_t processed = SIZE_MAX;
    raised = 0;
    array(to.data(), from.data(), in.size(), &processed);
    Require(raised == error && processed == done);
    for (std::size_t i = 0; i < done; ++i) {
      Require(std::memcmp(&out[i], &expected[i], sizeof(Out)) == 0);
    }
  }
}

void CheckOne(ldxctx* ctx, const ldxdate& date, std::int32_t months, std::uint32_t unit) {
  std::uint8_t stored[KES_DATE_BYTES];
  ldxdate back = {};
  std::uint8_t number[22];
  ldxsbm(ctx, number, &date, &back);
  Require(number[0] >= 1 && number[0] <= 21);
  if (ldxchk(ctx, &date, KES_DATE_PARTS) != 0 || date.zero != 0) {
    ldxtrn(ctx, &back, &date, unit);
    ldxrnd(ctx, &back, &date, unit);
    ldxisw(ctx, &date);
    return;
  }
  ldxite(ctx, stored, &date);
  Require(ldxrck(ctx, stored, KES_DATE_STORED) == 0);
  ldxeti(ctx, &back, stored);
  Require(ldxcmp(&back, &date) == 0);
  ldxjdate julian = {};
  ldxdtd(ctx, &julian, &date);
  Require(ldxchk(ctx, &julian, KES_DATE_JULIAN) == 0);
  ldxdfd(ctx, &back, &julian);
  Require(ldxcmp(&back, &date) == 0);
  raised = 0;
  ldxadm(ctx, &back, &date, months);
  const bool let_through = back.year == 0 || back.year == 10000 ||
                           ldxchk(ctx, &back, KES_DATE_PARTS) == KES_DATE_SKIPPED_DAY;
  Require(raised != 0 || let_through || ldxchk(ctx, &back, KES_DATE_PARTS) == 0);
  raised = 0;
  ldxtrn(ctx, &back, &date, unit);
  if (raised == 0) Require(ldxcmp(&back, &date) <= 0 && ldxchk(ctx, &back, KES_DATE_PARTS) == 0);
  raised = 0;
  ldxrnd(ctx, &back, &date, unit);
  if (raised == 0) Require(ldxchk(ctx, &back, KES_DATE_PARTS) == 0);
}

// A calendar object without names, of an arithmetic and a number of eras.
class CalendarObject {
 public:
  CalendarObject(std::uint16_t kind, std::uint16_t eras) {
    namespace layout = kestra::nls::nlb::calendar;
    Put(layout::kKindAt, kind);
    Put(layout::kMonthsAt, 13);
    Put(layout::kErasAt, eras);
  }
  const lxobject* get() const { return reinterpret_cast<const lxobject*>(bytes_); }

 private:
  void Put(std::size_t at, std::uint16_t value) { std::memcpy(bytes_ + at, &value, sizeof value); }

  alignas(8) std::uint8_t bytes_[kestra::nls::nlb::common::kBase + 64] = {};
};

void CheckCalendars(const ldxdate& date, std::int32_t months, std::uint32_t month) {
  namespace datetime = kestra::datetime;
  for (std::uint16_t kind = 6; kind <= 11; ++kind) {
    const CalendarObject object(kind, static_cast<std::uint16_t>(month % 3));
    const datetime::Calendar calendar(object.get());
    datetime::CalendarDate there = {};
    ldxdate back = date;
    if (!calendar.FromDate(date, there)) continue;
    const bool valid = ldxchk(nullptr, &date, KES_DATE_PARTS) == 0;
    if (valid) {
      Require(calendar.ToDate(there, back) == 0 && ldxcmp(&back, &date) == 0);
    }
    calendar.ToDate({static_cast<std::int32_t>(month % 4) - 1, months, month, month * 7 % 33},
                    back);
    datetime::MonthsBetween between = {};
    Require(datetime::lxeldd(calendar, date, back).handled);
    if (datetime::lxeadm(calendar, date, months, back).error != 0 || !valid) continue;
    Require(ldxchk(nullptr, &back, KES_DATE_PARTS) == 0);
    Require(datetime::lxesbm(calendar, back, date, between).error == 0);
    Require(back.year * date.year < 0 || !between.exact || between.months == months);
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static ldxctx ctx;
  ldxnbeg(&ctx, nullptr, nullptr, Keep, nullptr, KES_DATE_NO_DEFAULT);
  FuzzInput input(data, size);
  const auto head = input.Take();
  const std::size_t count = head % 41;
  const std::uint32_t flags = head >= 128 ? KES_DATE_SHARED : 0;
  ctx.first_weekday = head % 7;
  std::vector<ldxdate> dates;
  std::vector<ldxjdate> julians;
  std::vector<ldxdelta> deltas(count + 1);
  std::vector<std::int32_t> months(count + 1);
  std::vector<std::uint32_t> numbers(count + 1);
  for (std::size_t i = 0; i < count; ++i) {
    dates.push_back(TakeDate(input));
    const auto kind = input.Take();
    deltas[i] = input.Take<ldxdelta>();
    if (kind % 4 != 0) deltas[i].days %= 50'000;
    if (kind % 3 != 0) deltas[i].seconds = 0;
    months[i] = kind % 8 == 0 ? deltas[i].days : deltas[i].days % 3000;
    numbers[i] = kind % 32 == 1 ? kind : kind % 7 + 1u;
    julians.push_back({deltas[i].days & (kind % 8 == 0 ? -1 : 0x3FFFFF), deltas[i].seconds});
    CheckOne(&ctx, dates[i], months[i], kind % 48u);
    CheckCalendars(dates[i], months[i], kind);
  }
  const auto at = [&](std::size_t i) { return flags != 0 ? 0 : i; };
  ldxctx* c = &ctx;
  Compare<ldxdate>(
      dates, [&](ldxdate* o, const ldxdate* d, std::size_t i) { ldxads(c, o, d, &deltas[at(i)]); },
      [&](auto o, auto d, std::size_t n, std::size_t* p) {
        ldxadsarr(c, o, d, n, deltas.data(), flags, p);
      });
  Compare<ldxdate>(
      dates, [&](ldxdate* o, const ldxdate* d, std::size_t i) { ldxadm(c, o, d, months[at(i)]); },
      [&](auto o, auto d, std::size_t n, std::size_t* p) {
        ldxadmarr(c, o, d, n, months.data(), flags, p);
      });
  Compare<ldxdate>(
      dates, [&](ldxdate* o, const ldxdate* d, std::size_t i) { ldxnxd(c, o, d, numbers[at(i)]); },
      [&](auto o, auto d, std::size_t n, std::size_t* p) {
        ldxnxdarr(c, o, d, n, numbers.data(), flags, p);
      });
  Compare<ldxdate>(
      dates, [&](ldxdate* o, const ldxdate* d, std::size_t) { ldxldd(c, o, d); },
      [&](auto o, auto d, std::size_t n, std::size_t* p) {
        ldxlddarr(c, o, d, n, nullptr, flags, p);
      });
  Compare<ldxjdate>(
      dates, [&](ldxjdate* o, const ldxdate* d, std::size_t) { ldxdtd(c, o, d); },
      [&](auto o, auto d, std::size_t n, std::size_t* p) {
        ldxdtdarr(c, o, d, n, nullptr, flags, p);
      });
  Compare<ldxdate>(
      julians, [&](ldxdate* o, const ldxjdate* d, std::size_t) { ldxdfd(c, o, d); },
      [&](auto o, auto d, std::size_t n, std::size_t* p) {
        ldxdfdarr(c, o, d, n, nullptr, flags, p);
      });
  ldxend(&ctx);
  return 0;
}
