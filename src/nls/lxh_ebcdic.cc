#include "nls/lxh_ebcdic.h"

#include "kestra/object.h"
#include "nls/object_view.h"

namespace kestra::nls {

bool lxhebc(const lxhandle* handle, lxcontext* context) noexcept {
  if (handle == nullptr) return false;
  if (context == nullptr) context = handle->context;
  if (context == nullptr || context->area == nullptr) return false;
  const lxobject* set = lxdgetobj(handle->charset_slot, KES_OBJECT_CHARSET, context);
  return set != nullptr && Load16(set, nlb::charset::kBasisAt) == nlb::charset::kEbcdic;
}

}  // namespace kestra::nls
