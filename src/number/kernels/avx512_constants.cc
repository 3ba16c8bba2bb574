#include <cstddef>

#include "number/kernels/avx512_number.h"

#if defined(__x86_64__)

namespace kestra::number::avx512 {
namespace {

constexpr void Fill(std::uint8_t (&bytes)[32], int value) {
  for (std::uint8_t& byte : bytes) byte = static_cast<std::uint8_t>(value);
}

constexpr Constants MakeConstants() {
  Constants c = {};
  Fill(c.decode[1].flip, 0);
  Fill(c.decode[1].take, 1);
  Fill(c.decode[0].flip, 0xFF);
  Fill(c.decode[0].take, 0xFF - (kBase + 1));  // 101 - b is 255 - b less 154
  for (int i = 0; i < 64; ++i) {
    c.align[i] = static_cast<std::uint8_t>(i <= 30 ? 30 - i : 31);
    c.unalign[i] = static_cast<std::uint8_t>(31 - i);
  }
  Fill(c.ones, 1);
  Fill(c.fifties, kBase / 2);
  Fill(c.nines, kBase - 1);
  Fill(c.hundreds, kBase);
  Fill(c.terminators, kTerminator);
  for (int negative = 0; negative < 2; ++negative) {
    ByteMeaning& meaning = c.meaning[negative];
    Fill(meaning.zero, negative != 0 ? kBase + 1 : 1);
    Fill(meaning.nine, negative != 0 ? 2 : kBase);
    Fill(meaning.least, negative != 0 ? 2 : 1);
    Fill(meaning.one_more, negative != 0 ? -1 : 1);
  }
  return c;
}

}  // namespace

constinit const Constants kConstants = MakeConstants();

}  // namespace kestra::number::avx512

#endif
