// Iteration over all zones, and over the distinct abbreviations of a zone.
#include <string.h>

#include "datetime/zone_names.h"
#include "datetime/zone_search.h"
#include "datetime/zone_work.h"
#include "kestra/timezone.h"
#include "nls/lxh_ebcdic.h"

namespace kestra::datetime {
namespace {

constexpr std::uint32_t kFirstRoom = 20;           // entries of the array, doubled when it is full
constexpr std::uint32_t kMaxAbbreviations = 1280;  // no history has as many by far

bool Grow(ltzstep& step) noexcept {
  const std::uint32_t room = step.room == 0 ? kFirstRoom : step.room * 2;
  void* fresh = step.block->allocate(step.block->allocate_ctx, room * sizeof(std::uint32_t));
  if (fresh == nullptr) return false;
  if (step.count != 0) memcpy(fresh, step.array, step.count * sizeof(std::uint32_t));
  if (step.array != nullptr) step.block->release(step.block->release_ctx, step.array);
  step.array = static_cast<std::uint32_t*>(fresh);
  step.room = room;
  return true;
}

// Zone types that were looked at already.
class SeenTypes {
 public:
  bool Insert(std::size_t place) noexcept {
    std::uint64_t& word = words_[place / 64 % kWords];
    const std::uint64_t bit = std::uint64_t{1} << (place % 64);
    const bool fresh = (word & bit) == 0;
    word |= bit;
    return fresh;
  }

 private:
  static constexpr std::size_t kWords = 1024;  // a bit for each type that a transition can have
  std::uint64_t words_[kWords] = {};
};

// An array that was filled for the zone before serves a zone with the same transitions.
std::uint64_t RunId(const ZoneRun& run) noexcept {
  return std::uint64_t{run.first} << 32 | run.count;
}

// Fills the array with the places of the distinct abbreviations of a zone, in the order of their
// first use. 0, 2 or 6, or the error of the zone.
int Collect(const ltzfile* address, std::uint32_t id, ltzstep& step) noexcept {
  ZoneView zone;
  const int status = zone.Find(address, id);
  if (status != KES_ZONE_OK) return status;
  step.next = 0;
  if (step.array != nullptr && step.reserved[0] == RunId(zone.run)) {
    step.count = static_cast<std::uint32_t>(step.reserved[1]);
    return KES_ZONE_OK;
  }
  step.count = 0;
  WorkLimit limit;
  SeenTypes seen;
  const std::uint32_t types = zone.file.U32(zone::kTypesAt);
  for (std::uint32_t i = 0; i < zone.run.count; ++i) {
    std::size_t type = 0;
    if (!zone.file.TypeAt(zone.run, i, type)) return KES_ZONE_DAMAGED;
    if (!seen.Insert((type - types) / zone::kTypeSize)) continue;
    const std::uint32_t at = zone.file.U32(type + zone::kTypeNameAt);
    const char* text = zone.file.Text(at);
    if (text == nullptr || !limit.Take(step.count)) return KES_ZONE_DAMAGED;
    bool known = false;
    for (std::uint32_t k = 0; k < step.count && !known; ++k) known = step.array[k] == at;
    for (std::uint32_t k = 0; k < step.count && !known; ++k) {
      known = limit.Compare(zone.file.Text(step.array[k]), text) == 0;
    }
    if (limit.exhausted()) return KES_ZONE_DAMAGED;
    if (known) continue;
    if (step.count == kMaxAbbreviations) return KES_ZONE_DAMAGED;
    if (step.count == step.room && !Grow(step)) return KES_ZONE_NO_MEMORY;
    step.array[step.count++] = at;
  }
  step.reserved[0] = RunId(zone.run);
  step.reserved[1] = step.count;
  return KES_ZONE_OK;
}

// Copies the next abbreviation of the array: 0, 2 or 8.
int Yield(const ZoneFile& file, bool ebcdic, ltzstep& step, char* buffer,
          std::size_t room) noexcept {
  const char* text = file.Text(step.array[step.next]);
  if (text == nullptr) return KES_ZONE_DAMAGED;
  if (!CopyText(text, ebcdic, buffer, room)) return KES_ZONE_NO_ROOM;
  ++step.next;
  return KES_ZONE_OK;
}

int End(ltzstep& step, int status) noexcept {
  if (status != KES_ZONE_OK && status != KES_ZONE_NO_ROOM) ltzStepEnd(&step);
  return status;
}

void Begin(ltzstep& step, lxcontext* work) noexcept {
  if (step.block == nullptr) step.block = &BlockOf(work);
}

}  // namespace
}  // namespace kestra::datetime

using namespace kestra::datetime;
using kestra::nls::lxhebc;

extern "C" {

int ltzStep(const lxhandle* handle, lxcontext* work, const ltzfile* file, ltzstep* step,
            std::uint32_t* id, char* buffer, std::size_t room) noexcept {
  if (step == nullptr || id == nullptr) return KES_ZONE_MISSING;
  ZoneFile zones;
  int status = zones.Open(file);
  if (status != KES_ZONE_OK) return status;
  const char* name = nullptr;
  std::uint32_t found = 0;
  status = NameAt(zones, step->zone, name, found);
  if (status != KES_ZONE_OK) return status == KES_ZONE_NOT_FOUND ? KES_ZONE_END : status;
  if (buffer != nullptr && !CopyText(name, lxhebc(handle, work), buffer, room)) {
    return KES_ZONE_NO_ROOM;
  }
  *id = found;
  ++step->zone;
  return KES_ZONE_OK;
}

int ltzStepA(const lxhandle* handle, lxcontext* work, const ltzfile* file, ltzstep* step,
             std::uint32_t* id, char* abbreviation, std::size_t room) noexcept {
  if (step == nullptr || id == nullptr || abbreviation == nullptr) return KES_ZONE_MISSING;
  ZoneFile zones;
  int status = zones.Open(file);
  if (status != KES_ZONE_OK) return status;
  Begin(*step, work);
  const char* name = nullptr;
  std::uint32_t found = 0;
  // A zone that is done makes room for the next one.
  if (step->next == step->count && step->count != 0) {
    ++step->zone;
    step->count = step->next = 0;
  }
  status = NameAt(zones, step->zone, name, found);
  if (status == KES_ZONE_NOT_FOUND) status = KES_ZONE_END;
  if (status == KES_ZONE_OK && step->count == 0) status = Collect(file, found, *step);
  if (status == KES_ZONE_OK) {
    status = Yield(zones, lxhebc(handle, work), *step, abbreviation, room);
  }
  if (status == KES_ZONE_OK) *id = found;
  return End(*step, status);
}

int ltzStepB(const lxhandle* handle, lxcontext* work, const ltzfile* file, ltzstep* step,
             std::uint32_t id, char* abbreviation, std::size_t room) noexcept {
  if (step == nullptr || abbreviation == nullptr) return KES_ZONE_MISSING;
  ZoneFile zones;
  int status = zones.Open(file);
  if (status != KES_ZONE_OK) return status;
  Begin(*step, work);
  if (step->count == 0) status = Collect(file, id, *step);
  if (status == KES_ZONE_OK && step->next == step->count) status = KES_ZONE_END;
  if (status == KES_ZONE_OK) {
    status = Yield(zones, lxhebc(handle, work), *step, abbreviation, room);
  }
  return End(*step, status);
}

void ltzStepEnd(ltzstep* step) noexcept {
  if (step == nullptr) return;
  if (step->array != nullptr) step->block->release(step->block->release_ctx, step->array);
  *step = {};
}

}  // extern "C"
