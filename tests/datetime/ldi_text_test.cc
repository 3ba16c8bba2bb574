// Datetimes as text: models, literals and ISO 8601.
#include <gtest/gtest.h>

#include <vector>

#include "kestra/datetime_arithmetic.h"
#include "kestra/datetime_text.h"
#include "kestra/datetime_zone.h"
#include "tests/support/datetime_values.h"
#include "tests/support/nls_fixture.h"
#include "tests/support/zone_fixture.h"

namespace kestra::test {
namespace {

const std::uint8_t* Bytes(std::string_view text) {
  return reinterpret_cast<const std::uint8_t*>(text.data());
}

class LdiText : public testing::Test {
 protected:
  LdiText() : zones_(TestHome(), ZoneAccess::kIndexedNative) {
    LdiSessionInit(&session_, zones_.file());
    LdiParseContextInit(&ctx_, nullptr, nullptr, &session_);
    ctx_.date.today = {2026, 5, 1, 0, 0, 0, 0};
  }
  ~LdiText() override { LdiParseContextTerm(&ctx_); }

  std::uint32_t Compile(std::string_view model, bool output = false) {
    format_.resize(256);
    std::size_t length = 0;
    const std::uint32_t error = (output ? LdiParseForOutput : LdiParseForInput)(
        format_.data(), format_.size(), &length, Bytes(model), model.size(), &ctx_);
    format_.resize(error == 0 ? length : 0);
    return error;
  }
  std::string Write(const LdiDate& date, std::string_view model, std::uint32_t precision = 9) {
    if (const std::uint32_t error = Compile(model, true)) return "!" + std::to_string(error);
    std::uint8_t text[256];
    std::size_t length = 0;
    const std::uint32_t error = LdiDateToString(text, sizeof text, &length, &date, format_.data(),
                                                format_.size(), precision, &ctx_);
    if (error != 0) return "!" + std::to_string(error);
    std::uint16_t wide[256];
    std::size_t units = 0;
    EXPECT_EQ(LdiDateToStringU(wide, 256, &units, &date, format_.data(), format_.size(), precision,
                               &ctx_),
              0u);
    EXPECT_EQ(std::string(wide, wide + units), std::string(text, text + length));
    std::size_t most = 0;
    EXPECT_EQ(LdiMaxSize(&most, format_.data(), format_.size(), &ctx_), 0u);
    EXPECT_LE(length, most);
    for (std::size_t room = 0; room < length; ++room) {
      std::size_t cut = 0;
      EXPECT_EQ(LdiDateToString(text, room, &cut, &date, format_.data(), format_.size(), precision,
                                &ctx_),
                1877u);
    }
    return std::string(text, text + length);
  }
  std::string Read(std::string_view text, std::string_view model, std::uint32_t type,
                   std::uint32_t precision = 9) {
    if (const std::uint32_t error = Compile(model)) return "!" + std::to_string(error);
    LdiDate date{};
    const std::uint32_t error = LdiDateFromString(&date, Bytes(text), text.size(), format_.data(),
                                                  format_.size(), type, precision, &ctx_);
    const std::u16string wide(text.begin(), text.end());
    LdiDate other{};
    EXPECT_EQ(
        LdiDateFromStringU(&other, reinterpret_cast<const std::uint16_t*>(wide.data()), wide.size(),
                           format_.data(), format_.size(), type, precision, &ctx_),
        error);
    if (error != 0) return "!" + std::to_string(error);
    EXPECT_EQ(Show(date), Show(other));
    EXPECT_EQ(LdiDateCheck(&date), 0u);
    date.region = 0;
    return Show(date);
  }
  LdiDate In(std::string_view region, std::string_view local) const {
    const LdiDate d = Datetime(local);
    LdiDate out{};
    EXPECT_EQ(LdiDateConstruct(&out, d.year, d.month, d.day, d.hour, d.minute, d.second, d.fraction,
                               9, KES_DATETIME_TIMESTAMP_TZ, 0, 0, Bytes(region), region.size(),
                               zones_.file()),
              0u);
    return out;
  }

