// Laws of conversion over random text: every pair of sets, every processor level, against the slow
// reference; all rooms; all splits.
#include <gtest/gtest.h>

#include <cstring>
#include <random>

#include "core/os/cpu.h"
#include "kestra/convert.h"
#include "tests/support/charset_builder.h"
#include "tests/support/convert_reference.h"
#include "tests/support/hex.h"
#include "tests/support/nls_fixture.h"

namespace kestra::test {
namespace {

struct SetPair {
  const char* name;
  const lxobject* object;
  ref::Set reference;
};

const std::vector<SetPair>& Sets() {
  static const std::vector<SetPair> sets = {
      {"UTF-8", Unicode(873).get(), ref::UnicodeSet(873)},
      {"UTF8", Unicode(871).get(), ref::UnicodeSet(871)},
      {"UTF-EBCDIC", Unicode(872).get(), ref::UnicodeSet(872)},
      {"UTF-16BE", Unicode(2000).get(), ref::UnicodeSet(2000)},
      {"UTF-16LE", Unicode(2002).get(), ref::UnicodeSet(2002)},
      {"US7ASCII", UsAscii().get(), ref::TableSet(AsciiMappings(), "?")},
      {"Latin", Latin().get(), ref::TableSet(LatinMappings(), "?")},
      {"EBCDIC", Ebcdic().get(), ref::TableSet(EbcdicMappings(), "\x6F")},
      {"Double", Double().get(), ref::TableSet(DoubleMappings(), "?")},
      {"Pairs", Pairs().get(), ref::TableSet(PairMappings(), "?")},
  };
  return sets;
}

constexpr os::CpuLevel kLevels[] = {os::CpuLevel::kBaseline, os::CpuLevel::kAvx2,
                                    os::CpuLevel::kAvx512};

class ForcedLevel {
 public:
  explicit ForcedLevel(os::CpuLevel level) { os::ForceCpuLevel(level); }
  ~ForcedLevel() { os::ForceCpuLevel(os::CpuLevel::kAvx512); }
};

ref::Result RunOurs(const SetPair& to, const SetPair& from, const std::string& source,
                    std::size_t room, std::uint32_t options) {
  lxcontext context{};
  std::string out(room, '\0');
  const std::size_t n = lxgcnvb(reinterpret_cast<std::uint8_t*>(out.data()), to.object, room,
                                reinterpret_cast<const std::uint8_t*>(source.data()), from.object,
                                source.size(), options, &context);
  return {out.substr(0, n), context.status, context.error};
}

testing::AssertionResult Same(const ref::Result& got, const ref::Result& wanted) {
  const auto text = [](const ref::Result& r) {
    std::string line = "error " + std::to_string(r.error) + " consumed " +
                       std::to_string(r.status.consumed) + " characters " +
                       std::to_string(r.status.characters_total) + " indicator " +
                       std::to_string(r.status.replacement) + " first " +
                       std::to_string(static_cast<std::int64_t>(r.status.first_replaced)) + " ";
    return line + Hex(reinterpret_cast<const std::uint8_t*>(r.bytes.data()), r.bytes.size());
  };
  const std::string a = text(got);
  const std::string b = text(wanted);
  if (a == b) return testing::AssertionSuccess();
  return testing::AssertionFailure() << "\n  got    " << a << "\n  wanted " << b;
}

// Text in a set: mostly characters of a few kinds in runs, now and then bytes at random.
class TextMaker {
 public:
  explicit TextMaker(unsigned seed) : random_(seed) {}

