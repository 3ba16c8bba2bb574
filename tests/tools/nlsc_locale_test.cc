// Languages, territories and calendars of the test data, against what CLDR publishes.
#include <gtest/gtest.h>

#include <map>

#include "nls/nlb_format.h"
#include "tests/tools/nlsc_support.h"
#include "tools/nlsc/object.h"
#include "tools/nlsc/object_reader.h"

namespace kestra::nlsc {
namespace {

namespace nlb = kestra::nls::nlb;

struct Loaded {
  Loaded(std::uint32_t type, std::uint32_t id)
      : bytes(ReadObjectFile(test::TestObjects() / ObjectFileName(type, id))), object(bytes) {}
  std::string String(std::size_t index) const { return object.TableString(index); }
  std::vector<std::uint8_t> bytes;
  ObjectReader object;
};

enum Ids : std::uint32_t {
  kAmerican = 1,
  kGerman = 35,
  kAustrian = 36,
  kSpanish = 52,
  kFrench = 64,
  kJapanese = 91,
  kRussian = 174
};

TEST(NlscLanguage, StringsAreThoseOfTheLocale) {
  const struct {
    std::uint32_t language;
    std::size_t string;
    const char* text;
  } kCases[] = {
      {kAmerican, 0, "Sunday"},
      {kAmerican, 37, "Dec"},
      {kAmerican, 38, "BINARY"},
      {kAmerican, 60, "AMERICAN"},
      {kAmerican, nlb::language::kLongDate, "FMDay, Month DD, YYYY"},
      {kGerman, 6, "Samstag"},
      {kGerman, 16, "M\xC3\xA4rz"},
      {kGerman, 28, "M\xC3\xA4rz"},
      {kAustrian, 14, "J\xC3\xA4nner"},  // its own
      {kAustrian, 1, "Montag"},          // from the parent
      {kAustrian, 58, "de-AT"},
      {kAustrian, 59, "Austrian German"},
      {kFrench, 15, "f\xC3\xA9vrier"},
      {kFrench, 56, "oui"},
      {kFrench, 61,
       "fran\xC3\xA7"
       "ais"},
      // Russian: genitive in a date, nominative alone.
      {kRussian, 14, "\xD1\x8F\xD0\xBD\xD0\xB2\xD0\xB0\xD1\x80\xD1\x8F"},
      {kRussian, 44, "\xD1\x8F\xD0\xBD\xD0\xB2\xD0\xB0\xD1\x80\xD1\x8C"},
      {kJapanese, 2, "\xE7\x81\xAB\xE6\x9B\x9C\xE6\x97\xA5"},
      {kJapanese, 14, "1\xE6\x9C\x88"},
      {kSpanish, 38, "SPANISH"},
      {kSpanish, 39, "LTR"},
  };
  for (const auto& c : kCases) {
    EXPECT_EQ(Loaded(kLanguageObject, c.language).String(c.string), c.text)
        << c.language << " " << c.string;
  }
}

TEST(NlscLanguage, DefaultsAreIds) {
  const Loaded japanese(kLanguageObject, kJapanese), american(kLanguageObject, kAmerican);
  EXPECT_EQ(japanese.object.U16(nlb::language::kDefaultCharsetAt), 837);
  EXPECT_EQ(japanese.object.U16(nlb::language::kDefaultTerritoryAt), 392);
  EXPECT_EQ(american.object.U16(nlb::language::kDefaultSortAt), 0);
  EXPECT_EQ(Loaded(kLanguageObject, kFrench).object.U16(nlb::language::kFlagsAt),
            nlb::language::kLowerCaseNamesFlag);
}

TEST(NlscTerritory, FormatsAndFieldsAreThoseOfTheLocale) {
  namespace layout = nlb::territory;
  const Loaded america(kTerritoryObject, 1), germany(kTerritoryObject, 276),
      japan(kTerritoryObject, 392);
  EXPECT_EQ(america.object.U16(layout::kIsoNumberAt), 840);
  EXPECT_EQ(america.String(layout::kDateFormat), "DD-MON-RR");
  EXPECT_EQ(america.String(layout::kTimestampTz), "DD-MON-RR FMHH:FMMI:SSXFF AM TZR");
  EXPECT_EQ(america.object.U8(layout::kMinDaysAt), 1);
  EXPECT_EQ(germany.object.U8(layout::kMinDaysAt), 4);
  EXPECT_EQ(germany.object.U8(layout::kFirstDayAt), 1);
  EXPECT_EQ(germany.String(layout::kNumeric), ",.");
  EXPECT_EQ(germany.String(layout::kDualCurrency), "\xE2\x82\xAC");
  EXPECT_EQ(germany.String(layout::kNativeName), "Deutschland");
  EXPECT_EQ(japan.object.U8(layout::kCurrencyDigitsAt), 0);
  EXPECT_EQ(japan.String(layout::kIsoCurrency), "JPY");
}

TEST(NlscCalendar, JapaneseErasAreListedByTheirStart) {
  namespace layout = nlb::calendar;
  const Loaded calendar(kCalendarObject, 2);
  const std::size_t eras = calendar.object.U16(layout::kErasAt);
  const BytesReader starts = calendar.object.Table(layout::kEraTable);
  const std::size_t last = layout::kEraSize * (eras - 1);
  EXPECT_EQ(starts.U16(last), 2019);  // Reiwa: 1 May 2019
  EXPECT_EQ(starts.U8(last + 2), 5);
  EXPECT_EQ(starts.U8(last + 3), 1);
  EXPECT_EQ(starts.U16(last + 4), 236);
  EXPECT_EQ(calendar.object.U16(layout::kNamedErasAt), 5);
  const BytesReader ids = calendar.object.Table(layout::kLanguageTable);
  const BytesReader index = calendar.object.Table(layout::kStringIndex);
  const BytesReader strings = calendar.object.Table(layout::kStrings);
  std::map<std::uint32_t, std::string> newest, first;
  for (std::size_t i = 0; i < calendar.object.U16(layout::kLanguagesAt); ++i) {
    const std::size_t base = i * layout::kStringsPerLanguage;
    first[ids.U16(2 * i)] = strings.String(index.U32(4 * (base + layout::kEraName)));
    newest[ids.U16(2 * i)] = strings.String(index.U32(4 * (base + layout::kEraName + 4)));
  }
  EXPECT_EQ(newest[kAmerican], "Reiwa");
  EXPECT_EQ(first[kAmerican], "Meiji");
  EXPECT_EQ(newest[kJapanese], "\xE4\xBB\xA4\xE5\x92\x8C");
}

TEST(NlscSupplement, ListsCurrenciesWithTheirDigits) {
  const Loaded list(kSupplementObject, nlb::supplement::kCurrencies);
  const BytesReader table = list.object.Table(nlb::supplement::kCurrencyTable);
  std::map<std::string, unsigned> digits;
  for (std::size_t i = 0; i < list.object.U16(nlb::supplement::kCountAt); ++i) {
    digits[table.Field(4 * i, 3)] = table.U8(4 * i + 3);
  }
  EXPECT_EQ(digits.at("EUR"), 2u);
  EXPECT_EQ(digits.at("JPY"), 0u);
  EXPECT_EQ(digits.at("BHD"), 3u);
  EXPECT_FALSE(digits.contains("DEFAULT"));
}

}  // namespace
}  // namespace kestra::nlsc
