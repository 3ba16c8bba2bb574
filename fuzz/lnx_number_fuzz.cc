// Raw bytes as numbers into every function of the arithmetic, from buffers of exactly the size that
// may be read and written. Laws: results are well formed; sums and products commute; x - x is zero;
// the order is the sign of the difference; turning a sign twice changes nothing; kernels and vector
// forms equal the scalar functions.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "core/os/cpu.h"
#include "kestra/number.h"
#include "kestra/number_array.h"
#include "kestra/number_math.h"
#include "kestra/number_native.h"
#include "number/kernels/number_kernels.h"
#include "tests/support/fuzz_input.h"

namespace {

using namespace kestra::number;  // NOLINT: the kernels' tables
using kestra::os::CpuLevel;
using kestra::test::FuzzInput;
using kestra::test::Require;

// An input in one of the two forms, with any length that its form can say.
struct Input {
  explicit Input(FuzzInput& reader) {
    const std::uint8_t form = reader.Take();
    const std::size_t claimed = reader.Take();
    const std::size_t readable = claimed < 21 ? claimed : 21;
    const bool prefixed = (form & 1) != 0 || claimed == 0;
    bytes = reader.Bytes(readable);
    if (prefixed) bytes.insert(bytes.begin(), static_cast<std::uint8_t>(claimed));
    length = prefixed ? 0 : claimed << ((form & 2) != 0 && claimed > 21 ? 4 : 0);
    sane = claimed <= 21;
    bytes.shrink_to_fit();
  }
  const std::uint8_t* data() const { return bytes.data(); }
  std::vector<std::uint8_t> bytes;
  std::size_t length;
  bool sane;
};

using Number = std::vector<std::uint8_t>;

bool IsValid(const Number& number) { return lnxchk(number.data(), number.size()) == 1; }

// Runs a function with outputs of both forms in buffers of just the room they may need.
template <typename Function>
Number Output(Function function) {
  Number alone(21);
  std::size_t length = 0;
  function(alone.data(), &length);
  Require(length >= 1 && length <= 21);
  alone.resize(length);
  Number prefixed(22);
  function(prefixed.data(), nullptr);
  Require(prefixed[0] == length && std::memcmp(prefixed.data() + 1, alone.data(), length) == 0);
  return alone;
}

Number Binary(BinaryFunction* function, const Input& x, const Input& y) {
  return Output([&](std::uint8_t* out, std::size_t* outlen) {
    function(x.data(), x.length, y.data(), y.length, out, outlen);
  });
}

int Sign(int value) { return (value > 0) - (value < 0); }

void CheckLaws(const Input& x, const Input& y) {
  for (BinaryFunction* function : {lnxadd, lnxmul}) {
    const Number result = Binary(function, x, y);
    Require(IsValid(result));
    const Number turned = Binary(function, y, x);
    const bool infinite = turned[0] == 0 || (turned[0] == 0xFF && turned[1] == 0x65);
    Require(result == turned || infinite);  // of two infinities the first decides
  }
  Require(Binary(lnxsub, x, x) == Number{0x80});
  Require(IsValid(Binary(lnxdiv, x, y)));
  Require(IsValid(Binary(lnxmod, x, y)) && IsValid(Binary(lnxrem, x, y)));
  if (!x.sane || !y.sane) return;
  if (lnxchk(x.data(), x.length) != 1 || lnxchk(y.data(), y.length) != 1) return;
  const Number difference = Binary(lnxsub, x, y);
  // 80 and 7F begin the numbers nearest to zero, of which lnxsgn sees only the first byte.
  if (difference[0] == 0x80 || difference[0] == 0x7F) return;
  Require(Sign(lnxcmp(x.data(), x.length, y.data(), y.length)) ==
          lnxsgn(difference.data(), difference.size()));
}

// The kernels of every machine against the plain functions.
void CheckKernels(const Kernels& kernels, const Input& x, const Input& y, int places) {
  const struct {
    BinaryFunction* kernel;
    BinaryFunction* plain;
  } binary[] = {{kernels.add, scalar::Add},
                {kernels.subtract, scalar::Subtract},
                {kernels.multiply, scalar::Multiply},
                {kernels.divide, scalar::Divide}};
  for (const auto& operation : binary) {
    Require(Binary(operation.kernel, x, y) == Binary(operation.plain, x, y));
  }
  const struct {
    RoundFunction* kernel;
    RoundFunction* plain;
  } rounding[] = {{kernels.round, scalar::Round},
                  {kernels.round_even, scalar::RoundEven},
                  {kernels.truncate, scalar::Truncate}};
  for (const auto& operation : rounding) {
    const auto rounded = [&](RoundFunction* function) {
      return Output([&](std::uint8_t* out, std::size_t* outlen) {
        function(x.data(), x.length, out, outlen, places);
      });
    };
    const Number result = rounded(operation.kernel);
    Require(result == rounded(operation.plain) && IsValid(result));
  }
  Require(kernels.compare(x.data(), x.length, y.data(), y.length) ==
          scalar::Compare(x.data(), x.length, y.data(), y.length));
}

// Two blocks of eight and some more, of short numbers when x and y are short.
void CheckArrays(const Input& x, const Input& y, std::uint8_t bits) {
  constexpr std::size_t kCount = 20;
  const std::uint8_t* a[kCount];
  const std::uint8_t* b[kCount];
  std::uint16_t alen[kCount];
  std::uint16_t blen[kCount];
  for (std::size_t i = 0; i < kCount; ++i) {
    const Input& p = i % 2 == 0 ? x : y;
    const Input& q = i % 3 == 0 ? x : y;
    a[i] = p.data();
    alen[i] = static_cast<std::uint16_t>(p.length);
    b[i] = q.data();
    blen[i] = static_cast<std::uint16_t>(q.length);
  }
  const std::uint8_t nulls[] = {bits, static_cast<std::uint8_t>(bits << 1 & bits), bits};
  const auto is_null = [&](std::size_t i) { return ((nulls[i / 8] >> (i % 8)) & 1) != 0; };
  std::size_t present = 0;
  for (std::size_t i = 0; i < kCount; ++i) present += is_null(i) ? 0 : 1;
  Number area(22 * present);
  std::uint8_t* out[kCount];
  std::uint16_t outlen[kCount];
  const struct {
    decltype(lnxaddarr)* array;
    decltype(lnxadd)* scalar;
  } operations[] = {{lnxaddarr, lnxadd}, {lnxsubarr, lnxsub}, {lnxmularr, lnxmul}};
  for (const auto& operation : operations) {
    Require(operation.array(a, alen, b, blen, kCount, nulls, out, outlen, area.data(),
                            area.size()) == 0);
    for (std::size_t i = 0; i < kCount; ++i) {
      if (is_null(i)) {
        Require(out[i] == nullptr && outlen[i] == 0);
        continue;
      }
      const Number wanted = Output([&](std::uint8_t* to, std::size_t* length) {
        operation.scalar(a[i], alen[i], b[i], blen[i], to, length);
      });
      Require(Number(out[i], out[i] + outlen[i]) == wanted);
    }
  }
  Require(lnxnegarr(a, alen, kCount, nulls, out, outlen, area.data(), area.size()) == 0);
  if (present != 0) {
    Require(lnxdivarr(a, alen, b, blen, kCount, nulls, out, outlen, area.data(), area.size() - 1) ==
            KES_NUMBER_AREA_TOO_SMALL);
  }
}

void CheckUnary(const Input& x) {
  const auto unary = [](UnaryFunction* function, const std::uint8_t* bytes, std::size_t length) {
    return Output(
        [&](std::uint8_t* out, std::size_t* outlen) { function(bytes, length, out, outlen); });
  };
  const bool valid = x.sane && lnxchk(x.data(), x.length) == 1;
  const Number copy = unary(lnxcopy, x.data(), x.length);
  const Number negative = unary(lnxneg, x.data(), x.length);
  const Number magnitude = unary(lnxabs, x.data(), x.length);
  if (valid) {
    Require(unary(lnxneg, negative.data(), negative.size()) == copy);
    Require(IsValid(negative) && IsValid(magnitude));
  }
  Require(IsValid(unary(lnxflo, x.data(), x.length)));
  Require(IsValid(unary(lnxcei, x.data(), x.length)));
  for (auto* step : {lnxinc, lnxdec}) {
    Number number(22);
    number[0] = static_cast<std::uint8_t>(copy.size());
    std::copy(copy.begin(), copy.end(), number.begin() + 1);
    step(number.data(), nullptr);
    const Number wanted = Output([&](std::uint8_t* out, std::size_t* outlen) {
      (step == lnxinc ? lnxadd : lnxsub)(copy.data(), copy.size(), lnxqpos1, 0, out, outlen);
    });
    Require(!valid || Number(number.begin() + 1, number.begin() + 1 + number[0]) == wanted);
  }
}

void CheckNative(const Input& x, const std::vector<std::uint8_t>& bits) {
  for (const std::size_t size : {1u, 2u, 4u, 8u, 16u, 3u}) {
    std::vector<std::uint8_t> value(size);
    static_cast<void>(lnxgin(x.data(), x.length, value.data(), size));
    static_cast<void>(lnxgun(x.data(), x.length, value.data(), size));
  }
  double wide = 0;
  float narrow = 0;
  static_cast<void>(lnxgfl(x.data(), x.length, &narrow));
  Require(lnxgdb(x.data(), x.length, &wide) == KES_NUMBER_EXACT);
  std::memcpy(&wide, bits.data(), sizeof wide);
  Number number(21);
  std::size_t length = 0;
  if (lnxmdb(wide, number.data(), &length) == KES_NUMBER_EXACT) {
    double back = 0;
    Require(lnxchk(number.data(), length) == 1);
    Require(lnxgdb(number.data(), length, &back) == KES_NUMBER_EXACT && back == wide);
  }
  if (lnxmdx(wide, number.data(), &length) >= 0) Require(lnxchk(number.data(), length) == 1);
}

void CheckMath(const Input& x, const Input& y) {
  for (auto* function : {lnxsqr, lnxexp, lnxln, lnxsin, lnxcos, lnxtan, lnxasn, lnxacs, lnxatn,
                         lnxsnh, lnxcsh, lnxtnh}) {
    Number out(21);
    std::size_t length = 0;
    if (function(x.data(), x.length, out.data(), &length) == 0) {
      Require(lnxchk(out.data(), length) == 1);
    }
  }
  for (auto* function : {lnxpow, lnxlog, lnxatn2}) {
    Number out(21);
    std::size_t length = 0;
    if (function(x.data(), x.length, y.data(), y.length, out.data(), &length) == 0) {
      Require(lnxchk(out.data(), length) == 1);
    }
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  FuzzInput reader(data, size);
  const std::uint8_t what = reader.Take();
  const int places = static_cast<std::int8_t>(reader.Take()) * ((what & 1) != 0 ? 1 : 1 << 24);
  const std::uint8_t nulls = reader.Take();
  const std::vector<std::uint8_t> bits = reader.Bytes(8);
  const Input x(reader);
  const Input y(reader);
  CheckLaws(x, y);
  for (const CpuLevel level : {CpuLevel::kBaseline, CpuLevel::kAvx512}) {
    kestra::os::ForceCpuLevel(level);
    CheckKernels(ChooseKernels(), x, y, places);
    CheckArrays(x, y, nulls);
  }
  CheckUnary(x);
  CheckNative(x, bits);
  if ((what & 6) == 6) CheckMath(x, y);  // slower than all the rest together
  return 0;
}
