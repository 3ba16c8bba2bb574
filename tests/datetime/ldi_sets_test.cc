// Datetimes, intervals and zones as text in handles of every kind of set: the answer in ASCII,
// converted by lxgcnv, is the reference.
#include <gtest/gtest.h>

#include <vector>

#include "kestra/convert.h"
#include "kestra/datetime_text.h"
#include "tests/support/datetime_values.h"
#include "tests/support/nls_fixture.h"
#include "tests/support/zone_fixture.h"

namespace kestra::test {
namespace {

using Text = std::vector<std::uint8_t>;

// A handle and a context of its own, with texts of ASCII or UTF-8 turned into its set and back.
class InSet {
 public:
  InSet(NlsSession& nls, const char* name, const LdiSession* session)
      : nls_(nls.context()), handle_(nls.Handle(name)) {
    EXPECT_EQ(LdiParseContextInit(&ctx_, &handle_, nls_, session), 0u);
    ctx_.date.today = {2026, 5, 1, 0, 0, 0, 0};
  }
  ~InSet() { LdiParseContextTerm(&ctx_); }
  InSet(const InSet&) = delete;
  InSet& operator=(const InSet&) = delete;

  const lxhandle* handle() const { return &handle_; }
  LdiParseContext* ctx() { return &ctx_; }
  Text Encode(std::string_view text) const {
    return Convert({text.begin(), text.end()}, lxpcobj(kUtf8, nls_), lxhcsobj(&handle_, nls_));
  }
  std::string Decode(const Text& bytes) const {
    const Text text = Convert(bytes, lxhcsobj(&handle_, nls_), lxpcobj(kUtf8, nls_));
    return {text.begin(), text.end()};
  }

  Text Compile(std::string_view model, bool output) {
    const Text encoded = Encode(model);
    Text format(256);
    std::size_t length = 0;
    EXPECT_EQ((output ? LdiParseForOutput : LdiParseForInput)(
                  format.data(), format.size(), &length, encoded.data(), encoded.size(), &ctx_),
              0u)
        << model;
    format.resize(length);
    return format;
  }
  std::string Write(const LdiDate& date, std::string_view model) {
    const Text format = Compile(model, true);
    std::size_t length = 0, most = 0;
    Text text(1024);
    if (const std::uint32_t error = LdiDateToString(text.data(), text.size(), &length, &date,
                                                    format.data(), format.size(), 9, &ctx_)) {
      return "!" + std::to_string(error);
    }
    EXPECT_EQ(LdiMaxSize(&most, format.data(), format.size(), &ctx_), 0u);
    EXPECT_LE(length, most) << model;
    text.resize(length);
    return Decode(text);
  }
  std::string Read(std::string_view text, std::string_view model, std::uint32_t type) {
    const Text format = Compile(model, false);
    const Text encoded = Encode(text);
    LdiDate date{};
    const std::uint32_t error = LdiDateFromString(&date, encoded.data(), encoded.size(),
                                                  format.data(), format.size(), type, 9, &ctx_);
    return error != 0 ? "!" + std::to_string(error) : Show(date);
  }

 private:
  static constexpr std::uint32_t kUtf8 = 873;
  Text Convert(const Text& text, const lxobject* from, const lxobject* to) const {
    Text out(4 * text.size() + 16);
    out.resize(lxgcnv(out.data(), to, out.size(), text.data(), from, text.size(), nls_));
    return out;
  }

  lxcontext* nls_;
  lxhandle handle_;
  LdiParseContext ctx_;
};

TEST(LdiSets, TheDecimalCharacterIsThatOfTheHandle) {
  NlsSession nls;
  const LdiDate stamp = Datetime("2024-02-29 13:45:06.25");
  struct Case {
    const char* handle;
    const char* characters;  // null: those of the territory
    const char* decimal;
  };
  constexpr Case kCases[] = {{"AMERICAN_AMERICA.US7ASCII", nullptr, "."},
                             {"GERMAN_GERMANY.WE8ISO8859P1", nullptr, ","},
                             {"GERMAN_GERMANY.WE8IBM1047", nullptr, ","},
                             {"GERMAN_GERMANY.AL16UTF16", nullptr, ","},
                             {"GERMAN_GERMANY.AL16UTF16LE", nullptr, ","},
                             {"AMERICAN_AMERICA.WE8IBM037", "'.", "'"},
                             {"AMERICAN_AMERICA.AL32UTF8", "\u066B\u066C", "\u066B"},
                             {"AMERICAN_AMERICA.AL16UTF16", "\u066B\u066C", "\u066B"},
                             {"JAPANESE_JAPAN.JA16SHIFTJIS", "\u3002\u3001", "\u3002"}};
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.handle);
    InSet set(nls, c.handle, nullptr);
    if (c.characters != nullptr) {
      const Text value = set.Encode(c.characters);
      ASSERT_EQ(
          lxhlmod(const_cast<lxhandle*>(set.handle()), reinterpret_cast<const char*>(value.data()),
                  value.size(), KES_ITEM_NUMERIC_CHARACTERS, 0, 0, nls.context()),
          1);
      LdiParseContextTerm(set.ctx());
      LdiParseContextInit(set.ctx(), set.handle(), nls.context(), nullptr);
      set.ctx()->date.today = {2026, 5, 1, 0, 0, 0, 0};
    }
    const std::string decimal(c.decimal);
    EXPECT_EQ(set.Write(stamp, "SSXFF2"), "06" + decimal + "25");
    const std::string read = Show(Datetime("2026-05-01 00:00:06.25"));
    for (const std::string& between : {decimal, std::string("."), std::string(",")}) {
      EXPECT_EQ(set.Read("06" + between + "25", "SSXFF", KES_DATETIME_TIMESTAMP), read) << between;
      EXPECT_EQ(set.Read("06" + between + "25", "FXSSXFF", KES_DATETIME_TIMESTAMP), read);
    }
    EXPECT_EQ(set.Read("06;25", "FXSSXFF", KES_DATETIME_TIMESTAMP), "!1861");
  }
}

}  // namespace
}  // namespace kestra::test
