// The compiler of date format models: compiled bytes, errors, and every model of up to three
// elements against a reference that knows elements by their names.
#include <gtest/gtest.h>

#include <map>
#include <set>
#include <vector>

#include "tests/support/date_context.h"
#include "tests/support/hex.h"
#include "tests/support/nls_fixture.h"

namespace kestra::test {
namespace {

std::string HexOf(const std::string& bytes) { return Hex(TextData(bytes), bytes.size()); }

struct CompileCase {
  const char* model;
  const char* compiled;
};
constexpr CompileCase kCompiled[] = {
    {"YYYY-MM-DD", "0A 10 2F 01 2D 11 10 2F 01 2D 16 10"},
    {"yyyymmdd", "0A 10 11 10 16 10"},
    {"DD  HH24", "16 10 30 04 20 20 18 10"},
    {"DD, MM", "16 10 30 01 2C 20 11 10"},
    {"YYYY\"T\"MM", "0A 10 2F 02 54 11 10"},
    {"\"\"DD", "2E 02 16 10"},
    {"\"FM, \"", "32 02 46 4D 2C 20"},
    // Letters of names, as the first two were written.
    {"MONTH", "1E 10"},
    {"Month", "1E 14"},
    {"month", "1E 18"},
    {"mONTH", "1E 18"},
    {"Day", "20 14"},
    {"A.m.", "23 14"},
    {"p.m.", "23 18"},
    {"B.C.", "25 10"},
    {"EE", "2C 10"},
    // Suffixes, longest first; names take none.
    {"DDTH", "16 11"},
    {"DDth", "16 19"},
    {"DDSP", "16 12"},
    {"DdSP", "16 16"},
    {"ddspth", "16 1B"},
    {"DDTHSP", "16 13"},
    {"Jsp", "1D 16"},
    {"JSP", "1D 12"},
    {"DSP", "15 12"},
    {"DSPTH", "15 13"},
    {"SSSSS", "1C 10"},
    {"SSSP", "1B 12"},
    // The fill mode toggles; it leaves no item of its own.
    {"FMDD FMMM", "16 00 2F 04 20 11 10"},
    {"FMDDFM MM", "16 00 2F 04 20 11 10"},
    {"FM", ""},
    {"FXDD", "2A 10 16 10"},
    {"FXFMFXDD", "2A 10 2A 00 16 00"},
    // The longest name wins.
    {"HHMI", "19 10 1A 10"},
    {"HH12", "19 10"},
    {"HH24", "18 10"},
    {"DYY", "21 10 04 10"},
    {"DAYY", "20 10 04 10"},
    {"DDDD", "17 10 15 10"},
    {"Y,YYY", "0B 10"},
    {"SY,YYY", "0D 10"},
    {"NYYYY", "2D 10"},
    {"A.D.", "25 10"},
    {"AD.", "24 10 2F 01 2E"},
    {"IYYYIW", "09 10 12 10"},
    {"YYYYRR", "0A 10 28 10"},
    {"", ""},
};

TEST(LdxModel, CompilesToStatedBytes) {
  DateContext context;
  for (const CompileCase& c : kCompiled) {
    SCOPED_TRACE(c.model);
    EXPECT_EQ(HexOf(context.Compile(c.model)), Hex(Bytes(c.compiled)));
  }
}

struct ErrorCase {
  const char* model;
  std::uint32_t number;
  std::size_t offset;
};
constexpr ErrorCase kErrors[] = {
    {"DDDAYX", 1821, 3},       {"DD5", 1821, 2},
    {"YYYY\xC3\xA4", 1821, 4}, {"DD\x01", 1821, 2},
    {"DD \"ab", 1821, 3},      {"G", 1821, 0},
    {"DD/DD", 1810, 3},        {"HH HH12", 1810, 3},
    {"MI MI", 1810, 3},        {"YYYYY", 1812, 5},
    {"HHHH24", 1813, 6},       {"HH24 PM", 1818, 7},
    {"SYYYY AD", 1819, 8},     {"MonthDay\"\"Mon", 1816, 13},
};

TEST(LdxModel, ErrorsTellNumberAndOffset) {
  DateContext context;
  for (const ErrorCase& c : kErrors) {
    SCOPED_TRACE(c.model);
    EXPECT_EQ(context.ErrorOf([&] { context.Compile(c.model); }), c.number);
    EXPECT_EQ(context.get()->error_offset, c.offset);
    EXPECT_EQ(context.get()->error, c.number);
  }
  EXPECT_EQ(context.ErrorOf([&] { context.Compile(std::string_view("\0DD", 3)); }), 1821u);
  // After every error the context goes on.
  EXPECT_EQ(HexOf(context.Compile("DD")), "16 10");
}

// The formats of a territory that cannot be had are empty.
TEST(LdxModel, AFormatOfTheLanguageThatIsEmptyIs1890) {
  NlsSession session;
  lxhandle handle = session.Handle("GERMAN_GERMANY.WE8ISO8859P1");
  DateContext context(&handle, session.context());
  EXPECT_EQ(context.ErrorOf([&] { context.Compile("\"x\" DS"); }), 0u);
  handle.territory_slot = UINT16_MAX;
  for (const char* model : {"\"x\" DS", "\"x\" TS"}) {
    EXPECT_EQ(context.ErrorOf([&] { context.Compile(model); }), 1890u) << model;
    EXPECT_EQ(context.get()->error_offset, 4u);
  }
}

TEST(LdxModel, OutputModelsMayRepeat) {
  DateContext context;
  EXPECT_EQ(HexOf(context.CompileForOutput("DDDD DDYYYYYY")),
            "17 10 15 10 2F 04 20 16 10 0A 10 06 10");
}

// Elements by name; a set of names stands for one code.
const std::vector<std::set<std::string>> kAliases = {
    {"A.D.", "B.C."}, {"A.M.", "P.M."}, {"AD", "BC"}, {"AM", "PM"}, {"HH", "HH12"}, {"D", "DSP"}};
const std::vector<std::pair<std::uint32_t, std::vector<std::string>>> kExclusive = {
    {1811, {"DDD", "J"}},
    {1812, {"Y", "YY", "YYY", "YYYY", "SYYYY", "NYYYY", "Y,YYY", "SY,YYY"}},
    {1813, {"HH", "HH24"}},
    {1814, {"AM", "A.M."}},
    {1815, {"AD", "A.D."}},
    {1816, {"MONTH", "MON", "MM", "RM"}},
    {1817, {"DAY", "DY", "D"}},
};
const std::vector<std::pair<std::uint32_t, std::pair<std::set<std::string>, std::set<std::string>>>>
    kAgainst = {{1818, {{"AM", "A.M."}, {"HH24"}}},
                {1819, {{"SYYYY", "NYYYY", "SY,YYY"}, {"AD", "A.D."}}}};
const char* const kElementNames[] = {
    "A.D.", "A.M.",  "AD",   "AM",  "B.C.", "BC",    "CC",     "D",     "DAY",   "DD", "DDD",
    "DSP",  "DY",    "E",    "EE",  "FX",   "HH",    "HH12",   "HH24",  "I",     "IW", "IY",
    "IYY",  "IYYY",  "J",    "MI",  "MM",   "MON",   "MONTH",  "NYYYY", "P.M.",  "PM", "Q",
    "RM",   "RR",    "RRRR", "SCC", "SS",   "SSSSS", "SY,YYY", "SYEAR", "SYYYY", "W",  "WW",
    "Y",    "Y,YYY", "YEAR", "YY",  "YYY",  "YYYY",  "FM",     "\"x\""};

std::string Canonical(const std::string& name) {
  for (const auto& aliases : kAliases) {
    if (aliases.contains(name)) return *aliases.begin();
  }
  return name;
}

std::uint32_t ReferenceError(const std::vector<std::string>& names) {
  std::multiset<std::string> seen;
  for (const std::string& name : names) {
    const std::string canonical = Canonical(name);
    if (name == "FM" || name == "FX" || name[0] == '"') continue;
    if (seen.contains(canonical)) return 1810;
    seen.insert(canonical);
  }
  for (const auto& [number, group] : kExclusive) {
    int count = 0;
    for (const std::string& name : group) count += static_cast<int>(seen.count(Canonical(name)));
    if (count > 1) return number;
  }
  for (const auto& [number, sides] : kAgainst) {
    int left = 0, right = 0;
    for (const std::string& name : sides.first)
      left += static_cast<int>(seen.count(Canonical(name)));
    for (const std::string& name : sides.second)
      right += static_cast<int>(seen.count(Canonical(name)));
    if (left > 0 && right > 0) return number;
  }
  return 0;
}

TEST(LdxModel, EveryModelOfUpToThreeElements) {
  DateContext context;
  std::map<std::string, std::string> single;
  for (const std::string name : kElementNames) single[name] = context.Compile(name);
  const auto compiled = [&](const std::vector<std::string>& names) {
    std::string bytes;
    bool fill = true;
    for (const std::string& name : names) {
      if (&name != names.data()) bytes += std::string("\x2F\x04 ", 3);
      if (name == "FM") fill = !fill;
      std::string item = single[name];
      if (!item.empty() && name[0] != '"' && !fill) item[1] = static_cast<char>(item[1] & ~16);
      bytes += item;
    }
    return bytes;
  };
  const auto check = [&](const std::vector<std::string>& names) {
    std::string model;
    for (const std::string& name : names) model += (&name == names.data() ? "" : " ") + name;
    const std::uint32_t expected = ReferenceError(names);
    std::string bytes;
    const std::uint32_t number = context.ErrorOf([&] { bytes = context.Compile(model, 64); });
    ASSERT_EQ(number, expected) << model;
    if (number == 0) {
      ASSERT_EQ(HexOf(bytes), HexOf(compiled(names))) << model;
    }
  };
  for (const char* a : kElementNames) {
    check({a});
    for (const char* b : kElementNames) {
      check({a, b});
      for (const char* c : kElementNames) {
        ASSERT_NO_FATAL_FAILURE(check({a, b, c}));
      }
    }
  }
}

TEST(LdxModel, LiteralsUpToTheLimit) {
  DateContext context;
  for (std::size_t length = 200; length <= 260; ++length) {
    for (const bool quoted : {false, true}) {
      const std::string inside(length, quoted ? 'x' : '-');
      const std::string model = quoted ? '"' + inside + '"' : inside;
      std::string bytes;
      const std::uint32_t number = context.ErrorOf([&] { bytes = context.Compile(model); });
      EXPECT_EQ(number, length <= 209 ? 0u : 1800u) << length;
      if (number != 0) continue;
      EXPECT_EQ(static_cast<std::uint8_t>(bytes[0]), 46 + length);
      EXPECT_EQ(bytes.substr(2), inside);
    }
  }
}

TEST(LdxModel, ScansItemByItem) {
  DateContext context;
  const std::string model = "FMHH \"de\" DL";
  const std::uint8_t* text = TextData(model);
  std::size_t remaining = model.size();
  std::uint8_t bytes[100];
  std::uint8_t* out = bytes;
  std::size_t space = sizeof bytes;
  ldxscan state{};
  std::vector<std::uint32_t> codes;
  std::uint32_t code = 0;
  do {
    code = ldxsnf(context.get(), &text, &remaining, &out, &space, &state);
    codes.push_back(code);
  } while (code != 0 && codes.size() < 20);
  EXPECT_EQ(codes.size(), 7u);
  EXPECT_EQ(codes[0], KES_DATE_FM + 0u);
  EXPECT_EQ(codes[1], KES_DATE_HH12 + 0u);
  EXPECT_EQ(codes[3], KES_DATE_LITERAL + 0u);
  EXPECT_EQ(remaining, 0u);
  EXPECT_EQ(sizeof bytes - space, static_cast<std::size_t>(out - bytes));
}

}  // namespace
}  // namespace kestra::test
