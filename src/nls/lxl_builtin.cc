// The built-in objects, built by the compiler in the platform's byte order from the same layout as
// files: boot object, AMERICAN, AMERICA, US7ASCII, raw bytes, the two UTF-16 forms without a
// directory entry, and the four ISO-2022 sets.
#include "nls/lxl_builtin.h"

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "kestra/charset.h"
#include "kestra/handle.h"
#include "nls/nlb_format.h"

namespace kestra::nls::builtin {

using namespace std::string_view_literals;

template <std::size_t N>
struct alignas(8) Blob {
  std::uint8_t bytes[N];

  constexpr void Put16(std::size_t at, std::uint32_t value) noexcept { Put(at, value, 2); }
  constexpr void Put32(std::size_t at, std::uint32_t value) noexcept { Put(at, value, 4); }
  constexpr void PutText(std::size_t at, std::string_view text) noexcept {
    for (std::size_t i = 0; i < text.size(); ++i) {
      bytes[at + i] = static_cast<std::uint8_t>(text[i]);
    }
  }

 private:
  constexpr void Put(std::size_t at, std::uint32_t value, std::size_t width) noexcept {
    for (std::size_t i = 0; i < width; ++i) {
      const std::size_t place = std::endian::native == std::endian::big ? width - 1 - i : i;
      bytes[at + place] = static_cast<std::uint8_t>(value >> (8 * i));
    }
  }
};

namespace {

constexpr std::uint8_t kOrderFlag =
    std::endian::native == std::endian::big ? nlb::kBigEndianFlag : std::uint8_t{0};

template <std::size_t N>
constexpr void PutHeader(Blob<N>& object, std::uint32_t type, std::uint32_t id,
                         std::string_view name, std::uint32_t end_offset) noexcept {
  object.Put32(nlb::kVersionAt, nlb::kVersion);
  object.Put32(nlb::kReleaseAt, nlb::kRelease);
  object.Put32(nlb::kSizeAt, static_cast<std::uint32_t>(N));
  object.Put32(nlb::kVariablePartAt, end_offset);
  object.Put16(nlb::kTypeAt, type);
  object.Put16(nlb::kObjectIdAt, id);
  object.bytes[nlb::kMagicAt] = nlb::kMagic;
  object.bytes[nlb::kByteFlagsAt] = kOrderFlag;
  object.PutText(nlb::kNameAt, name);
  object.PutText(nlb::kSourceAt, "built-in");
  object.Put16(nlb::kHeaderSize, id);  // every type keeps its id behind the header
}

// Strings.

constexpr std::string_view kLanguageStrings[] = {"Sunday",
                                                 "Monday",
                                                 "Tuesday",
                                                 "Wednesday",
                                                 "Thursday",
                                                 "Friday",
                                                 "Saturday",  // 0
                                                 "Sun",
                                                 "Mon",
                                                 "Tue",
                                                 "Wed",
                                                 "Thu",
                                                 "Fri",
                                                 "Sat",  // 7
                                                 "January",
                                                 "February",
                                                 "March",
                                                 "April",
                                                 "May",
                                                 "June",  // 14
                                                 "July",
                                                 "August",
                                                 "September",
                                                 "October",
                                                 "November",
                                                 "December",
                                                 "Jan",
                                                 "Feb",
                                                 "Mar",
                                                 "Apr",
                                                 "May",
                                                 "Jun",
                                                 "Jul",
                                                 "Aug",
                                                 "Sep",
                                                 "Oct",
                                                 "Nov",
                                                 "Dec",  // 26
                                                 "BINARY",
                                                 "LTR",
                                                 "AM",
                                                 "PM",
                                                 "AD",
                                                 "BC",  // 38
                                                 "January",
                                                 "February",
                                                 "March",
                                                 "April",
                                                 "May",
                                                 "June",  // 44
                                                 "July",
                                                 "August",
                                                 "September",
                                                 "October",
                                                 "November",
                                                 "December",
                                                 "yes",
                                                 "no",
                                                 "en",
                                                 "English",
                                                 "AMERICAN",
                                                 "English",                 // 56
                                                 "FMDay, Month DD, YYYY"};  // 62

constexpr std::string_view kTerritoryStrings[] = {"$",
                                                  "USD",
                                                  ".,",
                                                  ".,",
                                                  ",",
                                                  "-",
                                                  "",
                                                  "DD-MON-RR",
                                                  "$",
                                                  "FMHH:FMMI:SSXFF AM",
                                                  "DD-MON-RR FMHH:FMMI:SSXFF AM",
                                                  "FMHH:FMMI:SSXFF AM TZR",
                                                  "DD-MON-RR FMHH:FMMI:SSXFF AM TZR",
                                                  "FMHH:FMMI:SS AM",
                                                  "FMMM/DD/YYYY",
                                                  "US",
                                                  "United States",
                                                  "United States"};

// Bytes of count strings, of which the given ones are not empty.
template <std::size_t N>
constexpr std::size_t StringBytes(const std::string_view (&strings)[N],
                                  std::size_t count) noexcept {
  std::size_t total = count;
  for (const std::string_view text : strings) total += text.size();
  return total;
}

template <std::size_t N, std::size_t M>
constexpr void PutStrings(Blob<N>& object, const std::string_view (&strings)[M],
                          std::size_t offsets_at, std::size_t count, std::size_t end_at,
                          std::size_t base) noexcept {
  std::size_t offset = 0;
  for (std::size_t i = 0; i < count; ++i) {
    const std::string_view text = i < M ? strings[i] : ""sv;
    object.Put16(offsets_at + 2 * i, static_cast<std::uint32_t>(offset));
    object.PutText(base + offset, text);
    offset += text.size() + 1;
  }
  object.Put32(end_at, static_cast<std::uint32_t>(offset));
}

consteval auto MakeLanguage() {
  using namespace nlb::language;
  constexpr std::size_t kEnd = StringBytes(kLanguageStrings, kStringCount);
  Blob<kBase + kEnd> object{};
  PutHeader(object, KES_OBJECT_LANGUAGE, 1, "AMERICAN", kEnd);
  object.Put16(kDefaultCharsetAt, 1);
  object.Put16(kDefaultTerritoryAt, 1);
  object.Put16(kStringCharsetAt, 873);
  PutStrings(object, kLanguageStrings, kOffsetsAt, kStringCount, kEndOffsetAt, kBase);
  return object;
}

consteval auto MakeTerritory() {
  using namespace nlb::territory;
  constexpr std::size_t kEnd = StringBytes(kTerritoryStrings, kStringCount);
  Blob<kBase + kEnd> object{};
  PutHeader(object, KES_OBJECT_TERRITORY, 1, "AMERICA", kEnd);
  object.Put16(kIsoNumberAt, 840);
  object.bytes[kFirstDayAt] = 0;
  object.bytes[kMinDaysAt] = 1;
  object.bytes[kCurrencyDigitsAt] = 2;
  object.Put16(kStringCharsetAt, 873);
  PutStrings(object, kTerritoryStrings, kOffsetsAt, kStringCount, kEndOffsetAt, kBase);
  return object;
}

// Character sets.

constexpr std::uint32_t AsciiClass(std::uint32_t c) noexcept {
  if (c < 0x20 || c == 0x7F) {
    return KES_CLASS_CONTROL | KES_CLASS_ZERO_WIDTH |
           (c >= 9 && c <= 13 ? std::uint32_t{KES_CLASS_SPACE} : 0u);
  }
  if (c == ' ') return KES_CLASS_SPACE | KES_CLASS_BLANK;
  const auto between = [c](char low, char high) {
    return c >= static_cast<std::uint32_t>(low) && c <= static_cast<std::uint32_t>(high);
  };
  const std::uint32_t hex = between('0', '9') || between('A', 'F') || between('a', 'f')
                                ? std::uint32_t{KES_CLASS_HEX_DIGIT}
                                : 0u;
  if (between('0', '9')) return KES_CLASS_DIGIT | hex;
  if (between('A', 'Z')) return KES_CLASS_UPPER | KES_CLASS_ALPHABETIC | hex;
  if (between('a', 'z')) return KES_CLASS_LOWER | KES_CLASS_ALPHABETIC | hex;
  return KES_CLASS_PUNCTUATION;
}

// Fields that every character set has; no tables yet.
template <std::size_t N>
constexpr void PutCharset(Blob<N>& object, std::uint32_t id, std::string_view name,
                          std::uint32_t flags, std::uint32_t handle_flags, unsigned longest,
                          unsigned shortest, std::string_view replacement,
                          std::size_t end_offset) noexcept {
  using namespace nlb::charset;
  PutHeader(object, KES_OBJECT_CHARSET, id, name, static_cast<std::uint32_t>(end_offset));
  object.Put32(kFlagsAt, flags);
  object.Put32(kHandleFlagsAt, handle_flags);
  object.bytes[kMaxBytesAt] = static_cast<std::uint8_t>(longest);
  object.bytes[kMinBytesAt] = static_cast<std::uint8_t>(shortest);
  object.bytes[kReplacementLengthAt] = static_cast<std::uint8_t>(replacement.size());
  object.PutText(kReplacementAt, replacement);
  for (std::size_t i = 0; i < kOffsetCount; ++i) {
    object.Put32(kOffsetsAt + 4 * i, static_cast<std::uint32_t>(end_offset));
  }
  object.Put32(kEndOffsetAt, static_cast<std::uint32_t>(end_offset));
}

consteval auto MakeAscii() {
  using namespace nlb::charset;
  // UTF-8 bytes, then the encode index of two blocks, then the blocks.
  constexpr std::size_t kUtf8Size = 1024;
  constexpr std::size_t kIndexSize = 4;
  constexpr std::size_t kEnd = kUtf8Size + kIndexSize + 2 * kBlockSize;
  Blob<kBase + kEnd> object{};
  PutCharset(object, 1, "US7ASCII", kDisplayFlag, KES_CHARSET_SINGLE, 1, 1, "?", kEnd);
  object.Put16(kBasisAt, kAscii);
  object.bytes[kTraitsAt] = kAsciiTrait | kNulTrait;
  object.bytes[kWidthsAt] = 1 << 4;
  object.Put32(kEncodeBlocksAt, 2);
  object.Put32(kEncodeIndexAt, 2);
  object.Put32(kMappingsAt, 128);
  for (std::uint32_t c = 0; c < 256; ++c) {
    const bool upper = c >= 'A' && c <= 'Z';
    const bool lower = c >= 'a' && c <= 'z';
    object.Put16(kClassTableAt + 2 * c, c < 128 ? AsciiClass(c) : 0);
    object.bytes[kUpperAt + c] = static_cast<std::uint8_t>(lower ? c - 32 : c);
    object.bytes[kLowerAt + c] = static_cast<std::uint8_t>(upper ? c + 32 : c);
    object.Put16(kSingleAt + 2 * c, c < 128 ? c : std::uint32_t{kNoCharacter});
    if (c >= 128) continue;
    object.bytes[kBase + 4 * c] = static_cast<std::uint8_t>(c);
    object.bytes[kBase + 4 * c + 3] = 1;
    object.bytes[kBase + kUtf8Size + kIndexSize + c] = static_cast<std::uint8_t>(c);
  }
  object.Put16(kBase + kUtf8Size + 2, 1);  // the second block
  for (std::size_t i = 0; i < kOffsetCount; ++i) {
    std::size_t offset = i == kUtf8Table ? 0 : i <= kEncodeIndex ? kUtf8Size : kEnd;
    if (i == kEncodeTable) offset = kUtf8Size + kIndexSize;
    object.Put32(kOffsetsAt + 4 * i, static_cast<std::uint32_t>(offset));
  }
  return object;
}

// A set whose conversion is by its id or not there at all: no tables.
consteval auto MakeBare(std::uint32_t id, std::string_view name, std::uint32_t flags,
                        std::uint32_t handle_flags, unsigned longest, unsigned shortest,
                        std::string_view replacement) {
  Blob<nlb::charset::kBase> object{};
  PutCharset(object, id, name, flags, handle_flags, longest, shortest, replacement, 0);
  return object;
}

consteval auto MakeUtf16(std::uint32_t id, std::string_view name, bool big_endian) {
  auto object =
      MakeBare(id, name, 0, KES_CHARSET_UTF16, 4, 2, big_endian ? "\xFF\xFD"sv : "\xFD\xFF"sv);
  for (std::uint32_t c = 0; c < 256; ++c) object.Put16(nlb::charset::kClassTableAt + 2 * c, 1);
  return object;
}

// Raw bytes: every byte stands for itself, so there is no class but the length.
consteval auto MakeRaw() {
  using namespace nlb::charset;
  constexpr std::size_t kUtf8Size = 1024;
  Blob<kBase + kUtf8Size> object{};
  PutCharset(object, 0, "RAW", 0, KES_CHARSET_SINGLE, 1, 1, "?", kUtf8Size);
  for (std::size_t i = 0; i < kOffsetCount; ++i) {
    object.Put32(kOffsetsAt + 4 * i, i == kUtf8Table ? 0 : kUtf8Size);
  }
  for (std::uint32_t c = 0; c < 256; ++c) {
    object.bytes[kUpperAt + c] = static_cast<std::uint8_t>(c);
    object.bytes[kLowerAt + c] = static_cast<std::uint8_t>(c);
    object.Put16(kSingleAt + 2 * c, kNoCharacter);
  }
  return object;
}

// Identity only: the converter composes them of other sets.
consteval auto MakeIso2022(std::uint32_t id, std::string_view name) {
  return MakeBare(id, name, 0, 0, 8, 1, "?");
}

template <std::size_t N, std::size_t M>
constexpr void PutEntry(Blob<N>& boot, std::size_t slot, std::uint32_t type, std::string_view name,
                        const Blob<M>&) noexcept {
  using namespace nlb::boot;
  const std::size_t at = kHeaderSize + slot * kEntrySize;
  boot.Put32(at + kEntryObjectSizeAt, M);
  boot.Put16(at + kEntryTypeAt, type);
  boot.Put16(at + kEntryIdAt, 1);
  boot.bytes[at + kEntryNameLengthAt] = static_cast<std::uint8_t>(name.size() + 1);
  boot.PutText(at + kEntryNameAt, name);
}

consteval auto MakeBoot() {
  using namespace nlb::boot;
  Blob<kBootSize> boot{};
  boot.Put32(kVersionAt, nlb::kVersion);
  boot.Put32(kReleaseAt, nlb::kRelease);
  boot.Put32(kSizeAt, kBootSize);
  boot.Put32(kFlagsAt, kBuiltInFlag);
  for (std::size_t run = 0; run <= kRunCount; ++run) {
    boot.Put16(kRunsAt + 2 * run, run < 3 ? static_cast<std::uint32_t>(run + 1) : 4u);
  }
  boot.bytes[kMagicAt] = kMagic;
  boot.bytes[kByteFlagsAt] = kAsciiNamesFlag | kOrderFlag;
  PutEntry(boot, 1, KES_OBJECT_LANGUAGE, "AMERICAN", decltype(MakeLanguage()){});
  PutEntry(boot, 2, KES_OBJECT_TERRITORY, "AMERICA", decltype(MakeTerritory()){});
  PutEntry(boot, 3, KES_OBJECT_CHARSET, "US7ASCII", decltype(MakeAscii()){});
  return boot;
}

constinit const auto utf16 = MakeUtf16(kUtf16Id, "UTF16", true);
constinit const auto utf16_le = MakeUtf16(kAl16Utf16LeId, "AL16UTF16LE", false);
constinit const Blob<nlb::charset::kBase> iso2022[] = {
    MakeIso2022(9999, "ISO2022JP"),  MakeIso2022(9998, "ISO2022KR"),
    MakeIso2022(9997, "ISO2022CN"),  MakeIso2022(9996, "ISO2022CNEXT"),
    MakeIso2022(9995, "ISO2022JP2"), MakeIso2022(9994, "ISO2022JP3")};

}  // namespace

// Clients see these as arrays of bytes; the symbol's name is given here because a byte array cannot
// be initialised from a computed one.
#define KES_BUILTIN(name, maker)                                     \
  extern KES_API const decltype(maker()) name##_blob __asm__(#name); \
  constinit const decltype(maker()) name##_blob = maker()

KES_BUILTIN(lxdlbot, MakeBoot);
KES_BUILTIN(lxdllan, MakeLanguage);
KES_BUILTIN(lxdlter, MakeTerritory);
KES_BUILTIN(lxdlchr, MakeAscii);
KES_BUILTIN(lxdlwkb, MakeRaw);
#undef KES_BUILTIN

const lxobject* Utf16() noexcept { return reinterpret_cast<const lxobject*>(&utf16); }
const lxobject* Al16Utf16Le() noexcept { return reinterpret_cast<const lxobject*>(&utf16_le); }

const lxobject* Iso2022(std::uint32_t id) noexcept {
  if (id < kIso2022FirstId || id > kIso2022LastId) return nullptr;
  return reinterpret_cast<const lxobject*>(&iso2022[kIso2022LastId - id]);
}

}  // namespace kestra::nls::builtin

extern "C" {
using namespace kestra::nls;
constinit const std::uint8_t* const lxd2022arr[4] = {
    builtin::iso2022[0].bytes, builtin::iso2022[1].bytes, builtin::iso2022[2].bytes,
    builtin::iso2022[3].bytes};
constinit const std::uint8_t lxpendian = builtin::kOrderFlag;
}
