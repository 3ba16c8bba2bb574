// The AVX-512 kernels of multibyte sets.
//
// What is slow about reading such text is to find where characters begin, because each length
// depends on the byte before: a chain of loads, or a branch that mixed text makes unpredictable.
// But a byte that can begin a pair either does or is the second of one, and in a run of such bytes
// these two alternate. So from a mask of these bytes, carries of one subtraction give the seconds
// of 64 bytes at once, as in finding escaped characters behind runs of backslashes:
//
//   bytes           41  88 9F  88 41  20        can begin a pair   0 1 1 1 0 0
//   the run of three alternates: begins, second, begins; its last one takes the 41 after it
//
// ASCII then needs no further look, and the pairs are looked up sixteen at a time.
#include "nls/kernels/convert_kernels.h"

#if defined(__x86_64__) && defined(__GNUC__)

#include <type_traits>

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

// Where the characters of up to 64 bytes begin.
struct Starts {
  std::uint64_t all;
  std::uint64_t pairs;   // those of pairs
  std::size_t consumed;  // bytes of them
  bool last;             // a longer character follows
};

class FirstBytes {
 public:
  KES_AVX512 explicit FirstBytes(const MultibyteDecodeTable& table) noexcept {
    const UpperSet pairs = FindFirstBytes(table.classes, false);
    const UpperSet longer = table.longer ? FindFirstBytes(table.classes, true) : UpperSet{0, 0};
    pairs_low_ = _mm512_movm_epi8(pairs.low);
    pairs_high_ = _mm512_movm_epi8(pairs.high);
    has_longer_ = (longer.low | longer.high) != 0;
    longer_low_ = _mm512_movm_epi8(longer.low);
    longer_high_ = _mm512_movm_epi8(longer.high);
  }

  // upper: the bytes from 80 up.
  KES_AVX512 Starts Find(__m512i bytes, std::uint64_t upper, std::size_t count) const noexcept {
    constexpr std::uint64_t kOdd = ~kEvenBytes;
    const std::uint64_t mask = FirstBits(count);
    // Bytes that can begin a pair; those that do and those behind them.
    const std::uint64_t leads =
        _mm512_movepi8_mask(_mm512_permutex2var_epi8(pairs_low_, bytes, pairs_high_)) & upper;
    const std::uint64_t code = (((leads << 1) | kOdd) - leads) ^ kOdd;
    const std::uint64_t followers = code ^ leads;
    const std::uint64_t begins = code & leads;
    Starts starts = {~followers & mask, begins, count, false};
    if ((begins >> (count - 1) & 1) != 0) {  // its second byte is not here
      starts.all &= mask >> 1;
      starts.consumed = count - 1;
    }
    if (has_longer_) {
      const std::uint64_t longs =
          _mm512_movepi8_mask(_mm512_permutex2var_epi8(longer_low_, bytes, longer_high_)) & upper &
          starts.all;
      if (longs != 0) {
        starts.consumed = static_cast<std::size_t>(_tzcnt_u64(longs));
        starts.all &= FirstBits(starts.consumed);
        starts.last = true;
      }
    }
    starts.pairs &= starts.all;
    return starts;
  }

 private:
  __m512i pairs_low_;
  __m512i pairs_high_;
  __m512i longer_low_;
  __m512i longer_high_;
  bool has_longer_;
};

// Cells of 16 lanes. Two-byte cells are the upper half of the four bytes that begin two bytes
// before them, so that nothing behind a table is read; in front of it there is always the header.
template <std::uint32_t kWidth>
KES_AVX512 inline __m512i GatherCells(__mmask16 lanes, const std::uint8_t* table,
                                      __m512i numbers) noexcept {
  const __m512i none = _mm512_setzero_si512();
  if constexpr (kWidth == 4) return _mm512_mask_i32gather_epi32(none, lanes, numbers, table, 4);
  return _mm512_srli_epi32(_mm512_mask_i32gather_epi32(none, lanes, numbers, table - 2, 2), 16);
}

