// Date contexts in several languages, sets and calendars over the small data set, for fuzz targets.
// Errors are kept, not raised. Header only, and without a test library.
#pragma once

#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "kestra/date.h"
#include "kestra/date_format.h"
#include "tests/support/nls_exercise.h"

namespace kestra::test {

class DateContexts {
 public:
  DateContexts() {
    setenv("KESTRA_HOME", KESTRA_BUILD_DIR "/testdata/home", 1);
    std::uint32_t error = 0;
    lxinitc(&nls_, lxlinit(nullptr, 0, &error), nullptr, 0);
    Require(error == 0);
    for (std::size_t i = 0; i < kCount; ++i) {
      const char* const name = kHandles[i].name;
      if (name != nullptr) {
        Require(lxhLaToId(name, std::strlen(name), &handles_[i], 2, &nls_) != nullptr);
        const char* const calendar = kHandles[i].calendar;
        if (calendar != nullptr) {
          Require(lxhlmod(&handles_[i], calendar, std::strlen(calendar), KES_ITEM_CALENDAR, 0, 0,
                          &nls_) == 1);
        }
      }
      ldxcbeg(&contexts_[i], name != nullptr ? &handles_[i] : nullptr, &nls_, nullptr, nullptr);
      contexts_[i].today.year = 2026;
      contexts_[i].today.month = 11;
      contexts_[i].today.day = 23;
    }
  }

  // The context that a byte chooses.
  ldxctx* operator[](std::uint8_t choice) { return &contexts_[choice % kCount]; }
  static bool HasTwoByteUnits(const ldxctx& ctx) {
    return ctx.handle != nullptr && (ctx.handle->flags & KES_CHARSET_UTF16) != 0;
  }

 private:
  struct Handle {
    const char* name;
    const char* calendar;
  };
  static constexpr Handle kHandles[] = {{nullptr, nullptr},
                                        {"GERMAN_GERMANY.WE8ISO8859P1", nullptr},
                                        {"RUSSIAN_RUSSIA.AL32UTF8", nullptr},
                                        {"JAPANESE_JAPAN.JA16WINDOWS31J", nullptr},
                                        {"FRENCH_FRANCE.WE8IBM037", nullptr},
                                        {"SPANISH_SPAIN.AL16UTF16", nullptr},
                                        {"JAPANESE_JAPAN.AL32UTF8", "JAPANESE"},
                                        {"AMERICAN_AMERICA.AL32UTF8", "HEBREW"},
                                        {"GERMAN_GERMANY.AL32UTFEBCDIC", nullptr}};
  static constexpr std::size_t kCount = sizeof kHandles / sizeof kHandles[0];

  lxcontext nls_;
  lxhandle handles_[kCount];
  ldxctx contexts_[kCount];
};

}  // namespace kestra::test
