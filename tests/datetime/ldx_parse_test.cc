// Dates read in models.
#include <gtest/gtest.h>

#include <cstring>
#include <random>

#include "tests/support/date_context.h"
#include "tests/support/hex.h"
#include "tests/support/nls_fixture.h"

namespace kestra::test {
namespace {

struct ReadCase {
  const char* model;
  const char* text;
  const char* result;
};

constexpr ReadCase kTexts[] = {
    {"YYYY-MM-DD HH24:MI:SS", "2019-03-05 19:04:09", "2019-03-05 19:04:09"},
    {"YYYY-MM-DD HH24:MI:SS", "2019/3/5 19.4.9", "2019-03-05 19:04:09"},
    {"YYYY-MM-DD HH24:MI:SS", "  2019 -03-05   19:04:09  ", "2019-03-05 19:04:09"},
    {"YYYY-MM-DD", "20190305", "2019-03-05 00:00:00"},
    {"YYYYMMDD", "20190305", "2019-03-05 00:00:00"},
    {"YYYY-MM-DD", "19-03-05", "0019-03-05 00:00:00"},
    // What is missing comes from today, 23 November 2026.
    {"HH24:MI", "23:59", "2026-11-01 23:59:00"},
    {"DD", "9", "2026-11-09 00:00:00"},
    {"MM", "2", "2026-02-01 00:00:00"},
    {"YYYY", "1999", "1999-11-01 00:00:00"},
    {"", "", "2026-11-01 00:00:00"},
    // Short years.
    {"DD.MM.YY", "01.02.99", "2099-02-01 00:00:00"},
    {"DD.MM.RR", "01.02.49", "2049-02-01 00:00:00"},
    {"DD.MM.RR", "01.02.50", "1950-02-01 00:00:00"},
    {"DD.MM.RRRR", "01.02.50", "1950-02-01 00:00:00"},
    {"DD.MM.RRRR", "01.02.050", "0050-02-01 00:00:00"},
    {"DD.MM.RRRR", "01.02.1850", "1850-02-01 00:00:00"},
    {"YYY", "019", "2019-11-01 00:00:00"},
    {"Y", "9", "2029-11-01 00:00:00"},
    {"DD.MM.RR", "01.02.1850", "1850-02-01 00:00:00"},
    {"DD.MM.YY", "01.02.1850", "1850-02-01 00:00:00"},
    {"RRMMDD", "20121003", "2012-10-03 00:00:00"},
    {"YYYY RR", "2019 19", "2019-11-01 00:00:00"},
    {"YYYY RR", "2019 20", "1831 at 5"},
    {"FXDD.MM.RR", "01.02.1850", "1830 at 8"},
    // Eras and signs.
    {"YYYY AD", "44 BC", "-044-11-01 00:00:00"},
    {"YYYY AD", "44 ad", "0044-11-01 00:00:00"},
    {"YYYY B.C.", "4712 b.c.", "-4712-11-01 00:00:00"},
    {"YYYY BC", "4713 BC", "1841 at 0"},
    {"SYYYY-MM-DD", "-4712-01-01", "-4712-01-01 00:00:00"},
    {"SYYYY-MM-DD", "-4713-01-01", "1841 at 0"},
    {"SYYYY", "+2019", "2019-11-01 00:00:00"},
    {"SYYYY", "0", "1841 at 0"},
    {"YYYY", "0000", "1841 at 0"},
    {"NYYYY", "-1", "-001-11-01 00:00:00"},
    {"Y,YYY", "2,019", "2019-11-01 00:00:00"},
    {"Y,YYY", "2019", "2019-11-01 00:00:00"},
    {"Y,YYY", "2,19", "1862 at 4"},
    {"SY,YYY", "-2,019", "-2019-11-01 00:00:00"},
    // Names.
    {"DD-MON-RR", "05-Mar-19", "2019-03-05 00:00:00"},
    {"DD-MON-RR", "05mArCh19", "2019-03-05 00:00:00"},
    {"DD MONTH YYYY", "5 march     2019", "2019-03-05 00:00:00"},
    {"DD MONTH YYYY", "5 mar 2019", "2019-03-05 00:00:00"},
    {"DD MONTH YYYY", "5 xyz 2019", "1843 at 2"},
    {"DD MONTH YYYY", "5 3 2019", "1859 at 2"},
    {"Day, DD Month YYYY", "tuesday, 5 March 2019", "2019-03-05 00:00:00"},
    {"DY DD.MM.YYYY", "Tue 05.03.2019", "2019-03-05 00:00:00"},
    {"DY DD.MM.YYYY", "Mon 05.03.2019", "1835 at 0"},
    {"DY DD.MM.YYYY", "Xon 05.03.2019", "1846 at 0"},
    {"D DD.MM.YYYY", "3 05.03.2019", "2019-03-05 00:00:00"},
    {"D DD.MM.YYYY", "2 05.03.2019", "1835 at 0"},
    {"D", "8", "1846 at 0"},
    {"Day", "Friday", "2026-11-01 00:00:00"},
    {"DD-RM-YYYY", "05-iii-2019", "2019-03-05 00:00:00"},
    {"DD-RM-YYYY", "05-VIII-2019", "2019-08-05 00:00:00"},
    {"RM", "XIII", "1843 at 0"},
    {"RM", "IL", "1830 at 1"},
    // Times.
    {"HH:MI AM", "12:30 am", "2026-11-01 00:30:00"},
    {"HH:MI PM", "12:30 PM", "2026-11-01 12:30:00"},
    {"HH:MI A.M.", "1:30 p.m.", "2026-11-01 13:30:00"},
    {"PM", "pm", "2026-11-01 12:00:00"},
    {"HH:MI", "12:30", "2026-11-01 00:30:00"},
    {"HH", "0", "1849 at 0"},
    {"HH", "13", "1849 at 0"},
    {"HH24", "24", "1850 at 0"},
    {"HH AM", "1 xm", "1855 at 2"},
    {"YYYY AD", "1 xx", "1856 at 2"},
    {"MI", "60", "1851 at 0"},
    {"SS", "60", "1852 at 0"},
    {"SSSSS", "86400", "1853 at 0"},
    {"SSSSS", "86399", "2026-11-01 23:59:59"},
    {"SSSSS HH24:MI:SS", "68649 19:04:09", "2026-11-01 19:04:09"},
    {"SSSSS HH24", "68649 18", "1836 at 6"},
    {"SSSSS HH", "68649 8", "1836 at 6"},
    {"SSSSS AM", "68649 AM", "1836 at 6"},
    {"SSSSS MI", "68649 5", "1837 at 6"},
    {"SSSSS SS", "68649 8", "1838 at 6"},
    // Julian days and days of the year.
    {"J", "2458548", "2019-03-05 00:00:00"},
    {"J", "1", "-4712-01-01 00:00:00"},
    {"J", "0", "1854 at 0"},
    {"J", "5373485", "1854 at 0"},
    {"J", "1721400", "1864 at 0"},
    {"J YYYY", "2458548 2018", "1831 at 8"},
    {"J MM", "2458548 04", "1833 at 8"},
    {"J DD", "2458548 06", "1834 at 8"},
    {"J DAY", "2458548 monday", "1835 at 8"},
    {"YYYY DDD", "2019 064", "2019-03-05 00:00:00"},
    {"YYYY DDD", "2020 366", "2020-12-31 00:00:00"},
    {"YYYY DDD", "2019 366", "1848 at 5"},
    {"YYYY DDD", "1582 278", "1582-10-15 00:00:00"},
    {"YYYY DDD", "1582 356", "1848 at 5"},
    {"YYYY DDD MM", "2019 064 4", "1833 at 9"},
    {"YYYY DDD DD", "2019 064 6", "1834 at 9"},
    // Days that there are not.
    {"YYYY-MM-DD", "2019-02-29", "1839 at 8"},
    {"YYYY-MM-DD", "1500-02-29", "1500-02-29 00:00:00"},
    {"YYYY-MM-DD", "1582-10-10", "1839 at 8"},
    {"YYYY-MM-DD", "2019-13-01", "1843 at 5"},
    {"YYYY-MM-DD", "2019-00-01", "1843 at 5"},
    {"YYYY-MM-DD", "2019-01-32", "1847 at 8"},
    {"YYYY-MM-DD", "2019-01-00", "1847 at 8"},
    // Cut, overlong, other digits.
    {"YYYY-MM-DD", "2019-03", "1840 at 7"},
    {"YYYY-MM-DD", "2019-03-", "1840 at 8"},
    {"YYYY-MM-DD", "", "1840 at 0"},
    {"YYYY-MM-DD", "2019-03-05x", "1830 at 10"},
    {"YYYY-MM-DD", "2019-03-051", "1830 at 10"},
    {"YYYY-MM-DD", "20x9-03-05", "1858 at 2"},
    {"YYYY-MM-DD", "-2019-03-05", "1858 at 0"},
    {"YYYY-MM-DD", "\xEF\xBC\x92\xEF\xBC\x90", "1858 at 0"},
    // Literals.
    {"YYYY\"T\"MM", "2019T03", "2019-03-01 00:00:00"},
    {"YYYY\"T\"MM", "2019 T03", "2019-03-01 00:00:00"},
    {"YYYY\"T\"MM", "2019t03", "1861 at 4"},
    {"YYYY\"T\"MM", "2019", "1840 at 4"},
    {"DD\" of \"MM", "5 of 3", "2026-03-05 00:00:00"},
    {"DD, MM", "5 3", "2026-03-05 00:00:00"},
    {"DD MM", "5-3", "1858 at 1"},
    {"DDTH MM", "5th 3", "2026-03-05 00:00:00"},
    {"DDTH MM", "5 3", "2026-03-05 00:00:00"},
    // Exactly.
    {"FXYYYY-MM-DD", "2019-03-05", "2019-03-05 00:00:00"},
    {"FXYYYY-MM-DD", "2019-3-05", "1862 at 6"},
    {"FXFMYYYY-MM-DD", "2019-3-5", "2019-03-05 00:00:00"},
    {"FXYYYY-MM-DD", "2019/03-05", "1861 at 4"},
    {"FXYYYY-MM-DD", " 2019-03-05", "1858 at 0"},
    {"FXYYYY-MM-DD", "2019-03-05 ", "1830 at 10"},
    {"FXDD Month YYYY", "05 March     2019", "2019-03-05 00:00:00"},
    {"FXDD Month YYYY", "05 March 2019", "2019-03-05 00:00:00"},
    {"FXDD Month YYYY", "05 Mar 2019", "1843 at 3"},
    {"FXDD Mon YYYY", "05 March 2019", "1861 at 6"},
    {"FXYYYYFX-MM-DD", "2019/3/5", "2019-03-05 00:00:00"},
    // Elements for writing only; groups and repeats of models compiled for writing.
    {"IW", "10", "1820 at 0"},
    {"DD Q", "10", "1820 at 5"},
    {"YEAR", "x", "1820 at 0"},
    {"DDSP", "FIVE", "1820 at 0"},
    {"DD DD", "1 1", "1810 at 5"},
    {"HH24 AM", "1", "1818 at 7"},
    {"E YY", "H 31", "1822 at 0"},
};

TEST(LdxParse, HandWorkedTexts) {
  DateContext context;
  for (const ReadCase& c : kTexts) {
    SCOPED_TRACE(std::string(c.model) + " <- " + c.text);
    EXPECT_EQ(context.Read(c.text, c.model), c.result);
  }
}

TEST(LdxParse, RoundedYearsInTheOtherHalf) {
  DateContext context;
  context.get()->today = MakeDate(1977, 6, 1);
  EXPECT_EQ(context.Read("49", "RR"), "2049-06-01 00:00:00");
  EXPECT_EQ(context.Read("50", "RR"), "1950-06-01 00:00:00");
  EXPECT_EQ(context.Read("99", "RR"), "1999-06-01 00:00:00");
}

TEST(LdxParse, FullYearRetryChangesTheFirstShortYear) {
  DateContext context;
  const auto retry = [&](const char* model, const char* text) {
    const std::string format = context.Compile(model);
    ldxdate date{};
    const std::int32_t result = ldxstdyfr(context.get(), TextData(text), strlen(text),
                                          TextData(format), format.size(), &date);
    return result == 0 ? DateContext::Show(date) : std::to_string(result);
  };
  EXPECT_EQ(retry("DD.MM.YYYY", "01.02.2019"), "-1");
  EXPECT_EQ(retry("DD\"(  )\"YY", "01(  )1850"), "1850-11-01 00:00:00");
  EXPECT_EQ(retry("DD RR", "01 1850"), "1850-11-01 00:00:00");
  EXPECT_EQ(retry("DD RR", "01 18"), "2018-11-01 00:00:00");
  EXPECT_EQ(retry("DD RR", "01 18x"), "1830");
}

TEST(LdxParse, WithoutACallbackTheNumberComesBack) {
  ldxctx ctx;
  ldxbegin(&ctx, nullptr, nullptr, nullptr);
  ldxdate date = MakeDate(1, 1, 1);
  EXPECT_EQ(ldxstd(&ctx, TextData("05-MAR-19"), 9, nullptr, 0, &date), 0u);
  EXPECT_EQ(ldxstd(&ctx, TextData("05-MAX-19"), 9, nullptr, 0, &date), 1843u);
  EXPECT_EQ(date.month, 3);  // untouched
  EXPECT_EQ(ctx.error, 1843u);
}

TEST(LdxParse, WhatIsWrittenIsReadInEveryReadableModel) {
  DateContext context;
  const char* const years[] = {"YYYY AD", "SYYYY", "NYYYY", "SY,YYY", "Y,YYY B.C.", "FMYYYY bc"};
  const char* const days[] = {"MM-DD", "MONTH DD",   "Mon dd", "RM/DD",
                              "DDD",   "DdTH month", "DD FMMM"};
  const char* const times[] = {"HH24:MI:SS", "SSSSS", "HH:MI:SS a.m.", "hh12.mi.ss PM", "HH24MISS"};
  const char* const weekdays[] = {"", "DAY ", "Dy, ", "D ", "J "};
  std::mt19937 random(20190305);
  for (const char* exact : {"", "FX", "FXFM", "FM"}) {
    for (const char* weekday : weekdays) {
      for (const char* year : years) {
        for (const char* day : days) {
          if (strcmp(day, "DDD") == 0 && *weekday == 'J') continue;
          for (const char* time : times) {
            const std::string model =
                std::string(exact) + weekday + year + " " + day + "  \"um\" " + time;
            // Digits side by side need all of them.
            const bool unfilled = model.find("FM") != model.npos;
            if (unfilled && strcmp(time, "HH24MISS") == 0) continue;
            const std::string format = context.Compile(model);
            for (int round = 0; round < 5; ++round) {
              int y = static_cast<int>(random() % 14711) - 4712;
              if (y == 0) y = 9999;
              const ldxdate date =
                  MakeDate(y, static_cast<int>(random() % 12 + 1),
                           static_cast<int>(random() % 28 + 1), static_cast<int>(random() % 24),
                           static_cast<int>(random() % 60), static_cast<int>(random() % 60));
              if (date.year == 1582 && date.month == 10) continue;
              const std::string text = context.Write(date, model);
              ASSERT_EQ(context.ReadCompiled(text, format), DateContext::Show(date))
                  << model << " -> " << text;
            }
          }
        }
      }
    }
  }
}

// The plan of a layout and the walk answer alike, whatever byte is put anywhere.
TEST(LdxParse, PlanAndWalkAgreeOnEveryByte) {
  DateContext context;
  // A blank in front keeps the walk from the plan and does not count.
  const std::string format = context.Compile("YYYY-MM-DD HH24:MI:SS");
  const std::string text = "2019-03-05 19:04:09";
  const auto compare = [&](const std::string& changed) {
    const std::string quick = context.ReadCompiled(changed, format);
    const std::string slow = context.ReadCompiled(" " + changed, format);
    if (quick.find(" at ") == quick.npos || slow.find(" at ") == slow.npos) {
      ASSERT_EQ(quick, slow) << changed;
    } else {
      ASSERT_EQ(quick.substr(0, 4), slow.substr(0, 4)) << changed;
    }
  };
  for (std::size_t at = 0; at < text.size(); ++at) {
    for (int byte = 0; byte < 256; ++byte) {
      std::string changed = text;
      changed[at] = static_cast<char>(byte);
      ASSERT_NO_FATAL_FAILURE(compare(changed));
    }
    ASSERT_NO_FATAL_FAILURE(compare(text.substr(0, at)));
  }
  for (const char* day : {"0001-01-01", "9999-12-31", "1582-10-05", "1582-10-14", "1582-10-15",
                          "1900-02-29", "2000-02-29", "1500-02-29", "2019-04-31", "2019-06-30"}) {
    ASSERT_NO_FATAL_FAILURE(compare(std::string(day) + " 00:00:00"));
  }
}

TEST(LdxParse, ArrayFormDoesTheScalarOne) {
  DateContext context;
  const std::string format = context.Compile("DD.MM.RR");
  const char* const texts[] = {"01.02.19", "3.4.2005", "31.12.99", "32.1.01"};
  const std::uint8_t* inputs[4];
  std::size_t lengths[4];
  ldxdate dates[4];
  ldxdate* outputs[4];
  for (int i = 0; i < 4; ++i) {
    inputs[i] = TextData(texts[i]);
    lengths[i] = strlen(texts[i]);
    outputs[i] = &dates[i];
  }
  std::size_t processed = 0;
  EXPECT_EQ(context.ErrorOf([&] {
    ldxstdarr(context.get(), outputs, inputs, 4, lengths, TextData(format), format.size(), 0,
              &processed);
  }),
            1847u);
  EXPECT_EQ(processed, 3u);
  EXPECT_EQ(DateContext::Show(dates[1]), "2005-04-03 00:00:00");
  EXPECT_EQ(DateContext::Show(dates[2]), "1999-12-31 00:00:00");
}

TEST(LdxZones, NamesAndShifts) {
  DateContext context;
  const auto zone = [&](std::string_view name) {
    return ldxgtz(context.get(), TextData(name), name.size());
  };
  EXPECT_EQ(zone("adt"), 0);
  EXPECT_EQ(zone("GMT"), 8);
  EXPECT_EQ(zone("yst"), 17);
  EXPECT_EQ(ldxgtz(context.get(), TextData("Pst"), 0), 15);
  for (const char* name : {"utc", "gm", "gmtx", "g\xED\xB4"}) {
    EXPECT_EQ(context.ErrorOf([&] { zone(name); }), 1857u) << name;
  }
  ldxdate date = MakeDate(2019, 1, 1, 1, 30);
  ldxatz(context.get(), &date, &date, zone("est"), zone("pst"));
  EXPECT_EQ(DateContext::Show(date), "2018-12-31 22:30:00");
  ldxatz(context.get(), &date, &date, zone("nst"), zone("gmt"));
  EXPECT_EQ(DateContext::Show(date), "2019-01-01 02:00:00");
  date = MakeDate(9999, 12, 31, 23);
  EXPECT_EQ(context.ErrorOf([&] { ldxatz(context.get(), &date, &date, zone("bst"), 8); }), 1841u);
  EXPECT_EQ(context.ErrorOf([&] { ldxatz(context.get(), &date, &date, -1, 18); }), 1857u);
}

}  // namespace
}  // namespace kestra::test
