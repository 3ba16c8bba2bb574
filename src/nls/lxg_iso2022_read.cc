// How the ISO-2022 sets are read: an escape sequence that the set does not know is a malformed ESC,
// and what follows it is text; Korean text need not have its header.
#include <optional>

#include "nls/lxg_iso2022_state.h"
#include "nls/lxg_stateful_codec.h"

namespace kestra::nls::convert {
namespace iso2022 {
namespace {

// The code points of the bytes 20..7F.
constexpr auto MakeAsciiLetters() noexcept {
  std::array<std::uint16_t, 256> letters{};
  letters.fill(nlb::charset::kNoCharacter);
  for (std::uint16_t byte = 0x20; byte < 0x80; ++byte) letters[byte] = byte;
  return letters;
}
constexpr auto kAsciiLetters = MakeAsciiLetters();

class Reader {
 public:
  explicit Reader(const Iso2022& composed) noexcept
      : composed_(&composed), set_(SetOf(composed.id())) {}

  static void Read(const void* coder, const std::uint8_t* in, const std::uint8_t* end,
                   std::uint32_t state, std::uint32_t limit, Block& block) noexcept {
    static_cast<const Reader*>(coder)->ReadBlock(in, end, state, limit, block);
  }

 private:
  // The table of the part that was read last, and what designates it.
  struct Pairs {
    Part part = kAscii;
    std::uint32_t escape_length = 0;
    std::uint32_t escape = 0;
    std::optional<PairTable> table;
  };

  void ReadBlock(const std::uint8_t* in, const std::uint8_t* end, std::uint32_t word,
                 std::uint32_t limit, Block& block) const noexcept {
    State state = State::FromWord(set_, word);
    Pairs pairs;
    const std::uint8_t* p = in;
    std::uint32_t count = 0;
    for (;;) {
      while (p < end) {
        const std::uint32_t length = ReadControl(p, end, state);
        if (length == 0) break;
        p += length;
      }
      if (count == limit || p == end) break;
      const std::uint8_t* const before = p;
      count += ReadRun(p, end, state, pairs, block.code_points + count, limit - count);
      if (p != before) continue;
      const Decoded character = ReadOne(p, end, state);
      block.code_points[count++] = character.code_point;
      p += character.length;
    }
    block.count = count;
    block.bytes = static_cast<std::size_t>(p - in);
    block.state = state.ToWord(set_);
  }

  // Obeys a designation or a shift; returns its length, 0 when there is none.
  std::uint32_t ReadControl(const std::uint8_t* p, const std::uint8_t* end,
                            State& state) const noexcept {
    if (*p == kEscape) {
      const auto left = static_cast<std::size_t>(end - p);
      std::uint32_t number = 0;
      if (left >= 4) {
        number = EscapeAt(p);
      } else {
        for (std::uint32_t i = 0; i < left; ++i) number |= std::uint32_t{p[i]} << (8 * i);
      }
      const std::uint8_t row_number = kRowsByPlace[RowPlace(number)];
      if (row_number != kNoRow) {
        const Designation& row = kDesignations[row_number];
        const std::uint32_t mask = row.length == 3 ? 0xFFFFFF : 0xFFFFFFFF;
        if ((number & mask) == kEscapeNumbers[row_number] && (row.sets & set_) != 0) {
          state.Designate(row.target, row.part);
          return row.length;
        }
      }
      return 0;
    }
    if ((set_ & kJapanese) != 0) return 0;
    if (*p == kShiftIn) {
      state.Shift(false);
      return 1;
    }
    if (*p == kShiftOut && state.g(1) != kAscii) {
      state.Shift(true);
      return 1;
    }
    return 0;
  }

  // Characters of ASCII and of one other part, with the shifts, line ends and escape sequences
  // that lead from one to the other. Returns how many characters.
  std::uint32_t ReadRun(const std::uint8_t*& p, const std::uint8_t* end, State& state, Pairs& pairs,
                        std::uint32_t* out, std::uint32_t limit) const noexcept {
    const bool japanese = (set_ & kJapanese) != 0;
    Part other = japanese ? state.g(0) : state.g(1);
    if (other != kAscii && (kTables[other].bytes != 2 || kTables[other].prefix != 0)) return 0;
    if (other == kAscii) other = japanese ? kJis0208 : kGb2312;  // what comes most likely
    if (pairs.part != other) {
      pairs.part = other;
      pairs.table.emplace(composed_->lender(kTables[other].lender));
      const Designation* row = FindDesignation(set_, other);
      pairs.escape_length = row == nullptr ? 0 : row->length;
      pairs.escape = row == nullptr ? 0 : EscapeNumber(*row);
    }
    const PairTable& table = *pairs.table;
    const std::uint32_t escape_mask = pairs.escape_length == 3 ? 0xFFFFFF : 0xFFFFFFFF;
    const PairTable::Letters letters = {japanese ? nullptr : kAsciiLetters.data(), kShiftIn,
                                        kShiftOut};
    bool in_other = state.shifted() || state.g(0) != kAscii;
    std::uint32_t count = 0;
    while (p < end && count < limit) {
      const std::uint32_t byte = *p;
      if (in_other && byte >= 0x21) {
        const std::uint32_t run =
            table.ReadRun(p, end, out + count, limit - count, 0x80, 0x21, letters);
        if (run == 0) break;
        count += run;
      } else if (!in_other && byte - 0x20 < 0x60) {
        // A character a step is better where a space stands between two words of the other part.
        if (end - p >= 8 && limit - count >= 8 && ArePrintable(LoadAt<std::uint64_t>(p, 0))) {
          for (std::uint32_t k = 0; k < 8; ++k) out[count + k] = p[k];
          count += 8;
          p += 8;
        } else {
          out[count++] = byte;
          ++p;
        }
      } else if (IsLineEnd(byte)) {
        out[count++] = byte;
        ++p;
        state.EndLine(set_);
        in_other = in_other && (japanese || state.shifted());
      } else if (byte == kEscape && end - p >= 4) {
        const std::uint32_t number = EscapeAt(p);
        if ((number & escape_mask) == pairs.escape && pairs.escape_length != 0) {
          if (!japanese) state.Designate(1, other);
          in_other = japanese || in_other;
          p += pairs.escape_length;
        } else if (japanese && (number & 0xFFFFFF) == kToAscii) {
          in_other = false;
          p += 3;
        } else {
          break;
        }
      } else if (!japanese && byte == kShiftOut && state.g(1) == other) {
        in_other = true;
        state.Shift(true);
        ++p;
      } else if (!japanese && byte == kShiftIn) {
        in_other = false;
        state.Shift(false);
        ++p;
      } else {
        break;
      }
    }
    if (japanese) state.Designate(0, in_other ? other : kAscii);
    return count;
  }

