// Names, formats and sets of the data: every language and territory of the full set, and the small
// set's languages in sets of other kinds.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <random>
#include <sstream>

#include "datetime/ldx_state.h"
#include "datetime/simple_case.h"
#include "kestra/convert.h"
#include "tests/support/date_context.h"
#include "tests/support/hex.h"
#include "tests/support/nls_fixture.h"

namespace kestra::test {
namespace {

ldxdate RandomDate(std::mt19937& random, int first_year, int last_year) {
  for (;;) {
    const ldxdate date = MakeDate(
        first_year + static_cast<int>(random() % static_cast<unsigned>(last_year - first_year + 1)),
        static_cast<int>(random() % 12 + 1), static_cast<int>(random() % 28 + 1),
        static_cast<int>(random() % 24), static_cast<int>(random() % 60),
        static_cast<int>(random() % 60));
    if (date.year != 0 && (date.year != 1582 || date.month != 10)) return date;
  }
}

// How many dates go through each format: KESTRA_LONG_TESTS, else the default.
int Rounds(int by_default) {
  const char* text = std::getenv("KESTRA_LONG_TESTS");
  return text == nullptr ? by_default : std::atoi(text);
}

// What a date keeps in a format: fields that the text does not say come from today.
struct Kept {
  bool date, time, century;
};

void RoundTrip(DateContext& context, const std::string& format, const std::string& what,
               const Kept& kept, int count, std::mt19937& random) {
  for (int round = 0; round < count; ++round) {
    ldxdate date = RandomDate(random, kept.century ? 1 : 1977, kept.century ? 9999 : 2026);
    if (!kept.time) date.hour = date.minute = date.second = 0;
    if (!kept.date) {
      date.year = 2026;
      date.month = 11;
      date.day = 1;
    }
    std::uint8_t text[1024];
    const std::size_t length =
        ldxdts(context.get(), &date, TextData(format), format.size(), text, sizeof text);
    ASSERT_EQ(context.ReadCompiled({reinterpret_cast<char*>(text), length}, format),
              DateContext::Show(date))
        << what << ": " << std::string(reinterpret_cast<char*>(text), length);
  }
}

// A context has room for all names of its language and calendar: none was cut.
void ExpectWholeNames(DateContext& context, const std::string& what) {
  const datetime::State& state = datetime::StateOf(*context.get());
  const auto longest = [](const datetime::NameForms& name) {
    return std::max({name.form[0].length, name.form[1].length, name.form[2].length});
  };
  EXPECT_TRUE(state.names_loaded) << what;
  EXPECT_LE(state.pool_used + datetime::kNameRoom, datetime::kPoolSize) << what;
  for (const datetime::NameForms& name : state.names) {
    EXPECT_LE(longest(name) + 4u, datetime::kNameRoom) << what;
  }
  for (const datetime::NameForms& name : state.calendar_names) {
    EXPECT_LE(longest(name) + 4u, datetime::kNameRoom) << what;
  }
}

std::vector<std::string> NamesOf(std::uint32_t kind, lxcontext* context) {
  std::vector<std::string> names;
  std::uint32_t id = 0;
  for (std::size_t i = 0;; ++i) {
    const char* name = lxhnames(kind, i, &id, context);
    if (name == nullptr) break;
    names.emplace_back(name);
  }
  return names;
}

TEST(LdxFullData, LongDatesOfEveryLanguageAreReadBack) {
  NlsSession session(FullHome());
  std::mt19937 random(1);
  const std::vector<std::string> languages = NamesOf(KES_ITEM_LANGUAGE, session.context());
  ASSERT_GT(languages.size(), 200u);
  for (const std::string& language : languages) {
    lxhandle handle = session.Handle(language + "_AMERICA.AL32UTF8");
    DateContext context(&handle, session.context());
    RoundTrip(context, context.Compile("DL"), language, {true, false, true}, Rounds(60), random);
    // Every name in every form of letters, short ones too, with the words of AM and AD.
    for (const char* model : {"DD MONTH SYYYY HH24:MI:SS", "YYYY mon dd HH:MI:SS pm AD",
                              "FMDy DD Mon YYYY bc HH AM MI SS", "FXDAY, DD month YYYY ad SSSSS"}) {
      RoundTrip(context, context.Compile(model), language + " " + model, {true, true, true},
                Rounds(10), random);
    }
    ExpectWholeNames(context, language);
    for (const char* calendar : {"JAPANESE", "HEBREW", "ETHIOPIC", "INDIAN"}) {
      ASSERT_EQ(
          lxhlmod(&handle, calendar, strlen(calendar), KES_ITEM_CALENDAR, 0, 0, session.context()),
          1);
      DateContext in_calendar(&handle, session.context());
      EXPECT_NE(in_calendar.Write(MakeDate(2019, 3, 5), "DD Month EE"), "");
      ExpectWholeNames(in_calendar, language + " " + calendar);
    }
  }
}

TEST(LdxFullData, FormatsOfEveryTerritoryAreReadBack) {
  NlsSession session(FullHome());
  std::mt19937 random(2);
  const std::vector<std::string> territories = NamesOf(KES_ITEM_TERRITORY, session.context());
  ASSERT_GT(territories.size(), 200u);
  for (const std::string& territory : territories) {
    lxhandle handle = session.Handle("AMERICAN_" + territory + ".AL32UTF8");
    DateContext context(&handle, session.context());
    const std::string standard(context.get()->default_format,
                               context.get()->default_format + context.get()->default_length);
    ASSERT_FALSE(standard.empty()) << territory;
    RoundTrip(context, standard, territory, {true, false, false}, Rounds(60), random);
    RoundTrip(context, context.Compile("DS"), territory + " DS", {true, false, true}, Rounds(60),
              random);
    RoundTrip(context, context.Compile("TS"), territory + " TS", {false, true, true}, Rounds(60),
              random);
    RoundTrip(context, context.Compile("DS TS"), territory + " DS TS", {true, true, true},
              Rounds(20), random);
  }
}

TEST(LdxFullData, LongDatesInTheLanguagesOwnSetsAreReadBack) {
  NlsSession session(FullHome());
  std::mt19937 random(3);
  for (const char* handle_text :
       {"GERMAN_GERMANY.WE8ISO8859P1", "RUSSIAN_RUSSIA.CY8ISO8859P5", "JAPANESE_JAPAN.JA16SHIFTJIS",
        "JAPANESE_JAPAN.JA24EUCJP", "SIMPLIFIED CHINESE_CHINA.ZS32GB18030",
        "SIMPLIFIED CHINESE_CHINA.ZS16GBK", "KOREAN.KO16CP949", "GERMAN_GERMANY.WE8IBM500",
        "RUSSIAN_RUSSIA.CY8IBM1025", "JAPANESE_JAPAN.JA16IBM930", "GREEK_GREECE.GR8ISO8859P7",
        "TURKISH_TURKEY.TR8CP1254", "THAI_THAILAND.TH8TIS620", "RUSSIAN_RUSSIA.AL16UTF16",
        "JAPANESE_JAPAN.UTF8", "GERMAN_GERMANY.AL32UTFEBCDIC"}) {
    lxhandle handle;
    if (lxhLaToId(handle_text, strlen(handle_text), &handle, 2, session.context()) == nullptr) {
      ADD_FAILURE() << handle_text;
      continue;
    }
    DateContext context(&handle, session.context());
    std::string model = "DL MONTH mon DY HH:MI AM";
    const std::uint8_t* bytes = TextData(model);
    std::uint8_t converted[128];
    const std::size_t length =
        lxgcnv(converted, lxhcsobj(&handle, session.context()), sizeof converted, bytes,
               lxpcobj(1, session.context()), model.size(), session.context());
    const std::string format =
        context.CompileForOutput(std::string_view(reinterpret_cast<char*>(converted), length));
    const std::size_t dl = 2;
    const std::string readable = context.Compile(std::string_view(
        reinterpret_cast<char*>(converted), (handle.flags & KES_CHARSET_UTF16) != 0 ? 2 * dl : dl));
    RoundTrip(context, readable, handle_text, {true, false, true}, Rounds(60), random);
    ExpectWholeNames(context, handle_text);
    std::uint8_t out[1024];
    const ldxdate date = MakeDate(2019, 3, 5, 19, 4);
    EXPECT_GT(ldxdts(context.get(), &date, TextData(format), format.size(), out, sizeof out), 30u);
  }
}

// The rows of letters against the Unicode data that the small set is made from.
TEST(LdxLetters, AgreeWithUnicodeData) {
  std::ifstream file(KESTRA_SOURCE_DIR
                     "/tests/data/nlsc/sources/usr/share/unicode/UnicodeData.txt");
  ASSERT_TRUE(file);
  std::string line;
  int checked = 0;
  while (std::getline(file, line)) {
    std::vector<std::string> fields;
    std::stringstream stream(line);
    for (std::string field; std::getline(stream, field, ';');) fields.push_back(field);
    fields.resize(15);
    const auto code = static_cast<std::uint32_t>(std::stoul(fields[0], nullptr, 16));
    const bool polytonic = code >= 0x1F00 && code <= 0x1FFF;
    if (fields[2] == "Lu" && !fields[13].empty() && code < 0x500 && code != 0x3F4) {
      EXPECT_EQ(datetime::ToLowerLetter(code, false), std::stoul(fields[13], nullptr, 16)) << line;
      ++checked;
    }
    const bool capital_of_another = code == 0xB5 || code == 0x17F || code == 0x345;
    if (fields[2] == "Ll" && !fields[12].empty() && code < 0x500 && !polytonic &&
        !capital_of_another && (code < 0x3D0 || code > 0x3F5)) {
      EXPECT_EQ(datetime::ToUpperLetter(code, false), std::stoul(fields[12], nullptr, 16)) << line;
      ++checked;
    }
  }
  EXPECT_GT(checked, 200);
  EXPECT_EQ(datetime::ToUpperLetter('i', true), 0x130u);
  EXPECT_EQ(datetime::ToLowerLetter('I', true), 0x131u);
}

TEST(LdxSets, EbcdicModelsAndTexts) {
  NlsSession session;
  lxhandle handle = session.Handle("GERMAN_GERMANY.WE8IBM1047");
  DateContext context(&handle, session.context());
  // "FMDay, DD. Month YYYY" and "dd.mm.yyyy"
  const std::vector<std::uint8_t> model =
      Bytes("C6 D4 C4 81 A8 6B 40 C4 C4 4B 40 D4 96 95 A3 88 40 E8 E8 E8 E8");
  const std::vector<std::uint8_t> digits = Bytes("84 84 4B 94 94 4B A8 A8 A8 A8");
  const auto as_text = [](const std::vector<std::uint8_t>& bytes) {
    return std::string(bytes.begin(), bytes.end());
  };
  const ldxdate date = MakeDate(2019, 3, 5);
  // Dienstag, 5. Maerz 2019
  const std::string text = context.Write(date, as_text(model));
  EXPECT_EQ(Hex(TextData(text), text.size()),
            "C4 89 85 95 A2 A3 81 87 6B 40 F5 4B 40 D4 43 99 A9 40 F2 F0 F1 F9");
  EXPECT_EQ(context.Read(text, as_text(model)), "2019-03-05 00:00:00");
  const std::string plain = context.Write(date, as_text(digits));
  EXPECT_EQ(Hex(TextData(plain), plain.size()), "F0 F5 4B F0 F3 4B F2 F0 F1 F9");
  EXPECT_EQ(context.Read(plain, as_text(digits)), "2019-03-05 00:00:00");
}

TEST(LdxSets, TwoByteUnits) {
  NlsSession session;
  const std::u16string model = u"FMDay, DD \"\u0434\u0435\" Month YYYY";
  for (const char* name : {"RUSSIAN_RUSSIA.AL16UTF16", "RUSSIAN_RUSSIA.AL16UTF16LE"}) {
    lxhandle handle = session.Handle(name);
    const bool little = handle.charset_id == 2002;
    DateContext context(&handle, session.context());
    const auto bytes_of = [little](const std::u16string& text) {
      std::string bytes;
      for (const char16_t unit : text) {
        const char high = static_cast<char>(unit >> 8), low = static_cast<char>(unit);
        bytes += little ? low : high;
        bytes += little ? high : low;
      }
      return bytes;
    };
    const std::u16string wanted =
        u"\u0412\u0442\u043E\u0440\u043D\u0438\u043A, 5 \u0434\u0435 "
        u"\u041C\u0430\u0440\u0442\u0430 2019";
    const std::string text = context.Write(MakeDate(2019, 3, 5), bytes_of(model));
    EXPECT_EQ(Hex(TextData(text), text.size()), Hex(TextData(bytes_of(wanted)), 2 * wanted.size()));
    EXPECT_EQ(context.Read(text, bytes_of(model)), "2019-03-05 00:00:00");
    EXPECT_EQ(context.ErrorOf([&] { context.Compile(std::string(4, '\0')); }), 1820u);
    EXPECT_EQ(context.ErrorOf([&] { context.Compile(bytes_of(u"DD \u0434")); }), 1821u);
    EXPECT_EQ(context.get()->error_offset, 6u);
    // Format errors tell where in the format, whatever the text.
    EXPECT_EQ(context.Read(bytes_of(u"10"), bytes_of(u"DD Q")), "1820 at 5");
    // Literals of every length about the limit, and of more than a window of units.
    for (const std::size_t length : {208u, 209u, 210u, 253u, 254u, 255u, 256u, 1000u}) {
      const std::u16string quoted = u"\"" + std::u16string(length, u'x');
      const std::uint32_t expected = length <= 209 ? 0u : 1800u;
      EXPECT_EQ(context.ErrorOf([&] { context.Compile(bytes_of(quoted + u"\" DD")); }), expected)
          << length;
      EXPECT_EQ(context.ErrorOf([&] { context.Compile(bytes_of(quoted)); }), 1821u) << length;
    }
  }
  // UTF-16 beside a handle in another set.
  lxhandle handle = session.Handle("GERMAN_GERMANY.WE8ISO8859P1");
  DateContext context(&handle, session.context());
  const std::string format = context.Compile("FMMonth DD");
  const ldxdate date = MakeDate(2019, 3, 5);
  char16_t units[32];
  const std::size_t count = ldxdtsu(context.get(), &date, TextData(format), format.size(),
                                    reinterpret_cast<std::uint16_t*>(units), 32);
  EXPECT_EQ(std::u16string(units, count), u"M\u00E4rz 5");
  ldxdate back{};
  ldxstdu(context.get(), reinterpret_cast<std::uint16_t*>(units), count, TextData(format),
          format.size(), &back);
  EXPECT_EQ(back.month, 3);
  EXPECT_EQ(back.day, 5);
}

TEST(LdxContext, FollowsItsHandle) {
  NlsSession session;
  lxhandle handle = session.Handle("AMERICAN_AMERICA.AL32UTF8");
  DateContext context(&handle, session.context());
  const ldxdate date = MakeDate(2019, 3, 5);
  EXPECT_EQ(context.Write(date, "Month"), "March    ");
  EXPECT_EQ(context.get()->first_weekday, 0);
  ASSERT_EQ(lxhlmod(&handle, "GERMAN", 6, KES_ITEM_DATE_LANGUAGE, 0, 0, session.context()), 1);
  ASSERT_EQ(lxhlmod(&handle, "DD.MM.YYYY", 10, KES_ITEM_DATE_FORMAT, 0, 0, session.context()), 1);
  ldxrdf(context.get());
  EXPECT_EQ(context.Write(date, "Month"), "M\xC3\xA4rz     ");
  std::uint8_t out[32];
  EXPECT_EQ(ldxdts(context.get(), &date, nullptr, 0, out, sizeof out), 10u);
  EXPECT_EQ(std::string(out, out + 10), "05.03.2019");
  // A default format that cannot be compiled: the error, and a context for other formats.
  ASSERT_EQ(lxhlmod(&handle, "DD.XX", 5, KES_ITEM_DATE_FORMAT, 0, 0, session.context()), 1);
  EXPECT_EQ(context.ErrorOf([&] { ldxrdf(context.get()); }), 1821u);
  EXPECT_EQ(context.ErrorOf([&] { ldxdts(context.get(), &date, nullptr, 0, out, sizeof out); }),
            600u);
  EXPECT_EQ(context.Write(date, "Mon"), "M\xC3\xA4rz ");
  // 60 bytes fit, and what does not is not cut.
  const std::string longest = "\"" + std::string(45, 'x') + "\"";
  for (const auto& [text, number] :
       {std::pair{longest, 0u}, std::pair{longest + "DD", 1801u},
        std::pair{std::string(61, '-'), 600u}, std::pair{std::string(60, '-'), 1800u}}) {
    lxhlmod(&handle, text.data(), text.size(), KES_ITEM_DATE_FORMAT, 0, 0, session.context());
    EXPECT_EQ(context.ErrorOf([&] { ldxrdf(context.get()); }), number) << text;
  }
}

TEST(LdxContext, SharesTheProcessAreaUntilItEnds) {
  NlsEnvironment environment;
  ForgetProcessState();
  std::uint32_t error = 0;
  lxcontext nls;
  ASSERT_NE(lxinitc(&nls, lxlinit(nullptr, 1, &error), nullptr, 0), nullptr);
  lxhandle handle;
  ASSERT_NE(lxhLaToId("GERMAN_GERMANY", 14, &handle, 2, &nls), nullptr);
  ldxctx ctx;
  ldxbegin(&ctx, &handle, ThrowDateError, nullptr);
  EXPECT_NE(ctx.flags & KES_DATE_OWN_NLS, 0u);
  EXPECT_THROW(ldxerr(&ctx, 1841), DateError);
  EXPECT_EQ(ctx.flags & KES_DATE_OWN_NLS, 0u);
  EXPECT_EQ(ctx.error, 1841u);
  std::uint8_t format[8];
  EXPECT_EQ(ldxsti(&ctx, TextData("MON"), 3, format, sizeof format), 2u);
  ldxend(&ctx);
  EXPECT_EQ(lxlterm(&nls), 0);
  EXPECT_EQ(lxlterm(&nls), 1);
}

TEST(LdxContext, OptionsAndUnusualHandles) {
  NlsSession session;
  lxhandle handle = session.Handle("AMERICAN_AMERICA.AL32UTF8");
  lxhlmod(&handle, "DD.XX", 5, KES_ITEM_DATE_FORMAT, 0, 0, session.context());
  ldxctx ctx;
  EXPECT_THROW(ldxcbeg(&ctx, &handle, session.context(), ThrowDateError, nullptr), DateError);
  EXPECT_NO_THROW(
      ldxnbeg(&ctx, &handle, session.context(), ThrowDateError, nullptr, KES_DATE_NO_DEFAULT));
  EXPECT_EQ(ctx.default_length, 0u);
  // A handle that asks for no pre-pass: NUL in front has its own error.
  handle.flags |= 1u << 16;
  ldxnbeg(&ctx, &handle, session.context(), nullptr, nullptr, KES_DATE_NO_DEFAULT);
  std::uint8_t out[64];
  ldxsti(&ctx, TextData(std::string_view("\0D", 2)), 2, out, sizeof out);
  EXPECT_EQ(ctx.error, 1820u);
  // Null texts of no length.
  EXPECT_EQ(ldxsti(&ctx, nullptr, 0, out, 0), 0u);
  const std::size_t empty_literal = ldxsti(&ctx, TextData("\"\""), 2, out, sizeof out);
  ldxdate date{};
  EXPECT_EQ(ldxstd(&ctx, nullptr, 0, out, empty_literal, &date), 0u);
  EXPECT_EQ(date.day, 1);
}

TEST(LdxSets, UnitsAreScannedItemByItem) {
  DateContext context;
  const std::u16string model = u"FMDD \"de\" Month";
  const auto* text = reinterpret_cast<const std::uint8_t*>(model.data());
  std::size_t remaining = 2 * model.size();
  std::uint8_t bytes[64];
  std::uint8_t* out = bytes;
  std::size_t space = sizeof bytes;
  ldxscan state{};
  std::size_t items = 0;
  while (ldxsnfcom(context.get(), &text, &remaining, &out, &space, &state) != 0) ++items;
  EXPECT_EQ(items, 6u);
  EXPECT_EQ(remaining, 0u);
  EXPECT_EQ(std::string(bytes, out), context.Compile("FMDD \"de\" Month"));
  // What ASCII has not is refused inside of quotes too.
  const std::u16string foreign = u"\"d\u00E9\"";
  text = reinterpret_cast<const std::uint8_t*>(foreign.data());
  remaining = 2 * foreign.size();
  EXPECT_EQ(
      context.ErrorOf([&] { ldxsnfcom(context.get(), &text, &remaining, &out, &space, &state); }),
      1821u);
  EXPECT_EQ(context.get()->error_offset, 4u);
}

struct CalendarCase {
  const char* handle;
  const char* calendar;
  ldxdate date;
  const char* model;
  const char* text;
};
TEST(LdxCalendars, WrittenAndReadBack) {
  NlsSession session(FullHome());
  const CalendarCase cases[] = {
      {"AMERICAN_AMERICA.AL32UTF8", "JAPANESE", MakeDate(2019, 5, 1), "Ee YY-MM-DD",
       "Reiwa  01-05-01"},
      {"AMERICAN_AMERICA.AL32UTF8", "JAPANESE", MakeDate(2019, 4, 30), "FMEe YY-MM-DD",
       "Heisei 31-4-30"},
      {"AMERICAN_AMERICA.AL32UTF8", "BUDDHIST", MakeDate(2019, 4, 30), "YYYY Month",
       "2562 April    "},
      {"AMERICAN_AMERICA.AL32UTF8", "ROC", MakeDate(2019, 4, 30), "YYYY-MM-DD", "0108-04-30"},
      {"AMERICAN_AMERICA.AL32UTF8", "HEBREW", MakeDate(2019, 4, 30), "FMDD Month YYYY DDD",
       "25 Nisan 5779 233"},
      {"AMERICAN_AMERICA.AL32UTF8", "HEBREW", MakeDate(9999, 12, 31), "Year",
       "Thirteen Thousand Seven Hundred Sixty"},
      {"AMERICAN_AMERICA.AL32UTF8", "PERSIAN", MakeDate(2019, 4, 30), "FMDD Month YYYY",
       "10 Ordibehesht 1398"},
  };
  for (const CalendarCase& c : cases) {
    lxhandle handle = session.Handle(c.handle);
    ASSERT_EQ(lxhlmod(&handle, c.calendar, strlen(c.calendar), KES_ITEM_CALENDAR, 0, 0,
                      session.context()),
              1);
    DateContext context(&handle, session.context());
    EXPECT_EQ(context.Write(c.date, c.model), c.text) << c.calendar;
  }
  std::mt19937 random(5);
  for (const char* calendar : {"JAPANESE", "ROC", "BUDDHIST", "PERSIAN", "ISLAMIC CIVIL", "HEBREW",
                               "COPTIC", "ETHIOPIC", "INDIAN"}) {
    for (const char* language : {"AMERICAN", "JAPANESE", "ARABIC", "GERMAN"}) {
      lxhandle handle = session.Handle(std::string(language) + "_AMERICA.AL32UTF8");
      ASSERT_EQ(
          lxhlmod(&handle, calendar, strlen(calendar), KES_ITEM_CALENDAR, 0, 0, session.context()),
          1);
      DateContext context(&handle, session.context());
      for (const char* model :
           {"EE YYYY MM DD HH24:MI:SS", "E YYYY Month DD SSSSS", "DD MON EE YYYY HH:MI:SS AM",
            "J EE YYYY RM HH24MISS", "EE YYYY DDD HH24:MI:SS"}) {
        const std::string format = context.Compile(model);
        for (int round = 0; round < 30; ++round) {
          const ldxdate date = RandomDate(random, 1950, 2500);
          const std::string text = context.Write(date, model);
          ASSERT_EQ(context.ReadCompiled(text, format), DateContext::Show(date))
              << calendar << ' ' << language << ' ' << model << " -> " << text;
        }
      }
    }
  }
}

}  // namespace
}  // namespace kestra::test
