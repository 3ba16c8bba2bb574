// Sets that carry a state, and GB18030, over the full data: a slow reference and every pair of
// bytes. Cuts and rooms are fuzz/lxg_stateful_fuzz.cc's. KESTRA_LONG_TESTS=N makes N random texts a set instead
// of a few hundred.
#include <gtest/gtest.h>

#include <cstdlib>
#include <random>

#include "tests/support/conversion_fixture.h"
#include "tests/support/stateful_reference.h"

namespace kestra::test {
namespace {

struct SetName {
  std::uint32_t id;
  const char* map;  // null: no reference
};
constexpr SetName kSets[] = {{900, "IBM930"}, {901, "IBM939"},  {902, "IBM1390"}, {903, "IBM1399"},
                             {904, "IBM933"}, {905, "IBM1364"}, {906, "IBM935"},  {907, "IBM1388"},
                             {908, "IBM937"}, {909, "IBM1371"}, {854, nullptr},   {9994, nullptr},
                             {9995, nullptr}, {9996, nullptr},  {9997, nullptr},  {9998, nullptr},
                             {9999, nullptr}};
std::size_t TextCount(std::size_t ordinary) {
  const char* count = std::getenv("KESTRA_LONG_TESTS");
  return count == nullptr ? ordinary : static_cast<std::size_t>(std::atoll(count));
}

using Stateful = ConversionTest;

std::string ToUtf16(const std::vector<std::uint32_t>& text) {
  std::string bytes;
  const auto unit = [&bytes](std::uint32_t u) {
    bytes += static_cast<char>(u >> 8);
    bytes += static_cast<char>(u);
  };
  for (std::uint32_t code : text) {
    if (code == kRefMalformed) code = 0xFFFD;
    if (code >= 0x10000) {
      unit(0xD7C0 + (code >> 10));
      unit(0xDC00 | (code & 0x3FF));
    } else {
      unit(code);
    }
  }
  return bytes;
}

// Text with everything that can go wrong in it. Escapes and shifts come often, so that states
// change and repeat.
std::string RandomText(std::mt19937& random, std::uint32_t id, std::size_t size) {
  static const char* const kEscapes[] = {
      "\x1B(B",  "\x1B(J",  "\x1B(I",  "\x1B$B",  "\x1B$@",  "\x1B$(D", "\x1B$(O", "\x1B$(Q",
      "\x1B$(P", "\x1B$A",  "\x1B$(C", "\x1B.A",  "\x1B.F",  "\x1BN",   "\x1BO",   "\x1B$)A",
      "\x1B$)G", "\x1B$)C", "\x1B$*H", "\x1B$+I", "\x1B$+M", "\x1B$",   "\x1B",    "\n"};
  const auto below = [&random](unsigned n) { return static_cast<unsigned>(random() % n); };
  std::string text;
  while (text.size() < size) {
    const unsigned kind = below(16);
    if (id >= 9994 && kind < 3) {
      text += kEscapes[below(std::size(kEscapes))];
    } else if (kind == 3 || kind == 4) {
      text += static_cast<char>(kind == 3 ? 0x0E : 0x0F);
    } else if (kind == 5) {
      text += static_cast<char>(below(256));
    } else if (id == 854 && kind < 9) {
      text += static_cast<char>(0x81 + below(126));
      text += static_cast<char>(0x30 + below(10));
      text += static_cast<char>(0x81 + below(126));
      text += static_cast<char>(0x30 + below(10));
    } else if (kind < 13) {
      const unsigned base = id >= 9994 ? 0x21 : id == 854 ? 0x81 : 0x41;
      for (unsigned n = below(6); n > 0; --n) {
        text += static_cast<char>(base + below(id == 854 ? 126 : 94));
        text += static_cast<char>((id == 854 ? 0x40 : base) + below(94));
      }
    } else {
      for (unsigned n = below(8); n > 0; --n) text += static_cast<char>(0x20 + below(200));
    }
  }
  return text;
}

TEST_F(Stateful, AgreeWithTheSlowReferenceOnRandomTexts) {
  for (const SetName& set : kSets) {
    if (set.map == nullptr) continue;
    SCOPED_TRACE(set.map);
    const StatefulReference reference(set.map);
    std::vector<std::string> characters;
    for (const auto& [bytes, code] : reference.map().decode) characters.push_back(bytes);
    std::mt19937 random(20221);
    for (std::size_t i = 0; i < TextCount(300); ++i) {
      std::string source = RandomText(random, set.id, 1 + random() % 700);
      for (auto n = random() % 200; n > 0; --n) {  // and characters that are in the set
        const std::string& one = characters[random() % characters.size()];
        source += one.size() == 2 ? "\x0E" + one + (n % 3 == 0 ? "\x0F" : "") : "\x0F" + one;
      }
      const std::vector<std::uint32_t> wanted = reference.Decode(source);
      const Outcome got = Convert(kUtf16, set.id, source);
      ASSERT_EQ(Show(got.bytes), Show(ToUtf16(wanted))) << Show(source);
      ASSERT_EQ(got.status.characters_total, wanted.size());
      ASSERT_EQ(got.status.consumed, source.size());
      const Outcome back = Convert(set.id, kUtf16, got.bytes);
      ASSERT_EQ(Show(back.bytes), Show(reference.Encode(wanted)));
    }
  }
}

TEST_F(Stateful, ShiftsTakeNoRoomAndAlwaysEnd) {
  const std::string shifts = [] {
    std::string s;
    for (int i = 0; i < 100'000; ++i) s += i % 3 == 0 ? "\x0E\x0E" : "\x0F";
    return s;
  }();
  const Outcome got = Convert(kUtf16, 900, shifts, 1);
  EXPECT_EQ(got.bytes, "");
  EXPECT_EQ(got.error, 0u);
  EXPECT_EQ(got.status.consumed, shifts.size());
  std::string escapes;
  for (int i = 0; i < 30'000; ++i) escapes += i % 2 == 0 ? "\x1B$B" : "\x1B(B";
  EXPECT_EQ(Convert(kUtf16, 9999, escapes, 1).status.consumed, escapes.size());
}

TEST_F(Stateful, NeverGrowsPastThePublishedFactor) {
  for (const SetName& set : kSets) {
    for (const std::uint32_t from : {101u, 105u, 107u, 873u, 2000u, 900u, 9996u}) {
      std::mt19937 random(set.id + from);
      for (int i = 0; i < 40; ++i) {
        std::string source(1 + random() % 50, '\0');
        for (char& byte : source) byte = static_cast<char>(random());
        const std::size_t most =
            set.id >= 9994 ? 8 * source.size() + 4 : 4 * source.size() + (set.id >= 900 ? 1 : 0);
        const Outcome got = Convert(set.id, from, source, most);
        ASSERT_EQ(got.error, 0u) << set.id << " from " << from << ": " << Show(source);
      }
    }
  }
}

TEST_F(Stateful, EveryPairOfBytesInBothStates) {
  for (const SetName& set : kSets) {
    if (set.map == nullptr) continue;
    SCOPED_TRACE(set.map);
    const StatefulReference reference(set.map);
    std::string shifted = "\x0E";
    std::string base;
    for (int a = 0; a < 256; ++a) {
      for (int b = 0; b < 256; ++b) {
        const std::string pair = {static_cast<char>(a), static_cast<char>(b)};
        shifted += pair + "\x0F\x0E";
        base += pair + "\x0F";
      }
    }
    EXPECT_EQ(Convert(kUtf16, set.id, shifted).bytes, ToUtf16(reference.Decode(shifted)));
    EXPECT_EQ(Convert(kUtf16, set.id, base).bytes, ToUtf16(reference.Decode(base)));
  }
}

TEST_F(Stateful, WithoutItsPartsAnIso2022SetIsUnavailable) {
  const lxobject* set = Set(9999);
  const lxobject* utf16 = Set(kUtf16);
  lxcontext nothing{};
  std::uint8_t out[8];
  const std::uint8_t in[] = {0x41};
  EXPECT_EQ(lxgcnv(out, utf16, 8, in, set, 1, &nothing), 0u);
  EXPECT_EQ(nothing.error, KES_NLS_OBJECT_UNAVAILABLE);
  NlsSession small;  // has no EUC-JP in full, but no EUC-KR at all
  EXPECT_EQ(lxgcnv(out, set, 8, in, utf16, 1, small.context()), 0u);
}

}  // namespace
}  // namespace kestra::test
