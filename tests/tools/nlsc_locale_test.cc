// Languages, territories and calendars of the test data, against what CLDR publishes: what a handle
// does not answer (tests/nls/lxh_query_test.cc asks for the rest).
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

enum Ids : std::uint32_t { kAmerican = 1, kFrench = 64, kJapanese = 91 };

TEST(NlscLanguage, DefaultsAreIds) {
  const Loaded japanese(kLanguageObject, kJapanese), american(kLanguageObject, kAmerican);
  EXPECT_EQ(japanese.object.U16(nlb::language::kDefaultCharsetAt), 837);
  EXPECT_EQ(japanese.object.U16(nlb::language::kDefaultTerritoryAt), 392);
  EXPECT_EQ(american.object.U16(nlb::language::kDefaultSortAt), 0);
  EXPECT_EQ(Loaded(kLanguageObject, kFrench).object.U16(nlb::language::kFlagsAt),
            nlb::language::kLowerCaseNamesFlag);
}

TEST(NlscTerritory, FieldsAreThoseOfTheLocale) {
  namespace layout = nlb::territory;
  const Loaded america(kTerritoryObject, 1), germany(kTerritoryObject, 276),
      japan(kTerritoryObject, 392);
  EXPECT_EQ(america.object.U16(layout::kIsoNumberAt), 840);
  EXPECT_EQ(america.object.U8(layout::kMinDaysAt), 1);
  EXPECT_EQ(germany.object.U8(layout::kMinDaysAt), 4);
  EXPECT_EQ(germany.object.U8(layout::kFirstDayAt), 1);
  EXPECT_EQ(germany.String(layout::kNativeName), "Deutschland");
  EXPECT_EQ(japan.object.U8(layout::kCurrencyDigitsAt), 0);
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
