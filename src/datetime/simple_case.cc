#include "datetime/simple_case.h"

namespace kestra::datetime {
namespace {

struct Row {
  std::uint32_t first;  // capitals
  std::uint32_t last;
  std::int32_t step;
  std::int32_t delta;  // from a capital to its small letter
};
constexpr Row kRows[] = {
#include "datetime/simple_case_rows.inc"
};

constexpr std::uint32_t kDottedCapital = 0x130;
constexpr std::uint32_t kDotlessSmall = 0x131;
constexpr std::uint32_t kFinalSigma = 0x3C2;
constexpr std::uint32_t kCapitalSigma = 0x3A3;

constexpr bool IsIn(const Row& row, std::uint32_t capital) noexcept {
  return capital >= row.first && capital <= row.last &&
         (capital - row.first) % static_cast<std::uint32_t>(row.step) == 0;
}

}  // namespace

std::uint32_t ToUpperLetter(std::uint32_t code_point, bool turkic) noexcept {
  if (code_point == 'i' && turkic) return kDottedCapital;
  if (code_point == kDotlessSmall) return 'I';
  if (code_point == kFinalSigma) return kCapitalSigma;
  for (const Row& row : kRows) {
    const std::uint32_t capital = code_point - static_cast<std::uint32_t>(row.delta);
    if (IsIn(row, capital)) return capital;
  }
  return code_point;
}

std::uint32_t ToLowerLetter(std::uint32_t code_point, bool turkic) noexcept {
  if (code_point == 'I' && turkic) return kDotlessSmall;
  if (code_point == kDottedCapital) return 'i';
  for (const Row& row : kRows) {
    if (IsIn(row, code_point)) return code_point + static_cast<std::uint32_t>(row.delta);
  }
  return code_point;
}

}  // namespace kestra::datetime