  // Eight bytes, all of them 20..7F.
  static bool ArePrintable(std::uint64_t bytes) noexcept {
    constexpr std::uint64_t kOnes = 0x0101010101010101u;
    return (((bytes - 0x20 * kOnes) | bytes) & 0x80 * kOnes) == 0;
  }

  Decoded ReadOne(const std::uint8_t* p, const std::uint8_t* end, State& state) const noexcept {
    const std::uint32_t byte = *p;
    const auto left = static_cast<std::size_t>(end - p);
    if (byte == kEscape) return ReadEscape(p, left, state);
    if (byte >= 0x80) return {kMalformed, 1};
    if (byte == kShiftOut && (set_ & kJapanese) == 0) return {kMalformed, 1};
    if (!IsGraphic(byte)) {
      if (IsLineEnd(byte)) state.EndLine(set_);
      return {byte, 1};
    }
    return ReadPart(state.shifted() ? state.g(1) : state.g(0), p, left);
  }

  // A character behind ESC N or ESC O, or a malformed or truncated ESC.
  Decoded ReadEscape(const std::uint8_t* p, std::size_t left, const State& state) const noexcept {
    if (left >= 2 && (p[1] == 'N' || p[1] == 'O')) {
      const Part part = state.g(p[1] == 'N' ? 2 : 3);
      if (part == kAscii) return {kMalformed, 1};
      if (left == 2) return {kTruncated, 2};
      const Decoded character = ReadPart(part, p + 2, left - 2);
      if (character.code_point == kMalformed && character.length == 1) return {kMalformed, 1};
      return {character.code_point, character.length + 2};
    }
    if (left < 4) {
      if (left == 1) return {kTruncated, 1};
      for (const Designation& row : kDesignations) {
        if ((row.sets & set_) != 0 && left < row.length && std::memcmp(p, row.escape, left) == 0) {
          return {kTruncated, static_cast<std::uint32_t>(left)};
        }
      }
    }
    return {kMalformed, 1};
  }

  // A character of a part; a malformed one has length 1 unless all its bytes are in place.
  Decoded ReadPart(Part part, const std::uint8_t* p, std::size_t left) const noexcept {
    const PartTables& tables = kTables[part];
    if (part == kAscii) return {*p, 1};
    if (tables.bytes == 1) {
      const bool in_place =
          IsGraphic(*p) || ((part == kLatin1 || part == kGreek) && *p - 0x20u < 96);
      if (!in_place) return {kMalformed, 1};
      if (tables.prefix != 0) return {ReadLent(tables, p), 1};
      const std::uint32_t code_point = composed_->lender(tables.lender).single()[*p | tables.high];
      return {code_point == nlb::charset::kNoCharacter ? kMalformed : code_point, 1};
    }
    if (!IsGraphic(p[0])) return {kMalformed, 1};
    if (left < 2) return {kTruncated, 1};
    if (!IsGraphic(p[1])) return {kMalformed, 1};
    return {ReadLent(tables, p), 2};
  }

  // A character by a multibyte lender; kMalformed when it has none.
  std::uint32_t ReadLent(const PartTables& tables, const std::uint8_t* p) const noexcept {
    std::uint8_t bytes[4];
    std::uint32_t length = 0;
    if (tables.prefix != 0) bytes[length++] = tables.prefix;
    if (tables.plane != 0) bytes[length++] = tables.plane;
    for (std::uint32_t i = 0; i < tables.bytes; ++i) {
      bytes[length++] = static_cast<std::uint8_t>(p[i] | tables.high);
    }
    const Decoded character =
        MultibyteDecoder(composed_->lender(tables.lender)).Next(bytes, bytes + length);
    const bool whole = character.length == length && character.code_point <= kMaxCodePoint;
    return whole ? character.code_point : kMalformed;
  }

  const Iso2022* composed_;
  Set set_;
};

}  // namespace
}  // namespace iso2022

bool Iso2022::Open(BlockDecoder& decoder) const noexcept {
  if (complete_) decoder.Set(iso2022::Reader::Read, iso2022::Reader(*this));
  return complete_;
}

}  // namespace kestra::nls::convert
