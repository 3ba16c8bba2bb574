// NUMBER to decimal text. Every form comes down to one plan: so many digits before the point, so
// many after it, perhaps an exponent; 1234.5 as fixed text with 2 places is the digits 0..4 and
// 4..6 of "12345000...", as scientific text 0..1 and 1..5 and exponent 3. A digit index below 0 or
// past the last digit is a zero. The plan tells the size before anything is written.
#include <algorithm>
#include <cstring>
#include <iterator>

#include "number/kernels/lnx_text_kernels.h"
#include "number/lnx_figures.h"
#include "number/lnx_symbols.h"

namespace kestra::number {
namespace {

constexpr std::int32_t kMinPlaces = -200;
constexpr std::int32_t kMaxPlaces = 1000;
constexpr std::uint32_t kMaxWidth = 65535;
constexpr std::int64_t kGroupDigits = 3;
constexpr std::string_view kInfinity = "Infinity";

struct Plan {
  std::int64_t start = 0;     // index of the first digit written
  std::int64_t integers = 0;  // digits before the point
  std::int64_t fraction = 0;  // digits after it; 0: no point
  bool grouped = false;
  bool scientific = false;
  bool short_exponent = false;  // E5, not E+05
  std::int64_t exponent = 0;
};

struct Text {
  const Symbols& symbols;
  const lnxtextform& form;
  std::uint8_t* out;
  std::size_t outsize;
  std::size_t* outlen;
};

std::int64_t GroupCount(const Plan& plan) noexcept {
  return plan.grouped && plan.integers > 0 ? (plan.integers - 1) / kGroupDigits : 0;
}

// Bytes of the exponent: E, a sign where there is one, and the digits; at most three are needed.
std::size_t ExponentSize(const Plan& plan) noexcept {
  if (!plan.scientific) return 0;
  const std::int64_t size = plan.exponent < 0 ? -plan.exponent : plan.exponent;
  const std::size_t digits = size >= 100 ? 3 : size >= 10 || !plan.short_exponent ? 2 : 1;
  return 1 + (plan.short_exponent && plan.exponent >= 0 ? 0 : 1) + digits;
}

std::size_t PlanSize(const Plan& plan, bool minus, const Symbols& symbols) noexcept {
  std::size_t size = static_cast<std::size_t>(plan.integers + plan.fraction) + (minus ? 1 : 0) +
                     ExponentSize(plan);
  if (plan.fraction > 0) size += symbols.decimal.size();
  if (plan.grouped) size += static_cast<std::size_t>(GroupCount(plan)) * symbols.group.size();
  return size;
}

char* PutText(char* at, std::string_view text) noexcept {
  if (text.size() == 1) {
    *at = text[0];
  } else {
    std::memcpy(at, text.data(), text.size());
  }
  return at + text.size();
}

char* PutZeros(char* at, std::int64_t count) noexcept {
  std::memset(at, '0', static_cast<std::size_t>(count));
  return at + count;
}

// Writes count digits from the given index on.
char* PutDigits(char* at, const Figures& figures, std::int64_t index, std::int64_t count) noexcept {
  if (index < 0) {
    const std::int64_t zeros = std::min(-index, count);
    at = PutZeros(at, zeros);
    index = 0;
    count -= zeros;
  }
  const std::int64_t held = std::clamp<std::int64_t>(figures.count - index, 0, count);
  CopyShort(at, figures.Digits() + index, static_cast<std::size_t>(held));
  at += held;
  return held < count ? PutZeros(at, count - held) : at;
}

char* PutIntegers(char* at, const Figures& figures, const Plan& plan,
                  const Symbols& symbols) noexcept {
  if (!plan.grouped) return PutDigits(at, figures, plan.start, plan.integers);
  std::int64_t index = plan.start;
  std::int64_t left = plan.integers;
  while (left > 0) {
    const std::int64_t run = (left - 1) % kGroupDigits + 1;
    at = PutDigits(at, figures, index, run);
    index += run;
    left -= run;
    if (left > 0) at = PutText(at, symbols.group);
  }
  return at;
}

char* PutExponent(char* at, const Plan& plan) noexcept {
  std::size_t digits = ExponentSize(plan) - 1;
  *at++ = 'E';
  std::int64_t value = plan.exponent < 0 ? -plan.exponent : plan.exponent;
  if (plan.exponent < 0 || !plan.short_exponent) {
    *at++ = plan.exponent < 0 ? '-' : '+';
    --digits;
  }
  for (std::size_t i = digits; i > 0; --i, value /= 10) {
    at[i - 1] = static_cast<char>('0' + value % 10);
  }
  return at + digits;
}

char* PutPlan(char* at, const Figures& figures, const Plan& plan, const Symbols& symbols) noexcept {
  if (figures.negative) *at++ = '-';
  at = PutIntegers(at, figures, plan, symbols);
  if (plan.fraction > 0) {
    at = PutText(at, symbols.decimal);
    at = PutDigits(at, figures, plan.start + plan.integers, plan.fraction);
  }
  return plan.scientific ? PutExponent(at, plan) : at;
}

// The one place that looks at the room of the destination.
int Reserve(const Text& text, std::size_t size) noexcept {
  *text.outlen = size;
  return size <= text.outsize ? LNX_OK : LNX_FULL;
}

int Write(const Text& text, const Figures& figures, const Plan& plan) noexcept {
  const int status = Reserve(text, PlanSize(plan, figures.negative, text.symbols));
  if (status != LNX_OK) return status;
  PutPlan(reinterpret_cast<char*>(text.out), figures, plan, text.symbols);
  return LNX_OK;
}

Plan Positional(const Figures& figures, std::int64_t fraction, bool grouped) noexcept {
  Plan plan;
  plan.integers = std::max<std::int64_t>(figures.point, 1);
  plan.start = figures.point - plan.integers;
  plan.fraction = fraction;
  plan.grouped = grouped;
  return plan;
}

Plan Scientific(const Figures& figures, std::int64_t fraction) noexcept {
  Plan plan;
  plan.integers = 1;
  plan.fraction = fraction;
  plan.scientific = true;
  plan.exponent = figures.IsZero() ? 0 : figures.point - 1;
  return plan;
}

bool IsGrouped(const Text& text) noexcept {
  return (text.form.flags & LNX_TEXT_GROUPED) != 0 && !text.symbols.group.empty();
}

int WritePlain(const Text& text, Figures& figures) noexcept {
  return Write(text, figures, Positional(figures, figures.FractionDigits(), IsGrouped(text)));
}

int WriteShortest(const Text& text, Figures& figures) noexcept {
  if (figures.IsZero()) return WritePlain(text, figures);
  Plan plain = Positional(figures, figures.FractionDigits(), false);
  plain.integers = figures.IntegerDigits();
  plain.start = figures.point - plain.integers;
  Plan scientific = Scientific(figures, figures.count - 1);
  scientific.short_exponent = true;
  Plan coefficient = scientific;
  coefficient.integers = figures.count;
  coefficient.fraction = 0;
  coefficient.exponent = figures.point - figures.count;
  const Plan* best = &plain;
  for (const Plan* plan : {&scientific, &coefficient}) {
    if (PlanSize(*plan, false, text.symbols) < PlanSize(*best, false, text.symbols)) best = plan;
  }
  return Write(text, figures, *best);
}

int WriteFixed(const Text& text, Figures& figures) noexcept {
  const std::int32_t places = text.form.places;
  if (places < kMinPlaces || places > kMaxPlaces) return LNX_BAD_ARGUMENT;
  RoundToPlaces(figures, places);
  return Write(text, figures, Positional(figures, std::max(places, 0), IsGrouped(text)));
}

int WriteScientific(const Text& text, Figures& figures) noexcept {
  const std::int32_t places = text.form.places;
  if (places < -1 || places > kMaxPlaces) return LNX_BAD_ARGUMENT;
  if (places < 0) return Write(text, figures, Scientific(figures, std::max(figures.count - 1, 0)));
  RoundToPlaces(figures, 1 + places - figures.point);
  return Write(text, figures, Scientific(figures, places));
}

// Cuts places until the plan that make(value, places) builds fits the width. Rounding may add a
// digit in front (9.96 with one place is 10.0), which may cost one place more; so at most two
// rounds. False when not even 0 places fit.
template <typename MakePlan>
bool FitPlaces(const Text& text, std::int64_t places, bool scientific, Figures& figures, Plan& plan,
               MakePlan make) noexcept {
  const auto width = static_cast<std::int64_t>(text.form.width);
  for (Figures trial = figures;; trial = figures) {
    RoundToPlaces(trial, scientific ? 1 + places - trial.point : places);
    plan = make(trial, places);
    const std::int64_t over =
        static_cast<std::int64_t>(PlanSize(plan, trial.negative, text.symbols)) - width;
    if (over <= 0) {
      figures = trial;
      return true;
    }
    if (places == 0) return false;
    places = std::max<std::int64_t>(places - over, 0);
  }
}

int WriteWidth(const Text& text, Figures& figures) noexcept {
  const std::size_t width = text.form.width;
  if (width < 1 || width > kMaxWidth) return LNX_BAD_ARGUMENT;
  const bool grouped = IsGrouped(text);
  const std::int64_t wanted = figures.FractionDigits();
  Figures positional = figures;
  Figures scientific = figures;
  Plan positional_plan, scientific_plan;
  bool fits =
      FitPlaces(text, wanted, false, positional, positional_plan,
                [&](const Figures& value, std::int64_t places) {
                  return Positional(value, std::min(places, value.FractionDigits()), grouped);
                });
  // Digits lost to a long integer part or to zeros after the point: an exponent may keep more.
  const bool lossy = !fits || positional.count < figures.count || positional.IsZero();
  if (lossy && !figures.IsZero() &&
      FitPlaces(text, figures.count - 1, true, scientific, scientific_plan,
                [](const Figures& value, std::int64_t places) {
                  return Scientific(value, std::min<std::int64_t>(places, value.count - 1));
                }) &&
      (!fits || scientific.count > positional.count)) {
    fits = true;
    positional = scientific;
    positional_plan = scientific_plan;
  }
  const std::size_t size =
      fits ? PlanSize(positional_plan, positional.negative, text.symbols) : width;
  const bool padded = (text.form.flags & LNX_TEXT_UNPADDED) == 0;
  const int status = Reserve(text, padded ? width : size);
  if (status != LNX_OK) return status;
  char* at = reinterpret_cast<char*>(text.out);
  if (padded) {
    std::memset(at, ' ', width - size);
    at += width - size;
  }
  if (fits) {
    PutPlan(at, positional, positional_plan, text.symbols);
  } else {
    std::memset(at, '#', size);
  }
  return LNX_OK;
}

int WriteInfinity(const Text& text, bool negative) noexcept {
  const bool sized = text.form.kind == LNX_TEXT_WIDTH;
  const std::size_t width = text.form.width;
  const std::size_t size = kInfinity.size() + (negative ? 1 : 0);
  if (sized && (width < 1 || width > kMaxWidth)) return LNX_BAD_ARGUMENT;
  const bool fits = !sized || size <= width;
  const bool padded = sized && (!fits || (text.form.flags & LNX_TEXT_UNPADDED) == 0);
  const int status = Reserve(text, padded ? width : size);
  if (status != LNX_OK) return status;
  char* at = reinterpret_cast<char*>(text.out);
  if (padded) std::memset(at, fits ? ' ' : '#', width);
  if (!fits) return LNX_OK;
  if (padded) at += width - size;
  if (negative) *at++ = '-';
  PutText(at, kInfinity);
  return LNX_OK;
}

using FormWriter = int (*)(const Text&, Figures&) noexcept;
constexpr FormWriter kWriters[] = {WritePlain, WriteShortest, WriteFixed, WriteScientific,
                                   WriteWidth};
constexpr std::uint32_t kKnownFlags = LNX_TEXT_GROUPED | LNX_TEXT_UNPADDED;
constexpr lnxtextform kPlainForm = {};

// Apart from the entry point, so that the fast path has no large frame to set up.
[[gnu::noinline]] int WriteText(std::span<const std::uint8_t> bytes, const lnxtextform& form,
                                const lnxsymbols* symbols, std::span<std::uint8_t> out,
                                std::size_t* outlen) noexcept {
  *outlen = 0;
  Symbols strings;
  if (form.kind >= std::size(kWriters) || (form.flags & ~kKnownFlags) != 0 ||
      !ReadSymbols(symbols, strings)) {
    return LNX_BAD_ARGUMENT;
  }
  Figures figures;
  if (!ReadFigures(bytes, figures)) return LNX_BAD_NUMBER;
  const Text text{strings, form, out.data(), out.size(), outlen};
  if (figures.kind == Kind::kInfinity) return WriteInfinity(text, figures.negative);
  return kWriters[form.kind](text, figures);
}

}  // namespace
}  // namespace kestra::number

static_assert(sizeof(lnxtextform) == 32 && sizeof(lnxsymbols) == 128);

int lnxtotext(const uint8_t* x, size_t xlen, const lnxtextform* form, const lnxsymbols* symbols,
              uint8_t* out, size_t outsize, size_t* outlen) noexcept {
  using namespace kestra::number;
  const std::span<const std::uint8_t> bytes = RawBytes(x, xlen);
  if (symbols == nullptr && (form == nullptr || (form->kind | form->flags) == 0)) {
    const TextKernels& kernels = TextKernelsOf(kestra::os::GetCpuLevel());
    const std::size_t size = kernels.to_plain(bytes, {reinterpret_cast<char*>(out), outsize});
    if (size > 0) {
      *outlen = size;
      return LNX_OK;
    }
  }
  return WriteText(bytes, form == nullptr ? kPlainForm : *form, symbols, {out, outsize}, outlen);
}
