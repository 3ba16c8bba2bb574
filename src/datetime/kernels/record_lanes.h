// Records of datetimes and intervals to lanes of 8 bytes and back, for every instruction set; included
// between date_lanes.h and timestamp_lanes.h. A record is read and written as a piece of 16 bytes
// and a rest; pieces of every second record make a vector, and the halves of two such vectors are
// lanes in the order of the records. That needs no more than one load or store of a piece, and the
// records may lie anywhere: comparing addresses to find them in a row costs more than it brings.
//
// What the including file defines besides:
//   LoadPieces, StorePieces      vectors of 16 bytes at half as many addresses as there are lanes
//   LowOfPairs, HighOfPairs      the first or the second lane of each such piece of x and of y
//   StoreVector

// 16 bytes of every second record, from the first or the second one on.
template <typename Record>
KES_DATE_LANES inline Lanes LoadEverySecond(const Record* const* records, std::size_t step,
                                            std::size_t first, std::size_t offset) noexcept {
  const void* at[kLanes / 2];
  for (std::size_t k = 0; k < kLanes / 2; ++k) {
    at[k] = reinterpret_cast<const char*>(records[(2 * k + first) * step]) + offset;
  }
  return LoadPieces(at);
}

template <typename Record>
KES_DATE_LANES inline void LoadRecords(const Operands<const Record*>& records, std::size_t i,
                                       Lanes* parts) noexcept {
  const std::size_t step = records.step();
  const Record* const* at = records.values() + i * step;
  const Lanes even = LoadEverySecond(at, step, 0, 0);
  const Lanes odd = LoadEverySecond(at, step, 1, 0);
  parts[0] = LowOfPairs(even, odd);
  parts[1] = HighOfPairs(even, odd);
  if constexpr (sizeof(Record) == 24) {
    parts[2] = HighOfPairs(LoadEverySecond(at, step, 0, 8), LoadEverySecond(at, step, 1, 8));
  }
}

// The first 16 bytes of records.
template <typename Record>
KES_DATE_LANES inline void StoreFront(Record* const* out, Lanes first, Lanes second) noexcept {
  void* even[kLanes / 2];
  void* odd[kLanes / 2];
  for (std::size_t k = 0; k < kLanes / 2; ++k) {
    even[k] = out[2 * k];
    odd[k] = out[2 * k + 1];
  }
  StorePieces(even, LowOfPairs(first, second));
  StorePieces(odd, HighOfPairs(first, second));
}
KES_DATE_LANES inline void StoreDates(LdiDate* const* out, const LdiDate* const* in, Lanes fields,
                                      Lanes rest) noexcept {
  for (std::size_t k = 0; k < kLanes; ++k) __builtin_memcpy(&out[k]->region, &in[k]->region, 4);
  StoreFront(out, fields, rest);
}
KES_DATE_LANES inline void StoreIntervals(LdiInter* const* out, Lanes first, Lanes second,
                                          Lanes third) noexcept {
  StoreFront(out, first, second);
  std::int64_t last[kLanes];
  StoreVector(last, third);
  for (std::size_t k = 0; k < kLanes; ++k) __builtin_memcpy(&out[k]->field[4], &last[k], 8);
}
