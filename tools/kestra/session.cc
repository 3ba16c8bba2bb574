#include "session.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>

#include "command.h"
#include "kestra/charset.h"
#include "kestra/convert.h"
#include "kestra/object.h"
#include "suggest.h"

namespace kestra::tools {
namespace {

struct Alias {
  std::uint32_t id;
  const char* name;
};

constexpr Alias kAliases[] = {
#include "charset_aliases.inc"
    {0, nullptr},
};

// Character sets that are built into the library and have no name in a directory.
constexpr Alias kBuiltIn[] = {
    {9994, "ISO2022JP3"}, {9995, "ISO2022JP2"}, {9996, "ISO2022CNEXT"},
    {9997, "ISO2022CN"},  {9998, "ISO2022KR"},  {9999, "ISO2022JP"},
};

char Lower(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

bool IsIso2022(std::uint32_t id) { return id >= 9994 && id <= 9999; }

bool SameName(std::string_view a, std::string_view b) {
  return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                    [](char x, char y) { return Lower(x) == Lower(y); });
}

// Letters and digits alone, in lower case.
std::string Loose(std::string_view name) {
  std::string loose;
  for (const char c : name) {
    const char lower = Lower(c);
    if ((lower >= 'a' && lower <= 'z') || (lower >= '0' && lower <= '9')) loose += lower;
  }
  return loose;
}

// How early a name comes among its set's aliases: the families that mail and the web use first.
std::size_t Familiarity(std::string_view name) {
  constexpr std::string_view kFamilies[] = {
      "US-ASCII", "UTF-", "ISO-8859-", "windows-", "KOI8-", "EUC-", "SHIFT_JIS",
      "GB",       "BIG5", "TIS-",      "IBM",      "CP",    "ISO-", "MAC"};
  std::size_t rank = 0;
  for (const std::string_view family : kFamilies) {
    if (SameName(name.substr(0, family.size()), family)) return rank;
    ++rank;
  }
  return rank;
}

std::uint32_t FindAlias(std::string_view name) {
  for (const Alias& alias : kAliases) {
    if (alias.name != nullptr && SameName(alias.name, name)) return alias.id;
  }
  const std::string loose = Loose(name);
  if (loose.empty()) return 0;
  for (const Alias& alias : kAliases) {
    if (alias.name != nullptr && Loose(alias.name) == loose) return alias.id;
  }
  return 0;
}

}  // namespace

Session::Session() {
  std::uint32_t error = 0;
  lxarea* area = lxlinit(nullptr, 1, &error);
  if (area == nullptr || lxinitc(&context_, area, nullptr, 0) == nullptr) {
    throw ToolError(kBadData, fmt::format("the locale data cannot be opened: error {}, {}", error,
                                          ErrorText(error)));
  }
  minimal_ = error == KES_NLS_NO_BOOT_FILE;
}

Session::~Session() { lxlterm(&context_); }

std::string Session::Origin() {
  std::array<char, 4096> path;
  const std::size_t length = lxlorigin(path.data(), path.size(), &context_);
  return length == 0 ? "built into the library" : std::string(path.data(), length);
}

std::vector<Named> Session::Names(std::uint32_t kind) {
  std::vector<Named> names;
  std::uint32_t id = 0;
  for (std::uint32_t index = 0;; ++index) {
    const char* name = lxhnames(kind, index, &id, &context_);
    if (name == nullptr) break;
    names.push_back({id, name});
  }
  if (kind == kCharsetKind && !minimal_) {
    for (const Alias& set : kBuiltIn) names.push_back({set.id, set.name});
  }
  return names;
}

Charset Session::LoadCharset(std::uint32_t id) {
  Charset charset;
  charset.id = id;
  const char* name = lxhid2name(kCharsetKind, id, &context_);
  charset.name = name != nullptr ? name : std::to_string(id);
  for (const Alias& set : kBuiltIn) {
    if (set.id == id) charset.name = set.name;
  }
  charset.object = lxpcobj(id, &context_);
  if (charset.object == nullptr) {
    throw ToolError(kBadData, fmt::format("the data of character set {} cannot be loaded (error {})"
                                          " from {}",
                                          charset.name, context_.error, Origin()));
  }
  lxhandle handle;
  charset.stateful =
      IsIso2022(id) || (CharsetHandle(id, &handle) && (handle.flags & KES_CHARSET_STATEFUL) != 0);
  return charset;
}

Charset Session::FindCharset(std::string_view name) {
  std::uint32_t id = lxpcget(name.data(), name.size(), &context_);
  const std::vector<Named> all = Names(kCharsetKind);
  if (id == 0) {
    for (const Named& set : all) {
      if (SameName(set.name, name)) id = set.id;
    }
  }
  if (id == 0) id = FindAlias(name);
  for (std::size_t i = 0; id == 0 && i < all.size(); ++i) {
    if (Loose(all[i].name) == Loose(name) && !Loose(name).empty()) id = all[i].id;
  }
  if (id != 0 && !(minimal_ && lxhid2name(kCharsetKind, id, &context_) == nullptr)) {
    return LoadCharset(id);
  }
  if (minimal_) {
    throw ToolError(kBadData,
                    fmt::format("character set {} is not available: no usable locale data was "
                                "found (error 22), only US7ASCII is built in; see `kestra locale`",
                                name));
  }
  std::vector<std::string> candidates;
  for (const Named& set : all) candidates.push_back(set.name);
  for (const Alias& alias : kAliases) {
    if (alias.name != nullptr) candidates.emplace_back(alias.name);
  }
  throw ToolError(kUsage,
                  fmt::format("unknown character set '{}'{}", name, DidYouMean(name, candidates)));
}

bool Session::CharsetHandle(std::uint32_t id, lxhandle* handle) {
  return lxhLaToId(nullptr, 0, handle, 0, &context_) != nullptr &&
         lxpcset(id, handle, &context_) == 1;
}

CharsetFacts Session::Facts(std::uint32_t id) {
  // Two bytes in their states, four with the planes of CNS 11643 behind a single shift.
  if (IsIso2022(id)) return {"escapes", id == 9996 || id == 9997 ? 4u : 2u};
  lxhandle handle;
  if (!CharsetHandle(id, &handle)) return {};
  if ((handle.flags & KES_CHARSET_UTF16) != 0) return {"UTF-16", 4};
  if ((handle.flags & KES_CHARSET_GB18030) != 0) return {"multibyte", 4};
  if ((handle.flags & KES_CHARSET_STATEFUL) != 0) return {"shift states", handle.shifted_width};
  if ((handle.flags & KES_CHARSET_SINGLE) != 0) return {"single-byte", 1};
  lxcursor cursor;
  lxmopen(nullptr, 0, &cursor, &handle, &context_, 0);
  CharsetFacts facts{(handle.flags & KES_CHARSET_UTF8) != 0 ? "UTF-8" : "multibyte", 1};
  for (unsigned byte = 0; cursor.class_table != nullptr && byte < 256; ++byte) {
    facts.longest = std::max(facts.longest, (cursor.class_table[byte] & KES_CLASS_LENGTH) + 1u);
  }
  return facts;
}

lxhandle Session::Utf8Handle() {
  lxhandle handle{};
  if (lxhLaToId(nullptr, 0, &handle, 0, &context_) == nullptr) {
    throw ToolError(kBadData,
                    fmt::format("the default language cannot be loaded (error {}) from {}",
                                context_.error, Origin()));
  }
  lxpcset(kAl32Utf8, &handle, &context_);
  return handle;
}

std::string Session::Item(const lxhandle& handle, std::uint32_t item) {
  lxhandle utf8 = handle;
  if (utf8.charset_id != kAl32Utf8) lxpcset(kAl32Utf8, &utf8, &context_);
  std::array<std::uint8_t, 1024> buffer;
  const std::size_t length = lxhlinfo(&utf8, item, buffer.data(), buffer.size(), &context_);
  return {reinterpret_cast<const char*>(buffer.data()), length};
}

std::vector<std::string> Aliases(std::uint32_t id) {
  std::vector<std::string> names;
  for (const Alias& alias : kAliases) {
    if (alias.name != nullptr && alias.id == id) names.emplace_back(alias.name);
  }
  std::stable_sort(names.begin(), names.end(), [](const std::string& a, const std::string& b) {
    return Familiarity(a) < Familiarity(b);
  });
  return names;
}

const char* ErrorText(std::uint32_t code) {
  switch (code) {
    case KES_NLS_OK:
      return "no error";
    case KES_NLS_NO_MEMORY:
      return "out of memory";
    case KES_NLS_DESTINATION_FULL:
      return "the text is too long";
    case KES_NLS_UNKNOWN_CHARSET:
      return "unknown character set";
    case KES_NLS_UNKNOWN_KIND:
      return "unknown kind of name";
    case KES_NLS_UNKNOWN_LANGUAGE:
      return "unknown language";
    case KES_NLS_UNKNOWN_TERRITORY:
      return "unknown territory";
    case KES_NLS_UTF16_QUERY:
      return "not available in UTF-16";
    case KES_NLS_NO_BOOT_FILE:
      return "no usable locale data found, the built-in minimal data is in use";
    case KES_NLS_BAD_STORAGE_ORDER:
      return "not a storage order (LOGICAL or VISUAL)";
    case KES_NLS_UNKNOWN_ID:
      return "unknown name";
    case KES_NLS_BAD_COMP:
      return "not a way to compare (BINARY, ANSI or LINGUISTIC)";
    case KES_NLS_BAD_LENGTH_SEMANTICS:
      return "not a unit of length (BYTE or CHAR)";
    case KES_NLS_BAD_CONV_EXCP:
    case KES_NLS_BAD_IMP_CONV:
      return "neither TRUE nor FALSE";
    case KES_NLS_OBJECT_UNAVAILABLE:
      return "a data object cannot be loaded";
    default:
      return "unknown error";
  }
}

}  // namespace kestra::tools
