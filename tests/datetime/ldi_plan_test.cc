// Texts that a plan writes and reads are those that the walk over the format does: a model with a
// long literal behind it is too long for a plan.
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "kestra/datetime_text.h"
#include "tests/support/datetime_values.h"

namespace kestra::test {
namespace {

constexpr std::size_t kRoom = 400;
const std::string kLong(100, 'x');

struct Model {
  const char* text;
  std::uint32_t type;
};
constexpr Model kModels[] = {
    {"YYYY-MM-DD HH24:MI:SS.FF6", KES_DATETIME_TIMESTAMP},
    {"YYYY-MM-DD HH24:MI:SSXFF", KES_DATETIME_TIMESTAMP},
    {"YYYY-MM-DD HH24:MI:SS.FF9", KES_DATETIME_TIMESTAMP},
    {"DD.MM.YYYY HH24:MI:SS.FF8 \"h\"", KES_DATETIME_TIMESTAMP},
    {"YYYYMMDDHH24MISSFF3", KES_DATETIME_TIMESTAMP},
    {"YYYY-MM-DD\"T\"HH24:MI:SS.FF1\"Z\"", KES_DATETIME_TIMESTAMP},
    {"YYYY-MM-DD HH24:MI:SS", KES_DATETIME_DATE},
    {"YYYY-MM-DD HH24:MI:SS.FF TZH:TZM", KES_DATETIME_TIMESTAMP_TZ},
    {"YYYY-MM-DD\"T\"HH24:MI:SS.FF7TZHTZM", KES_DATETIME_TIMESTAMP_TZ},
    {"DD/MM/YYYY HH24:MI TZH", KES_DATETIME_TIMESTAMP_TZ},
    {"YYYY-MM-DD HH24:MI:SS.FF2 TZR", KES_DATETIME_TIMESTAMP_TZ},
    {"YYYY-MM-DD HH24:MI:SS.FF4\" UTC\"TZH:TZM", KES_DATETIME_TIMESTAMP_TZ},
    {"YYYY-MM-DD HH24:MI:SS.FF5TZH:TZM", KES_DATETIME_TIMESTAMP_LTZ},
    {"HH24:MI:SS.FF6TZH:TZM", KES_DATETIME_TIME_TZ},
    {"HH24:MI:SS.FF3", KES_DATETIME_TIME},
};

class Compiled {
 public:
  explicit Compiled(const std::string& model) {
    LdiParseContextInit(&ctx_, nullptr, nullptr, nullptr);
    ctx_.date.today = {2026, 5, 1, 0, 0, 0, 0};
    EXPECT_EQ(
        LdiParseForInput(format_, sizeof format_, &length_,
                         reinterpret_cast<const std::uint8_t*>(model.data()), model.size(), &ctx_),
        0u);
  }
  ~Compiled() { LdiParseContextTerm(&ctx_); }
  Compiled(const Compiled&) = delete;
  Compiled& operator=(const Compiled&) = delete;

  std::string Write(const LdiDate& date, std::uint32_t precision) {
    std::uint8_t text[kRoom];
    std::size_t length = 0;
    const std::uint32_t error =
        LdiDateToString(text, kRoom, &length, &date, format_, length_, precision, &ctx_);
    return error != 0 ? "!" + std::to_string(error) : std::string(text, text + length);
  }
  // From memory that ends with the text.
  std::uint32_t Read(LdiDate& date, const std::string& text, std::uint32_t type,
                     std::uint32_t precision) {
    const std::vector<std::uint8_t> bytes(text.begin(), text.end());
    return LdiDateFromString(&date, bytes.data(), bytes.size(), format_, length_, type, precision,
                             &ctx_);
  }

 private:
  LdiParseContext ctx_;
  std::uint8_t format_[kRoom];
  std::size_t length_ = 0;
};

void Spoil(std::string& text, DatetimeSource& source) {
  constexpr std::string_view kLikely = "0123456789 +-:.,TZ";
  const char c = kLikely[source.Below(kLikely.size())];
  const std::size_t at = source.Below(text.size());
  switch (source.Below(3)) {
    case 0:
      text[at] = c;
      break;
    case 1:
      text.erase(at, 1);
      break;
    default:
      text.insert(at, 1, c);
  }
}

TEST(LdiPlan, WritesAndReadsWhatTheWalkDoes) {
  DatetimeSource source(77);
  for (const Model& model : kModels) {
    SCOPED_TRACE(model.text);
    Compiled planned(model.text);
    Compiled walked(model.text + ("\"" + kLong + "\""));
    std::size_t well = 0;
    for (int i = 0; i < 4000; ++i) {
      LdiDate date = source.Date(source.Below(10) != 0 ? model.type : source.DateType());
      if (source.Below(50) == 0) {
        reinterpret_cast<std::uint8_t*>(&date)[source.Below(sizeof date)] ^=
            static_cast<std::uint8_t>(1 << source.Below(8));
      }
      const auto precision = static_cast<std::uint32_t>(source.Below(11));
      std::string text = planned.Write(date, precision);
      const std::string longer = walked.Write(date, precision);
      ASSERT_EQ(text[0] == '!' ? text : text + kLong, longer) << Show(date);
      if (text.empty() || text[0] == '!') text = "2026-05-01 10:20:30.123 +02:00";
      if (source.Below(3) == 0) Spoil(text, source);
      LdiDate read{}, reference{};
      const std::uint32_t error = planned.Read(read, text, model.type, precision);
      const std::uint32_t other = walked.Read(reference, text + kLong, model.type, precision);
      ASSERT_EQ(error == 0, other == 0) << text << ": " << error << " and " << other;
      ASSERT_EQ(std::memcmp(&read, &reference, sizeof read), 0) << text;
      well += error == 0;
    }
    EXPECT_GT(well, 1000u);
  }
}

TEST(LdiPlan, RefusesTypesThatTheFormatDoesNotHave) {
  Compiled one("YYYY-MM-DD HH24:MI:SS.FF3");
  const LdiDate date = Datetime("2024-02-29 13:45:06.789");
  EXPECT_EQ(one.Write(date, 9), "2024-02-29 13:45:06.789");
  EXPECT_EQ(one.Write(Datetime("13:45:06.5"), 9), "!1878");
  EXPECT_EQ(one.Write(Datetime("2024-02-29"), 9), "!1878");
  EXPECT_EQ(one.Write(date, 10), "!1880");
}

}  // namespace
}  // namespace kestra::test
