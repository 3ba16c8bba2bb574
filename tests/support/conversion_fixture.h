// Conversions between sets of a data set, source and room at pages that trap, whole and in pieces.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <span>
#include <string>
#include <string_view>

#include "kestra/convert.h"
#include "tests/support/convert_reference.h"
#include "tests/support/hex.h"
#include "tests/support/nls_fixture.h"

namespace kestra::test {

inline constexpr std::uint32_t kUtf16 = 2000;
inline constexpr std::uint64_t kNone = UINT64_MAX;

using Outcome = ref::Result;
using Converter = decltype(&lxgcnvb);

class ConversionTest : public testing::Test {
 protected:
  explicit ConversionTest(const std::filesystem::path& home = FullHome()) : session_(home) {}

  const lxobject* Set(std::uint32_t id) {
    const lxobject* set = lxpcobj(id, session_.context());
    EXPECT_NE(set, nullptr) << id;
    return set;
  }

  // The source and the room end at pages that trap.
  Outcome Convert(std::uint32_t to, std::uint32_t from, std::string_view source, std::size_t room,
                  std::uint32_t options = 0, Converter convert = lxgcnvb) {
    EXPECT_LE(source.size(), source_.size());
    EXPECT_LE(room, room_.size());
    std::uint8_t* in = source_.data() + source_.size() - source.size();
    std::uint8_t* out = room_.data() + room_.size() - room;
    if (!source.empty()) std::memcpy(in, source.data(), source.size());
    const std::size_t n =
        convert(out, Set(to), room, in, Set(from), source.size(), options, session_.context());
    EXPECT_LE(n, room);
    return {std::string(reinterpret_cast<char*>(out), n), session_.context()->status,
            session_.context()->error};
  }
  Outcome Convert(std::uint32_t to, std::uint32_t from, std::string_view source) {
    return Convert(to, from, source, 16 * source.size() + 64);
  }

  // Converts in pieces, cut in the source at the given places, which are in order.
  Outcome ConvertPieces(std::uint32_t to, std::uint32_t from, std::string_view source,
                        std::span<const std::size_t> cuts, Converter convert = lxgcnvb) {
    const std::size_t room = 16 * source.size() + 64;
    Outcome joined;
    joined.status.first_replaced = kNone;
    std::size_t at = 0;
    for (std::size_t i = 0; i <= cuts.size(); ++i) {
      const bool last = i == cuts.size();
      const std::size_t end = std::max(last ? source.size() : cuts[i], at);
      const Outcome piece = Convert(
          to, from, source.substr(at, end - at), room,
          (i == 0 ? 0u : unsigned{KES_CONVERT_CONTINUE}) | (last ? 0u : unsigned{KES_CONVERT_MORE}),
          convert);
      EXPECT_EQ(piece.error, 0u);
      joined.bytes += piece.bytes;
      joined.status.characters_total += piece.status.characters_total;
      joined.status.replacement = std::max(joined.status.replacement, piece.status.replacement);
      if (joined.status.first_replaced == kNone && piece.status.first_replaced != kNone) {
        joined.status.first_replaced = piece.status.first_replaced + at;
      }
      at += static_cast<std::size_t>(piece.status.consumed);
    }
    joined.status.consumed = at;
    return joined;
  }
  Outcome ConvertSplit(std::uint32_t to, std::uint32_t from, std::string_view source,
                       std::size_t cut, Converter convert = lxgcnvb) {
    return ConvertPieces(to, from, source, std::span(&cut, 1), convert);
  }

  NlsSession session_;
  GuardedBuffer source_{1 << 20};
  GuardedBuffer room_{1 << 24};
};

inline std::string Show(std::string_view bytes) {
  return Hex(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
}

inline std::string Describe(const Outcome& o) {
  return Show(o.bytes) + " error " + std::to_string(o.error) + " consumed " +
         std::to_string(o.status.consumed) + " characters " +
         std::to_string(o.status.characters_total) + " first " +
         std::to_string(static_cast<std::int64_t>(o.status.first_replaced)) + " indicator " +
         std::to_string(o.status.replacement);
}

inline testing::AssertionResult Same(const Outcome& got, const Outcome& wanted) {
  if (got.bytes == wanted.bytes && got.error == wanted.error &&
      got.status.consumed == wanted.status.consumed &&
      got.status.characters_total == wanted.status.characters_total &&
      got.status.first_replaced == wanted.status.first_replaced &&
      got.status.replacement == wanted.status.replacement) {
    return testing::AssertionSuccess();
  }
  return testing::AssertionFailure()
         << "\n  got    " << Describe(got) << "\n  wanted " << Describe(wanted);
}

}  // namespace kestra::test