  std::string Make(const SetPair& set, std::size_t size, unsigned damage_percent) {
    static constexpr std::uint32_t kRanges[][2] = {
        {0x20, 0x7F},         {0x20, 0x7F},      {0xA0, 0x180},      {0x400, 0x460},
        {0x2000, 0x2070},     {0x4E00, 0x5A00},  {0x4E00, 0x5A00},   {0xAC00, 0xAC10},
        {0xFF70, 0xFF73},     {0, 0x20},         {0x1F600, 0x1F640}, {0xFFF0, 0xFFFE},
        {0x10FFF0, 0x110000}, {0x20000, 0x20001}};
    std::string text;
    while (text.size() < size) {
      const auto& range = kRanges[Below(std::size(kRanges))];
      for (auto n = Below(Below(3) == 0 ? 100 : 12); n > 0 && text.size() < size; --n) {
        const auto span = range[1] - range[0];
        text += set.reference.write(range[0] + static_cast<std::uint32_t>(Below(span)));
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

TEST(LxgLaws, EveryPairAndLevelEqualsTheReference) {
  for (const os::CpuLevel level : kLevels) {
    if (os::ForceCpuLevel(level) != level) continue;
    const ForcedLevel forced(level);
    TextMaker maker(1);
    for (const SetPair& from : Sets()) {
      for (int round = 0; round < 60; ++round) {
        // From 1024 bytes on tables are put in order first.
        const std::string text = maker.Make(from, maker.Below(round % 10 == 9 ? 2500 : 900),
                                            round % 3 == 0   ? 0
                                            : round % 3 == 1 ? 3
                                                             : 60);
        for (const SetPair& to : Sets()) {
          SCOPED_TRACE(std::string(from.name) + " to " + to.name);
          const std::uint32_t options = static_cast<std::uint32_t>(round) / 3 % 4;
          const std::size_t room = round % 5 == 0 ? maker.Below(2000) + 1 : 10000;
          ASSERT_TRUE(Same(RunOurs(to, from, text, room, options),
                           ref::Convert(to.reference, from.reference, text, room, options)))
              << "level " << static_cast<int>(level) << " room " << room << " options " << options
              << " text " << Hex(reinterpret_cast<const std::uint8_t*>(text.data()), text.size());
        }
      }
    }
  }
}

// The destination ends at a page that traps: nothing is written outside, the output is a prefix.
TEST(LxgLaws, EveryRoomGivesAPrefixAndTouchesNothingElse) {
  for (const os::CpuLevel level : kLevels) {
    if (os::ForceCpuLevel(level) != level) continue;
    const ForcedLevel forced(level);
    TextMaker maker(2);
    for (const SetPair& from : Sets()) {
      for (const SetPair& to : Sets()) {
        SCOPED_TRACE(std::string(from.name) + " to " + to.name);
        const std::string text = maker.Make(from, 150, 10);
        const ref::Result whole = ref::Convert(to.reference, from.reference, text, 4000, 0);
        GuardedBuffer source(text.size());
        std::memcpy(source.data(), text.data(), text.size());
        for (std::size_t room = 0; room <= whole.bytes.size() + 8; ++room) {
          GuardedBuffer out(room);
          lxcontext context{};
          const std::size_t n = lxgcnv(out.data(), to.object, room, source.data(), from.object,
                                       text.size(), &context);
          const ref::Result got{std::string(reinterpret_cast<char*>(out.data()), n), context.status,
                                context.error};
          ASSERT_TRUE(Same(got, ref::Convert(to.reference, from.reference, text, room, 0)))
              << "room " << room;
        }
      }
    }
  }
}

// Kernels take blocks of 16, 32 or 64 bytes, and the end of a text in another way than its middle: all
// combinations of bytes that begin, continue, cut off or break characters, around each such place.
TEST(LxgLaws, EverythingAtTheEndOfABlock) {
  const SetPair& utf8 = Sets()[0];
  const SetPair& utf16 = Sets()[3];
  const SetPair& latin = Sets()[6];
  constexpr std::uint8_t kBytes[] = {0x41, 0x80, 0x90, 0xA0, 0xBF, 0xC0, 0xC3,
                                     0xE0, 0xE2, 0xED, 0xF0, 0xF4, 0xFF};
  constexpr std::uint16_t kUnits[] = {0x41, 0x7FF, 0x800, 0xD800, 0xDC00, 0xDFFF, 0xFFFD};
  constexpr std::size_t kPlaces[] = {0, 1, 14, 15, 30, 31, 62};
  const auto check = [](const SetPair& from, const SetPair& to, const std::string& text) {
    const ref::Result wanted = ref::Convert(to.reference, from.reference, text, 400, 0);
    for (const os::CpuLevel level : kLevels) {
      if (os::ForceCpuLevel(level) != level) continue;
      ASSERT_TRUE(Same(RunOurs(to, from, text, 400, 0), wanted))
          << from.name << " to " << to.name << " level " << static_cast<int>(level) << " text "
          << Hex(reinterpret_cast<const std::uint8_t*>(text.data()), text.size());
    }
  };
  const ForcedLevel restore(os::CpuLevel::kAvx512);
  for (const std::size_t place : kPlaces) {
    for (std::size_t i = 0; i < std::size(kBytes) * std::size(kBytes) * std::size(kBytes); ++i) {
      std::string text = place % 2 == 0 ? "" : "a";
      while (text.size() < place) text += "\xC3\xA4";
      for (std::size_t rest = i, k = 0; k < 3; ++k, rest /= std::size(kBytes)) {
        text += static_cast<char>(kBytes[rest % std::size(kBytes)]);
      }
      check(utf8, i % 2 == 0 ? utf16 : latin, text);
      if (HasFatalFailure()) return;
      check(utf8, i % 2 == 0 ? latin : utf16, text + "zzz");
      if (HasFatalFailure()) return;
    }
    for (std::size_t i = 0; i < std::size(kUnits) * std::size(kUnits) * std::size(kUnits); ++i) {
      std::string text;
      for (std::size_t k = 0; k < place; ++k) text += {'\x04', '\x30'};
      for (std::size_t rest = i, k = 0; k < 3; ++k, rest /= std::size(kUnits)) {
        const std::uint16_t unit = kUnits[rest % std::size(kUnits)];
        text += {static_cast<char>(unit >> 8), static_cast<char>(unit)};
      }
      check(utf16, utf8, text);
      if (HasFatalFailure()) return;
    }
  }
}

TEST(LxgLaws, SplittingTheSourceChangesNothing) {
  TextMaker maker(3);
  for (const SetPair& from : Sets()) {
    for (const SetPair& to : Sets()) {
      SCOPED_TRACE(std::string(from.name) + " to " + to.name);
      const std::string text = maker.Make(from, 120, 25);
      const ref::Result whole = RunOurs(to, from, text, 4000, 0);
      for (std::size_t cut = 0; cut <= text.size(); ++cut) {
        const ref::Result head = RunOurs(to, from, text.substr(0, cut), 4000, KES_CONVERT_MORE);
        const ref::Result tail = RunOurs(to, from, text.substr(head.status.consumed), 4000, 0);
        ASSERT_EQ(head.bytes + tail.bytes, whole.bytes) << "cut at " << cut;
        ASSERT_EQ(head.status.characters_total + tail.status.characters_total,
                  whole.status.characters_total);
        ASSERT_EQ(head.status.consumed + tail.status.consumed, whole.status.consumed);
      }
    }
  }
}

}  // namespace
}  // namespace kestra::test
