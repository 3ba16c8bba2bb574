// Byte-order marks: one row for each pair of declared set and mark, first match wins.
#include <cstdint>
#include <cstring>

#include "kestra/charset.h"

namespace {

struct Mark {
  std::uint16_t declared;
  std::uint8_t minimum;  // shortest text in which the mark is looked for
  std::uint8_t tested;   // bytes compared
  std::uint8_t bytes[4];
  std::uint8_t length;    // of the mark
  std::uint16_t charset;  // what it tells
  std::uint16_t status;
};

constexpr std::uint16_t kContradiction = 2000;

// For an unknown set the first two bytes decide, also for the marks of three and four bytes.
constexpr Mark kMarks[] = {
    {0, 2, 2, {0xFE, 0xFF}, 2, 2000, 0},
    {0, 2, 2, {0xFF, 0xFE}, 2, 2002, 0},
    {0, 3, 2, {0xEF, 0xBB}, 3, 873, 0},
    {0, 4, 2, {0xDD, 0x73}, 4, 872, 0},
    {871, 3, 3, {0xEF, 0xBB, 0xBF}, 3, 871, 0},
    {873, 3, 3, {0xEF, 0xBB, 0xBF}, 3, 873, 0},
    {872, 4, 4, {0xDD, 0x73, 0x66, 0x73}, 4, 872, 0},
    {1000, 2, 2, {0xFE, 0xFF}, 2, 2000, 0},
    {1000, 2, 2, {0xFF, 0xFE}, 2, 2002, 0},
    {2000, 2, 2, {0xFE, 0xFF}, 2, 2000, 0},
    {2000, 2, 2, {0xFF, 0xFE}, 2, 2002, kContradiction},
    {2002, 2, 2, {0xFF, 0xFE}, 2, 2002, 0},
    {2002, 2, 2, {0xFE, 0xFF}, 2, 2000, kContradiction},
};

}  // namespace

extern "C" size_t lxBomDetect(const uint8_t* text, size_t length, uint32_t* charset,
                              uint32_t* status) noexcept {
  if (status != nullptr) *status = 0;
  if (text == nullptr) return 0;
  std::uint32_t unknown = 0;
  if (charset == nullptr) charset = &unknown;
  for (const Mark& mark : kMarks) {
    if (mark.declared != *charset || length < mark.minimum) continue;
    if (std::memcmp(text, mark.bytes, mark.tested) != 0) continue;
    *charset = mark.charset;
    if (status != nullptr) *status = mark.status;
    return mark.length;
  }
  return 0;
}
