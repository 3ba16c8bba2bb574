// The Unicode forms: every code point through every pair of forms, and malformed sequences.
#include "core/os/cpu.h"
#include "tests/support/conversion_fixture.h"

namespace kestra::test {
namespace {

constexpr std::uint16_t kForms[] = {871, 872, 873, 2000, 2002};

const ref::Set& FormOf(std::uint16_t id) {
  static std::map<std::uint16_t, ref::Set> forms;
  const auto it = forms.find(id);
  return it != forms.end() ? it->second : forms.emplace(id, ref::UnicodeSet(id)).first->second;
}

class LxgUnicode : public ConversionTest {
 protected:
  LxgUnicode() : ConversionTest(TestHome()) {}
};

TEST_F(LxgUnicode, EveryCodePointThroughEveryPairOfForms) {
  for (std::uint32_t begin = 0; begin < 0x110000; begin += 0x10000) {
    std::map<std::uint16_t, std::string> texts;
    for (const std::uint16_t form : kForms) {
      const ref::Set& set = FormOf(form);
      for (std::uint32_t cp = begin; cp < begin + 0x10000; ++cp) {
        if (cp < 0xD800 || cp > 0xDFFF) texts[form] += set.write(cp);
      }
    }
    for (const os::CpuLevel level : {os::CpuLevel::kBaseline, os::CpuLevel::kAvx512}) {
      if (os::ForceCpuLevel(level) != level) continue;
      for (const std::uint16_t from : kForms) {
        for (const std::uint16_t to : kForms) {
          const Outcome got = Convert(to, from, texts[from]);
          ASSERT_TRUE(got.bytes == texts[to]) << from << " to " << to;
          ASSERT_EQ(got.status.characters_total, begin == 0 ? 0x10000u - 0x800u : 0x10000u);
          ASSERT_EQ(got.status.first_replaced, kNone);
          ASSERT_EQ(got.status.replacement, begin == 0 ? 1000 : 0);  // U+FFFD is among them
        }
      }
    }
  }
  os::ForceCpuLevel(os::CpuLevel::kAvx512);
}

struct MalformedCase {
  std::uint16_t form;
  const char* bytes;
  const char* result;  // code points: R for a replacement, else ASCII
};
constexpr MalformedCase kMalformed[] = {
    // The Unicode Standard, table 3-8 and its neighbours.
    {873, "61 F1 80 80 E1 80 C2 62 80 63 80 BF 64", "aRRRbRcRRd"},
    {873, "C0 AF E0 80 BF F0 81 82 41", "RRRRRRRRA"},
    {873, "ED A0 80 ED BF BF ED AF 41", "RRRRRRRRA"},
    {873, "F4 91 92 93 FF 41 80 BF 42", "RRRRRARRB"},
    {873, "E1 80 E2 F0 91 92 F1 BF 41", "RRRRA"},
    {873, "F5 80 80 80 F8 88 FE 41", "RRRRRRRA"},
    {873, "E2 82", "R"},
    {873, "F0 9F 98", "R"},
    {871, "ED A0 BD 41 ED B8 80 42", "RARB"},  // lone units, one replacement each
    {871, "ED A0 BD ED A0 BD 41", "RRA"},
    {871, "F0 9F 98 80 41", "RRRRA"},
    {871, "C1 81 E0 9F BF 41", "RRRRRA"},
    {872, "DD 73 C1", "RA"},   // cut by a letter
    {872, "74 41 C1", "RRA"},  // an overlong lead, then a trail alone
    {872, "41 42", "RR"},      // trails alone
    {2000, "D8 00 D8 00 00 41", "RRA"},
    {2000, "DC 00 DC 00 00 41", "RRA"},
    {2000, "D8 00 DC", "R"},
    {2002, "00 D8 41 00", "RA"},
};

TEST_F(LxgUnicode, MalformedSequencesGiveOneReplacementForEachMaximalPart) {
  for (const MalformedCase& c : kMalformed) {
    SCOPED_TRACE(std::to_string(c.form) + ": " + c.bytes);
    const std::vector<std::uint8_t> bytes = Bytes(c.bytes);
    const Outcome outcome = Convert(873, c.form, std::string(bytes.begin(), bytes.end()));
    const std::string& got = outcome.bytes;
    std::string shown;
    for (std::size_t i = 0; i < got.size(); ++i) {
      if (got.compare(i, 3, "\xEF\xBF\xBD") == 0) {
        shown += 'R';
        i += 2;
      } else {
        shown += got[i];
      }
    }
    EXPECT_EQ(shown, c.result);
    EXPECT_EQ(outcome.status.characters_total, std::strlen(c.result));
    EXPECT_EQ(outcome.status.replacement, 1000);
  }
}

}  // namespace
}  // namespace kestra::test
