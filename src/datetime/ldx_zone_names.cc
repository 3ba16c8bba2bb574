// ldxgtz, ldxatz: DATEs shifted between zones that have an abbreviation. Zones with a history are
// in timezone.h; these are bare offsets.
#include <string.h>

#include <span>
#include <string_view>

#include "datetime/date_model.h"
#include "kestra/date.h"
#include "kestra/date_format.h"

namespace kestra::datetime {
namespace {

constexpr std::uint32_t kUnknownZone = 1857;
constexpr std::int32_t kMinuteSeconds = 60;

struct ZoneName {
  char name[4];
  std::int16_t minutes;  // east of Greenwich
};
constexpr ZoneName kZones[] = {
    {"adt", -180}, {"ast", -240}, {"bdt", -600}, {"bst", -660}, {"cdt", -300}, {"cst", -360},
    {"edt", -240}, {"est", -300}, {"gmt", 0},    {"hdt", -540}, {"hst", -600}, {"mdt", -360},
    {"mst", -420}, {"nst", -210}, {"pdt", -420}, {"pst", -480}, {"ydt", -480}, {"yst", -540}};
constexpr std::size_t kZoneCount = std::size(kZones);

bool IsNamed(const ZoneName& zone, std::span<const std::uint8_t> name,
             const std::uint8_t* ascii) noexcept {
  if (name.size() != 3) return false;
  for (std::size_t i = 0; i < 3; ++i) {
    const auto lower = static_cast<std::size_t>(zone.name[i]);
    if (name[i] != ascii[lower] && name[i] != ascii[lower & ~std::size_t{0x20}]) return false;
  }
  return true;
}

}  // namespace
}  // namespace kestra::datetime

using namespace kestra::datetime;

extern "C" {

std::int32_t ldxgtz(ldxctx* ctx, const std::uint8_t* name, std::size_t length) {
  if (name != nullptr && length == 0) length = strlen(reinterpret_cast<const char*>(name));
  for (std::size_t i = 0; i < kZoneCount; ++i) {
    if (IsNamed(kZones[i], {name, length}, StateOf(*ctx).ascii)) {
      return static_cast<std::int32_t>(i);
    }
  }
  Raise(ctx, {kUnknownZone, 0});
  return -1;
}

void ldxatz(ldxctx* ctx, ldxdate* out, const ldxdate* in, std::int32_t from, std::int32_t to) {
  const auto known = [](std::int32_t zone) {
    return zone >= 0 && static_cast<std::size_t>(zone) < kZoneCount;
  };
  if (!known(from) || !known(to)) return Raise(ctx, {kUnknownZone, 0});
  ldxdelta delta;
  delta.days = 0;
  delta.seconds = (kZones[to].minutes - kZones[from].minutes) * kMinuteSeconds;
  ldxads(ctx, out, in, &delta);
}

}  // extern "C"
