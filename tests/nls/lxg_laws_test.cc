// Laws of conversion over random text: every pair of sets, every processor level, against the slow
// reference; all rooms; all splits.
#include <random>

#include "tests/support/conversion_fixture.h"
#include "tests/support/cpu_level_test.h"

namespace kestra::test {
namespace {

struct SetPair {
  std::uint32_t id;
  ref::Set reference;
};

const std::vector<SetPair>& Sets() {
  const auto table = [](const char* name, const char* replacement) {
    return ref::TableSet(ref::Map("tests/data/nlsc/definitions/charsets/" + std::string(name)),
                         replacement);
  };
  static const std::vector<SetPair> sets = {
      {873, ref::UnicodeSet(873)},          {871, ref::UnicodeSet(871)},
      {872, ref::UnicodeSet(872)},          {2000, ref::UnicodeSet(2000)},
      {2002, ref::UnicodeSet(2002)},        {252, table("CP1252.map", "?")},
      {516, table("IBM037.map", "\x6F")},   {831, table("EUC-JP.map", "?")},
      {837, table("WINDOWS-31J.map", "?")}, {862, table("EUC-TW.map", "?")},
  };
  return sets;
}

// Text in a set: mostly characters of a few kinds in runs, now and then bytes at random.
class TextMaker {
 public:
  explicit TextMaker(unsigned seed) : random_(seed) {}

  std::string Make(const SetPair& set, std::size_t size, unsigned damage_percent) {
    static constexpr std::uint32_t kRanges[][2] = {
        {0x20, 0x7F},     {0x20, 0x7F},     {0xA0, 0x180},      {0x400, 0x460},
        {0x2000, 0x2070}, {0x4E00, 0x4F00}, {0xAC00, 0xAC10},   {0xFF70, 0xFF73},
        {0, 0x20},        {0xFFF0, 0xFFFE}, {0x1F600, 0x1F640}, {0x10FFF0, 0x110000}};
    const std::vector<std::uint32_t>& held = set.reference.characters;
    std::string text;
    while (text.size() < size) {
      const auto& range = kRanges[Below(std::size(kRanges))];
      const bool of_the_set = !held.empty() && Below(2) == 0;
      for (auto n = Below(Below(3) == 0 ? 100 : 12); n > 0 && text.size() < size; --n) {
        text += set.reference.write(
            of_the_set ? held[Below(held.size())]
                       : range[0] + static_cast<std::uint32_t>(Below(range[1] - range[0])));
      }
      if (Below(100) < damage_percent) {
        if (Below(2) == 0 || text.empty()) {
          text += static_cast<char>(Below(256));
        } else {
          text[Below(text.size())] = static_cast<char>(Below(256));
        }
      }
    }
    return text;
  }
  std::size_t Below(std::size_t limit) { return random_() % limit; }

