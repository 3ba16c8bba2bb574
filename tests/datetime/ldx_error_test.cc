// Callbacks that jump and callbacks that throw: afterwards the context works as before.
#include <gtest/gtest.h>

#include <csetjmp>

#include "tests/support/date_values.h"

namespace kestra::test {
namespace {

std::jmp_buf frame;
volatile std::uint32_t jumped_with;

constexpr std::uint8_t kLetters[] = {'x', 'y'};  // no model, date or zone
constexpr std::uint8_t kYear[] = {KES_DATE_YYYY, 16};

struct Failing {
  const char* what;
  std::uint32_t error;
  void (*call)(ldxctx*);
};
const Failing kFailing[] = {
    {"ldxads", 1841,
     [](ldxctx* ctx) {
       ldxdate date = Date("9999-12-31");
       const ldxdelta delta = {1, 0};
       ldxads(ctx, &date, &date, &delta);
     }},
    {"ldxadm", 1841,
     [](ldxctx* ctx) {
       ldxdate date = Date("9999-12-31");
       ldxadm(ctx, &date, &date, 12);
     }},
    {"ldxnxd", 1846,
     [](ldxctx* ctx) {
       ldxdate date = Date("2019-12-31");
       ldxnxd(ctx, &date, &date, 9);
     }},
    {"ldxrnd", 1899,
     [](ldxctx* ctx) {
       ldxdate date = Date("2019-12-31");
       ldxrnd(ctx, &date, &date, 11);
     }},
    {"ldxdfd", 1854,
     [](ldxctx* ctx) {
       ldxdate date;
       const ldxjdate julian = {0, 0};
       ldxdfd(ctx, &date, &julian);
     }},
    {"ldxadsarr", 1841,
     [](ldxctx* ctx) {
       ldxdate dates[20] = {};
       ldxdate* to[20];
       const ldxdate* from[20];
       for (int i = 0; i < 20; ++i) {
         dates[i] = Date(i == 13 ? "9999-12-31" : "2019-12-31");
         from[i] = to[i] = &dates[i];
       }
       const ldxdelta delta = {1, 0};
       ldxadsarr(ctx, to, from, 20, &delta, KES_DATE_SHARED, nullptr);
     }},
    {"ldxsti", 1821,
     [](ldxctx* ctx) {
       std::uint8_t format[8];
       ldxsti(ctx, kLetters, 2, format, sizeof format);
     }},
    {"ldxdts", 1801,
     [](ldxctx* ctx) {
       const ldxdate date = Date("2019-12-31");
       std::uint8_t text[3];
       ldxdts(ctx, &date, kYear, sizeof kYear, text, sizeof text);
     }},
    {"ldxstd", 1858,
     [](ldxctx* ctx) {
       ldxdate date;
       ldxstd(ctx, kLetters, 2, kYear, sizeof kYear, &date);
     }},
    {"ldxstdarr", 1858,
     [](ldxctx* ctx) {
       ldxdate date;
       ldxdate* const to[] = {&date};
       const std::uint8_t* const texts[] = {kLetters};
       const std::size_t length = 2;
       ldxstdarr(ctx, to, texts, 1, &length, kYear, sizeof kYear, 0, nullptr);
     }},
    {"ldxgtz", 1857, [](ldxctx* ctx) { ldxgtz(ctx, kLetters, 2); }},
};

void ExpectWorking(ldxctx* ctx) {
  ldxdate date = Date("2019-01-31");
  EXPECT_EQ(ldxadm(ctx, &date, &date, 1), 1);
  EXPECT_EQ(date, Date("2019-02-28"));
}

TEST(LdxError, CallbacksThatJump) {
  WeekContext ctx;
  ctx->raise = [](ldxctx*, std::uint32_t number) {
    jumped_with = number;
    std::longjmp(frame, 1);
  };
  for (const Failing& failing : kFailing) {
    SCOPED_TRACE(failing.what);
    jumped_with = 0;
    if (setjmp(frame) == 0) {
      failing.call(ctx);
      ADD_FAILURE() << "did not raise";
    }
    EXPECT_EQ(jumped_with, failing.error);
    ExpectWorking(ctx);
  }
}

TEST(LdxError, CallbacksThatThrow) {
  WeekContext ctx;
  for (const Failing& failing : kFailing) {
    SCOPED_TRACE(failing.what);
    EXPECT_EQ(Raised([&] { failing.call(ctx); }), failing.error);
    ExpectWorking(ctx);
  }
}

TEST(LdxError, NothingIsWrittenWhenACallRaises) {
  WeekContext ctx;
  const ldxdate last = Date("9999-12-31 23:59:59");
  const ldxdelta delta = {0, 1};
  ldxdate out = Date("2011-11-11");
  EXPECT_EQ(Raised([&] { ldxads(ctx, &out, &last, &delta); }), 1841u);
  EXPECT_EQ(Raised([&] { ldxadm(ctx, &out, &last, 12); }), 1841u);
  EXPECT_EQ(Raised([&] { ldxnxd(ctx, &out, &last, 1); }), 1841u);
  EXPECT_EQ(Raised([&] { ldxrnd(ctx, &out, &last, 10); }), 1841u);
  EXPECT_EQ(out, Date("2011-11-11"));
}

}  // namespace
}  // namespace kestra::test
