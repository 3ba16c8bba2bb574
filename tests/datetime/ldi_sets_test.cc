// Datetimes, intervals and zones as text in handles of every kind of set: the answer in ASCII,
// converted by lxgcnv, is the reference.
#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include "kestra/convert.h"
#include "kestra/datetime_arithmetic.h"
#include "kestra/datetime_text.h"
#include "kestra/datetime_zone.h"
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

  // The order of units is that of the set when that has them.
  std::string DecodeUnits(const std::uint16_t* units, std::size_t count) const {
    const auto* bytes = reinterpret_cast<const std::uint8_t*>(units);
    const std::uint32_t set = (handle_.flags & KES_CHARSET_UTF16) != 0 ? handle_.charset_id : 2002u;
    const Text text = Convert({bytes, bytes + 2 * count}, lxpcobj(set, nls_), lxpcobj(kUtf8, nls_));
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
    // Formats of fields alone go another way.
    EXPECT_EQ(set.Write(stamp, "YYYY-MM-DD HH24:MI:SSXFF2"),
              "2024-02-29 13:45:06" + decimal + "25");
    for (const std::string& between : {decimal, std::string("."), std::string(",")}) {
      EXPECT_EQ(set.Read("2024-02-29 13:45:06" + between + "25", "YYYY-MM-DD HH24:MI:SSXFF",
                         KES_DATETIME_TIMESTAMP),
                Show(stamp));
    }
    const std::string read = Show(Datetime("2026-05-01 00:00:06.25"));
    for (const std::string& between : {decimal, std::string("."), std::string(",")}) {
      EXPECT_EQ(set.Read("06" + between + "25", "SSXFF", KES_DATETIME_TIMESTAMP), read) << between;
      EXPECT_EQ(set.Read("06" + between + "25", "FXSSXFF", KES_DATETIME_TIMESTAMP), read);
    }
    EXPECT_EQ(set.Read("06;25", "FXSSXFF", KES_DATETIME_TIMESTAMP), "!1861");
  }
}

// What is done with texts in a set: every text that goes in is encoded, every one that comes out
// decoded, so that all sets have to say the same.
struct Deed {
  const char* what;
  std::string (*say)(InSet& set, const LdiSession& session);
};

// A text that a function of the family writes, or its error.
template <typename Call>
std::string Written(const InSet& set, const Call& call) {
  Text text(600);
  std::size_t length = 0;
  if (const std::uint32_t error = call(text.data(), text.size(), &length)) {
    return "!" + std::to_string(error);
  }
  // The room is looked at in bytes of the set.
  std::size_t none = 0;
  EXPECT_EQ(call(text.data(), length - 1, &none), KES_DATETIME_NO_ROOM);
  text.resize(length);
  return set.Decode(text);
}

// What becomes of some texts.
template <typename Value, typename Call>
std::string Read(const InSet& set, std::initializer_list<std::string_view> texts,
                 const Call& call) {
  std::string all;
  for (const std::string_view text : texts) {
    const Text encoded = set.Encode(text);
    Value value{};
    const std::uint32_t error = call(&value, encoded.data(), encoded.size());
    all += error != 0 ? "!" + std::to_string(error) : Show(value);
    all += ";";
  }
  return all;
}

LdiDate Summer(const LdiSession& session) {
  LdiDate date = Datetime("2026-07-01 13:45:06.123456789 +02:00");
  EXPECT_EQ(LdiTimeZoneAdjust(&date, &date, {0, 0, session.region}, &session), 0u);
  return date;
}

constexpr std::string_view kModels[] = {
    "YYYY-MM-DD\"T\"HH24:MI:SSXFF3 TZR TZD TZH:TZM", "Day, FMDDth Month YYYY AD HH:MI AM",
    "DY DD-MON-RR HH25MISS FF9 \"o'clock\"", "DL; DS; TS; Y,YYY J RM YEAR"};

