// Dates written in models.
#include <gtest/gtest.h>

#include <random>

#include "tests/support/date_context.h"
#include "tests/support/hex.h"
#include "tests/support/nls_fixture.h"

namespace kestra::test {
namespace {

struct FormatCase {
  ldxdate date;
  const char* model;
  const char* text;
};
const ldxdate kEvening = MakeDate(2019, 3, 5, 19, 4, 9);
const ldxdate kMidnight = MakeDate(1905, 12, 31);
const ldxdate kCaesar = MakeDate(-44, 3, 15, 12, 0, 0);
const ldxdate kLast = MakeDate(9999, 12, 31, 23, 59, 59);
const ldxdate kFirst = MakeDate(-4712, 1, 1);

const FormatCase kCases[] = {
    {kEvening, "YYYY-MM-DD HH24:MI:SS", "2019-03-05 19:04:09"},
    {kEvening, "FMYYYY-MM-DD HH24:MI:SS", "2019-3-5 19:4:9"},
    {kEvening, "FMYYYY-MM-FMDD", "2019-3-05"},
    {kEvening, "HH:MI AM", "07:04 PM"},
    {kEvening, "hh12:mi a.m.", "07:04 p.m."},
    {kMidnight, "HH AM am Am", "12 AM am AM"},
    {kCaesar, "HH P.M.", "12 P.M."},
    {kEvening, "SSSSS", "68649"},
    {kMidnight, "SSSSS", "00000"},
    // Names: letters, and widths of the longest.
    {kEvening, "DAY, DD MONTH YYYY|", "TUESDAY  , 05 MARCH     2019|"},
    {kEvening, "FMDay, DD Month YYYY", "Tuesday, 5 March 2019"},
    {kEvening, "dy Dy DY mon Mon MON", "tue Tue TUE mar Mar MAR"},
    {kEvening, "RM rm Rm", "III  iii  III "},
    {MakeDate(2019, 8, 1), "RM|FMRM", "VIII|VIII"},
    {MakeDate(2019, 1, 1), "RM|FMRM|", "I   |I|"},
    // Years.
    {kEvening, "YYY YY Y", "019 19 9"},
    {kEvening, "FMYYY YY Y", "19 19 9"},
    {kEvening, "Y,YYY SY,YYY", "2,019  2,019"},
    {kCaesar, "Y,YYY SY,YYY FMY,YYY", "0,044 -0,044 44"},
    {kCaesar, "YYYY AD", "0044 BC"},
    {kCaesar, "FMYYYY b.c. Ad", "44 b.c. BC"},
    {kCaesar, "SYYYY", "-0044"},
    {kCaesar, "FMSYYYY", "-44"},
    {kEvening, "SYYYY|NYYYY|FMSYYYY", " 2019|2019|2019"},
    {kCaesar, "NYYYY", "-0044"},
    {kFirst, "SYYYY-MM-DD J", "-4712-01-01 0000001"},
    {kLast, "J FMJ", "5373484 5373484"},
    {kFirst, "FMJ", "1"},
    {MakeDate(1900, 1, 1), "CC", "19"},
    {MakeDate(1901, 1, 1), "CC SCC", "20  20"},
    {MakeDate(2000, 12, 31), "CC FMSCC", "20 20"},
    {kCaesar, "CC SCC", "01 -01"},
    {kEvening, "RR RRRR", "19 2019"},
    {kEvening, "YEAR|Year|year", "TWENTY NINETEEN|Twenty Nineteen|twenty nineteen"},
    {kMidnight, "YEAR", "NINETEEN OH FIVE"},
    {MakeDate(2000, 1, 1), "YEAR", "TWO THOUSAND"},
    {MakeDate(2005, 1, 1), "YEAR", "TWO THOUSAND FIVE"},
    {MakeDate(1900, 1, 1), "YEAR", "NINETEEN HUNDRED"},
    {MakeDate(1066, 1, 1), "YEAR", "TEN SIXTY-SIX"},
    {MakeDate(944, 1, 1), "YEAR", "NINE FORTY-FOUR"},
    {kCaesar, "YEAR SYEAR", "FORTY-FOUR -FORTY-FOUR"},
    {kEvening, "SYEAR|FMSYEAR", " TWENTY NINETEEN|TWENTY NINETEEN"},
    // Parts of the year.
    {kEvening, "Q W WW IW IYYY IYY IY I", "1 1 10 10 2019 019 19 9"},
    {MakeDate(2018, 12, 31), "IYYY-IW-D YYYY WW DDD", "2019-01-2 2018 53 365"},
    {MakeDate(2021, 1, 3), "IYYY-IW D", "2020-53 1"},
    {MakeDate(1582, 10, 15), "DDD D DAY", "278 6 FRIDAY   "},
    {kEvening, "DDD FMDDD", "064 64"},
    // Suffixes.
    {kEvening, "DDTH DDth FMDDth", "05TH 05th 5th"},
    {MakeDate(2019, 3, 1), "FMDDth ddTH", "1st 1ST"},
    {MakeDate(2019, 3, 22), "FMDDth", "22nd"},
    {MakeDate(2019, 3, 13), "FMDDTH", "13TH"},
    {MakeDate(2019, 3, 23), "FMDDTH", "23RD"},
    {kEvening, "DDSP Ddsp ddsp", "FIVE Five five"},
    {kEvening, "DDSPTH Ddspth ddthsp", "FIFTH Fifth fifth"},
    {MakeDate(2019, 3, 21), "DDSPTH", "TWENTY-FIRST"},
    {MakeDate(2019, 3, 30), "DDSPTH", "THIRTIETH"},
    {kMidnight, "HH24SP MISPTH", "ZERO ZEROTH"},
    {kLast, "Jsp", "Five Million Three Hundred Seventy-Three Thousand Four Hundred Eighty-Four"},
    {kEvening, "YYYYSPTH", "TWO THOUSAND NINETEENTH"},
    {kEvening, "DSP", "THREE"},
    {kCaesar, "SYYYYTH", "-0044TH"},
    // Literals.
    {kEvening, "\"Day\" DD \"of\"", "Day 05 of"},
    {kEvening, "FXDD", "05"},
    {kEvening, "DS|TS", "3/5/2019|7:04:09 PM"},
    {kEvening, "DL", "Tuesday, March 5, 2019"},
    {kEvening, "DL MM", "Tuesday, March 5, 2019 03"},
    {kEvening, "", ""},
};

TEST(LdxFormat, HandWorkedTexts) {
  DateContext context;
  for (const FormatCase& c : kCases) {
    SCOPED_TRACE(c.model);
    EXPECT_EQ(context.Write(c.date, c.model), c.text);
  }
}

// Every room, also with a format longer than the inner buffers: exact or 1801, never past the end.
TEST(LdxFormat, EveryRoomIsKept) {
  DateContext context;
  std::string long_model = "Day";
  for (int i = 0; i < 12; ++i)
    long_model += " Month \"" + std::string(100, 'a' + static_cast<char>(i)) + "\" Jsp";
  for (const std::string& model :
       {std::string("YYYY-MM-DD HH24:MI:SS"), std::string("DAY, DDTH MONTH SYYYY"), long_model}) {
    const std::string format = context.CompileForOutput(model);
    const std::string whole = context.Write(kEvening, model);
    for (std::size_t room = 0; room <= whole.size() + 8; ++room) {
      if (room > 40 && room + 40 < whole.size() && room % 7 != 0) continue;
      GuardedBuffer out(room);
      std::size_t length = 77;
      const std::uint32_t number = ldxdtsint(context.get(), &kEvening, TextData(format),
                                             format.size(), out.data(), room, &length);
      ASSERT_EQ(number, room < whole.size() ? 1801u : 0u) << room;
      if (number == 0) {
        ASSERT_EQ(std::string(out.data(), out.data() + length), whole) << room;
      }
    }
  }
}

TEST(LdxFormat, EveryByteOfADateIsChecked) {
  DateContext context;
  const std::string format = context.Compile("YYYY-MM-DD HH24:MI:SS");
  const std::string slow = context.Compile("DAY MONTH YYYY");
  struct Range {
    std::size_t byte;
    int low, high;
    std::uint32_t number;
  };
  for (const Range& range : {Range{2, 1, 12, 1843}, Range{3, 1, 31, 1847}, Range{4, 0, 23, 1850},
                             Range{5, 0, 59, 1851}, Range{6, 0, 59, 1852}, Range{7, 0, 255, 0}}) {
    for (int value = 0; value < 256; ++value) {
      ldxdate date = kEvening;
      reinterpret_cast<std::uint8_t*>(&date)[range.byte] = static_cast<std::uint8_t>(value);
      const bool fits = value >= range.low && value <= range.high;
      for (const std::string& f : {format, slow}) {
        std::uint8_t out[100];
        std::size_t length = 0;
        EXPECT_EQ(ldxdtsint(context.get(), &date, TextData(f), f.size(), out, sizeof out, &length),
                  fits ? 0 : range.number);
      }
    }
  }
  for (int year = -32768; year < 32768; ++year) {
    const ldxdate date = MakeDate(year, 1, 1);
    std::uint8_t out[100];
    std::size_t length = 0;
    const bool fits = year >= -4712 && year <= 9999 && year != 0;
    ASSERT_EQ(ldxdtsint(context.get(), &date, TextData(slow), slow.size(), out, 100, &length),
              fits ? 0u : 1841u)
        << year;
  }
}

TEST(LdxFormat, ArrayFormDoesTheScalarOne) {
  DateContext context;
  std::mt19937 random(99);
  for (const char* model : {"YYYY-MM-DD HH24:MI:SS", "Day DDTH Month"}) {
    const std::string format = context.Compile(model);
    constexpr std::size_t kCount = 50;
    ldxdate dates[kCount];
    const ldxdate* inputs[kCount];
    std::uint8_t texts[kCount][64];
    std::uint8_t* outputs[kCount];
    std::size_t lengths[kCount];
    for (std::size_t i = 0; i < kCount; ++i) {
      dates[i] =
          MakeDate(static_cast<int>(random() % 9999 + 1), static_cast<int>(random() % 12 + 1),
                   static_cast<int>(random() % 28 + 1), static_cast<int>(random() % 24));
      inputs[i] = &dates[i];
      outputs[i] = texts[i];
    }
    const std::size_t room = 64;
    std::size_t processed = 0;
    ldxdtsarr(context.get(), outputs, inputs, kCount, &room, lengths, TextData(format),
              format.size(), KES_DATE_SHARED, &processed);
    EXPECT_EQ(processed, kCount);
    for (std::size_t i = 0; i < kCount; ++i) {
      EXPECT_EQ(std::string(texts[i], texts[i] + lengths[i]), context.Write(dates[i], model));
    }
    dates[7].month = 13;
    EXPECT_EQ(context.ErrorOf([&] {
      ldxdtsarr(context.get(), outputs, inputs, kCount, &room, lengths, TextData(format),
                format.size(), KES_DATE_SHARED, &processed);
    }),
              1843u);
    EXPECT_EQ(processed, 7u);
  }
}

TEST(LdxFormat, NamesOfLanguagesInOtherSets) {
  NlsSession session;
  struct Case {
    const char* handle;
    const char* model;
    const char* bytes;
  };
  const Case cases[] = {
      {"GERMAN_GERMANY.WE8ISO8859P1", "FMDay, DD. Month YYYY|MONTH",
       "44 69 65 6E 73 74 61 67 2C 20 35 2E 20 4D E4 72 7A 20 32 30 31 39 7C 4D C4 52 5A"},
      {"GERMAN_GERMANY.AL32UTF8", "MONTH|Mon", "4D C3 84 52 5A 20*5 7C 4D C3 A4 72 7A 20"},
      {"RUSSIAN_RUSSIA.CY8CP1251", "FMMonth month", "CC E0 F0 F2 E0 20 EC E0 F0 F2 E0"},
      {"JAPANESE_JAPAN.AL32UTF8", "DY", "E7 81 AB"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.handle);
    lxhandle handle = session.Handle(c.handle);
    DateContext context(&handle, session.context());
    const std::string text = context.Write(kEvening, c.model);
    EXPECT_EQ(Hex(TextData(text), text.size()), Hex(Bytes(c.bytes)));
  }
}

}  // namespace
}  // namespace kestra::test
