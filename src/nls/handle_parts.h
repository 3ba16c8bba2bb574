// What the handle's functions share: names, objects behind slots, strings of objects.
#pragma once

#include <cstdint>
#include <string_view>

#include "kestra/handle.h"
#include "kestra/object.h"
#include "nls/area.h"
#include "nls/process_state.h"

namespace kestra::nls {

// Components of "LANGUAGE_TERRITORY.CHARSET" and of "NAME_DIRECTION.CHARSET", by their selectors.
enum class Component : std::uint8_t {
  kFirst = 85,   // from the start up to the first "_" or "."
  kSecond = 78,  // after the first "_" up to the next "."
  kThird = 79,   // after the first "." to the end
};
// lxpname: a component without its leading white space; empty when it is absent.
std::string_view lxpname(std::string_view text, Component component) noexcept;

// Bits of a collation identifier above its number (lxhandle.sort_flags).
inline constexpr std::uint32_t kAccentInsensitive = 0x10000;
inline constexpr std::uint32_t kCaseInsensitive = 0x20000;
inline constexpr std::uint32_t kFourLevels = 0x30000;
inline constexpr std::uint32_t kLevelMask = 0x70000;
inline constexpr std::uint32_t kBackwardSecondary = 0x400000;
inline constexpr std::uint32_t kBinarySort = 0x3FFF;  // the collation number that means binary

// A sort's name taken apart. id 0: unknown.
struct SortName {
  std::uint32_t id = 0;
  std::uint32_t flags = 0;
  std::string_view base;
  std::string_view parameters;  // of a sort of the Unicode engine, from the "_" on
};
SortName ParseSortName(std::string_view name, lxcontext* context) noexcept;

// The object behind an id, loaded when needed; null when that fails. No error word is touched.
const lxobject* CharsetObject(std::uint32_t id, lxcontext* context) noexcept;
const lxobject* HandleCharset(const lxhandle& handle, lxcontext* context) noexcept;

// String of a language or territory object, in the set that StringCharsetId tells. Empty when
// object is null or has no such string.
std::string_view LanguageString(const lxobject* object, std::size_t index) noexcept;
std::string_view TerritoryString(const lxobject* object, std::size_t index) noexcept;

bool IsAscii(std::string_view text) noexcept;

// Converts ASCII or UTF-8 text into the handle's set: bytes written, cut at a character when it
// does not fit. The context's error word tells about it (6, 34).
std::size_t IntoHandle(std::string_view text, const lxhandle& handle, std::uint8_t* buffer,
                       std::size_t room, lxcontext* context) noexcept;

// True when ASCII text stands for itself in the handle's set.
bool KeepsAscii(const lxhandle& handle, lxcontext* context) noexcept;

// The ids behind a handle's slots. Slots outside the area answer id 0.
HandleIds IdsOf(const lxhandle& handle, const lxarea* area) noexcept;
// lxpdload: loads every object of a handle again; false when one cannot be loaded.
bool lxpdload(const lxhandle& handle, lxcontext* context) noexcept;

}  // namespace kestra::nls
