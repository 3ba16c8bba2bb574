// Making, resizing and freeing descriptors, and their running extremes.
#include "number/ldsb_vector.h"

#include <cstddef>

namespace kestra::number::dsb {

static_assert(sizeof(ldsbint) == 24 && sizeof(ldsbminmax) == 56);
static_assert(offsetof(ldsbvector, scale) == 4 && offsetof(ldsbvector, count) == 8 &&
              offsetof(ldsbvector, data) == 16 && offsetof(ldsbvector, nulls) == 40 &&
              offsetof(ldsbvector, extremes) == 48 && sizeof(ldsbvector) == 128);
static_assert(sizeof(ldsbctx) == 128 && sizeof(ldsboptions) == 32 && sizeof(ldsboperation) == 32);

int CheckReadable(const ldsbvector& vector) noexcept {
  if (!HasTag(vector)) return KES_DSB_TAG;
  if (!IsPrecision(vector.precision)) return KES_DSB_PRECISION;
  if (!IsScalar(vector) && vector.data == nullptr && vector.count != 0) return KES_DSB_BUFFER;
  return KES_DSB_OK;
}

void ConvertElements(int in_precision, int out_precision, std::size_t n, const void* in, void* out,
                     const std::uint8_t* nulls) noexcept {
  if (in_precision == out_precision) {
    ldsbcopydsbs(WidthOf(in_precision), n, in, out, nulls, nullptr);
  } else {
    FindKernel([&](const Kernels& k) { return k.convert[in_precision - 1][out_precision - 1]; })(
        n, in, out, nulls);
  }
}

const std::uint8_t* NullSpan::Take(const std::uint8_t* nulls, std::size_t first,
                                   std::size_t n) noexcept {
  if (nulls == nullptr || first % 8 == 0) return nulls == nullptr ? nullptr : nulls + first / 8;
  const unsigned shift = first % 8;
  const std::uint8_t* from = nulls + first / 8;
  const std::size_t last = (first + n - 1) / 8 - first / 8;  // the last byte that may be read
  for (std::size_t i = 0; 8 * i < n; ++i) {
    const unsigned high = i < last ? from[i + 1] : 0u;
    bytes[i] = static_cast<std::uint8_t>((from[i] | high << 8) >> shift);
  }
  return bytes;
}

void PutBits(std::uint8_t* bitmap, std::size_t first, std::size_t n,
             const std::uint8_t* bits) noexcept {
  for (std::size_t i = 0; i < n;) {
    const std::size_t to = first + i;
    if (to % 8 == 0 && n - i >= 8 && (bits == nullptr || i % 8 == 0)) {
      const std::size_t whole = (n - i) / 8;
      if (bits == nullptr) {
        std::memset(bitmap + to / 8, 0, whole);
      } else {
        std::memmove(bitmap + to / 8, bits + i / 8, whole);
      }
      i += 8 * whole;
      continue;
    }
    const unsigned bit = bits == nullptr ? 0u : bits[i / 8] >> i % 8 & 1u;
    const unsigned mask = 1u << to % 8;
    bitmap[to / 8] = static_cast<std::uint8_t>((bitmap[to / 8] & ~mask) | bit << to % 8);
    ++i;
  }
}

std::size_t CountBits(const std::uint8_t* bits, std::size_t n) noexcept {
  if (bits == nullptr) return 0;
  std::size_t alive = 0;
  for (std::size_t first = 0; first < n; first += 64) {
    alive += static_cast<std::size_t>(std::popcount(AliveBits(bits, first, n - first)));
  }
  return n - alive;
}

ldsbminmax ExtremesOf(const ldsbvector& vector, std::size_t first, std::size_t n) noexcept {
  ldsbminmax extremes = {};
  const MinMaxKernel kernel =
      FindKernel([&](const Kernels& k) { return k.minmax[vector.precision - 1]; });
  NullSpan nulls;
  if (NullsOf(vector) == nullptr || first % 8 == 0) {
    kernel(n, At(vector, first), nulls.Take(NullsOf(vector), first, n), &extremes);
    return extremes;
  }
  for (std::size_t i = 0; i < n; i += kBitmapSpan) {
    const std::size_t size = n - i < kBitmapSpan ? n - i : kBitmapSpan;
    kernel(size, At(vector, first + i), nulls.Take(NullsOf(vector), first + i, size), &extremes);
  }
  return extremes;
}

namespace {

// An empty vector over a buffer.
ldsbvector MakeEmpty(void* buffer, std::size_t size) noexcept {
  ldsbvector vector = {};
  vector.tag = KES_DSB_VECTOR;
  vector.buffer = static_cast<std::uint8_t*>(buffer);
  vector.buffer_size = size;
  return vector;
}

void SetElements(ldsbvector& vector, int precision, std::int32_t scale, std::size_t count,
                 std::uint8_t* data) noexcept {
  vector.precision = static_cast<std::uint8_t>(precision);
  vector.width = static_cast<std::uint8_t>(WidthOf(precision));
  vector.scale = scale;
  vector.count = count;
  vector.data = data;
  vector.extremes.state = count == 0 ? KES_DSB_EXTREMES_NONE : KES_DSB_EXTREMES_UNKNOWN;
}

std::size_t GapOf(const void* p) noexcept {
  const auto past = reinterpret_cast<std::uintptr_t>(p) % kElementAlignment;
  return past == 0 ? 0 : kElementAlignment - past;
}

}  // namespace

void SetScalar(ldsbvector& scalar, int precision, std::int64_t scale,
               const Int192& value) noexcept {
  scalar.tag = KES_DSB_SCALAR;
  scalar.precision = static_cast<std::uint8_t>(precision);
  scalar.width = static_cast<std::uint8_t>(WidthOf(precision));
  scalar.scale = static_cast<std::int32_t>(scale);
  scalar.count = 1;
  scalar.data = nullptr;
  scalar.extremes = {ToPublic(value), ToPublic(value), KES_DSB_EXTREMES_KNOWN, 0};
}

}  // namespace kestra::number::dsb