// Where the characters of 16 first bytes are: the cell of the first trail byte, that byte, and how
// many there are; lanes without a row have none.
struct LeadLanes {
  __m512i cells;
  __m512i first;
  __m512i count;
};

// From the rows that were collected: the tables of the upper 128 bytes in registers.
class CollectedRows {
 public:
  KES_AVX512 explicit CollectedRows(const LeadRows& rows) noexcept {
    for (int i = 0; i < 8; ++i) cells_[i] = _mm512_loadu_si512(rows.cell + 16 * i);
    for (int i = 0; i < 2; ++i) {
      first_[i] = _mm512_loadu_si512(rows.first + 64 * i);
      count_[i] = _mm512_loadu_si512(rows.count + 64 * i);
    }
  }
  KES_AVX512 LeadLanes Find(__m128i leads) const noexcept {
    const __m512i lanes = _mm512_cvtepu8_epi32(leads);
    const __mmask16 bit5 = _mm512_test_epi32_mask(lanes, Dwords(0x20));
    const __mmask16 bit6 = _mm512_test_epi32_mask(lanes, Dwords(0x40));
    const __m512i low =
        _mm512_mask_mov_epi32(_mm512_permutex2var_epi32(cells_[0], lanes, cells_[1]), bit5,
                              _mm512_permutex2var_epi32(cells_[2], lanes, cells_[3]));
    const __m512i high =
        _mm512_mask_mov_epi32(_mm512_permutex2var_epi32(cells_[4], lanes, cells_[5]), bit5,
                              _mm512_permutex2var_epi32(cells_[6], lanes, cells_[7]));
    const __m512i wide = _mm512_castsi128_si512(leads);
    return {_mm512_mask_mov_epi32(low, bit6, high),
            _mm512_cvtepu8_epi32(
                _mm512_castsi512_si128(_mm512_permutex2var_epi8(first_[0], wide, first_[1]))),
            _mm512_cvtepu8_epi32(
                _mm512_castsi512_si128(_mm512_permutex2var_epi8(count_[0], wide, count_[1])))};
  }

 private:
  __m512i cells_[8];
  __m512i first_[2];
  __m512i count_[2];
};

// The units of up to 16 pairs; 0 where there is no character.
template <std::uint32_t kWidth>
KES_AVX512 inline __m256i LookUpPairs(const MultibyteDecodeTable& table, const CollectedRows& rows,
                                      __m128i firsts, __m128i seconds, __mmask16 lanes) noexcept {
  const LeadLanes lead = rows.Find(firsts);
  const __m512i trail = _mm512_sub_epi32(_mm512_cvtepu8_epi32(seconds), lead.first);
  const __m512i cell = _mm512_add_epi32(lead.cells, trail);
  lanes = _mm512_mask_cmplt_epu32_mask(lanes, trail, lead.count);
  lanes = _mm512_mask_cmplt_epu32_mask(lanes, cell, Dwords(table.cell_count));
  const __m512i units = GatherCells<kWidth>(lanes, table.cells, cell);
  // Larger code points become 0 as well: their unit is not a character of the basic plane.
  return _mm512_maskz_cvtepi32_epi16(_mm512_cmplt_epu32_mask(units, Dwords(0xFFFD)), units);
}

// The units of up to 32 pairs: by the rows that were collected ...
template <std::uint32_t kWidth>
KES_AVX512 inline __m512i LookUpAll(const MultibyteDecodeTable& table, const CollectedRows& rows,
                                    __m512i firsts, __m512i seconds, std::size_t count) noexcept {
  const auto lanes = static_cast<std::uint32_t>(FirstBits(count));
  const __m512i units = _mm512_castsi256_si512(
      LookUpPairs<kWidth>(table, rows, _mm512_castsi512_si128(firsts),
                          _mm512_castsi512_si128(seconds), static_cast<__mmask16>(lanes)));
  if (count <= 16) return _mm512_maskz_mov_epi16(lanes, units);
  return _mm512_inserti64x4(units,
                            LookUpPairs<kWidth>(table, rows, _mm512_extracti32x4_epi32(firsts, 1),
                                                _mm512_extracti32x4_epi32(seconds, 1),
                                                static_cast<__mmask16>(lanes >> 16)),
                            1);
}

