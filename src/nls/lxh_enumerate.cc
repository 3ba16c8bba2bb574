// The names of a kind one after the other.
#include "kestra/handle.h"
#include "nls/area.h"

namespace kestra::nls {
namespace {

// Names that lxhid2name knows without the directory.
constexpr std::uint32_t kUnlisted[] = {1000, 2002};

// The object type of a name kind; kRunCount: no such kind.
std::uint32_t TypeOfKind(std::uint32_t kind) noexcept {
  switch (kind) {
    case KES_ITEM_LANGUAGE:
      return KES_OBJECT_LANGUAGE;
    case KES_ITEM_TERRITORY:
      return KES_OBJECT_TERRITORY;
    case KES_ITEM_CHARSET:
      return KES_OBJECT_CHARSET;
    case KES_ITEM_SORT:
      return KES_OBJECT_SORT;
    case KES_ITEM_CALENDAR:
      return KES_OBJECT_CALENDAR;
    default:
      return nlb::boot::kRunCount;
  }
}

}  // namespace
}  // namespace kestra::nls

extern "C" const char* lxhnames(std::uint32_t kind, std::size_t index, std::uint32_t* id,
                                lxcontext* context) noexcept {
  using namespace kestra::nls;
  if (context == nullptr || context->area == nullptr) return nullptr;
  const std::uint32_t type = TypeOfKind(kind);
  context->error = type == nlb::boot::kRunCount ? KES_NLS_UNKNOWN_KIND : KES_NLS_OK;
  if (context->error != KES_NLS_OK) return nullptr;
  const BootView boot = Boot(context->area);
  const BootView::Run run = boot.run(type);
  const std::size_t listed = run.end - run.first;
  if (index < listed) {
    const DirectoryEntry entry = boot.entry(run.first + static_cast<std::uint32_t>(index));
    if (id != nullptr) *id = entry.id();
    return entry.c_name();
  }
  const std::size_t unlisted = index - listed;
  if (type == KES_OBJECT_CHARSET && unlisted < std::size(kUnlisted)) {
    if (id != nullptr) *id = kUnlisted[unlisted];
    return lxhid2name(kind, kUnlisted[unlisted], context);
  }
  context->error = KES_NLS_UNKNOWN_ID;
  return nullptr;
}
