// Values made under one release of the zone file under the rules of another, and what changed
// between the two.
//
// Tests: tests/datetime/ldi_zone_test.cc.
#include <cstring>

#include "datetime/array_form.h"
#include "datetime/datetime_value.h"
#include "datetime/zone_rules.h"
#include "kestra/datetime_zone.h"

namespace kestra::datetime {
namespace {

bool HasRegion(const LdiDate& date) noexcept {
  return date.type == KES_DATETIME_TIMESTAMP_TZ && date.region != 0;
}

std::uint32_t Upgrade(LdiDate& out, const LdiDate& in, const ltzfile* to) noexcept {
  if (!IsDatetimeType(in.type)) return KES_DATETIME_BAD_TYPE;
  LdiDate date = in;
  if (HasRegion(in)) {
    const Zone zone{.zones = to, .region = in.region, .minutes = ZoneMinutes(in), .keeps = true};
    if (const std::uint32_t error = AttachZone(date, zone)) return error;
  }
  out = date;
  return 0;
}

// The delta of two files, freed at the end of its life.
class Delta {
 public:
  Delta(lxcontext* work, const ltzfile* from, const ltzfile* to) noexcept
      : work_(work), status_(ltzGetDelta(work, from, to, &delta_)) {}
  ~Delta() {
    if (status_ == 0) ltzFreeDelta(work_, delta_);
  }
  Delta(const Delta&) = delete;
  Delta& operator=(const Delta&) = delete;

  std::uint32_t error() const noexcept { return ZoneError(status_); }
  const ltzdelta* get() const noexcept { return delta_; }

 private:
  lxcontext* work_;
  ltzdelta* delta_ = nullptr;
  int status_;
};

}  // namespace
}  // namespace kestra::datetime

using namespace kestra::datetime;

uint32_t LdiDateTimeUpgrade(LdiDate* out, const LdiDate* in, const ltzfile* to,
                            int* changed) noexcept {
  LdiDate date;
  if (const std::uint32_t error = Upgrade(date, *in, to)) return error;
  if (changed != nullptr) *changed = std::memcmp(&date, in, sizeof date) != 0 ? 1 : 0;
  *out = date;
  return 0;
}

uint32_t LdiDateTimeUpgradearr(LdiDate* const* out, const LdiDate* const* in, size_t count,
                               const ltzfile* to, uint8_t* changed, size_t* done) noexcept {
  return RunArray(count, done, [&](std::size_t i) {
    int differs = 0;
    const std::uint32_t error = LdiDateTimeUpgrade(out[i], in[i], to, &differs);
    if (error == 0 && changed != nullptr) changed[i] = static_cast<std::uint8_t>(differs);
    return error;
  });
}

uint32_t LdiDateTimeArrayUpgrade(uint8_t* bytes, size_t length, uint32_t type, const ltzfile* from,
                                 const ltzfile* to, int* changed) noexcept {
  LdiSession session{};
  session.zones = from;
  LdiDate date;
  if (const std::uint32_t error = LdiDateFromArray(&date, bytes, length, type, &session)) {
    return error;
  }
  LdiDate upgraded;
  if (const std::uint32_t error = Upgrade(upgraded, date, to)) return error;
  const bool differs = std::memcmp(&upgraded, &date, sizeof date) != 0;
  if (differs) {
    std::uint8_t stored[KES_DATETIME_BYTES];
    std::size_t size = 0;
    if (const std::uint32_t error = LdiDateToArray(stored, sizeof stored, &size, &upgraded)) {
      return error;
    }
    std::memcpy(bytes, stored, length);
  }
  if (changed != nullptr) *changed = differs ? 1 : 0;
  return 0;
}

uint32_t LdiDateTimeArrayUpgradearr(uint8_t* const* bytes, size_t count, const size_t* lengths,
                                    uint32_t type, const ltzfile* from, const ltzfile* to,
                                    uint8_t* changed, uint32_t flags, size_t* done) noexcept {
  const Operands length(lengths, flags);
  return RunArray(count, done, [&](std::size_t i) {
    int differs = 0;
    const std::uint32_t error =
        LdiDateTimeArrayUpgrade(bytes[i], length[i], type, from, to, &differs);
    if (error == 0 && changed != nullptr) changed[i] = static_cast<std::uint8_t>(differs);
    return error;
  });
}

