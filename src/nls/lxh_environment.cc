// Building a handle from the environment. NLS_LANG is read once per process (run mode 2: per
// thread), and the handle that was built is kept: a later change of the environment is not seen.
#include <string.h>

#include "core/os/environment.h"
#include "core/os/process_lock.h"
#include "kestra/convert.h"
#include "nls/handle_parts.h"
#include "nls/lxh_items.h"

namespace kestra::nls {
namespace {

constexpr std::size_t kValueRoom = 255;
constexpr std::size_t kFirstParameter = 1;
constexpr std::size_t kDisplayParameter = 23;

// The items that the variables of lxhenvqnames set. The dual currency comes after the union
// currency and wins.
constexpr std::uint8_t kItems[24] = {109, 69,  70,  81,  76,  77,  71,  72,  73,  74,  75,  80,
                                     108, 119, 130, 131, 132, 121, 126, 127, 128, 129, 121, 109};

enum QueryMode : std::uint32_t { kParametersOnly = 1, kWithLanguage = 2, kLanguageRequired = 3 };

// NLS_LANG from the cache, which the first call fills.
std::string_view NlsLang(ProcessState& state) noexcept {
  if (state.slxpelenp == 0) {
    const os::VariableResult value =
        os::slzgetevar(lxhenvqnames[0], state.slxpenvp, sizeof state.slxpenvp);
    state.slxpelenp = static_cast<std::uint32_t>(value.length) + 1;
    state.slxpnotsetp = value.state != os::Variable::kSet;
    state.nls_lang_error =
        value.state == os::Variable::kTooLong ? KES_NLS_DESTINATION_FULL : KES_NLS_OK;
  }
  return {state.slxpenvp, state.slxpelenp - std::size_t{1}};
}

// Applies one parameter; returns its error. The environment's texts are in the handle's set where
// that set contains ASCII, else they are ASCII or UTF-8 and are converted.
std::uint32_t ApplyParameter(std::size_t index, lxhandle* handle, lxcontext* context) noexcept {
  char value[kValueRoom];
  const os::VariableResult read = os::slzgetevar(lxhenvqnames[index], value, sizeof value);
  if (read.state == os::Variable::kTooLong) return KES_NLS_DESTINATION_FULL;
  if (read.length == 0) return KES_NLS_OK;
  if (index == kDisplayParameter) {
    lxhdisp(value, read.length, handle, context);
    return context->error;
  }
  const std::uint32_t item = kItems[index];
  const char* text = value;
  std::size_t length = read.length;
  std::uint8_t converted[4 * kValueRoom];
  if (TextOfItem(item) != KES_TEXT_COUNT && !KeepsAscii(*handle, context)) {
    context->error = KES_NLS_OK;
    length = IntoHandle({value, read.length}, *handle, converted, sizeof converted, context);
    if (context->error != KES_NLS_OK) return context->error;
    text = reinterpret_cast<const char*>(converted);
  }
  lxhlmod(handle, text, length, item, 0, 0, context);
  return context->error;
}

// Applies all parameters but NLS_LANG. The error word keeps the error of the last that failed.
void ApplyParameters(lxhandle* handle, lxcontext* context) noexcept {
  std::uint32_t last_error = KES_NLS_OK;
  for (std::size_t index = kFirstParameter; index <= kDisplayParameter; ++index) {
    const std::uint32_t error = ApplyParameter(index, handle, context);
    if (error != KES_NLS_OK) last_error = error;
  }
  context->error = last_error;
}

// The worker of lxhenvquery. A value of NLS_LANG longer than limit counts as unset.
lxhandle* Query(lxhandle* handle, std::uint32_t mode, std::size_t limit,
                lxcontext* context) noexcept {
  ProcessState& state = State();
  std::uint32_t language_error = KES_NLS_OK;
  if (mode == kWithLanguage || mode == kLanguageRequired) {
    std::string_view specification = NlsLang(state);
    language_error = state.nls_lang_error;
    bool is_set = !state.slxpnotsetp;
    if (specification.size() > limit) {
      specification = {};
      is_set = false;
      language_error = KES_NLS_DESTINATION_FULL;
    }
    if (!is_set && mode == kLanguageRequired) {
      context->error = language_error;
      return nullptr;
    }
    if (lxhLaToId(specification.data(), specification.size(), handle, 1, context) == nullptr) {
      return nullptr;
    }
  }
  ApplyParameters(handle, context);
  if (context->error == KES_NLS_OK) context->error = language_error;
  handle->context = context;
  if (mode == kWithLanguage || mode == kLanguageRequired) {
    state.slxphdlp = *handle;
    state.slxphdlp.context = nullptr;
    state.saved_ids = IdsOf(*handle, context->area);
    state.saved_error = context->error;
    state.slxphsavep = true;
  }
  return handle;
}

// Puts the saved handle into the caller's; false when its objects are not those of this area.
bool RestoreSaved(lxhandle* handle, lxcontext* context) noexcept {
  const ProcessState& state = State();
  *handle = state.slxphdlp;
  handle->context = context;
  if (IdsOf(*handle, context->area) != state.saved_ids) return false;
  const BootView boot = Boot(context->area);
  if (boot.built_in()) {
    return handle->language_slot == boot.run(KES_OBJECT_LANGUAGE).first &&
           handle->territory_slot == boot.run(KES_OBJECT_TERRITORY).first &&
           handle->charset_slot == boot.run(KES_OBJECT_CHARSET).first;
  }
  return lxpdload(*handle, context);
}

// Mode 2 of lxhLangEnv: is NLS_LANG valid?
lxhandle* Validate(lxhandle* handle, lxcontext* context) noexcept {
  ProcessState& state = State();
  const std::string_view specification = NlsLang(state);
  if (state.slxpnotsetp) {
    context->error = state.nls_lang_error;
    return nullptr;
  }
  if (state.slxpvalidp == NlsLangVerdict::kInvalid) {
    context->error = state.slxperrp;
    return nullptr;
  }
  lxhandle* result = lxhLaToId(specification.data(), specification.size(), handle, 2, context);
  state.slxpvalidp = result != nullptr ? NlsLangVerdict::kValid : NlsLangVerdict::kInvalid;
  state.slxperrp = context->error;
  return result;
}

lxhandle* FromEnvironment(lxhandle* handle, std::uint32_t mode, lxcontext* context) noexcept {
  constexpr std::uint32_t kFull = 0;
  constexpr std::uint32_t kFullIfSet = 1;
  constexpr std::uint32_t kValidate = 2;
  const ProcessState& state = State();
  if (mode == kValidate) return Validate(handle, context);
  if (mode != kFull && state.slxpnotsetp) return nullptr;
  if (mode != kFull && mode != kFullIfSet) {
    return Query(handle, kParametersOnly, kNlsLangRoom, context);
  }
  if (state.slxphsavep) {
    if (RestoreSaved(handle, context)) {
      context->error = state.saved_error;
      return handle;
    }
    memset(handle, 0, sizeof *handle);
    if (mode == kFullIfSet) return nullptr;
  }
  return Query(handle, mode == kFull ? kWithLanguage : kLanguageRequired, kNlsLangRoom, context);
}

}  // namespace
}  // namespace kestra::nls

