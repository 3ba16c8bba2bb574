// NUMBER to decimal text: each form makes a plan of the value (lnx_plan.h), and all are written
// alike.
#include <algorithm>
#include <cstring>
#include <iterator>

#include "number/kernels/lnx_text_kernels.h"
#include "number/lnx_plan.h"

namespace kestra::number {
namespace {

constexpr std::int32_t kMinPlaces = -200;
constexpr std::int32_t kMaxPlaces = 1000;
constexpr std::uint32_t kMaxWidth = 65535;

struct Text {
  const Symbols& symbols;
  const lnxtextform& form;
  std::uint8_t* out;
  std::size_t outsize;
  std::size_t* outlen;
};

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

bool IsGrouped(const Text& text) noexcept {
  return (text.form.flags & LNX_TEXT_GROUPED) != 0 && !text.symbols.group.empty();
}

Plan Positional(const Text& text, const Figures& figures, std::int64_t fraction) noexcept {
  Plan plan = PositionalPlan(figures, fraction, true);
  plan.grouped = IsGrouped(text);
  return plan;
}

int WritePlain(const Text& text, Figures& figures) noexcept {
  return Write(text, figures, Positional(text, figures, figures.FractionDigits()));
}

int WriteShortest(const Text& text, Figures& figures) noexcept {
  if (figures.IsZero()) return WritePlain(text, figures);
  const Plan plain = PositionalPlan(figures, figures.FractionDigits(), false);
  Plan scientific = ScientificPlan(figures, figures.count - 1);
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
  return Write(text, figures, Positional(text, figures, std::max(places, 0)));
}

int WriteScientific(const Text& text, Figures& figures) noexcept {
  const std::int32_t places = text.form.places;
  if (places < -1 || places > kMaxPlaces) return LNX_BAD_ARGUMENT;
  if (places < 0)
    return Write(text, figures, ScientificPlan(figures, std::max(figures.count - 1, 0)));
  RoundToPlaces(figures, 1 + places - figures.point);
  return Write(text, figures, ScientificPlan(figures, places));
}

// Cuts places until the plan that make(value, places) builds fits the width; rounding may add a
// digit in front (9.96 with one place is 10.0), which may cost one place more. False when not even
// 0 places fit.
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
  const std::int64_t wanted = figures.FractionDigits();
  Figures positional = figures;
  Figures scientific = figures;
  Plan positional_plan, scientific_plan;
  bool fits = FitPlaces(text, wanted, false, positional, positional_plan,
                        [&](const Figures& value, std::int64_t places) {
                          return Positional(text, value, std::min(places, value.FractionDigits()));
                        });
  // Digits lost to a long integer part or to zeros after the point: an exponent may keep more.
  const bool lossy = !fits || positional.count < figures.count || positional.IsZero();
  if (lossy && !figures.IsZero() &&
      FitPlaces(text, figures.count - 1, true, scientific, scientific_plan,
                [](const Figures& value, std::int64_t places) {
                  return ScientificPlan(value, std::min<std::int64_t>(places, value.count - 1));
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

}  // namespace

int scalar::ToText(const std::uint8_t* x, std::size_t xlen, const lnxtextform* form,
                   const lnxsymbols* symbols, std::uint8_t* out, std::size_t outsize,
                   std::size_t* outlen) noexcept {
  *outlen = 0;
  if (form == nullptr) form = &kPlainForm;
  Symbols strings;
  if (form->kind >= std::size(kWriters) || (form->flags & ~kKnownFlags) != 0 ||
      !ReadSymbols(symbols, strings)) {
    return LNX_BAD_ARGUMENT;
  }
  Figures figures;
  if (!ReadFigures(RawBytes(x, xlen), figures)) return LNX_BAD_NUMBER;
  const Text text{strings, *form, out, outsize, outlen};
  if (figures.kind == Kind::kInfinity) return WriteInfinity(text, figures.negative);
  return kWriters[form->kind](text, figures);
}

}  // namespace kestra::number

static_assert(sizeof(lnxtextform) == 32 && sizeof(lnxsymbols) == 128);

int lnxtotext(const uint8_t* x, size_t xlen, const lnxtextform* form, const lnxsymbols* symbols,
              uint8_t* out, size_t outsize, size_t* outlen) noexcept {
  return kestra::number::ActiveTextKernels().to_text(x, xlen, form, symbols, out, outsize, outlen);
}