constexpr Deed kDeeds[] = {
    {"models are written",
     [](InSet& set, const LdiSession& session) {
       std::string all;
       for (const std::string_view model : kModels) {
         all += set.Write(Summer(session), model) + ";" +
                set.Write(Datetime("2024-02-29 23:59:59.5 -09:30"), model) + ";";
       }
       return all;
     }},
    {"models are read",
     [](InSet& set, const LdiSession&) {
       constexpr std::uint32_t kType = KES_DATETIME_TIMESTAMP_TZ;
       std::string all;
       for (const std::string_view text :
            {"2026-07-01T13:45:06.123 Europe/Berlin CEST +02:00",
             "2026-07-01t1:2:3.5 +5:30  +05:30", "2026-07-01T13:45:06.1 Europe/Atlantis",
             "2026-07-01T13:45:06.1 #", "2026-07-01"}) {
         all += set.Read(text, kModels[0], kType) + ";";
       }
       all += set.Read("Wednesday, 1st July 2026 ad 01:45 p.m.", kModels[1], kType) + ";";
       all += set.Read("WEDNESDAY, 1ST JULY 2026 AD 1:45 pm", kModels[1], kType) + ";";
       all += set.Read("Thu 01-jul-26 24 00 00 0 o'clock", kModels[2], kType) + ";";
       return all + set.Read("wed 1-Jul-26 240000.000000000o'clock", kModels[2], kType);
     }},
    {"models are unparsed, in two-byte units too",
     [](InSet& set, const LdiSession&) {
       std::string all;
       for (const std::string_view model : kModels) {
         const Text format = set.Compile(model, true);
         const std::string bytes =
             Written(set, [&](std::uint8_t* out, std::size_t room, std::size_t* length) {
               return LdiUnparse(out, room, length, format.data(), format.size(), set.ctx());
             });
         std::uint16_t units[256];
         std::size_t length = 0;
         EXPECT_EQ(LdiUnparseU(units, 256, &length, format.data(), format.size(), set.ctx()), 0u);
         EXPECT_EQ(set.DecodeUnits(units, length), bytes);
         std::uint8_t again[256];
         EXPECT_EQ(LdiParseForOutputU(again, sizeof again, &length, units, length, set.ctx()), 0u);
         EXPECT_EQ(Text(again, again + length), format) << model;
         all += bytes + ";";
       }
       return all;
     }},
    {"typed models",
     [](InSet& set, const LdiSession&) {
       std::string all;
       for (const std::string_view model : {"YYYY TZH", "YYYY FF", "YYYY nonsense"}) {
         const Text encoded = set.Encode(model);
         std::uint8_t format[64];
         std::size_t length = 0;
         all += std::to_string(LdiParseForInputType(format, sizeof format, &length, encoded.data(),
                                                    encoded.size(), KES_DATETIME_TIMESTAMP,
                                                    set.ctx())) +
                ";";
       }
       return all;
     }},
    {"literals",
     [](InSet& set, const LdiSession& session) {
       const LdiDate date = Summer(session);
       return Written(set,
                      [&](std::uint8_t* out, std::size_t room, std::size_t* length) {
                        return LdiDateToLiteral(out, room, length, &date, 9, &session,
                                                set.handle());
                      }) +
              Read<LdiDate>(set,
                            {"  TIMESTAMP '2026-07-01 13:45:06.5 Europe/Berlin' ", "2024-02-29",
                             "time '10:11:12,5 -9:30'", "2024-02-30", "DATE '2024", "", "%"},
                            [&](LdiDate* out, const std::uint8_t* text, std::size_t length) {
                              return LdiDateFromLiteral(out, text, length, 0, &session,
                                                        set.handle());
                            });
     }},
    {"intervals",
     [](InSet& set, const LdiSession&) {
       const LdiInter inter = Interval(KES_INTERVAL_DAY_TO_SECOND, -3, -4, -5, -6, -123'000'000);
       const auto read = [&](LdiInter* out, const std::uint8_t* text, std::size_t length) {
         LdiInter precise;
         const std::uint32_t error =
             LdiInterFromString(out, text, length, inter.type, set.handle());
         EXPECT_EQ(LdiInterFromStringPrec(&precise, text, length, inter.type, 9, 9, set.handle()),
                   error);
         return error;
       };
       return Written(set,
                      [&](std::uint8_t* out, std::size_t room, std::size_t* length) {
                        return LdiInterToString(out, room, length, &inter, 6, 3, set.handle());
                      }) +
              Written(set,
                      [&](std::uint8_t* out, std::size_t room, std::size_t* length) {
                        return LdiInterToStringISO(out, room, length, &inter, set.handle());
                      }) +
              Read<LdiInter>(set,
                             {" -000003 04:05:06.123 ", "P3DT4H5M6.5S", "P1Y", "3 24:00:00",
                              "INTERVAL '3 4' DAY(3) TO HOUR", "three", ""},
                             read);
     }},
    {"zones",
     [](InSet& set, const LdiSession& session) {
       std::string all;
       for (const LdiZone& zone : {LdiZone{0, 0, session.region}, {-9, -30, 0}}) {
         all += Written(set, [&](std::uint8_t* out, std::size_t room, std::size_t* length) {
           return LdiZoneToText(out, room, length, zone, set.handle(), session.zones);
         });
       }
       for (const std::string_view text :
            {"europe/BERLIN", "+5:45", "utc", "-16", "Europe/Atlantis", "LOCAL TIME", ""}) {
         const Text encoded = set.Encode(text);
         LdiZone zone{};
         LdiSession other = session;
         const std::uint32_t error =
             LdiZoneFromText(&zone, encoded.data(), encoded.size(), set.handle(), session.zones);
         EXPECT_EQ(LdiSessionSetZone(&other, encoded.data(), encoded.size(), set.handle()), error);
         EXPECT_EQ(other.region, error == 0 ? zone.region : session.region);
         all += std::to_string(error) + " " + std::to_string(zone.hour * 60 + zone.minute) + " " +
                std::to_string(zone.region) + ";";
       }
       const LdiDate date = Summer(session);
       for (const std::uint32_t field : {KES_FIELD_REGION, KES_FIELD_ABBREVIATION,
                                         KES_FIELD_ZONE_HOUR, KES_FIELD_ZONE_MINUTE}) {
         all += Written(set, [&](std::uint8_t* out, std::size_t room, std::size_t* length) {
           return LdiDateExtractTZ(out, room, length, &date, field, &session, set.handle());
         });
       }
       return all;
     }},
    // Names that end with a NUL are in ASCII where the set has two-byte units.
    {"names of zones",
     [](InSet& set, const LdiSession& session) {
       const bool units = (set.handle()->flags & KES_CHARSET_UTF16) != 0;
       const auto decode = [&](const char* text) {
         const Text bytes(text, text + std::strlen(text));
         return units ? std::string(text) : set.Decode(bytes);
       };
       Text name = units ? Text() : set.Encode("EUROPE/berlin");
       if (units) name.assign({'E', 'u', 'r', 'o', 'p', 'e', '/', 'B', 'e', 'r', 'l', 'i', 'n'});
       name.push_back(0);
       std::uint32_t id = 0;
       EXPECT_EQ(ltzID(set.handle(), nullptr, session.zones,
                       reinterpret_cast<const char*>(name.data()), &id),
                 0);
       char text[KES_ZONE_ABBREVIATION_ROOM];
       EXPECT_EQ(ltzName(set.handle(), nullptr, session.zones, id, text, sizeof text), 0);
       std::string all = std::to_string(id) + decode(text);
       std::int32_t offset = 0;
       const LdiDate utc = Timestamp("2026-07-01");
       EXPECT_EQ(ltzGet(set.handle(), nullptr, session.zones, id, &utc, &offset, text, nullptr), 0);
       all += decode(text);
       EXPECT_EQ(
           ltzGetLocal(set.handle(), nullptr, session.zones, id, &utc, &offset, text, nullptr), 0);
       all += decode(text);
       ltzstep step{};
       while (ltzStepB(set.handle(), nullptr, session.zones, &step, id, text, sizeof text) == 0) {
         all += decode(text);
       }
       return all;
     }},
};

