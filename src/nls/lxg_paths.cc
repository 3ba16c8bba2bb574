#include "nls/lxg_paths.h"

#include <utility>

#include "nls/lxg_gb18030_codec.h"
#include "nls/lxg_runs.h"
#include "nls/lxg_table_codec.h"
#include "nls/lxg_unicode_codec.h"

namespace kestra::nls::convert {
namespace {

inline constexpr std::size_t kPathCount = static_cast<std::size_t>(SetKind::kPathCount);

template <SetKind kKind>
constexpr auto MakeDecoder([[maybe_unused]] CharsetView set) noexcept {
  if constexpr (kKind == SetKind::kUtf8) return Utf8Decoder{};
  if constexpr (kKind == SetKind::kUtf8Units) return Cesu8Decoder{};
  if constexpr (kKind == SetKind::kUtfEbcdic) return UtfEbcdicDecoder{};
  if constexpr (kKind == SetKind::kUtf16Be) return Utf16Decoder<std::endian::big>{};
  if constexpr (kKind == SetKind::kUtf16Le) return Utf16Decoder<std::endian::little>{};
  if constexpr (kKind == SetKind::kSingle) return SingleDecoder(set);
  if constexpr (kKind == SetKind::kGb18030) return Gb18030Decoder(set);
  if constexpr (kKind == SetKind::kMultibyte || kKind == SetKind::kMultibyteWide) {
    return MultibyteDecoder(set);
  }
}

template <SetKind kKind>
constexpr auto MakeEncoder([[maybe_unused]] CharsetView set) noexcept {
  if constexpr (kKind == SetKind::kUtf8) return Utf8Encoder{};
  if constexpr (kKind == SetKind::kUtf8Units) return Cesu8Encoder{};
  if constexpr (kKind == SetKind::kUtfEbcdic) return UtfEbcdicEncoder{};
  if constexpr (kKind == SetKind::kUtf16Be) return Utf16Encoder<std::endian::big>{};
  if constexpr (kKind == SetKind::kUtf16Le) return Utf16Encoder<std::endian::little>{};
  if constexpr (kKind == SetKind::kSingle) return TableEncoder<1>(set);
  if constexpr (kKind == SetKind::kGb18030) return Gb18030Encoder(set);
  if constexpr (kKind == SetKind::kMultibyte) return TableEncoder<2>(set);
  if constexpr (kKind == SetKind::kMultibyteWide) return TableEncoder<4>(set);
}

template <SetKind kSource, SetKind kDestination>
void RunPath(Conversion& c, CharsetView source, CharsetView destination) noexcept {
  ConvertText(c, MakeDecoder<kSource>(source), MakeEncoder<kDestination>(destination));
}

template <std::size_t... kIndex>
constexpr auto MakePaths(std::index_sequence<kIndex...>) noexcept {
  return std::array<Path, sizeof...(kIndex)>{RunPath<static_cast<SetKind>(kIndex / kPathCount),
                                                     static_cast<SetKind>(kIndex % kPathCount)>...};
}
constexpr auto kPaths = MakePaths(std::make_index_sequence<kPathCount * kPathCount>{});

}  // namespace

// State words of a source of id 1000.
constexpr std::uint32_t kBigEndianFound = 1;
constexpr std::uint32_t kLittleEndianFound = 2;

SetKind ResolveByteOrder(Conversion& c, SetKind kind) noexcept {
  if (kind == SetKind::kUtf16Marked) {
    // The mark stands at the start of a text: later pieces have the order that it told.
    kind = c.shift_in == kLittleEndianFound ? SetKind::kUtf16Le : SetKind::kUtf16Be;
    if (c.shift_in == 0 && c.source_left() >= 2) {
      const std::uint32_t mark = Utf16Decoder<std::endian::big>::Unit(c.in);
      if (mark == 0xFFFE) kind = SetKind::kUtf16Le;
      if (mark == 0xFFFE || mark == 0xFEFF) c.in += 2;
      c.shift_in = mark == 0xFFFE ? kLittleEndianFound : kBigEndianFound;
    }
  }
  if (kind == SetKind::kUtf16Be || kind == SetKind::kUtf16Le) c.in_end -= c.source_left() & 1;
  return kind;
}

Path FindPath(SetKind source, SetKind destination) noexcept {
  if (destination == SetKind::kUtf16Marked) destination = SetKind::kUtf16Be;
  if (source >= SetKind::kPathCount || destination >= SetKind::kPathCount) return nullptr;
  return kPaths[static_cast<std::size_t>(source) * kPathCount +
                static_cast<std::size_t>(destination)];
}

}  // namespace kestra::nls::convert