// ... or one by one from the object, for texts too short to collect them.
struct RowsInPlace {};

template <std::uint32_t kWidth>
KES_AVX512 inline __m512i LookUpAll(const MultibyteDecodeTable& table, const RowsInPlace&,
                                    __m512i firsts, __m512i seconds, std::size_t count) noexcept {
  using Cell = std::conditional_t<kWidth == 4, std::uint32_t, std::uint16_t>;
  alignas(32) std::uint8_t first[32];
  alignas(32) std::uint8_t second[32];
  alignas(64) std::uint16_t units[32];
  _mm256_store_si256(reinterpret_cast<__m256i*>(first), Half(firsts, 0));
  _mm256_store_si256(reinterpret_cast<__m256i*>(second), Half(seconds, 0));
  for (std::size_t i = 0; i < count; ++i) {
    const std::uint32_t row = LoadAt<std::uint16_t>(table.leads, std::size_t{2} * first[i]) - 1u;
    const std::uint32_t cell = FindRowCell(table, row, second[i]);
    const std::uint32_t unit =
        cell == kNoCell ? 0 : LoadAt<Cell>(table.cells, sizeof(Cell) * std::size_t{cell});
    units[i] = static_cast<std::uint16_t>(unit < 0xFFFD ? unit : 0);
  }
  return _mm512_maskz_loadu_epi16(static_cast<__mmask32>(FirstBits(count)), units);
}

// The bytes from 80 up that are characters by themselves.
struct Done {
  std::size_t consumed;
  std::size_t made;
  bool stopped;
};

KES_AVX512 inline Done LookUpSingles(const MultibyteDecodeTable& table, const std::uint8_t* p,
                                     std::uint16_t* q, std::uint64_t starts, std::uint64_t singles,
                                     Done done) noexcept {
  for (; singles != 0; singles = _blsr_u64(singles)) {
    const auto place = static_cast<std::size_t>(_tzcnt_u64(singles));
    if (place >= done.consumed) break;
    const std::size_t number = CountBits(starts & FirstBits(place));
    const std::uint32_t unit = table.code_points[p[place]];
    if (unit - 1 >= 0xFFFC) return {place, number, true};
    q[number] = static_cast<std::uint16_t>(unit);
  }
  return done;
}

