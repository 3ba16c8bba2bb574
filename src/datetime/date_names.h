// The names that a date context keeps in the set of its texts.
#pragma once

#include <cstdint>
#include <string_view>

#include "datetime/ldx_state.h"

namespace kestra::datetime {

// Loads the language's names, once. Nothing can fail: a name that is not there, or does not fit the
// pool, is empty.
void LoadNames(ldxctx& ctx) noexcept;
// Loads the names of the context's calendar, once.
void LoadCalendarNames(ldxctx& ctx) noexcept;

inline void NeedNames(ldxctx& ctx) noexcept {
  if (!StateOf(ctx).names_loaded) [[unlikely]]
    LoadNames(ctx);
}
inline void NeedCalendarNames(ldxctx& ctx) noexcept {
  if (!StateOf(ctx).calendar_loaded) [[unlikely]]
    LoadCalendarNames(ctx);
}

inline std::string_view TextOf(const State& state, const NameRef& name) noexcept {
  return {reinterpret_cast<const char*>(state.pool) + name.at, name.length};
}

// The first name of the group that a name belongs to: where its width is kept.
constexpr std::size_t GroupOf(std::size_t name) noexcept {
  if (name < kShortDayNames) return kDayNames;
  if (name < kMonthNames) return kShortDayNames;
  if (name < kShortMonthNames) return kMonthNames;
  if (name < kMeridianNames) return kShortMonthNames;
  if (name < kEraNames) return kMeridianNames;
  if (name < kAloneMonthNames) return kEraNames;
  if (name < kRomanMonths) return kAloneMonthNames;
  if (name < kPeriodMeridians) return kRomanMonths;
  return name < kPeriodEras ? kPeriodMeridians : kPeriodEras;
}

}  // namespace kestra::datetime
