// Objects and boot files as text.
#pragma once

#include <cstdint>
#include <span>
#include <string>

#include "object_reader.h"

namespace kestra::nlsc {

// One line a field, "name: value"; tables are summed up unless full is set. Throws BadObject for
// bytes that are neither an object nor a boot file. A field outside a damaged object ends the text
// with a line that says so.
std::string Dump(std::span<const std::uint8_t> bytes, bool full);

// The fields of a type, called by Dump.
void DumpCharset(const ObjectReader& object, bool full, std::string& out);
void DumpLanguage(const ObjectReader& object, bool full, std::string& out);
void DumpTerritory(const ObjectReader& object, bool full, std::string& out);
void DumpSort(const ObjectReader& object, bool full, std::string& out);
void DumpSupplement(const ObjectReader& object, bool full, std::string& out);
void DumpCalendar(const ObjectReader& object, bool full, std::string& out);

}  // namespace kestra::nlsc
