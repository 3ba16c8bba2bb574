// What every instruction set has under the same name: lanes for date_lanes.h and timestamp_lanes.h,
// which tell what they do. Included inside of the including file's own unnamed namespace, behind
// Lanes. KES_DATE_VECTOR(name) is there the intrinsic of that name for its vectors, KES_DATE_BITS
// one whose name ends with their width.

KES_DATE_LANES inline Lanes Add(Lanes x, Lanes y) noexcept {
  return KES_DATE_VECTOR(add_epi64)(x, y);
}
KES_DATE_LANES inline Lanes Subtract(Lanes x, Lanes y) noexcept {
  return KES_DATE_VECTOR(sub_epi64)(x, y);
}
KES_DATE_LANES inline Lanes And(Lanes x, Lanes y) noexcept { return KES_DATE_BITS(and)(x, y); }
KES_DATE_LANES inline Lanes Or(Lanes x, Lanes y) noexcept { return KES_DATE_BITS(or)(x, y); }
KES_DATE_LANES inline Lanes Xor(Lanes x, Lanes y) noexcept { return KES_DATE_BITS(xor)(x, y); }
KES_DATE_LANES inline Lanes Multiply(Lanes x, Lanes y) noexcept {
  return KES_DATE_VECTOR(mul_epu32)(x, y);
}
KES_DATE_LANES inline Lanes MultiplySigned(Lanes x, Lanes y) noexcept {
  return KES_DATE_VECTOR(mul_epi32)(x, y);
}
KES_DATE_LANES inline Lanes AddHalves(Lanes x, Lanes y) noexcept {
  return KES_DATE_VECTOR(add_epi32)(x, y);
}
KES_DATE_LANES inline Lanes HighWords(Lanes x, Lanes y) noexcept {
  return KES_DATE_VECTOR(mulhi_epu16)(x, y);
}
template <unsigned kBits>
KES_DATE_LANES inline Lanes Left(Lanes x) noexcept {
  return KES_DATE_VECTOR(slli_epi64)(x, kBits);
}
template <unsigned kBits>
KES_DATE_LANES inline Lanes Right(Lanes x) noexcept {
  return KES_DATE_VECTOR(srli_epi64)(x, kBits);
}
template <unsigned kBits>
KES_DATE_LANES inline Lanes RightOfHalves(Lanes x) noexcept {
  return KES_DATE_VECTOR(srli_epi32)(x, kBits);
}
KES_DATE_LANES inline Lanes RightBy(Lanes x, Lanes bits) noexcept {
  return KES_DATE_VECTOR(srlv_epi64)(x, bits);
}
KES_DATE_LANES inline Lanes LowOfPairs(Lanes x, Lanes y) noexcept {
  return KES_DATE_VECTOR(unpacklo_epi64)(x, y);
}
KES_DATE_LANES inline Lanes HighOfPairs(Lanes x, Lanes y) noexcept {
  return KES_DATE_VECTOR(unpackhi_epi64)(x, y);
}
