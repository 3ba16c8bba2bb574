// XML character references in a conversion by blocks: "&#x20AC;" and "&#8364;" for the euro sign.
#pragma once

#include "nls/lxg_blocks.h"

namespace kestra::nls::convert::xml {

// Added to the code point of a character that was read from a reference: no writer takes it, so it
// comes back to be looked at.
inline constexpr std::uint32_t kReferenceMark = 0x80000000;

// Writes code_point as "&#x...;" in the destination's own characters, as a whole. False: it does
// not fit (c.full), or the destination lacks one of those characters.
bool WriteReference(Conversion& c, const BlockEncoder& to, std::uint32_t code_point) noexcept;

// The references of a block made characters.
class References {
 public:
  // The longest reference that is looked for, with leading zeros.
  static constexpr std::uint32_t kLongest = 16;

  // Puts marked code points in the place of the references in the block. One that the block cuts
  // off is left to the next block: then the block is shortened to end in front of it. False:
  // nothing can follow, because more input (c.more) may complete it.
  bool Merge(const Conversion& c, const BlockDecoder& from, Block& block) noexcept;

  // The number that a character of the block had before.
  std::uint32_t Origin(std::uint32_t number) const noexcept {
    return merged_ ? origins_[number] : number;
  }

 private:
  bool merged_ = false;
  std::uint16_t origins_[Block::kSize + 1];
};

}  // namespace kestra::nls::convert::xml
