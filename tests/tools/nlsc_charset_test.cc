// Character sets: from code tables to objects. Values are from the standards of the sets.
#include <gtest/gtest.h>

#include "kestra/charset.h"
#include "kestra/handle.h"
#include "nls/nlb_format.h"
#include "tests/tools/nlsc_support.h"
#include "tools/nlsc/charset.h"
#include "tools/nlsc/charset_reader.h"
#include "tools/nlsc/check.h"

namespace kestra::nlsc {
namespace {

namespace layout = kestra::nls::nlb::charset;

// An object of the test data with its reader.
struct Loaded {
  explicit Loaded(std::uint32_t id, const char* set = "home")
      : bytes(ReadObjectFile(test::TestObjects(set) / ObjectFileName(kCharsetObject, id))),
        object(bytes),
        reader(object) {}

  std::uint32_t Decode(std::uint32_t number, unsigned length) const {
    const auto code = reader.Decode({number, length});
    return code ? static_cast<std::uint32_t>(*code) : 0xFFFFFFFF;
  }
  std::uint32_t Encode(char32_t code) const {
    const auto found = reader.Encode(code);
    return found ? found->bytes : 0xFFFFFFFF;
  }
  unsigned ClassOf(std::uint8_t first) const {
    return object.U16(layout::kClassTableAt + 2 * std::size_t{first});
  }

