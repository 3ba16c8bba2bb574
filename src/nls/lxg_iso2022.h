// The ISO-2022 sets 9994 to 9999: 7-bit text in which escape sequences designate one of several
// coded sets and shifts select it. They have no tables of their own: each part is taken from a set
// that holds it (JIS X 0208 from EUC-JP, and so on), loaded when a conversion begins.
#pragma once

#include "nls/lxg_blocks.h"

namespace kestra::nls::convert {

class Iso2022 {
 public:
  // The parts that an ISO-2022 set can designate.
  enum Part : std::uint8_t {
    kAscii,
    kRoman,     // JIS X 0201, left half
    kKatakana,  // ... right half
    kJis0208,
    kJis0212,
    kJis0213a,      // plane 1
    kJis0213a2004,  // ... with the ten characters added in 2004
    kJis0213b,      // plane 2
    kGb2312,
    kKsx1001,
    kLatin1,  // ISO 8859-1, right half
    kGreek,   // ISO 8859-7, right half
    kCns1,    // CNS 11643 planes 1 to 7
    kCns2,
    kCns3,
    kCns4,
    kCns5,
    kCns6,
    kCns7,
    kPartCount
  };
  // The sets that lend their tables.
  enum Lender : std::uint8_t {
    kNoLender,
    kJisX0201,
    kEucJp,
    kEucJis0213,
    kGb2312Set,
    kEucKr,
    kEucTw,
    kIso8859p1,
    kIso8859p7,
    kLenderCount
  };

  // id 0: nothing is loaded.
  Iso2022(std::uint32_t id, lxcontext* context) noexcept;

  // False: a set that lends a part could not be loaded.
  bool Open(BlockDecoder& decoder) const noexcept;
  bool Open(BlockEncoder& encoder) const noexcept;

  std::uint32_t id() const noexcept { return id_; }
  CharsetView lender(Lender lender) const noexcept { return lenders_[lender]; }

 private:
  std::uint32_t id_;
  bool complete_ = true;
  CharsetView lenders_[kLenderCount];
};

}  // namespace kestra::nls::convert
