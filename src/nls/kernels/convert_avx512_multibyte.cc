// The AVX-512 kernel of multibyte sources.
//
// What is slow about such text is to find where characters begin, because each length depends on
// the byte before: a chain of loads, or a branch that mixed text makes unpredictable. But a byte
// that can begin a pair either does or is the second of one, and in a run of such bytes these two
// alternate. So from a mask of these bytes, carries of one subtraction give the seconds of 64 bytes
// at once, as in finding escaped characters behind runs of backslashes:
//
//   bytes           41  88 9F  88 41  20        can begin a pair   0 1 1 1 0 0
//   the run of three alternates: begins, second, begins; its last one takes the 41 after it
//
// ASCII then needs no further look, and the pairs are looked up one by one without a dependency
// from one to the next.
#include "nls/kernels/convert_kernels.h"

#if defined(__x86_64__) && defined(__GNUC__)

#include "nls/kernels/avx512.h"

namespace kestra::nls::kernels::avx512 {
namespace {

// The bytes from 80 up, one bit each, whose class says that `following` bytes follow.
struct UpperSet {
  std::uint64_t low;   // 80..BF
  std::uint64_t high;  // C0..FF
};

KES_AVX512 inline UpperSet FindFirstBytes(const std::uint16_t* classes, bool longer) noexcept {
  std::uint64_t words[2] = {0, 0};
  for (int i = 0; i < 4; ++i) {
    const __m512i lengths = _mm512_and_si512(_mm512_loadu_si512(classes + 128 + 32 * i), Words(3));
    const std::uint32_t hits = longer ? _mm512_cmpgt_epi16_mask(lengths, Words(1))
                                      : _mm512_cmpeq_epi16_mask(lengths, Words(1));
    words[i / 2] |= static_cast<std::uint64_t>(hits) << (32 * (i % 2));
  }
  return {words[0], words[1]};
}

// Looks the characters of one block up that are not ASCII: `places` has their first bytes in p,
// `numbers` their units in q. Returns how many bytes of the block are done and how many units;
// fewer than asked for when a character is not plain.
struct Pairs {
  std::size_t consumed;
  std::size_t made;
  bool stopped;
};

template <typename Cell>
KES_AVX512 inline Pairs LookUpPairs(const MultibyteDecodeTable& table, const std::uint8_t* p,
                                    std::uint16_t* q, std::uint64_t starts, std::uint64_t upper,
                                    std::uint64_t begins, std::size_t consumed) noexcept {
  std::uint64_t places = starts & upper;
  std::uint64_t numbers = _pext_u64(places, starts);
  const bool all_begin = (places & ~begins) == 0;
  while (places != 0) {
    const auto place = static_cast<std::size_t>(_tzcnt_u64(places));
    const auto number = static_cast<std::size_t>(_tzcnt_u64(numbers));
    places = _blsr_u64(places);
    numbers = _blsr_u64(numbers);
    const std::uint32_t first = p[place];
    std::uint32_t unit = 0;
    if (all_begin || (begins >> place & 1) != 0) [[likely]] {
      const std::uint32_t row = Load16(table.leads, std::size_t{2} * first) - 1u;
      if (row < table.row_count) [[likely]] {
        // First and last trail byte, then the cell of the first, in one load.
        const auto entry = LoadAt<std::uint64_t>(table.rows, std::size_t{8} * row);
        const std::uint64_t trail = p[place + 1] - (entry & 0xFF);
        const std::uint64_t cell = trail + (entry >> 32);
        if (trail <= (entry >> 8 & 0xFF) - (entry & 0xFF) && cell < table.cell_count) [[likely]] {
          unit = LoadAt<Cell>(table.cells, sizeof(Cell) * cell);
        }
      }
    } else {
      unit = table.code_points[first];
    }
    if (unit - 1 >= 0xFFFC) [[unlikely]]
      return {place, number, true};
    q[number] = static_cast<std::uint16_t>(unit);
  }
  return {consumed, CountBits(starts), false};
}

template <typename Cell>
KES_AVX512 inline Progress ToUnits(const MultibyteDecodeTable& given, const std::uint8_t* in,
                                   std::size_t size, std::uint16_t* out,
                                   std::size_t room) noexcept {
  const MultibyteDecodeTable table = given;  // a copy that the stores cannot change
  const UpperSet pairs = FindFirstBytes(table.classes, false);
  const UpperSet longer = FindFirstBytes(table.classes, true);
  const __m512i pairs_low = _mm512_movm_epi8(pairs.low);
  const __m512i pairs_high = _mm512_movm_epi8(pairs.high);
  const bool has_longer = (longer.low | longer.high) != 0;
  const __m512i longer_low = _mm512_movm_epi8(longer.low);
  const __m512i longer_high = _mm512_movm_epi8(longer.high);
  constexpr std::uint64_t kOdd = ~kEvenBytes;

  const std::uint8_t* p = in;
  const std::uint8_t* const end = in + size;
  std::uint16_t* q = out;
  std::uint16_t* const out_end = out + room;
  while (p < end && out_end - q >= 64) {
    const auto left = static_cast<std::size_t>(end - p);
    const std::size_t count = left < 64 ? left : 64;
    const std::uint64_t mask = FirstBits(count);
    const __m512i bytes = _mm512_maskz_loadu_epi8(mask, p);
    const std::uint64_t upper = _mm512_movepi8_mask(bytes);
    if (upper == 0) {
      _mm512_storeu_si512(q, _mm512_cvtepu8_epi16(_mm512_castsi512_si256(bytes)));
      _mm512_storeu_si512(q + 32, _mm512_cvtepu8_epi16(_mm512_extracti64x4_epi64(bytes, 1)));
      p += count;
      q += count;
      continue;
    }
    // Bytes that can begin a pair; those that do and those behind them.
    const std::uint64_t leads =
        _mm512_movepi8_mask(_mm512_permutex2var_epi8(pairs_low, bytes, pairs_high)) & upper;
    const std::uint64_t code = (((leads << 1) | kOdd) - leads) ^ kOdd;
    const std::uint64_t seconds = code ^ leads;
    const std::uint64_t begins = code & leads;
    std::uint64_t starts = ~seconds & mask;
    std::size_t consumed = count;
    bool last = false;
    if ((begins >> (count - 1) & 1) != 0) {  // its second byte is not here
      starts &= mask >> 1;
      consumed = count - 1;
    }
    if (has_longer) {
      const std::uint64_t longs =
          _mm512_movepi8_mask(_mm512_permutex2var_epi8(longer_low, bytes, longer_high)) & upper &
          starts;
      if (longs != 0) {
        consumed = static_cast<std::size_t>(_tzcnt_u64(longs));
        starts &= FirstBits(consumed);
        last = true;
      }
    }
    if (consumed == 0) break;
    const __m512i firsts = _mm512_maskz_compress_epi8(starts, bytes);
    _mm512_storeu_si512(q, _mm512_cvtepu8_epi16(_mm512_castsi512_si256(firsts)));
    _mm512_storeu_si512(q + 32, _mm512_cvtepu8_epi16(_mm512_extracti64x4_epi64(firsts, 1)));
    const Pairs done = LookUpPairs<Cell>(table, p, q, starts, upper, begins, consumed);
    p += done.consumed;
    q += done.made;
    if (last || done.stopped) break;
  }
  const auto made = static_cast<std::size_t>(q - out);
  return {static_cast<std::size_t>(p - in), made, made};
}

}  // namespace

KES_AVX512 Progress MultibyteToUnits(const MultibyteDecodeTable& table, const std::uint8_t* in,
                                     std::size_t size, std::uint16_t* out,
                                     std::size_t room) noexcept {
  if (!table.ascii || table.row_count == 0) {
    return kScalarConvertKernels.multibyte_to_units(table, in, size, out, room);
  }
  return table.wide ? ToUnits<std::uint32_t>(table, in, size, out, room)
                    : ToUnits<std::uint16_t>(table, in, size, out, room);
}

}  // namespace kestra::nls::kernels::avx512

#endif
