// ldxsti, ldxsto, ldxsnf, ldxsnfcom: date format models compiled whole or item by item. Models of
// two-byte code units are scanned through a window of UTF-8, a window for each item.
#include <string.h>

#include <algorithm>

#include "datetime/model_scan.h"
#include "datetime/model_text.h"
#include "datetime/utf16_text.h"
#include "kestra/date_format.h"

namespace kestra::datetime {
namespace {

constexpr std::uint32_t kLiteralTooLong = 1800;
constexpr std::uint32_t kBeginsWithNul = 1820;
constexpr std::uint32_t kUnknown = 1821;
constexpr std::uint32_t kNoPrepassFlag = 1u << 16;  // of a handle's flags

// No item takes more than this many code units: the longest literal and its quotes.
constexpr std::size_t kWindowUnits = 256;

std::span<const std::uint8_t> WindowOf(std::span<const std::uint8_t> text) noexcept {
  return text.first(std::min(text.size(), 2 * kWindowUnits));
}

bool HasQuote(std::span<const std::uint8_t> text, UnitOrder order) noexcept {
  std::uint8_t window[kUtf8PerUnit * kWindowUnits];
  while (!text.empty()) {
    const std::size_t length = UnitsToUtf8(WindowOf(text), order, window);
    if (memchr(window, '"', length) != nullptr) return true;
    text = text.subspan(WindowOf(text).size());
  }
  return false;
}

ScanStep ScanUnits(const ldxctx& ctx, std::span<const std::uint8_t> text,
                   std::span<std::uint8_t> out, ldxscan& state) noexcept {
  const UnitOrder order = OrderOfUnits(ctx);
  std::uint8_t window[kUtf8PerUnit * kWindowUnits];
  const std::size_t length = UnitsToUtf8(WindowOf(text), order, window);
  // A character that another set has is none of a model that is scanned as UTF-8.
  std::size_t beyond = length;
  if (!KeepsUtf8(ctx)) {
    for (std::size_t i = length; i-- > 0;) {
      if (window[i] < 0x80) continue;
      window[i] = 0;
      beyond = i;
    }
  }
  // In a set of EBCDIC a byte for a byte.
  std::uint8_t in_set[sizeof window];
  const bool ebcdic = StateOf(ctx).basis == Basis::kEbcdic;
  for (std::size_t i = 0; ebcdic && i < length; ++i) {
    in_set[i] = InSet(StateOf(ctx), static_cast<char>(window[i]));
  }
  ScanStep step = ScanItem(ctx, {ebcdic ? in_set : window, length}, out, state);
  if (!step.fault && step.taken > beyond) step.fault = {kUnknown, beyond};  // in quoted text
  // Quoted text that ends behind the window is too long for a literal.
  const bool open_quote =
      step.fault.number == kUnknown && step.fault.offset == 0 && length != 0 && window[0] == '"';
  if (open_quote && HasQuote(text.subspan(WindowOf(text).size()), order)) {
    step.fault.number = kLiteralTooLong;
  }
  // Half a unit at the end counts as a whole one.
  const auto in_units = [&](std::size_t offset) {
    return std::min(UnitBytes({window, std::min(offset, length)}), text.size());
  };
  step.taken = in_units(step.taken);
  step.fault.offset = in_units(step.fault.offset);
  return step;
}

ScanStep ScanAny(const ldxctx& ctx, std::span<const std::uint8_t> text, std::span<std::uint8_t> out,
                 ldxscan& state) noexcept {
  return StateOf(ctx).two_byte_units ? ScanUnits(ctx, text, out, state)
                                     : ScanItem(ctx, text, out, state);
}

// The pre-pass: outside of quotes stand letters, digits, punctuation and blanks alone.
Fault CheckCharacters(const ldxctx& ctx, std::span<const std::uint8_t> text) noexcept {
  ModelText walk(text, ctx.handle, TextSet(ctx), ctx.nls);
  bool quoted = false;
  for (; walk.kind() != CharKind::kEnd; walk.Step()) {
    if (walk.kind() == CharKind::kQuote) quoted = !quoted;
    if (!quoted && walk.kind() == CharKind::kUnknown) return {kUnknown, walk.offset()};
  }
  return {};
}

Fault CheckBeginning(const ldxctx& ctx, std::span<const std::uint8_t> text) noexcept {
  const bool units = StateOf(ctx).two_byte_units;
  const bool no_prepass =
      units || (ctx.handle != nullptr && (ctx.handle->flags & kNoPrepassFlag) != 0);
  if (!no_prepass) return CheckCharacters(ctx, text);
  const std::size_t unit = units ? 2 : 1;
  const bool nul = text.size() >= unit && text[0] == 0 && text[unit - 1] == 0;
  return {nul ? kBeginsWithNul : 0, 0};
}

Fault CompileUnits(const ldxctx& ctx, std::span<const std::uint8_t> text, ModelUse use,
                   std::span<std::uint8_t> out, std::size_t& used) noexcept {
  ldxscan state{};
  state.repeat = use == ModelUse::kWrite;
  std::size_t at = 0, written = 0;
  for (;;) {
    const ScanStep step = ScanUnits(ctx, text.subspan(at), out.subspan(written), state);
    if (step.fault) return {step.fault.number, at + step.fault.offset};
    if (step.code == 0) break;
    at += step.taken;
    written += step.written;
  }
  if (use == ModelUse::kBoth) {
    if (const std::uint32_t number = GroupError(state.seen)) return {number, text.size()};
  }
  used = written;
  return {};
}

std::size_t Compile(ldxctx* ctx, std::span<const std::uint8_t> text, ModelUse use,
                    std::span<std::uint8_t> out) {
  std::size_t used = 0;
  Fault fault;
  if (!text.empty()) {
    fault = CheckBeginning(*ctx, text);
    if (!fault) {
      fault = StateOf(*ctx).two_byte_units ? CompileUnits(*ctx, text, use, out, used)
                                           : CompileWorkText(*ctx, text, use, out, used);
    }
  }
  Raise(ctx, fault);
  return fault ? 0 : used;
}

using ScanFunction = ScanStep(const ldxctx&, std::span<const std::uint8_t>, std::span<std::uint8_t>,
                              ldxscan&) noexcept;

std::uint32_t Scan(ldxctx* ctx, ScanFunction* scan, const std::uint8_t** text,
                   std::size_t* remaining, std::uint8_t** out, std::size_t* space, ldxscan* state) {
  const ScanStep step = scan(*ctx, {*text, *remaining}, {*out, *space}, *state);
  if (step.fault) {
    Raise(ctx, step.fault);
    return 0;
  }
  *text += step.taken;
  *remaining -= step.taken;
  *out += step.written;
  *space -= step.written;
  return step.code;
}

}  // namespace
}  // namespace kestra::datetime

using namespace kestra::datetime;

extern "C" {

std::size_t ldxsti(ldxctx* ctx, const std::uint8_t* text, std::size_t length, std::uint8_t* out,
                   std::size_t size) {
  return Compile(ctx, {text, length}, ModelUse::kBoth, {out, size});
}

std::size_t ldxsto(ldxctx* ctx, const std::uint8_t* text, std::size_t length, std::uint8_t* out,
                   std::size_t size) {
  return Compile(ctx, {text, length}, ModelUse::kWrite, {out, size});
}

std::uint32_t ldxsnf(ldxctx* ctx, const std::uint8_t** text, std::size_t* remaining,
                     std::uint8_t** out, std::size_t* space, ldxscan* state) {
  return Scan(ctx, ScanAny, text, remaining, out, space, state);
}

std::uint32_t ldxsnfcom(ldxctx* ctx, const std::uint8_t** text, std::size_t* remaining,
                        std::uint8_t** out, std::size_t* space, ldxscan* state) {
  return Scan(ctx, ScanUnits, text, remaining, out, space, state);
}

}  // extern "C"