using namespace kestra::nls;

extern "C" {

constinit const char lxhenvqnames[24][32] = {"NLS_LANG",
                                             "NLS_CURRENCY",
                                             "NLS_ISO_CURRENCY",
                                             "NLS_CALENDAR",
                                             "NLS_DATE_FORMAT",
                                             "NLS_DATE_LANGUAGE",
                                             "NLS_NUMERIC_CHARACTERS",
                                             "NLS_MONETARY_CHARACTERS",
                                             "NLS_LIST_SEPARATOR",
                                             "NLS_DEBIT",
                                             "NLS_CREDIT",
                                             "NLS_SORT",
                                             "NLS_STORAGE_ORDER",
                                             "NLS_COMP",
                                             "NLS_LENGTH_SEMANTICS",
                                             "NCHAR_CONV_EXCP",
                                             "NCHAR_IMP_CONV",
                                             "NLS_UNION_CURRENCY",
                                             "NLS_TIME_FORMAT",
                                             "NLS_TIMESTAMP_FORMAT",
                                             "NLS_TIME_TZ_FORMAT",
                                             "NLS_TIMESTAMP_TZ_FORMAT",
                                             "NLS_DUAL_CURRENCY",
                                             "NLS_DISPLAY"};

lxhandle* lxhenvquery(lxhandle* handle, std::uint32_t mode, lxcontext* context) noexcept {
  if (handle == nullptr || context == nullptr || context->area == nullptr) return nullptr;
  context->error = KES_NLS_OK;
  const kestra::os::ProcessLock lock;
  return Query(handle, mode, kValueRoom, context);
}

lxhandle* lxhLangEnv(lxhandle* handle, std::uint32_t mode, lxcontext* context) noexcept {
  if (handle == nullptr || context == nullptr) return nullptr;
  context->error = context->area != nullptr ? KES_NLS_OK : KES_NLS_NO_MEMORY;
  lxhandle* result = nullptr;
  if (context->area != nullptr) {
    const kestra::os::ProcessLock lock;
    result = FromEnvironment(handle, mode & 0xFFFF, context);
  }
  handle->valid = 1;
  return result;
}

}  // extern "C"
