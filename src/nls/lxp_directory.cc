// Looking ids and names up in the boot directory.
#include "nls/area.h"
#include "nls/ascii.h"

namespace kestra::nls {

std::uint32_t BootView::FindId(std::uint32_t type, std::uint32_t id) const noexcept {
  const Run all = run(type);
  std::uint32_t low = all.first;
  std::uint32_t high = all.end;
  while (low < high) {
    const std::uint32_t middle = low + (high - low) / 2;
    const std::uint32_t found = entry(middle).id();
    if (found == id) return middle;
    if (found < id) {
      low = middle + 1;
    } else {
      high = middle;
    }
  }
  return 0;
}

std::uint32_t BootView::FindName(std::uint32_t type, std::string_view name) const noexcept {
  const Run all = run(type);
  for (std::uint32_t slot = all.first; slot < all.end; ++slot) {
    if (EqualIgnoringCase(entry(slot).name(), name)) return slot;
  }
  return 0;
}

}  // namespace kestra::nls

extern "C" std::uint32_t lxpe2i(std::uint32_t id, const lxarea* area, std::uint32_t type,
                                std::uint32_t* error, std::uint32_t) noexcept {
  using namespace kestra::nls;
  std::uint32_t slot = 0;
  if (area != nullptr) {
    const BootView boot = Boot(area);
    slot = boot.FindId(type, id);
    if (slot == 0 && type == KES_OBJECT_CHARSET && id <= kIso2022FirstId &&
        id > kIso2022FirstId - kIso2022Slots) {
      slot = boot.count() + (kIso2022FirstId - id);
    }
  }
  if (error != nullptr) *error = slot == 0 ? KES_NLS_UNKNOWN_ID : KES_NLS_OK;
  return slot;
}