uint32_t LdiTZGetDelta(void* out, size_t size, size_t* length, lxcontext* work, const ltzfile* from,
                       const ltzfile* to) noexcept {
  const Delta delta(work, from, to);
  if (const std::uint32_t error = delta.error()) return error;
  if (delta.get()->size > size) return KES_DATETIME_NO_ROOM;
  std::memcpy(out, delta.get(), delta.get()->size);
  *length = delta.get()->size;
  return 0;
}

uint32_t LdiTZGetDeltaSize(size_t* size, lxcontext* work, const ltzfile* from,
                           const ltzfile* to) noexcept {
  const Delta delta(work, from, to);
  if (const std::uint32_t error = delta.error()) return error;
  *size = delta.get()->size;
  return 0;
}

uint32_t LdiTZGetDeltaBitmap(uint8_t* bitmap, const ltzdelta* delta) noexcept {
  ltzzonedelta zone;
  // The first call only learns whether the delta is sound.
  const int status = ltzGetZoneDelta(delta, 1, &zone);
  if (status != KES_ZONE_OK && status != KES_ZONE_NOT_FOUND) return ZoneError(status);
  std::uint8_t bits[KES_ZONE_BITMAP_BYTES] = {};
  for (std::uint32_t id = 1; id <= KES_ZONE_MAX_ID; ++id) {
    if (ltzGetZoneDelta(delta, id, &zone) == KES_ZONE_OK && zone.id == id) {
      bits[id / 8] = static_cast<std::uint8_t>(bits[id / 8] | 1u << (id & 7));
    }
  }
  std::memcpy(bitmap, bits, sizeof bits);
  return 0;
}

uint32_t LdiTZGetDeltaMinAffectedTime(LdiDate* out, const ltzdelta* delta) noexcept {
  ltzzonedelta zone;
  const int status = ltzGetZoneDelta(delta, 1, &zone);
  if (status != KES_ZONE_OK && status != KES_ZONE_NOT_FOUND) return ZoneError(status);
  if (delta->from.year == 0) return KES_DATETIME_NO_FIELD;
  *out = delta->from;
  out->region = 0;  // transitions carry their zone there
  return 0;
}

uint32_t LdiTZIsDateAffected(const LdiDate* date, const ltzdelta* delta, int* affected) noexcept {
  if (!IsDatetimeType(date->type)) return KES_DATETIME_BAD_TYPE;
  if (!HasRegion(*date)) {
    *affected = 0;
    return 0;
  }
  ltzzonedelta zone;
  const int status = ltzGetZoneDelta(delta, date->region, &zone);
  if (status == KES_ZONE_NOT_FOUND) {
    *affected = 0;
    return 0;
  }
  if (status != KES_ZONE_OK) return ZoneError(status);
  LdiDate utc = *date;
  if (!SetLocal(utc, UtcMoment(*date), true)) return KES_DATETIME_BAD_YEAR;
  bool hit = zone.kind == KES_ZONE_REMOVED;
  for (std::uint32_t i = 0; i < zone.count && !hit; ++i) {
    ltzspan span;
    const int found = ltzGetZoneDeltaTrans(delta, date->region, i, &span);
    if (found != KES_ZONE_OK) return ZoneError(found);
    const bool begun = CompareFields(span.from, utc) <= 0;
    const bool over = span.until.year != 0 && CompareFields(span.until, utc) <= 0;
    hit = begun && !over && (span.what & KES_ZONE_OFFSET_DIFFERS) != 0;
  }
  *affected = hit ? 1 : 0;
  return 0;
}

uint32_t LdiTZIsDateAffectedarr(uint8_t* affected, const LdiDate* const* in, size_t count,
                                const ltzdelta* delta, size_t* done) noexcept {
  return RunArray(count, done, [&](std::size_t i) {
    int hit = 0;
    const std::uint32_t error = LdiTZIsDateAffected(in[i], delta, &hit);
    if (error == 0) affected[i] = static_cast<std::uint8_t>(hit);
    return error;
  });
}