using namespace kestra::number::dsb;

int ldsbvinitx(const ldsbctx*, ldsbvector* vector, uint32_t precision, int32_t scale, size_t count,
               void* buffer, size_t buffer_size, const void* min, const void* max) noexcept {
  if (!IsPrecision(precision)) return KES_DSB_PRECISION;
  if (GapOf(buffer) != 0) return KES_DSB_ALIGNMENT;
  const int known = static_cast<int>(precision);
  std::size_t area = 0;
  if (!ElementArea(WidthOf(known), count, &area) || (buffer == nullptr ? 0 : buffer_size) < area) {
    return KES_DSB_BUFFER;
  }
  *vector = MakeEmpty(buffer, buffer_size);
  SetElements(*vector, known, scale, count, vector->buffer);
  if (min != nullptr && max != nullptr) {
    vector->extremes = {ToPublic(LoadElement(min, WidthOf(known))),
                        ToPublic(LoadElement(max, WidthOf(known))), KES_DSB_EXTREMES_KNOWN, 0};
  }
  return KES_DSB_OK;
}

int ldsbvinit(const ldsbctx*, ldsbvector* vector, void* buffer, size_t buffer_size) noexcept {
  if (buffer != nullptr && buffer_size < GapOf(buffer)) return KES_DSB_BUFFER;
  *vector = MakeEmpty(buffer, buffer == nullptr ? 0 : buffer_size);
  return KES_DSB_OK;
}

int ldsbvbinit(const ldsbctx*, ldsbvector* vector, uint32_t precision, int32_t scale, size_t count,
               void** area, size_t* left) noexcept {
  if (!IsPrecision(precision)) return KES_DSB_PRECISION;
  const int known = static_cast<int>(precision);
  const std::size_t gap = GapOf(*area);
  std::size_t size = 0;
  if (!ElementArea(WidthOf(known), count, &size) || *left < gap || *left - gap < size) {
    return KES_DSB_BUFFER;
  }
  std::uint8_t* begin = static_cast<std::uint8_t*>(*area) + gap;
  *vector = MakeEmpty(begin, size);
  SetElements(*vector, known, scale, count, begin);
  *area = begin + size;
  *left -= gap + size;
  return KES_DSB_OK;
}