template <std::uint32_t kWidth, typename Rows>
KES_AVX512 inline Progress ToUnits(const MultibyteDecodeTable& given, const Rows& rows,
                                   const std::uint8_t* in, std::size_t size, std::uint16_t* out,
                                   std::size_t room) noexcept {
  const MultibyteDecodeTable table = given;
  const FirstBytes first_bytes(table);
  const std::uint8_t* p = in;
  const std::uint8_t* const end = in + size;
  std::uint16_t* q = out;
  std::uint16_t* const out_end = out + room;
  while (p < end && out_end - q >= 64) {
    const auto left = static_cast<std::size_t>(end - p);
    const std::size_t count = left < 64 ? left : 64;
    const __m512i bytes = _mm512_maskz_loadu_epi8(FirstBits(count), p);
    const std::uint64_t upper = _mm512_movepi8_mask(bytes);
    if (upper == 0) {
      _mm512_storeu_si512(q, _mm512_cvtepu8_epi16(_mm512_castsi512_si256(bytes)));
      _mm512_storeu_si512(q + 32, _mm512_cvtepu8_epi16(_mm512_extracti64x4_epi64(bytes, 1)));
      p += count;
      q += count;
      continue;
    }
    const Starts found = first_bytes.Find(bytes, upper, count);
    if (found.consumed == 0) break;
    const std::uint64_t starts = found.all;
    const std::uint64_t inside = found.pairs;
    // The first bytes in a row are the units of the ASCII among them; the pairs, at most 32, are
    // looked up in a row of their own and spread over their places.
    const __m512i letters = _mm512_maskz_compress_epi8(starts, bytes);
    const __m512i firsts = _mm512_maskz_compress_epi8(inside, bytes);
    const __m512i seconds = _mm512_maskz_compress_epi8(inside << 1, bytes);
    const std::size_t count_of_pairs = CountBits(inside);
    const auto lanes = static_cast<std::uint32_t>(FirstBits(count_of_pairs));
    const __m512i units = LookUpAll<kWidth>(table, rows, firsts, seconds, count_of_pairs);
    const std::uint64_t places = _pext_u64(inside, starts);
    const auto low_places = static_cast<__mmask32>(places);
    const auto high_places = static_cast<__mmask32>(places >> 32);
    const __m512i rest = _mm512_permutexvar_epi16(
        _mm512_add_epi16(WordNumbers(), Words(static_cast<int>(CountBits(low_places)))), units);
    _mm512_storeu_si512(
        q, _mm512_mask_expand_epi16(_mm512_cvtepu8_epi16(Half(letters, 0)), low_places, units));
    _mm512_storeu_si512(q + 32, _mm512_mask_expand_epi16(_mm512_cvtepu8_epi16(Half(letters, 1)),
                                                         high_places, rest));
    Done done = {found.consumed, CountBits(starts), false};
    const std::uint32_t none = _mm512_testn_epi16_mask(units, units) & lanes;
    if (none != 0) [[unlikely]] {
      done.consumed = static_cast<std::size_t>(
          _tzcnt_u64(_pdep_u64(std::uint64_t{1} << _tzcnt_u32(none), inside)));
      done.made = CountBits(starts & FirstBits(done.consumed));
      done.stopped = true;
    }
    const std::uint64_t singles = starts & upper & ~inside;
    if (singles != 0) done = LookUpSingles(table, p, q, starts, singles, done);
    p += done.consumed;
    q += done.made;
    if (found.last || done.stopped) break;
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
  if (table.lead_rows != nullptr) {
    const CollectedRows rows(*table.lead_rows);
    return table.wide ? ToUnits<4>(table, rows, in, size, out, room)
                      : ToUnits<2>(table, rows, in, size, out, room);
  }
  const RowsInPlace rows;
  return table.wide ? ToUnits<4>(table, rows, in, size, out, room)
                    : ToUnits<2>(table, rows, in, size, out, room);
}

namespace {

// Two-byte cells, 32 at once: the bytes of each in order, the first one left out where it is 0.
KES_AVX512 inline std::size_t StorePairs(std::uint8_t* out, std::size_t room, __m512i numbers,
                                         std::size_t count) noexcept {
  const std::uint32_t two = _mm512_cmpgt_epu16_mask(numbers, Words(0xFF));
  const std::uint64_t keep = (~kEvenBytes | _pdep_u64(two, kEvenBytes)) & FirstBits(2 * count);
  const std::size_t length = CountBits(keep);
  Store(out, room, _mm512_maskz_compress_epi8(keep, SwapUnits(numbers)), length);
  return length;
}

// Four-byte cells, 16 at once.
KES_AVX512 inline std::size_t StoreWide(std::uint8_t* out, std::size_t room, __m512i numbers,
                                        std::size_t count) noexcept {
  constexpr std::uint64_t kLastBytes = 0x8888888888888888;
  const std::uint64_t two = _mm512_cmpgt_epu32_mask(numbers, Dwords(0xFF));
  const std::uint64_t three = _mm512_cmpgt_epu32_mask(numbers, Dwords(0xFFFF));
  const std::uint64_t four = _mm512_cmpgt_epu32_mask(numbers, Dwords(0xFFFFFF));
  const std::uint64_t keep =
      (kLastBytes | _pdep_u64(two, kLastBytes >> 1) | _pdep_u64(three, kLastBytes >> 2) |
       _pdep_u64(four, kLastBytes >> 3)) &
      FirstBits(4 * count);
  const __m512i turned = _mm512_shuffle_epi8(
      numbers, _mm512_set4_epi32(0x0C0D0E0F, 0x08090A0B, 0x04050607, 0x00010203));
  const std::size_t length = CountBits(keep);
  Store(out, room, _mm512_maskz_compress_epi8(keep, turned), length);
  return length;
}

// Short texts: the cells of up to 32 units are put into registers one by one. Through memory the
// vector would have to wait until the last of its narrow stores has arrived.
template <typename Find>
KES_AVX512 inline __m128i FindEight(const Find& find, const std::uint16_t* in,
                                    std::size_t count) noexcept {
  __m128i cells = _mm_setzero_si128();
  if (count >= 8) {
    cells = _mm_cvtsi32_si128(find(in[0]));
    cells = _mm_insert_epi16(cells, find(in[1]), 1);
    cells = _mm_insert_epi16(cells, find(in[2]), 2);
    cells = _mm_insert_epi16(cells, find(in[3]), 3);
    cells = _mm_insert_epi16(cells, find(in[4]), 4);
    cells = _mm_insert_epi16(cells, find(in[5]), 5);
    cells = _mm_insert_epi16(cells, find(in[6]), 6);
    return _mm_insert_epi16(cells, find(in[7]), 7);
  }
  switch (count) {
    case 7:
      cells = _mm_insert_epi16(cells, find(in[6]), 6);
      [[fallthrough]];
    case 6:
      cells = _mm_insert_epi16(cells, find(in[5]), 5);
      [[fallthrough]];
    case 5:
      cells = _mm_insert_epi16(cells, find(in[4]), 4);
      [[fallthrough]];
    case 4:
      cells = _mm_insert_epi16(cells, find(in[3]), 3);
      [[fallthrough]];
    case 3:
      cells = _mm_insert_epi16(cells, find(in[2]), 2);
      [[fallthrough]];
    case 2:
      cells = _mm_insert_epi16(cells, find(in[1]), 1);
      [[fallthrough]];
    case 1:
      cells = _mm_insert_epi16(cells, find(in[0]), 0);
      [[fallthrough]];
    default:
      return cells;
  }
}
template <typename Find>
KES_AVX512 inline __m512i FindCells(const Find& find, const std::uint16_t* in,
                                    std::size_t count) noexcept {
  __m512i cells = _mm512_castsi128_si512(FindEight(find, in, count));
  if (count <= 8) return cells;
  cells = _mm512_inserti32x4(cells, FindEight(find, in + 8, count - 8), 1);
  if (count <= 16) return cells;
  cells = _mm512_inserti32x4(cells, FindEight(find, in + 16, count - 16), 2);
  if (count <= 24) return cells;
  return _mm512_inserti32x4(cells, FindEight(find, in + 24, count - 24), 3);
}

// Letters alone: a run that is worth it, else 0.
KES_AVX512 inline std::size_t NarrowRun(const MultibyteEncodeTable& table, const std::uint16_t* in,
                                        std::size_t count, std::uint8_t* out) noexcept {
  if (!table.ascii || in[0] >= 0x80) return 0;
  const std::size_t run = NarrowAscii(in, count, out);
  return run >= 32 || run == count ? run : 0;
}

KES_AVX512 inline Progress ToPairs(const MultibyteEncodeTable& given, const std::uint16_t* in,
                                   std::size_t count, std::uint8_t* out,
                                   std::size_t room) noexcept {
  MultibyteEncodeTable table = given;
  table.width = 2;
  const auto find = [table](std::uint32_t unit) {
    return static_cast<std::uint16_t>(FindEncodeCell(table, unit));
  };
  std::uint8_t* q = out;
  std::uint8_t* const out_end = out + room;
  std::size_t i = 0;
  while (i < count) {
    if (const std::size_t run = NarrowRun(table, in + i, count - i, q); run != 0) {
      q += run;
      i += run;
      continue;
    }
    std::size_t step = count - i < 32 ? count - i : 32;
    const auto lanes = static_cast<__mmask32>(FirstBits(step));
    const __m512i numbers = FindCells(find, in + i, step);
    const std::uint32_t none = _mm512_mask_testn_epi16_mask(lanes, numbers, numbers);
    if (none != 0) step = static_cast<std::size_t>(_tzcnt_u32(none));
    q += StorePairs(q, static_cast<std::size_t>(out_end - q), numbers, step);
    i += step;
    if (none != 0) break;
  }
  return {i, static_cast<std::size_t>(q - out), i};
}

// Longer texts, in two passes: the cells of a block one by one, then their bytes a vector at a
// time. Together in one loop each step would wait for its own lookups; apart, the lookups of a
// block overlap.
template <typename Cell>
KES_AVX512 inline Progress FromUnits(const MultibyteEncodeTable& given, const std::uint16_t* in,
                                     std::size_t count, std::uint8_t* out,
                                     std::size_t room) noexcept {
  constexpr std::size_t kBlock = 256;
  constexpr std::size_t kLanes = 64 / sizeof(Cell);
  MultibyteEncodeTable table = given;
  table.width = sizeof(Cell);
  std::uint8_t* q = out;
  std::uint8_t* const out_end = out + room;
  std::size_t i = 0;
  while (i < count) {
    if (const std::size_t run = NarrowRun(table, in + i, count - i, q); run != 0) {
      q += run;
      i += run;
      continue;
    }
    const std::size_t block = count - i < kBlock ? count - i : kBlock;
    alignas(64) Cell cells[kBlock];
    if (table.bases != nullptr) {
      const std::uint32_t* const bases = table.bases->base;
      for (std::size_t k = 0; k < block; ++k) {
        const std::uint32_t unit = in[i + k];
        cells[k] = LoadAt<Cell>(table.cells, sizeof(Cell) * std::size_t{bases[unit >> 6] + unit});
      }
    } else {
      for (std::size_t k = 0; k < block; ++k) {
        cells[k] = static_cast<Cell>(FindEncodeCell(table, in[i + k]));
      }
    }
    for (std::size_t k = 0; k < block; k += kLanes) {
      std::size_t step = block - k < kLanes ? block - k : kLanes;
      const auto free = static_cast<std::size_t>(out_end - q);
      std::uint32_t none;
      if constexpr (sizeof(Cell) == 2) {
        const auto lanes = static_cast<__mmask32>(FirstBits(step));
        const __m512i numbers = _mm512_maskz_loadu_epi16(lanes, cells + k);
        none = _mm512_mask_testn_epi16_mask(lanes, numbers, numbers);
        if (none != 0) step = static_cast<std::size_t>(_tzcnt_u32(none));
        q += StorePairs(q, free, numbers, step);
      } else {
        const auto lanes = static_cast<__mmask16>(FirstBits(step));
        const __m512i numbers = _mm512_maskz_loadu_epi32(lanes, cells + k);
        none = _mm512_mask_testn_epi32_mask(lanes, numbers, numbers);
        if (none != 0) step = static_cast<std::size_t>(_tzcnt_u32(none));
        q += StoreWide(q, free, numbers, step);
      }
      i += step;
      if (none != 0) return {i, static_cast<std::size_t>(q - out), i};
    }
  }
  return {i, static_cast<std::size_t>(q - out), i};
}

}  // namespace

KES_AVX512 Progress UnitsToMultibyte(const MultibyteEncodeTable& table, const std::uint16_t* in,
                                     std::size_t count, std::uint8_t* out,
                                     std::size_t room) noexcept {
  if (table.width == 4) return FromUnits<std::uint32_t>(table, in, count, out, room);
  if (table.bases != nullptr) return FromUnits<std::uint16_t>(table, in, count, out, room);
  return ToPairs(table, in, count, out, room);
}

}  // namespace kestra::nls::kernels::avx512

#endif
