// The locale data as a subcommand sees it: the library opened and closed, names and character sets
// looked up with messages for people, texts of a handle in UTF-8.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "kestra/context.h"
#include "kestra/handle.h"

namespace kestra::tools {

// Name kinds of lxhid2name and lxhnames.
inline constexpr std::uint32_t kLanguageKind = KES_ITEM_LANGUAGE;
inline constexpr std::uint32_t kTerritoryKind = KES_ITEM_TERRITORY;
inline constexpr std::uint32_t kCharsetKind = KES_ITEM_CHARSET;

inline constexpr std::uint32_t kUs7Ascii = 1;
inline constexpr std::uint32_t kAl32Utf8 = 873;
inline constexpr std::uint32_t kUtf16 = 1000;
inline constexpr std::uint32_t kAl16Utf16 = 2000;
inline constexpr std::uint32_t kAl16Utf16Le = 2002;

struct Named {
  std::uint32_t id;
  std::string name;
};

struct Charset {
  std::uint32_t id = 0;
  std::string name;
  const lxobject* object = nullptr;
  bool stateful = false;  // bytes mean different things in different states
};

// The class and the longest character of a set, as far as its handle tells.
struct CharsetFacts {
  const char* kind = "";
  unsigned longest = 0;  // bytes
};

class Session {
 public:
  Session();
  ~Session();
  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;

  lxcontext* context() { return &context_; }
  // No usable boot file was found: the built-in minimal data is in use.
  bool minimal() const { return minimal_; }
  // Where the data comes from: a directory, a data library, or "built into the library".
  std::string Origin();

  // Everything of a kind, in the order of ids; character sets with those that are in no directory.
  std::vector<Named> Names(std::uint32_t kind);
  // By our name, a registered alias, or such a name with other punctuation ("latin1", "utf8" are
  // aliases, "iso 8859 1" is punctuation). Throws ToolError with the nearest names.
  Charset FindCharset(std::string_view name);
  // The object of an id. Throws ToolError when it cannot be loaded.
  Charset LoadCharset(std::uint32_t id);
  // A handle of a set; false when it cannot be installed.
  bool CharsetHandle(std::uint32_t id, lxhandle* handle);
  CharsetFacts Facts(std::uint32_t id);

  // A handle of the default language and territory in AL32UTF8.
  lxhandle Utf8Handle();
  // An item of a handle in UTF-8, whatever the handle's own set is.
  std::string Item(const lxhandle& handle, std::uint32_t item);

 private:
  lxcontext context_{};
  bool minimal_ = false;
};

// The aliases of a character set, most common first.
std::vector<std::string> Aliases(std::uint32_t id);

// An error code of the locale data in words.
const char* ErrorText(std::uint32_t code);

}  // namespace kestra::tools
