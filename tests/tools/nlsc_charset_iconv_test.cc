// The full data set against the converters of the C library: every stateless table set, every byte
// sequence and every code point, in both directions. The source of these objects are charmaps, not
// iconv, except for 44 sets, for which this is a regression test.
//
// iconv encodes more than it decodes: code points without a byte of their own become a similar
// character (U+203E as the macron of IBM1140), or a letter and a mark (CP1258). Such answers do not
// decode to the code point that was asked for; we leave those code points unmapped, so that
// converting to a set and back never changes a character, and a character stays one. Any other
// difference is in the table.
#include <fmt/format.h>
#include <gtest/gtest.h>
#include <iconv.h>

#include <cstring>
#include <map>
#include <optional>
#include <set>

#include "nls/nlb_format.h"
#include "tests/tools/nlsc_support.h"
#include "tools/nlsc/charset_reader.h"
#include "tools/nlsc/input.h"
#include "tools/nlsc/object.h"

namespace kestra::nlsc {
namespace {

// One conversion direction; answers what iconv makes of a few bytes, or nothing when it refuses,
// substitutes, or leaves some.
class Iconv {
 public:
  Iconv(const char* to, const char* from) : handle_(iconv_open(to, from)) {}
  ~Iconv() {
    if (valid()) iconv_close(handle_);
  }
  Iconv(const Iconv&) = delete;
  Iconv& operator=(const Iconv&) = delete;
  bool valid() const { return handle_ != reinterpret_cast<iconv_t>(-1); }

  std::optional<std::string> operator()(std::string_view in) {
    iconv(handle_, nullptr, nullptr, nullptr, nullptr);
    char source[8], target[32];
    std::memcpy(source, in.data(), in.size());
    char *from = source, *to = target;
    std::size_t left = in.size(), room = sizeof target;
    if (iconv(handle_, &from, &left, &to, &room) != 0 || left != 0) return std::nullopt;
    if (iconv(handle_, nullptr, nullptr, &to, &room) != 0) return std::nullopt;
    return std::string(target, sizeof target - room);
  }

 private:
  iconv_t handle_;
};

class Reference {
 public:
  explicit Reference(const std::string& name)
      : decode_("UTF-32BE", name.c_str()), encode_(name.c_str(), "UTF-32BE") {}
  bool valid() const { return decode_.valid() && encode_.valid(); }

  std::optional<char32_t> Decode(const CharacterBytes& bytes) {
    std::string text;
    for (unsigned i = 0; i < bytes.length; ++i) {
      text += static_cast<char>(bytes.bytes >> (8 * (bytes.length - 1 - i)));
    }
    const std::optional<std::string> answer = decode_(text);
    if (!answer || answer->size() != 4) return std::nullopt;
    return static_cast<char32_t>(Number(*answer));
  }
  std::optional<CharacterBytes> Encode(char32_t code) {
    const char text[] = {0, static_cast<char>(code >> 16), static_cast<char>(code >> 8),
                         static_cast<char>(code)};
    const std::optional<std::string> answer = encode_({text, 4});
    if (!answer || answer->empty() || answer->size() > 4) return std::nullopt;
    return CharacterBytes{Number(*answer), static_cast<unsigned>(answer->size())};
  }

 private:
  static std::uint32_t Number(const std::string& bytes) {
    std::uint32_t value = 0;
    for (const char byte : bytes) value = value << 8 | static_cast<unsigned char>(byte);
    return value;
  }
  Iconv decode_, encode_;
};

// "set bytes": differences of decoding, with their reason.
const std::map<std::string, const char*> kKnown = {
    {"CY8MACCYRILLIC A2",
     "the charmap has the cent sign of older systems, iconv U+0490 as later ones"},
};
// Sets that have a charmap but no converter in the C library.
const std::set<std::string> kWithoutConverter = {"BS_VIEWDATA", "ISO_646.IRV", "JIS_X0201",
                                                 "NEXTSTEP",    "SAMI",        "SAMI-WS2"};

std::string Text(const std::optional<char32_t>& code) {
  return code ? fmt::format("U+{:04X}", static_cast<std::uint32_t>(*code)) : "nothing";
}

class Comparison {
 public:
  Comparison(std::string set, unsigned longest, const CharsetReader& reader, Reference& reference)
      : set_(std::move(set)), longest_(longest), reader_(reader), reference_(reference) {}

