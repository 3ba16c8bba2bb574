// The sets that an ISO-2022 set borrows its tables from.
#include "nls/lxg_iso2022.h"

#include "kestra/handle.h"
#include "nls/lxg_iso2022_state.h"

namespace kestra::nls::convert {
namespace iso2022 {
namespace {

constexpr std::uint16_t kLenderIds[Iso2022::kLenderCount] = {0,   129, 831, 830, 850,
                                                             841, 862, 101, 107};

// The sets that each lender lends to.
constexpr auto MakeBorrowers() noexcept {
  std::array<std::uint8_t, Iso2022::kLenderCount> sets{};
  for (const Designation& row : kDesignations) sets[kTables[row.part].lender] |= row.sets;
  return sets;
}
constexpr auto kBorrowers = MakeBorrowers();

}  // namespace
}  // namespace iso2022

Iso2022::Iso2022(std::uint32_t id, lxcontext* context) noexcept : id_(id) {
  if (id == 0) return;
  const std::uint32_t error = context->error;
  for (std::size_t i = kNoLender + 1; i < kLenderCount; ++i) {
    if ((iso2022::kBorrowers[i] & iso2022::SetOf(id)) == 0) continue;
    if (context->area != nullptr) {
      lenders_[i] = CharsetView(lxpcobj(iso2022::kLenderIds[i], context));
    }
    complete_ = complete_ && lenders_[i];
  }
  context->error = error;
}

}  // namespace kestra::nls::convert
