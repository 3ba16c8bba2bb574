// The loops over arrays of elements, as one table for each processor level. An entry of a higher
// level may be null: the portable table has them all. Precisions are counted from 0 here (code -
// 1).
//
// nulls: a bitmap over the elements, or null: none is null. Where an element is null the output
// keeps what it holds, which may be read and written back.
// Arrays need no alignment; nothing past the last element is read or written.
#pragma once

#include "number/kernels/ldsb_elements.h"

namespace kestra::number::dsb {

// left, right, out as a ldsbmember has them. minmax: null, or merged with the results.
using MemberKernel = void (*)(std::size_t n, const void* left, const void* right, void* out,
                              const std::uint8_t* nulls, ldsbminmax* minmax) noexcept;
// out[i] = in[i] in another precision, sign-extended or cut off.
using ConvertKernel = void (*)(std::size_t n, const void* in, void* out,
                               const std::uint8_t* nulls) noexcept;
using MinMaxKernel = void (*)(std::size_t n, const void* data, const std::uint8_t* nulls,
                              ldsbminmax* minmax) noexcept;
// Bits of matches: KES_DSB_BELOW, _EQUAL or _ABOVE in relation says which results of comparing
// left[i] with right[i] (one_right: with right[0]) count. Whole bytes are written, 0 at nulls and
// past n.
using CompareKernel = void (*)(std::size_t n, const void* left, const void* right, bool one_right,
                               std::uint32_t relation, const std::uint8_t* nulls,
                               std::uint8_t* matches) noexcept;
// Integers of NUMBERs in units of 100^scale, which number_view.h could hold: the caller has scanned
// them, all finite, all within 8 base-100 digits from the scale on. Null elements give any value.
using DecodeKernel = void (*)(std::size_t n, const std::uint8_t* const* numbers,
                              const std::uint16_t* lengths, const std::uint8_t* nulls,
                              std::int32_t scale, std::int64_t* out) noexcept;

struct Kernels {
  MemberKernel members[7][kPrecisions][2];  // [operation][input][0: same output, 1: next wider]
  ConvertKernel convert[kPrecisions][kPrecisions];  // [in][out]; none for equal ones
  MinMaxKernel minmax[kPrecisions];
  CompareKernel compare[kPrecisions];
  DecodeKernel decode;
};

extern const Kernels kPortableKernels;

// The tables of this machine's level, best first; the last one is kPortableKernels.
const Kernels* const* KernelChain() noexcept;

// The best entry that pick finds in a table.
template <class Pick>
auto FindKernel(Pick&& pick) noexcept {
  const Kernels* const* chain = KernelChain();
  while (pick(**chain) == nullptr) ++chain;
  return pick(**chain);
}

}  // namespace kestra::number::dsb
