// Names to ids: components of a specification, lookups, names of sorts.
#include "nls/ascii.h"
#include "nls/handle_parts.h"
#include "nls/lxl_builtin.h"

namespace kestra::nls {
namespace {

// Character sets without a directory entry.
struct NamedId {
  std::string_view name;
  std::uint32_t id;
};
constexpr NamedId kUnlistedCharsets[] = {{"UTF16", builtin::kUtf16Id},
                                         {"AL16UTF16LE", builtin::kAl16Utf16LeId}};

std::uint32_t FindId(std::string_view name, std::uint32_t type, const lxcontext* context) noexcept {
  if (context == nullptr || context->area == nullptr) return 0;
  const std::uint32_t slot = Boot(context->area).FindName(type, name);
  return slot == 0 ? 0 : Boot(context->area).entry(slot).id();
}

std::string_view Counted(const char* text, std::size_t length) noexcept {
  return text == nullptr ? std::string_view() : std::string_view(text, length);
}

// "_S1" to "_S4" (levels compared) and "_BY", "_BN" (accents compared backwards), each once.
bool ParseParameters(std::string_view text, std::uint32_t& flags) noexcept {
  bool has_strength = false;
  bool has_backwards = false;
  while (!text.empty()) {
    if (text.size() < 3 || text[0] != '_') return false;
    const char key = ToUpper(text[1]);
    const char value = ToUpper(text[2]);
    if (key == 'S' && !has_strength && value >= '1' && value <= '4') {
      constexpr std::uint32_t kLevels[] = {kAccentInsensitive, kCaseInsensitive, 0, kFourLevels};
      flags |= kLevels[value - '1'];
      has_strength = true;
    } else if (key == 'B' && !has_backwards && (value == 'Y' || value == 'N')) {
      if (value == 'Y') flags |= kBackwardSecondary;
      has_backwards = true;
    } else {
      return false;
    }
    text.remove_prefix(3);
  }
  return true;
}

bool HasUnicodeEngine(std::uint32_t id, lxcontext* context) noexcept {
  const std::uint32_t slot = Boot(context->area).FindId(KES_OBJECT_SORT, id);
  const lxobject* sort = lxdgetobj(slot, KES_OBJECT_SORT, context);
  return sort != nullptr && Load16(sort, nlb::sort::kEngineAt) == nlb::sort::kUnicodeEngine;
}

}  // namespace

std::string_view lxpname(std::string_view text, Component component) noexcept {
  const auto tail = [text](char mark) {
    const std::size_t at = text.find(mark);
    return at == std::string_view::npos ? std::string_view() : text.substr(at + 1);
  };
  switch (component) {
    case Component::kFirst:
      text = SkipSpaces(text);
      return text.substr(0, text.find_first_of("_."));
    case Component::kSecond: {
      const std::string_view rest = SkipSpaces(tail('_'));
      return rest.substr(0, rest.find('.'));
    }
    case Component::kThird:
      return SkipSpaces(tail('.'));
  }
  return {};
}

SortName ParseSortName(std::string_view name, lxcontext* context) noexcept {
  SortName sort;
  sort.base = name.substr(0, name.find('_'));
  const std::string_view suffix = name.substr(sort.base.size());
  sort.id = EqualIgnoringCase(sort.base, "BINARY") ? kBinarySort
                                                   : FindId(sort.base, KES_OBJECT_SORT, context);
  if (sort.id == 0 || suffix.empty()) return sort;
  if (EqualIgnoringCase(suffix, "_AI")) {
    sort.flags = kAccentInsensitive;
  } else if (EqualIgnoringCase(suffix, "_CI")) {
    sort.flags = kCaseInsensitive;
  } else if (sort.id != kBinarySort && suffix.size() <= sizeof lxhandle::sort_parameters &&
             ParseParameters(suffix, sort.flags) && HasUnicodeEngine(sort.id, context)) {
    sort.parameters = suffix;
  } else {
    sort.id = 0;
  }
  return sort;
}

}  // namespace kestra::nls

using namespace kestra::nls;

extern "C" {

std::uint32_t lxplget(const char* name, std::size_t length, lxcontext* context) noexcept {
  return FindId(Counted(name, length), KES_OBJECT_LANGUAGE, context);
}

std::uint32_t lxptget(const char* name, std::size_t length, lxcontext* context) noexcept {
  return FindId(Counted(name, length), KES_OBJECT_TERRITORY, context);
}

std::uint32_t lxpcget(const char* name, std::size_t length, lxcontext* context) noexcept {
  const std::string_view text = Counted(name, length);
  for (const NamedId& set : kUnlistedCharsets) {
    if (EqualIgnoringCase(set.name, text)) return set.id;
  }
  return FindId(text, KES_OBJECT_CHARSET, context);
}

std::uint32_t lxedget(const char* name, std::size_t length, lxcontext* context) noexcept {
  return FindId(Counted(name, length), KES_OBJECT_CALENDAR, context);
}

std::uint32_t lxpsget(const char* name, std::size_t length, std::uint32_t* flags,
                      std::size_t* base_length, lxcontext* context) noexcept {
  const SortName sort = ParseSortName(Counted(name, length), context);
  if (flags != nullptr) *flags = sort.flags;
  if (base_length != nullptr) *base_length = sort.base.size();
  return sort.id;
}

}  // extern "C"