int ldsbvinit_sint(const ldsbctx*, ldsbvector* scalar, uint32_t precision, int32_t scale,
                   const void* value, size_t width) noexcept {
  if (PrecisionOfWidth(width) == 0) return KES_DSB_WIDTH;
  if (precision != KES_DSB_NARROWEST && !IsPrecision(precision)) return KES_DSB_PRECISION;
  const Int192 integer = LoadElement(value, width);
  const int needed = PrecisionOf(integer);
  const int known = precision == KES_DSB_NARROWEST ? needed : static_cast<int>(precision);
  if (known < needed) return KES_DSB_RANGE;
  *scalar = MakeEmpty(nullptr, 0);
  SetScalar(*scalar, known, scale, integer);
  return KES_DSB_OK;
}

int ldsbvfree(const ldsbctx* ctx, ldsbvector* vector) noexcept {
  if (!HasTag(*vector)) return KES_DSB_TAG;
  const ldsbctx& context = ContextOf(ctx);
  if ((vector->flags & KES_DSB_OWNS_BUFFER) != 0) Release(context, vector->buffer);
  if ((vector->flags & KES_DSB_OWNS_NULLS) != 0) Release(context, vector->nulls);
  *vector = MakeEmpty(nullptr, 0);
  return KES_DSB_OK;
}

int ldsbvresize(const ldsbctx* ctx, ldsbvector* result, const ldsbvector* source,
                uint32_t precision) noexcept {
  if (!HasTag(*result)) return KES_DSB_TAG;
  const int status = CheckReadable(*source);
  if (status != KES_DSB_OK) return status;
  if (!IsPrecision(precision)) return KES_DSB_PRECISION;
  const int known = static_cast<int>(precision);
  const ldsbvector from = *source;
  ldsbminmax extremes = from.extremes;
  if (known < from.precision) {
    if (extremes.state == KES_DSB_EXTREMES_UNKNOWN) extremes = ExtremesOf(from, 0, from.count);
    if (extremes.state == KES_DSB_EXTREMES_KNOWN &&
        (PrecisionOf(FromPublic(extremes.min)) > known ||
         PrecisionOf(FromPublic(extremes.max)) > known)) {
      return KES_DSB_RANGE;
    }
  }
  if (IsScalar(from)) {
    SetScalar(*result, known, from.scale, FromPublic(from.extremes.min));
    return KES_DSB_OK;
  }
  Target target(ContextOf(ctx));
  target.Protect(from.data, from.count * WidthOf(from.precision), WidthOf(from.precision));
  const int opened = target.Open(*result, known, from.count, NullsOf(from) != nullptr);
  if (opened != KES_DSB_OK) return opened;
  if (target.nulls() != nullptr && target.nulls() != NullsOf(from)) {
    PutBits(target.nulls(), 0, from.count, NullsOf(from));
  }
  if (target.data() != from.data || known != from.precision) {
    ConvertElements(from.precision, known, from.count, from.data, target.data(), target.nulls());
  }
  target.Commit(*result);
  result->scale = from.scale;
  result->extremes = extremes;
  return KES_DSB_OK;
}

int ldsbvset_updminmax(const ldsbctx*, ldsbvector* vector) noexcept {
  const int status = CheckReadable(*vector);
  if (status != KES_DSB_OK) return status;
  if (!IsScalar(*vector)) vector->extremes = ExtremesOf(*vector, 0, vector->count);
  return KES_DSB_OK;
}

int ldsbvupdate_minmax(const ldsbctx*, ldsbvector* vector, size_t first, size_t count) noexcept {
  const int status = CheckReadable(*vector);
  if (status != KES_DSB_OK) return status;
  if (first > vector->count || count > vector->count - first) return KES_DSB_BOUNDS;
  if (IsScalar(*vector)) return KES_DSB_OK;
  const ldsbminmax found = ExtremesOf(*vector, first, count);
  if (found.state == KES_DSB_EXTREMES_KNOWN) {
    MergeWide(&vector->extremes, FromPublic(found.min), FromPublic(found.max));
  }
  return KES_DSB_OK;
}
