// Descriptors and operations. The first bytes choose, the rest are elements, bitmaps and NUMBERs in
// allocations of exactly their size. Laws: every processor level gives the same status and the same
// bytes; a sum of two columns less one of them is the other; NUMBERs that load read back as the
// numbers they were; what is scattered gathers back; nulls are not written; allocations balance.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "core/os/cpu.h"
#include "kestra/decimal_vector.h"
#include "kestra/number.h"
#include "tests/support/fuzz_input.h"

namespace {

using kestra::os::CpuLevel;
using kestra::test::FuzzInput;
using kestra::test::Require;
using Bytes = std::vector<std::uint8_t>;

long live = 0;
long calls_left = 0;
void* Allocate(void*, std::size_t size, const char*) {
  if (calls_left-- <= 0) return nullptr;
  ++live;
  return std::malloc(size);
}
void Release(void*, void* memory, const char*) {
  --live;
  std::free(memory);
}

constexpr std::size_t kWidths[] = {0, 1, 2, 4, 8, 16, 24};

// A vector or scalar with everything in memory of its own.
struct Column {
  ldsbvector vector;
  Bytes nulls;
  std::uint8_t* buffer = nullptr;
  ~Column() { std::free(buffer); }
};

void MakeColumn(FuzzInput& in, std::size_t count, Column& column) {
  const std::uint8_t choice = in.Take();
  const std::uint32_t precision = 1 + choice % 6u;
  const auto scale = static_cast<std::int32_t>(static_cast<std::int8_t>(in.Take()));
  const std::size_t width = kWidths[precision];
  if ((choice & 0x40) != 0) {
    const Bytes value = in.Bytes(width);
    Require(ldsbvinit_sint(nullptr, &column.vector, precision, scale, value.data(), width) == 0);
    return;
  }
  const std::size_t area = (count * width + 63) / 64 * 64;
  column.buffer = static_cast<std::uint8_t*>(std::aligned_alloc(64, area == 0 ? 64 : area));
  const Bytes elements = in.Bytes(count * width);
  if (!elements.empty()) std::memcpy(column.buffer, elements.data(), elements.size());
  // Small values are commoner than random bytes make them.
  const std::size_t keep = 1 + (choice >> 4 & 3) * 2u;
  for (std::size_t i = 0; i < count; ++i) {
    std::uint8_t* element = column.buffer + i * width;
    for (std::size_t b = keep; b < width; ++b) element[b] = element[keep - 1] >> 7 != 0 ? 0xFF : 0;
  }
  Require(ldsbvinitx(nullptr, &column.vector, precision, scale, count, column.buffer, area, nullptr,
                     nullptr) == 0);
  if ((choice & 0x80) != 0) {
    column.nulls = in.Bytes((count + 7) / 8);
    if (count != 0) column.vector.nulls = column.nulls.data();
  }
  if (in.Take() % 8 != 0) Require(ldsbvset_updminmax(nullptr, &column.vector) == 0);
}

// What a result holds: status, description, bitmap and the elements that are not null.
Bytes Describe(int status, const ldsbvector& v) {
  Bytes text(sizeof status);
  std::memcpy(text.data(), &status, sizeof status);
  if (status != 0) return text;
  const auto add = [&text](const void* p, std::size_t n) {
    const auto* bytes = static_cast<const std::uint8_t*>(p);
    text.insert(text.end(), bytes, bytes + n);
  };
  add(&v, 16);
  add(&v.extremes, sizeof v.extremes);
  if (v.tag == KES_DSB_SCALAR) return text;
  for (std::size_t i = 0; i < v.count; ++i) {
    const bool null = v.nulls != nullptr && (v.nulls[i / 8] >> i % 8 & 1) != 0;
    text.push_back(null ? 1 : 0);
    if (!null) add(v.data + i * v.width, v.width);
  }
  return text;
}

void CheckOperation(FuzzInput& in) {
  const std::size_t count = in.Take() % 200u;
  const std::uint8_t choice = in.Take();
  ldsboptions options = {};
  if ((choice & 0x40) != 0)
    options = {static_cast<std::uint32_t>(in.Take() & 33), in.Take() % 8u, {}};
  const long allowed = (choice & 0x80) != 0 ? in.Take() % 5 : 100;
  Column left, right;
  MakeColumn(in, count, left);
  MakeColumn(in, count, right);
  ldsbctx ctx;
  Require(ldsbinit(&ctx, Allocate, Release, nullptr) == 0);
  Bytes described[2];
  const CpuLevel levels[2] = {CpuLevel::kBaseline,
                              (choice & 1) != 0 ? CpuLevel::kAvx512 : CpuLevel::kAvx2};
  for (int k = 0; k < 2; ++k) {
    kestra::os::ForceCpuLevel(levels[k]);
    calls_left = allowed;
    ldsbvector result, sum, back;
    for (ldsbvector* v : {&result, &sum, &back}) Require(ldsbvinit(&ctx, v, nullptr, 0) == 0);
    const std::uint32_t operation = choice / 2 % 3u;
    const int status = ldsbvop(&ctx, operation, &result, &left.vector, &right.vector, &options);
    described[k] = Describe(status, result);
    if (status == 0) {
      const Bytes total = Describe(ldsbvsum(&ctx, &sum, &result), sum);
      described[k].insert(described[k].end(), total.begin(), total.end());
      Bytes matches((result.count + 7) / 8);
      const int compared =
          ldsbvcompare(&ctx, choice / 8 % 8u, &left.vector, &right.vector, matches.data(), nullptr);
      if (compared == 0) described[k].insert(described[k].end(), matches.begin(), matches.end());
      // (x + y) - y is x at the scale of the sum, wherever nothing was cut off.
      if (operation == KES_DSB_ADD && options.precision == 0 &&
          left.vector.scale <= right.vector.scale &&
          ldsbvop(&ctx, KES_DSB_SUBTRACT, &back, &result, &right.vector, nullptr) == 0) {
        for (std::size_t i = 0; i < back.count && back.tag == KES_DSB_VECTOR; ++i) {
          if (back.nulls != nullptr && (back.nulls[i / 8] >> i % 8 & 1) != 0) continue;
          std::uint8_t want[24], got[24];
          const ldsbvector& x = left.vector;
          const std::size_t place = x.tag == KES_DSB_SCALAR ? 0 : i;
          Require(ldsbvget_ints(&ctx, &x, place, 1, want, 24) == 0);
          Require(ldsbvget_ints(&ctx, &back, i, 1, got, 24) == 0);
          Require(std::memcmp(want, got, 24) == 0);
        }
      }
    }
    for (ldsbvector* v : {&result, &sum, &back}) Require(ldsbvfree(&ctx, v) == 0);
    Require(live == 0);
  }
  kestra::os::ForceCpuLevel(CpuLevel::kAvx512);
  Require(described[0] == described[1]);
}

void CheckNumbers(FuzzInput& in) {
  const std::size_t count = in.Take() % 100u;
  const std::uint8_t choice = in.Take();
  const std::uint32_t precision = (choice & 1) != 0 ? 7 : in.Take() % 9u;
  std::int32_t scale = (choice & 2) != 0 ? INT32_MAX : static_cast<std::int8_t>(in.Take());
  if (scale == INT8_MIN) scale = INT32_MIN;
  Bytes nulls;
  if ((choice & 4) != 0) nulls = in.Bytes((count + 7) / 8);
  const std::uint8_t* bitmap = nulls.empty() ? nullptr : nulls.data();
  std::vector<Bytes> numbers(count);
  std::vector<const std::uint8_t*> pointers(count);
  std::vector<std::uint16_t> lengths(count);
  for (std::size_t i = 0; i < count; ++i) {
    const std::uint8_t length = in.Take() % 24;
    numbers[i] = in.Bytes(length == 0 ? 1 : length);
    if (length == 0) {  // prefixed: the bytes that the prefix promises
      const Bytes rest = in.Bytes(numbers[i][0]);
      numbers[i].insert(numbers[i].end(), rest.begin(), rest.end());
    }
    numbers[i].shrink_to_fit();
    pointers[i] = (choice & 8) != 0 && length == 23 ? nullptr : numbers[i].data();
    lengths[i] = length;
  }
  Bytes described[2];
  for (int k = 0; k < 2; ++k) {
    const CpuLevel best = (choice & 16) != 0 ? CpuLevel::kAvx2 : CpuLevel::kAvx512;
    kestra::os::ForceCpuLevel(k == 0 ? CpuLevel::kBaseline : best);
    ldsbvector vector;
    Require(ldsbvinit(nullptr, &vector, nullptr, 0) == 0);
    const int status = ldsbvset_ons(nullptr, &vector, precision, scale, 0, count, pointers.data(),
                                    lengths.data(), bitmap, 0);
    described[k] = Describe(status, vector);
    if (count == 1 && bitmap == nullptr) {  // a scalar is the same value
      ldsbvector scalar;
      Require(ldsbvinit_son(nullptr, &scalar, precision, scale, pointers[0], lengths[0]) == status);
      Require(status != 0 || std::memcmp(&scalar.extremes, &vector.extremes, 48) == 0);
    }
    if (status == 0) {
      Bytes slots(22 * count);
      Require(ldsbvget_ons(nullptr, &vector, 0, count, slots.data(), 22, nullptr) == 0);
      for (std::size_t i = 0; i < count; ++i) {
        const std::uint8_t* slot = slots.data() + 22 * i;
        if (bitmap != nullptr && (bitmap[i / 8] >> i % 8 & 1) != 0) {
          Require(*slot == 0);
          continue;
        }
        std::uint8_t wanted[22] = {1, 0x80};  // what a null pointer counts as
        if (pointers[i] != nullptr) lnxmul(pointers[i], lengths[i], lnxqpos1, 0, wanted, nullptr);
        Require(lnxchk(slot, 0) == 1);
        Require(std::memcmp(slot, wanted, 1u + *slot) == 0);
      }
    }
    Require(ldsbvfree(nullptr, &vector) == 0);
  }
  kestra::os::ForceCpuLevel(CpuLevel::kAvx512);
  Require(described[0] == described[1]);
}

// What is scattered gathers back; a number past the limit stops both before anything is written.
void CheckIndexed(FuzzInput& in) {
  const std::size_t count = in.Take() % 70u;
  const std::size_t width = kWidths[1 + in.Take() % 6u];
  const std::size_t limit = in.Take();
  const Bytes nulls = in.Bytes((count + 7) / 8);
  std::vector<std::uint32_t> index(count);
  bool valid = true;
  for (std::size_t i = 0; i < count; ++i) {
    index[i] = in.Take();
    valid = valid && (index[i] < limit || (nulls[i / 8] >> i % 8 & 1) != 0);
  }
  const Bytes data = in.Bytes(count * width);
  Bytes table(limit * width), back(count * width);
  const Bytes before = table;
  ldsbminmax minmax[2] = {};
  const int status = ldsbcopydsbs_scatter(width, count, index.data(), data.data(), table.data(),
                                          limit, nulls.data(), nullptr);
  Require(status == (valid ? KES_DSB_OK : KES_DSB_BOUNDS));
  if (!valid) Require(table == before);
  Require(ldsbcopydsbs_gather(width, count, index.data(), table.data(), limit, back.data(),
                              nulls.data(), &minmax[0]) == status);
  Require(ldsbminmaxdsbs_gather(width, count, index.data(), table.data(), limit, nulls.data(),
                                &minmax[1]) == status);
  Require(std::memcmp(&minmax[0], &minmax[1], sizeof minmax[0]) == 0);
  for (std::size_t i = 0; valid && i < count; ++i) {
    const bool null = (nulls[i / 8] >> i % 8 & 1) != 0;
    const Bytes zero(width);
    const std::uint8_t* wanted = null ? zero.data() : table.data() + index[i] * width;
    Require(std::memcmp(back.data() + i * width, wanted, width) == 0);
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  FuzzInput in(data, size);
  const std::uint8_t choice = in.Take();
  if ((choice & 1) == 0) {
    CheckOperation(in);
  } else if ((choice & 0x82) != 0x82) {
    CheckNumbers(in);
  } else {
    CheckIndexed(in);
  }
  return 0;
}