  void Run() {
    for (std::uint32_t first = 0; first < 256; ++first) {
      CompareDecoding({first, 1});
      if (reader_.Length(static_cast<std::uint8_t>(first)) == 1) continue;
      for (std::uint32_t second = 0; second < 256; ++second) {
        CompareDecoding({first << 8 | second, 2});
      }
    }
    reader_.ForEachDecoding([&](const CharacterBytes& bytes, char32_t) {
      if (bytes.length > 2) CompareDecoding(bytes);
    });
    for (char32_t code = 0; code < 0x30000; ++code) {
      if (code < 0xD800 || code > 0xDFFF) CompareEncoding(code);
    }
  }
  const std::set<std::string>& seen() const { return seen_; }

 private:
  void CompareDecoding(const CharacterBytes& bytes) {
    const auto ours = reader_.Decode(bytes), theirs = reference_.Decode(bytes);
    const std::string place = set_ + " " + FormatBytes(bytes);
    if (ours == theirs) return;
    seen_.insert(place);
    if (ours) different_.insert(*ours);
    if (theirs) different_.insert(*theirs);
    EXPECT_TRUE(kKnown.contains(place))
        << place << ": " << Text(ours) << ", iconv " << Text(theirs);
  }

  void CompareEncoding(char32_t code) {
    const auto ours = reader_.Encode(code), theirs = reference_.Encode(code);
    if (ours == theirs || different_.contains(code)) return;
    const bool another = theirs && reference_.Decode(*theirs) != code;
    const bool composed = !ours && theirs && theirs->length > longest_;
    EXPECT_TRUE(another || composed) << set_ << ": " << Text(std::optional(code)) << " is "
                                     << (ours ? FormatBytes(*ours) : "nothing") << ", iconv "
                                     << (theirs ? FormatBytes(*theirs) : "nothing");
  }

  std::string set_;
  unsigned longest_;  // bytes of a character
  const CharsetReader& reader_;
  Reference& reference_;
  std::set<std::string> seen_;
  std::set<char32_t> different_;
};

TEST(NlscCharset, AgreesWithIconv) {
  const SourceText text = ReadText(KESTRA_SOURCE_DIR "/data/charsets.csv");
  const Table table(text);
  std::set<std::string> seen;
  unsigned compared = 0;
  for (const Table::Row& row : table.rows()) {
    if (row["class"] != "single" && row["class"] != "multi") continue;
    if (row["source"] == "algorithmic") continue;
    const std::string name = row["source"].substr(row["source"].rfind(' ') + 1);
    Reference reference(name);
    EXPECT_EQ(reference.valid(), !kWithoutConverter.contains(name)) << name;
    if (!reference.valid()) continue;
    const std::vector<std::uint8_t> bytes =
        ReadObjectFile(std::filesystem::path(KESTRA_BUILD_DIR) / "home/nls/data" /
                       ObjectFileName(kCharsetObject, row.Number("id")));
    const ObjectReader object(bytes);
    const CharsetReader reader(object);
    Comparison comparison(row["name"], row.Number("max_bytes"), reader, reference);
    comparison.Run();
    seen.insert(comparison.seen().begin(), comparison.seen().end());
    ++compared;
  }
  EXPECT_EQ(compared, 234u);
  EXPECT_EQ(seen.size(), kKnown.size()) << "a known difference has gone";
}

}  // namespace
}  // namespace kestra::nlsc