 private:
  std::mt19937 random_;
};

class LxgLaws : public ConversionTest, public testing::WithParamInterface<os::CpuLevel> {
 protected:
  LxgLaws() : ConversionTest(TestHome()) {}
  void SetUp() override {
    if (os::ForceCpuLevel(GetParam()) != GetParam()) GTEST_SKIP() << "not on this machine";
  }
  void TearDown() override { os::ForceCpuLevel(os::CpuLevel::kAvx512); }
};
INSTANTIATE_TEST_SUITE_P(Levels, LxgLaws,
                         testing::Values(os::CpuLevel::kBaseline, os::CpuLevel::kAvx2,
                                         os::CpuLevel::kAvx512),
                         LevelName);

TEST_P(LxgLaws, EveryPairEqualsTheReference) {
  TextMaker maker(1);
  for (const SetPair& from : Sets()) {
    for (int round = 0; round < 60; ++round) {
      const unsigned damage = round % 3 == 0 ? 0 : round % 3 == 1 ? 3 : 60;
      // From 1024 bytes on tables are put in order first.
      const std::string text = maker.Make(from, maker.Below(round % 10 == 9 ? 2500 : 900), damage);
      for (const SetPair& to : Sets()) {
        const std::uint32_t options = static_cast<std::uint32_t>(round) / 3 % 4;
        const std::size_t room = round % 5 == 0 ? maker.Below(2000) + 1 : 10'000;
        ASSERT_TRUE(Same(Convert(to.id, from.id, text, room, options),
                         ref::Convert(to.reference, from.reference, text, room, options)))
            << from.id << " to " << to.id << " room " << room << " options " << options << " text "
            << Show(text);
      }
    }
  }
}

// Kernels take blocks of 16, 32 or 64 bytes, and the end of a text in another way than its middle: all
// combinations of bytes that begin, continue, cut off or break characters, around each such place.
TEST_P(LxgLaws, EverythingAtTheEndOfABlock) {
  const SetPair &utf8 = Sets()[0], &utf16 = Sets()[3], &latin = Sets()[5];
  constexpr std::uint8_t kBytes[] = {0x41, 0x80, 0x90, 0xA0, 0xBF, 0xC0, 0xC3,
                                     0xE0, 0xE2, 0xED, 0xF0, 0xF4, 0xFF};
  constexpr std::uint16_t kUnits[] = {0x41, 0x7FF, 0x800, 0xD800, 0xDC00, 0xDFFF, 0xFFFD};
  const auto check = [this](const SetPair& from, const SetPair& to, const std::string& text) {
    ASSERT_TRUE(Same(Convert(to.id, from.id, text, 400),
                     ref::Convert(to.reference, from.reference, text, 400, 0)))
        << from.id << " to " << to.id << " text " << Show(text);
  };
  for (const std::size_t place : {0, 1, 14, 15, 30, 31, 62}) {
    for (std::size_t i = 0; i < std::size(kBytes) * std::size(kBytes) * std::size(kBytes); ++i) {
      std::string text = place % 2 == 0 ? "" : "a";
      while (text.size() < place) text += "\xC3\xA4";
      for (std::size_t rest = i, k = 0; k < 3; ++k, rest /= std::size(kBytes)) {
        text += static_cast<char>(kBytes[rest % std::size(kBytes)]);
      }
      ASSERT_NO_FATAL_FAILURE(check(utf8, i % 2 == 0 ? utf16 : latin, text));
      ASSERT_NO_FATAL_FAILURE(check(utf8, i % 2 == 0 ? latin : utf16, text + "zzz"));
    }
    for (std::size_t i = 0; i < std::size(kUnits) * std::size(kUnits) * std::size(kUnits); ++i) {
      std::string text;
      for (std::size_t k = 0; k < place; ++k) text += {'\x04', '\x30'};
      for (std::size_t rest = i, k = 0; k < 3; ++k, rest /= std::size(kUnits)) {
        const std::uint16_t unit = kUnits[rest % std::size(kUnits)];
        text += {static_cast<char>(unit >> 8), static_cast<char>(unit)};
      }
      ASSERT_NO_FATAL_FAILURE(check(utf16, utf8, text));
    }
  }
}

TEST_P(LxgLaws, EveryRoomAndEverySplit) {
  TextMaker maker(2);
  for (const SetPair& from : Sets()) {
    for (const SetPair& to : Sets()) {
      SCOPED_TRACE(std::to_string(from.id) + " to " + std::to_string(to.id));
      const std::string text = maker.Make(from, 100, 15);
      const Outcome whole = ref::Convert(to.reference, from.reference, text, 4000, 0);
      for (std::size_t room = 0; room <= whole.bytes.size() + 8; ++room) {
        ASSERT_TRUE(Same(Convert(to.id, from.id, text, room),
                         ref::Convert(to.reference, from.reference, text, room, 0)))
            << "room " << room;
      }
      for (std::size_t cut = 0; cut <= text.size(); ++cut) {
        ASSERT_TRUE(Same(ConvertSplit(to.id, from.id, text, cut), whole)) << "cut at " << cut;
      }
    }
  }
}

}  // namespace
}  // namespace kestra::test