TEST(LdiSets, EverySetSaysTheSame) {
  NlsSession nls;
  const LoadedZones zones(TestHome(), ZoneAccess::kIndexedNative);
  LdiSession session{};
  session.zones = zones.file();
  session.region = static_cast<std::uint16_t>(zones.Id("Europe/Berlin"));
  InSet reference(nls, "AMERICAN_AMERICA.US7ASCII", &session);
  std::vector<std::string> wanted;
  for (const Deed& deed : kDeeds) wanted.push_back(deed.say(reference, session));
  for (const char* name : {"AMERICAN_AMERICA.AL32UTF8", "AMERICAN_AMERICA.WE8IBM037",
                           "AMERICAN_AMERICA.WE8IBM1047", "AMERICAN_AMERICA.AL32UTFEBCDIC",
                           "AMERICAN_AMERICA.AL16UTF16", "AMERICAN_AMERICA.AL16UTF16LE",
                           "AMERICAN_AMERICA.JA16SHIFTJIS", "AMERICAN_AMERICA.ZT32EUCTW"}) {
    InSet set(nls, name, &session);
    for (std::size_t i = 0; i < std::size(kDeeds); ++i) {
      EXPECT_EQ(kDeeds[i].say(set, session), wanted[i]) << name << ": " << kDeeds[i].what;
    }
  }
}

TEST(LdiSets, OffsetsOfErrorsInUnitsCountTheirBytes) {
  NlsSession nls;
  InSet set(nls, "AMERICAN_AMERICA.AL32UTF8", nullptr);
  const Text format = set.Compile("\"\xE2\x82\xAC\" YYYY-MM", false);  // the euro sign
  const auto read = [&](const std::u16string& text) {
    LdiDate date;
    return LdiDateFromStringU(&date, reinterpret_cast<const std::uint16_t*>(text.data()),
                              text.size(), format.data(), format.size(), KES_DATETIME_TIMESTAMP, 9,
                              set.ctx());
  };
  EXPECT_NE(read(u"\u20AC 2020-x1"), 0u);
  EXPECT_EQ(set.ctx()->date.error_offset, 2 * 7u);
  EXPECT_EQ(read(std::u16string(1025, u' ')), 1830u);
  EXPECT_EQ(set.ctx()->date.error_offset, 0u);  // not that of the text before
}

}  // namespace
}  // namespace kestra::test
