// What the functions of datetime_text.h share.
#pragma once

#include <cstdint>
#include <span>
#include <string_view>

#include "datetime/datetime_value.h"
#include "datetime/plain_text.h"
#include "datetime/zone_rules.h"
#include "kestra/datetime_text.h"

namespace kestra::datetime {

// The next item of a format, which loses it. 0 at its end, in code; false: the format is damaged.
bool NextItem(std::span<const std::uint8_t>& format, LdiFormatItem& item) noexcept;

// Whether values of a type have what an element shows or reads.
bool TypeHasElement(std::uint32_t type, std::uint32_t code) noexcept;

// +hh:mm
void PutZoneOffset(PlainWriter& out, std::int32_t minutes) noexcept;
// Name and abbreviation of the region of a value that has one; of a value without one: the offset,
// and nothing.
std::uint32_t PutRegionName(PlainWriter& out, const LdiDate& date, const ltzfile* zones) noexcept;
std::uint32_t PutZoneAbbreviation(PlainWriter& out, const LdiDate& date,
                                  const ltzfile* zones) noexcept;

}  // namespace kestra::datetime