  LoadedZones zones_;
  LdiSession session_;
  LdiParseContext ctx_;
  std::vector<std::uint8_t> format_;
};

TEST_F(LdiText, WritesTheElementsOfDatetimes) {
  const LdiDate stamp = Datetime("2024-02-29 13:45:06.123456789");
  EXPECT_EQ(Write(stamp, "YYYY-MM-DD HH24:MI:SS.FF"), "2024-02-29 13:45:06.123456789");
  EXPECT_EQ(Write(stamp, "YYYY-MM-DD HH24:MI:SS.FF", 3), "2024-02-29 13:45:06.123");
  EXPECT_EQ(Write(stamp, "YYYY-MM-DD HH24:MI:SS.FF", 0), "2024-02-29 13:45:06.");
  EXPECT_EQ(Write(stamp, "YYYY-MM-DD HH24:MI:SSXFF6"), "2024-02-29 13:45:06.123456");
  EXPECT_EQ(Write(stamp, "FF1FF2FF3FF9"), "112123123456789");
  EXPECT_EQ(Write(stamp, "HH25"), "13");
  EXPECT_EQ(Write(stamp, "Day, DD Month YYYY FF2 AM"), "Thursday , 29 February  2024 12 PM");
  EXPECT_EQ(Write(stamp, "TZH"), "!1878");
  EXPECT_EQ(Write(Datetime("2024-02-29"), "FF"), "!1878");
  EXPECT_EQ(Write(Datetime("10:00:00"), "YYYY"), "!1878");
  EXPECT_EQ(Write(Datetime("10:00:00.25"), "HH12:MI:SS.FF2 PM"), "10:00:00.25 AM");
  const LdiDate west = Datetime("2024-02-29 13:45:06 -00:30");
  EXPECT_EQ(Write(west, "DD TZH:TZM"), "29 -00:30");
  EXPECT_EQ(Write(west, "TZR TZD."), "-00:30 .");
  EXPECT_EQ(Write(In("America/New_York", "2026-07-01 12:00:00"), "HH24 TZR TZD TZH:TZM"),
            "12 America/New_York EDT -04:00");
}

TEST_F(LdiText, ReadsTheElementsOfDatetimes) {
  constexpr std::uint32_t kStamp = KES_DATETIME_TIMESTAMP;
  constexpr std::uint32_t kZoned = KES_DATETIME_TIMESTAMP_TZ;
  struct Case {
    const char* text;
    const char* model;
    std::uint32_t type;
    const char* result;
  };
  constexpr Case kCases[] = {
      {"2024-02-29 13:45:06.5", "YYYY-MM-DD HH24:MI:SS.FF", kStamp,
       "2024-02-29 13:45:06.500000000"},
      {"2024-02-29 13:45:06,5", "YYYY-MM-DD HH24:MI:SSXFF", kStamp,
       "2024-02-29 13:45:06.500000000"},
      {"2024-02-29 24:00:00", "YYYY-MM-DD HH25:MI:SS", kStamp, "2024-03-01 00:00:00.000000000"},
      {"2024-02-29 24:00:01", "YYYY-MM-DD HH25:MI:SS", kStamp, "!1879"},
      {"2024-02-29 25:00:00", "YYYY-MM-DD HH25:MI:SS", kStamp, "!1879"},
      {"2024-02-29 24 0", "YYYY-MM-DD HH25 SSSSS", kStamp, "2024-03-01 00:00:00.000000000"},
      {"2024-02-29 13 46801", "YYYY-MM-DD HH25 SSSSS", kStamp, "2024-02-29 13:00:01.000000000"},
      {"2024-02-29 13 43200", "YYYY-MM-DD HH25 SSSSS", kStamp, "!1836"},
      {"123456", "FF3", kStamp, "!1830"},
      {"12", "FXFF3", kStamp, "!1862"},
      {"", "FF3", kStamp, "!1840"},
      {"x", "FF3", kStamp, "!1858"},
      {"2024-02-29 -05:30", "YYYY-MM-DD TZH:TZM", kZoned, "2024-02-29 00:00:00.000000000 -05:30"},
      {"2024-02-29 -0:30", "YYYY-MM-DD TZH:TZM", kZoned, "2024-02-29 00:00:00.000000000 -00:30"},
      {"2024-02-29 -05 -30", "YYYY-MM-DD TZH TZM", kZoned, "2024-02-29 00:00:00.000000000 -05:30"},
      {"2024-02-29 30 -05", "YYYY-MM-DD TZM TZH", kZoned, "2024-02-29 00:00:00.000000000 -05:30"},
      {"2024-02-29 +05:-30", "YYYY-MM-DD TZH:TZM", kZoned, "!1875"},
      {"2024-02-29 05:-30", "YYYY-MM-DD TZH:TZM", kZoned, "!1875"},
      {"2024-02-29 -05:+30", "YYYY-MM-DD TZH:TZM", kZoned, "!1875"},
      {"2024-02-29 +05:-30", "YYYY-MM-DD TZR", kZoned, "!1875"},
      {"2024-02-29 -05:30 -05:30", "YYYY-MM-DD TZR TZH:TZM", kZoned,
       "2024-02-29 00:00:00.000000000 -05:30"},
      {"2024-02-29 -05:30 +05:30", "YYYY-MM-DD TZR TZH:TZM", kZoned, "!1875"},
      {"2024-02-29 -05:30 -03:30", "YYYY-MM-DD TZR TZH:TZM", kZoned, "!1882"},
      {"2024-02-29 -05:30 -05:45", "YYYY-MM-DD TZH:TZM TZR", kZoned, "!1882"},
      {"2024-02-29 +16:00", "YYYY-MM-DD TZH:TZM", kZoned, "!1874"},
      {"2024-02-29 +15:60", "YYYY-MM-DD TZH:TZM", kZoned, "!1875"},
      {"2024-02-29 +15:01", "YYYY-MM-DD TZH:TZM", kZoned, "!1875"},
      {"2024-02-29 +05:45", "YYYY-MM-DD TZR", kZoned, "2024-02-29 00:00:00.000000000 +05:45"},
      {"2026-07-01 12 Europe/Berlin", "YYYY-MM-DD HH24 TZR", kZoned,
       "2026-07-01 12:00:00.000000000 +02:00"},
      {"2026-03-29 02 europe/berlin", "YYYY-MM-DD HH24 TZR", kZoned,
       "2026-03-29 03:00:00.000000000 +02:00"},
      {"2026-07-01 Europe/Atlantis", "YYYY-MM-DD TZR", kZoned, "!1882"},
      {"2026-11-01 01:30 America/New_York EDT", "YYYY-MM-DD HH24:MI TZR TZD", kZoned,
       "2026-11-01 01:30:00.000000000 -04:00"},
      {"2026-11-01 01:30 America/New_York EST", "YYYY-MM-DD HH24:MI TZR TZD", kZoned,
       "2026-11-01 01:30:00.000000000 -05:00"},
      {"2026-11-01 01:30 America/New_York PST", "YYYY-MM-DD HH24:MI TZR TZD", kZoned, "!1857"},
      {"2026-07-01 01:30 America/New_York EST", "YYYY-MM-DD HH24:MI TZR TZD", kZoned, "!1857"},
      {"2026-07-01 01:30 -04:00 America/New_York", "YYYY-MM-DD HH24:MI TZH:TZM TZR", kZoned,
       "2026-07-01 01:30:00.000000000 -04:00"},
      {"2026-07-01 01:30 -05:00 America/New_York", "YYYY-MM-DD HH24:MI TZH:TZM TZR", kZoned,
       "!1882"},
      {"2026-07-01", "YYYY-MM-DD TZH", KES_DATETIME_TIMESTAMP_TZ, "!1840"},
      {"2026-07-01", "YYYY-MM-DD", kZoned, "2026-07-01 00:00:00.000000000 +00:00"},
      {"+02:00", "TZH:TZM", kStamp, "!1878"},
      {"10:11:12.9 +02:00", "HH24:MI:SS.FF TZH:TZM", KES_DATETIME_TIME_TZ,
       "10:11:12.900000000 +02:00"},
      {"2024", "YYYY", KES_DATETIME_TIME, "!1878"},
  };
  for (const Case& c : kCases)
    EXPECT_EQ(Read(c.text, c.model, c.type), c.result) << c.text << " | " << c.model;
  EXPECT_EQ(Read("2024-12-31 23:59:59.96", "YYYY-MM-DD HH24:MI:SS.FF", kStamp, 1),
            "2025-01-01 00:00:00.000000000");
}

TEST_F(LdiText, ModelsExcludeAndUnparse) {
  struct Case {
    const char* model;
    std::uint32_t error;
  };
  constexpr Case kErrors[] = {
      {"FF FF", 1810},     {"FF3 FF4", 1810}, {"TZH TZH", 1810}, {"HH25 HH24", 1813},
      {"HH25 HH12", 1813}, {"HH25 AM", 1818}, {"YYYY YY", 1812}, {"TZQ", 1821},
      {"FF0", 1821},       {"Q", 1820},       {"NYYYY", 0},      {"HH24:MI:SSXFF TZR TZD", 0}};
  for (const Case& c : kErrors) EXPECT_EQ(Compile(c.model), c.error) << c.model;
  EXPECT_EQ(Compile("FF FF3 TZH TZH Q", true), 0u);
  for (const char* model : {"YYYY-MM-DD\"T\"HH24:MI:SSXFF6TZH:TZM", "Day FMDDth Month",
                            "HH25 TZR TZD NYYYY", "FF1FF9FF", "Mon MON mon DSPTH"}) {
    ASSERT_EQ(Compile(model, true), 0u) << model;
    const std::vector<std::uint8_t> format = format_;
    std::uint8_t text[256];
    std::size_t length = 0;
    ASSERT_EQ(LdiUnparse(text, sizeof text, &length, format.data(), format.size(), &ctx_), 0u);
    const std::string back(text, text + length);
    ASSERT_EQ(Compile(back, true), 0u) << back;
    EXPECT_EQ(format_, format) << model << " | " << back;
    const std::u16string wide(back.begin(), back.end());
    std::uint8_t out[256];
    ASSERT_EQ(
        LdiParseForOutputU(out, sizeof out, &length,
                           reinterpret_cast<const std::uint16_t*>(wide.data()), wide.size(), &ctx_),
        0u);
    EXPECT_EQ(std::vector<std::uint8_t>(out, out + length), format);
  }
  ASSERT_EQ(Compile("YYYY\"x\"TZR"), 0u);
  std::size_t offset = 0;
  LdiFormatItem item;
  std::vector<std::uint32_t> codes;
  do {
    ASSERT_EQ(LdiGetFormatItem(&item, format_.data(), format_.size(), &offset), 0u);
    codes.push_back(item.code);
  } while (item.code != 0);
  EXPECT_EQ(codes, (std::vector<std::uint32_t>{KES_DATE_YYYY, KES_DATETIME_LITERAL_ITEM,
                                               KES_DATETIME_TZR, 0}));
  std::uint8_t out[64];
  std::size_t length = 0;
  EXPECT_EQ(LdiParseForInputType(out, sizeof out, &length, Bytes("YYYY TZH"), 8,
                                 KES_DATETIME_TIMESTAMP, &ctx_),
            1878u);
}

TEST_F(LdiText, AContextBroughtUpToDateKeepsItsElements) {
  ldxrdf(&ctx_.date);
  EXPECT_EQ(Write(Datetime("10:00:00.25"), "SSXFF2"), "00.25");
}

TEST_F(LdiText, LiteralsAndIso8601) {
  struct Case {
    const char* text;
    std::uint32_t type;
    const char* result;
    const char* literal;
  };
  constexpr Case kCases[] = {
      {"DATE '2024-02-29'", 0, "2024-02-29 00:00:00", "DATE '2024-02-29'"},
      {"date'-4712-1-1'", 0, "-4712-01-01 00:00:00", "DATE '-4712-01-01'"},
      {"TIMESTAMP '2024-02-29 10:00:00.5'", 0, "2024-02-29 10:00:00.500000000",
       "TIMESTAMP '2024-02-29 10:00:00.500000000'"},
      {"TIMESTAMP '2024-02-29 10:00:00 +02:00'", 0, "2024-02-29 10:00:00.000000000 +02:00",
       "TIMESTAMP '2024-02-29 10:00:00.000000000 +02:00'"},
      {"TIMESTAMP '2026-07-01 10:00:00 Europe/Berlin'", 0, "2026-07-01 10:00:00.000000000 +02:00",
       "TIMESTAMP '2026-07-01 10:00:00.000000000 Europe/Berlin'"},
      {"TIME '10:00:00 -9:30'", 0, "10:00:00.000000000 -09:30", "TIME '10:00:00.000000000 -09:30'"},
      {"2024-02-29T10:00:00.25Z", 0, "2024-02-29 10:00:00.250000000 +00:00",
       "TIMESTAMP '2024-02-29 10:00:00.250000000 +00:00'"},
      {"20240229T101112+0530", 0, "2024-02-29 10:11:12.000000000 +05:30",
       "TIMESTAMP '2024-02-29 10:11:12.000000000 +05:30'"},
      {"2024-02-29 10:11", KES_DATETIME_DATE, "2024-02-29 10:11:00",
       "TIMESTAMP '2024-02-29 10:11:00'"},
      {"10:11:12", 0, "10:11:12.000000000", "TIME '10:11:12.000000000'"},
      {"T101112", 0, "10:11:12.000000000", "TIME '10:11:12.000000000'"},
      {"2024-05", 0, "!1861", ""},
      {"202405", 0, "!1861", ""},
      {"2024-02-30", 0, "!1847", ""},
      {"2024-13-01", 0, "!1843", ""},
      {"99999-01-01", 0, "!1841", ""},
      {"DATE '2024-02-29 10:00:00'", 0, "!1861", ""},
      {"DATE '2024-02-29", 0, "!1861", ""},
      {"DATE '2024-02-29' x", 0, "!1830", ""},
      {"TIMESTAMP '2024-02-29'", 0, "!1861", ""},
      {"TIME '2024-02-29 10:00:00'", 0, "!1861", ""},
      {"2024-02-29x", 0, "!1830", ""},
      {"2024-02-29T", 0, "!1861", ""},
      {"2024-02-29 10:00:00 +15:01", 0, "!1875", ""},
      {"2024-02-29 10:00:00.0000000001", 0, "!1880", ""},
      {"2024-02-29 10:00:00 Europe/Atlantis", 0, "!1882", ""},
      {"", 0, "!1861", ""},
      {"hello", 0, "!1861", ""},
      {"2024-02-29", 6, "!1866", ""},
  };
  for (const Case& c : kCases) {
    const std::string text(c.text);
    LdiDate date{};
    const std::uint32_t error =
        LdiDateFromLiteral(&date, Bytes(text), text.size(), c.type, &session_, nullptr);
    LdiDate plain = date;
    plain.region = 0;
    ASSERT_EQ(error != 0 ? "!" + std::to_string(error) : Show(plain), c.result) << text;
    const std::u16string wide(text.begin(), text.end());
    LdiDate other{};
    EXPECT_EQ(LdiDateFromLiteralU(&other, reinterpret_cast<const std::uint16_t*>(wide.data()),
                                  wide.size(), c.type, &session_),
              error);
    if (error != 0) continue;
    std::uint8_t out[96];
    std::size_t length = 0;
    ASSERT_EQ(LdiDateToLiteral(out, sizeof out, &length, &date, 9, &session_, nullptr), 0u);
    EXPECT_EQ(std::string(out, out + length), c.literal);
    EXPECT_EQ(LdiDateToLiteral(out, length - 1, &length, &date, 9, &session_, nullptr), 1877u);
  }
}

TEST_F(LdiText, TextsComeBack) {
  DatetimeSource source(9);
  const std::size_t count = LawCount(50'000);
  const auto compile = [&](const char* model) {
    EXPECT_EQ(Compile(model), 0u) << model;
    return format_;
  };
  const std::vector<std::uint8_t> formats[8] = {{},
                                                compile("SYYYY-MM-DD HH24:MI:SS"),
                                                compile("HH24:MI:SSXFF"),
                                                compile("SYYYY-DDD SSSSSXFF9"),
                                                compile("HH:MI:SS AM FF9 TZH:TZM"),
                                                compile("DD Month YYYY BC HH25 MI SS FF TZR"),
                                                {},
                                                compile("J SSSSS FF9 TZH TZM")};
  for (std::size_t i = 0; i < count; ++i) {
    const LdiDate x = source.Date();
    session_.zone_hour = x.zone_hour;
    session_.zone_minute = x.zone_minute;
    const std::vector<std::uint8_t>& format = formats[x.type];
    std::uint8_t text[128];
    std::size_t length = 0;
    ASSERT_EQ(
        LdiDateToString(text, sizeof text, &length, &x, format.data(), format.size(), 9, &ctx_),
        0u);
    LdiDate back;
    ASSERT_EQ(
        LdiDateFromString(&back, text, length, format.data(), format.size(), x.type, 9, &ctx_), 0u)
        << std::string(text, text + length);
    ASSERT_EQ(Show(back), Show(x)) << std::string(text, text + length);
    ASSERT_EQ(LdiDateToLiteral(text, sizeof text, &length, &x, 9, nullptr, nullptr), 0u);
    ASSERT_EQ(LdiDateFromLiteral(&back, text, length, x.type, &session_, nullptr), 0u)
        << std::string(text, text + length);
    ASSERT_EQ(Show(back), Show(x)) << std::string(text, text + length);
  }
}

TEST(LdiMaxDispWidth, WidthsOfTypes) {
  std::size_t width = 0;
  ASSERT_EQ(LdiMaxDispWidth(&width, KES_DATETIME_TIMESTAMP, 0, 0, 6), 0u);
  EXPECT_EQ(width, 27u);
  ASSERT_EQ(LdiMaxDispWidth(&width, KES_INTERVAL_DAY_TO_SECOND, 1, 2, 6), 0u);
  EXPECT_EQ(width, 19u);
  EXPECT_EQ(LdiMaxDispWidth(&width, 6, 0, 0, 6), 1866u);
  EXPECT_EQ(LdiMaxDispWidth(&width, 14, 1, 0, 6), 1867u);
  std::uint32_t code = 0;
  ASSERT_EQ(LdiPrecisionCode(&code, 9), 0u);
  EXPECT_EQ(code, 60u);
  EXPECT_EQ(LdiPrecisionCode(&code, 10), 1880u);
}

}  // namespace
}  // namespace kestra::test