  std::vector<std::uint8_t> bytes;
  ObjectReader object;
  CharsetReader reader;
};
constexpr std::uint32_t kNone = 0xFFFFFFFF;

const UnicodeData& TestUnicode() {
  static Sources sources(test::TestSources() / "sources",
                         ReadManifest(test::TestSources() / "definitions/manifest.csv"),
                         VersionCheck::kStrict);
  static const UnicodeData unicode(sources);
  return unicode;
}

std::vector<std::uint8_t> MakeObject(const std::string& kind, std::uint32_t max_bytes,
                                     std::uint32_t mappings, const std::string& map) {
  CharsetDefinition definition;
  definition.id = 4000;
  definition.name = "TEST";
  definition.kind = kind;
  definition.max_bytes = max_bytes;
  definition.mappings = mappings;
  const CharsetModel model = MakeTableCharset(definition, ReadMap({"M", map}), TestUnicode(), "M");
  return WriteCharset(model, "test", false).bytes;
}

std::string FaultOf(const std::string& kind, std::uint32_t max_bytes, std::uint32_t mappings,
                    const std::string& map) {
  try {
    MakeObject(kind, max_bytes, mappings, map);
  } catch (const InputError& error) {
    return error.what();
  }
  return "";
}

TEST(NlscCharset, TakesTheFirstOfTwoMappingsInEitherDirection) {
  const std::vector<std::uint8_t> bytes =
      MakeObject("single", 1, 5, "3F 003F\n41 0041\n41 0042\n42 0041\n!43 0043\n44 0043\n");
  const ObjectReader object(bytes);
  const CharsetReader reader(object);
  EXPECT_EQ(reader.Decode({0x41, 1}), U'A');
  EXPECT_EQ(reader.Encode(U'A')->bytes, 0x41u);
  EXPECT_EQ(reader.Decode({0x42, 1}), U'A');
  EXPECT_EQ(reader.Encode(U'B'), std::nullopt);  // would decode to A
  EXPECT_EQ(reader.Encode(U'C')->bytes, 0x44u);
  EXPECT_EQ(CheckObject(bytes), Faults());
}

TEST(NlscCharset, RefusesATableThatContradictsItsDefinition) {
  EXPECT_EQ(FaultOf("single", 1, 2, "41 0041\n"), "M: 1 mappings, the definition of TEST says 2");
  EXPECT_EQ(FaultOf("multi", 3, 2, "41 0041\n8181 3042\n"),
            "M: longest character has 2 bytes, the definition of TEST says 3");
  EXPECT_EQ(FaultOf("multi", 3, 2, "8181 3042\n818182 3043\n"),
            "M: 818182: characters that begin with 81 have two lengths");
  EXPECT_EQ(FaultOf("multi", 2, 1, "8181 0000\n"), "M: U+0000 has more than one byte");
  EXPECT_EQ(FaultOf("single", 1, 1, "41 1F600\n"), "M: a one-byte character lies above U+FFFE");
}

TEST(NlscCharset, ClassesAndCaseComeFromUnicode) {
  const Loaded latin(101), turkish(109), ebcdic(516);
  EXPECT_EQ(latin.ClassOf('A'),
            unsigned{KES_CLASS_UPPER | KES_CLASS_ALPHABETIC | KES_CLASS_HEX_DIGIT});
  EXPECT_EQ(latin.ClassOf('7'), unsigned{KES_CLASS_DIGIT | KES_CLASS_HEX_DIGIT});
  EXPECT_EQ(latin.ClassOf('+'), unsigned{KES_CLASS_PUNCTUATION});
  EXPECT_EQ(latin.ClassOf(' '), unsigned{KES_CLASS_SPACE | KES_CLASS_BLANK});
  EXPECT_EQ(ebcdic.ClassOf(0xC7), latin.ClassOf('G'));
  const auto upper = [](const Loaded& set, unsigned byte) {
    return unsigned{set.object.U8(layout::kUpperAt + byte)};
  };
  const auto lower = [](const Loaded& set, unsigned byte) {
    return unsigned{set.object.U8(layout::kLowerAt + byte)};
  };
  EXPECT_EQ(upper(latin, 0xE9), 0xC9u);
  EXPECT_EQ(upper(latin, 0xFF), 0xFFu);           // its capital is not in the set
  EXPECT_EQ(upper(latin, 0xDF), 0xDFu);           // sharp s has no simple capital
  EXPECT_EQ(lower(latin, 0xD7), 0xD7u);           // the multiplication sign is no letter
  EXPECT_EQ(upper(turkish, 'i'), unsigned{'I'});  // language rules are not the set's business
  EXPECT_EQ(upper(turkish, 0xFD), unsigned{'I'});
  EXPECT_EQ(upper(ebcdic, 0x81), 0xC1u);
}

TEST(NlscCharset, MultibyteClassesFollowTheCell) {
  const Loaded euc(831);
  EXPECT_EQ(euc.ClassOf(0xA4), 1u);
  EXPECT_EQ(euc.ClassOf(0x8F), 2u);
  EXPECT_EQ(euc.reader.ClassWord({0xA3C1, 2}) & KES_CLASS_UPPER, unsigned{KES_CLASS_UPPER});
  EXPECT_EQ(euc.reader.ClassWord({0xA3E1, 2}) & KES_CLASS_LOWER, unsigned{KES_CLASS_LOWER});
  EXPECT_EQ(euc.reader.ClassWord({0xA1A1, 2}) & KES_CLASS_SPACE, unsigned{KES_CLASS_SPACE});
  EXPECT_EQ(euc.reader.ClassWord({0xB0A1, 2}) & KES_CLASS_ALPHABETIC,
            unsigned{KES_CLASS_ALPHABETIC});
}

TEST(NlscCharset, FlagsTellHowLengthsAreFound) {
  const struct {
    std::uint32_t id, handle_flags, flags;
    unsigned lead, length;
  } kCases[] = {
      {101, KES_CHARSET_SINGLE, layout::kDisplayFlag, 0xE9, 1},
      {831, 0, layout::kDisplayFlag | layout::kMultibyteFlag, 0x8E, 2},
      {862, 0, layout::kDisplayFlag | layout::kMultibyteFlag, 0x8E, 4},
      {871, KES_CHARSET_UTF8, layout::kDisplayFlag | layout::kAlgorithmicFlag, 0xF0, 1},
      {872, 0, layout::kDisplayFlag | layout::kAlgorithmicFlag, 0xDD, 4},
      {873, KES_CHARSET_UTF8, layout::kDisplayFlag, 0xF0, 4},
      {2000, KES_CHARSET_UTF16, layout::kLeadingZeroFlag, 0x41, 2},
  };
  for (const auto& c : kCases) {
    SCOPED_TRACE(c.id);
    const Loaded set(c.id);
    EXPECT_EQ(set.object.U32(layout::kHandleFlagsAt), c.handle_flags);
    EXPECT_EQ(set.object.U32(layout::kFlagsAt), c.flags);
    EXPECT_EQ(set.reader.Length(static_cast<std::uint8_t>(c.lead)), c.length);
  }
}

// Unicode Technical Report 16: the mark U+FEFF is DD 73 66 73, line feed 15 and next line 25.
TEST(NlscCharset, UtfEbcdicBytesAreThoseOfTheReport) {
  const Loaded ibm1047(543);
  std::vector<Mapping> mappings;
  ibm1047.reader.ForEachDecoding([&](const CharacterBytes& bytes, char32_t code) {
    mappings.push_back({bytes.bytes, 1, false, code});
  });
  const std::array<std::uint8_t, 256> bytes = MakeUtfEbcdicBytes(mappings);
  EXPECT_EQ(bytes[0x0A], 0x15);
  EXPECT_EQ(bytes[0x85], 0x25);
  EXPECT_EQ(bytes['A'], 0xC1);
  EXPECT_EQ(bytes[0xA0], 0x41);
  EXPECT_EQ(bytes[0xFF], 0xFE);
  const std::uint8_t mark[] = {bytes[0xF1], bytes[0xBF], bytes[0xB7], bytes[0xBF]};
  EXPECT_EQ(std::vector<std::uint8_t>(mark, mark + 4),
            (std::vector<std::uint8_t>{0xDD, 0x73, 0x66, 0x73}));
}

}  // namespace
}  // namespace kestra::nlsc
