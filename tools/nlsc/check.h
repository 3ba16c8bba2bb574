// Validation of objects, boot files and whole directories.
#pragma once

#include <cstdint>
#include <filesystem>
#include <span>
#include <string>
#include <vector>

#include "object_reader.h"

namespace kestra::nlsc {

// What is wrong, in the order in which it was found; empty: nothing is.
using Faults = std::vector<std::string>;

// An object: header, checksum, every offset, and the laws of its type. Any bytes will do.
Faults CheckObject(std::span<const std::uint8_t> bytes);
// A boot file by itself.
Faults CheckBoot(std::span<const std::uint8_t> bytes);
// Objects by the directory of the boot file beside them: every file is there, is a valid object and
// the one that the entry names, nothing else is there, and ids that objects refer to exist. Faults
// begin with the file's name.
Faults CheckDirectory(const std::filesystem::path& directory);

// Laws by type, called by CheckObject when the tables lie inside the object.
void CheckCharset(const ObjectReader& object, Faults& faults);
void CheckLanguage(const ObjectReader& object, Faults& faults);
void CheckTerritory(const ObjectReader& object, Faults& faults);
void CheckSort(const ObjectReader& object, Faults& faults);
void CheckSupplement(const ObjectReader& object, Faults& faults);
void CheckCalendar(const ObjectReader& object, Faults& faults);

bool IsUtf8(std::string_view text);

}  // namespace kestra::nlsc
