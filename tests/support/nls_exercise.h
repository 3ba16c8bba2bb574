// Runs everything that reads a handle's objects, for tests and fuzz targets that load damaged data.
// Header only, and without a test library, so that fuzz targets can include it.
#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

#include "kestra/charset.h"
#include "kestra/convert.h"
#include "kestra/handle.h"
#include "tests/support/fuzz_input.h"

namespace kestra::test {

// Converts bytes of all values into and out of the handle's set.
inline void ExerciseConversion(const lxhandle& handle, lxcontext* context) {
  const lxobject* set = lxhcsobj(&handle, context);
  const lxobject* utf8 = lxpcobj(873, context);
  if (set == nullptr) return;
  std::vector<std::uint8_t> text;
  for (unsigned lead = 0; lead < 256; ++lead) {
    for (unsigned trail = 0; trail < 256; trail += 29) {
      text.push_back(static_cast<std::uint8_t>(lead));
      text.push_back(static_cast<std::uint8_t>(trail));
      text.push_back(static_cast<std::uint8_t>(trail ^ 0x80u));
    }
  }
  std::vector<std::uint8_t> out(text.size() * 4);
  for (const lxobject* other : {utf8, set}) {
    if (other == nullptr) continue;
    Require(lxgcnv(out.data(), other, out.size(), text.data(), set, text.size(), context) <=
            out.size());
    Require(lxgcnv(out.data(), set, out.size(), text.data(), other, text.size(), context) <=
            out.size());
  }
  lxcursor cursor;
  lxmopen(text.data(), text.size(), &cursor, &handle, context, 0);
  for (std::size_t i = 0; i < text.size() && cursor.position < text.data() + text.size(); ++i) {
    lxmalnx(&cursor, context);
    lxmspax(&cursor, context);
    lxmfwdx(&cursor, context);
  }
}

inline void ExerciseQueries(const lxhandle& handle, lxcontext* context) {
  std::uint8_t buffer[512];
  for (std::uint32_t item = 0; item < 160; ++item) {
    for (const std::size_t room : {std::size_t{1}, std::size_t{5}, sizeof buffer}) {
      Require(lxhlinfo(&handle, item, buffer, room, context) <= room);
    }
    lxhninfo(&handle, item, context);
  }
}

inline void ExerciseHandle(lxhandle& handle, lxcontext* context) {
  ExerciseQueries(handle, context);
  ExerciseConversion(handle, context);
  constexpr std::string_view kValues[] = {"GERMAN", "JAPANESE", "GERMANY",  "UCA ROOT_S2",
                                          ".,",     "BUDDHIST", "AL32UTF8", "JA16SJIS"};
  for (std::uint32_t item = 69; item <= 132; ++item) {
    for (const std::string_view value : kValues) {
      lxhandle changed = handle;
      lxhlmod(&changed, value.data(), value.size(), item, 0, 1, context);
      changed = handle;
      lxhlmod(&changed, nullptr, 0, item, 0, 1, context);
    }
  }
  ExerciseQueries(handle, context);
}

}  // namespace kestra::test
