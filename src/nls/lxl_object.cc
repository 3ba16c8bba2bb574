// Data objects: file names, loading on first use, checks, unloading.
#include <string.h>

#include <optional>

#include "core/os/process_lock.h"
#include "kestra/object.h"
#include "nls/area.h"
#include "nls/lxl_file.h"
#include "nls/nlb_check.h"

namespace kestra::nls {
namespace {

constexpr std::uint64_t RoundUp8(std::uint64_t size) noexcept {
  return (size + 7) & ~std::uint64_t{7};
}

struct ObjectName {
  std::uint32_t type;
  std::uint32_t id;
};

// Value of a lower-case hexadecimal digit; 16 or more: none.
std::uint32_t HexValue(char c) noexcept {
  if (c >= '0' && c <= '9') return static_cast<std::uint32_t>(c - '0');
  return c >= 'a' && c <= 'f' ? static_cast<std::uint32_t>(c - 'a') + 10 : 16;
}

std::optional<ObjectName> ParseName(const char* name) noexcept {
  if (name == nullptr || strnlen(name, 8) != 7 || name[0] != 'l' || name[1] != 'x') return {};
  std::uint32_t value = 0;
  for (int i = 2; i < 7; ++i) {
    const std::uint32_t digit = HexValue(name[i]);
    if (digit > 15) return {};
    value = value << 4 | digit;
  }
  return ObjectName{value >> 16, value & 0xFFFF};
}

// Types of the directory; objects of all others are user-defined.
constexpr bool IsKnownType(std::uint32_t type) noexcept { return type <= 6 || type == 8; }

// Opens an object's file where the area's boot file came from; what the profile directory lacks is
// taken from the normal one.
os::DataFile OpenObject(const char* name, lxarea* area) noexcept {
  const AreaTail& tail = Tail(area);
  os::DataFile file;
  if (tail.profile) file = lxlfOpen(name, true, false);
  if (!file.is_open()) file = lxlfOpen(name, false, tail.block->load_boot == &lxldlbb9i);
  return file;
}

// lxelgsz: size of a user-defined object, by its file; 0: none.
std::size_t lxelgsz(const char* name, lxarea* area) noexcept {
  os::DataFile file = OpenObject(name, area);
  const std::uint64_t size = file.size;
  os::slxcfcl(file);
  return size <= UINT32_MAX ? static_cast<std::size_t>(size) : 0;
}

bool IsUserSlot(const lxarea* area, std::uint32_t slot) noexcept {
  const std::uint32_t first = Boot(area).count() + kIso2022Slots;
  return slot >= first && slot < first + kUserSlots;
}

// Reads one directory object: header, checks, body in one read. buffer is as large as the
// directory's size rounded up to 8.
bool ReadObject(os::DataFile& file, std::span<std::uint8_t> buffer,
                const DirectoryEntry& entry) noexcept {
  if (entry.object_size() <= nlb::kHeaderSize) return false;
  const auto header = buffer.first(nlb::kHeaderSize);
  if (os::slxcfrtlfv(file, header) != header.size()) return false;
  const bool swapped = HasForeignOrder(header[nlb::kByteFlagsAt]);
  if (swapped) SwapObjectHeader(header);
  if (CheckObjectHeader(header) != nullptr) return false;
  const std::size_t size = Load32(header.data(), nlb::kSizeAt);
  if (RoundUp8(size) != buffer.size() || size <= header.size()) return false;
  if (Load16(header.data(), nlb::kTypeAt) != entry.type()) return false;
  const auto body = buffer.subspan(header.size(), size - header.size());
  if (os::slxcfrtlfv(file, body) != body.size()) return false;
  memset(buffer.data() + size, 0, buffer.size() - size);
  const auto object = buffer.first(size);
  if (swapped && !lxladjobj(object)) return false;
  if (CheckObject(object) != nullptr) return false;
  // An object of the other byte order is used without this check.
  return swapped || lxlchkobj(object) == nullptr;
}

// lxlfrd: reads and checks the object of a slot and closes the file.
bool lxlfrd(os::DataFile& file, std::span<std::uint8_t> buffer, lxarea* area,
            std::uint32_t slot) noexcept {
  const bool read = IsUserSlot(area, slot) ? os::slxcfrtlfv(file, buffer) == buffer.size()
                                           : ReadObject(file, buffer, Boot(area).entry(slot));
  os::slxcfcl(file);
  return read;
}

// An object that a caller's own callback has loaded, in native order and whole.
bool IsSound(const lxobject* object, const DirectoryEntry& entry) noexcept {
  const auto* bytes = reinterpret_cast<const std::uint8_t*>(object);
  if (CheckObjectHeader(std::span(bytes, nlb::kHeaderSize)) != nullptr) return false;
  const std::size_t size = Load32(bytes, nlb::kSizeAt);
  return RoundUp8(size) == RoundUp8(entry.object_size()) && size > nlb::kHeaderSize &&
         Load16(bytes, nlb::kTypeAt) == entry.type() &&
         CheckObject(std::span(bytes, size)) == nullptr;
}

}  // namespace

lxobject* lxdlobj(std::uint32_t slot, lxarea* area) noexcept {
  lxcallbacks* block = Tail(area).block;
  const DirectoryEntry entry = Boot(area).entry(slot);
  char name[KES_OBJECT_NAME_SIZE];
  lxfgno(name, entry.type(), entry.id());
  lxobject* object = block->load_object(block->load_object_ctx, name, area, slot);
  if (object != nullptr && block->load_object != &lxldlod && !IsSound(object, entry)) {
    Slot(area, slot).store(object, std::memory_order_relaxed);
    block->unload_object(block->unload_object_ctx, SlotAddress(area, slot));
    object = nullptr;
  }
  Slot(area, slot).store(object, std::memory_order_release);
  return object;
}

std::span<const std::uint8_t> UserObject(lxarea* area, std::uint32_t slot) noexcept {
  if (area == nullptr || !IsUserSlot(area, slot)) return {};
  const lxobject* object = Slot(area, slot).load(std::memory_order_acquire);
  if (object == nullptr) return {};
  const std::uint32_t index = slot - Boot(area).count() - kIso2022Slots;
  return {reinterpret_cast<const std::uint8_t*>(object),
          static_cast<std::size_t>(Tail(area).user_sizes[index])};
}

}  // namespace kestra::nls

extern "C" {

std::size_t lxfgno(char* name, std::uint32_t type, std::uint32_t id) noexcept {
  constexpr char kDigits[] = "0123456789abcdef";
  name[0] = 'l';
  name[1] = 'x';
  name[2] = kDigits[type & 15];
  for (int i = 0; i < 4; ++i) name[3 + i] = kDigits[id >> (12 - 4 * i) & 15];
  name[7] = '\0';
  return 7;
}

std::size_t lxlgsz(const char* name, lxarea* area) noexcept {
  using namespace kestra::nls;
  const auto parsed = ParseName(name);
  if (!parsed || area == nullptr) return 0;
  if (!IsKnownType(parsed->type)) return lxelgsz(name, area);
  const std::uint32_t slot = Boot(area).FindId(parsed->type, parsed->id);
  return slot == 0 ? 0 : Boot(area).entry(slot).object_size();
}

lxobject* lxdgetobj(std::uint32_t slot, std::uint32_t type, lxcontext* context) noexcept {
  using namespace kestra::nls;
  if (context == nullptr || context->area == nullptr) return nullptr;
  lxarea* area = context->area;
  const BootView boot = Boot(area);
  if (slot >= boot.count()) {
    if (slot >= SlotCount(area)) return nullptr;
    const bool fits = IsUserSlot(area, slot) ? !IsKnownType(type) : type == KES_OBJECT_CHARSET;
    return fits ? Slot(area, slot).load(std::memory_order_acquire) : nullptr;
  }
  if (slot == 0 || boot.entry(slot).type() != type) return nullptr;
  if (lxobject* object = Slot(area, slot).load(std::memory_order_acquire)) return object;
  const kestra::os::ProcessLock lock;
  if (lxobject* object = Slot(area, slot).load(std::memory_order_acquire)) return object;
  return lxdlobj(slot, area);
}

lxobject* lxldlod(void* ctx, const char* name, lxarea* area, std::uint32_t slot) noexcept {
  using namespace kestra::nls;
  auto* block = static_cast<lxcallbacks*>(ctx);
  if (block == nullptr || area == nullptr || slot == 0 || slot >= SlotCount(area)) return nullptr;
  const bool user = IsUserSlot(area, slot);
  if (!user && slot >= Boot(area).count()) return nullptr;
  const kestra::os::ProcessLock lock;
  if (lxobject* object = Slot(area, slot).load(std::memory_order_acquire)) return object;
  const auto parsed = ParseName(name);
  const std::size_t size = lxlgsz(name, area);
  if (!parsed || size == 0 || user == IsKnownType(parsed->type)) return nullptr;
  if (!user && Boot(area).FindId(parsed->type, parsed->id) != slot) return nullptr;
  kestra::os::DataFile file = OpenObject(name, area);
  // The file has to hold what the directory says before anything is allocated for it.
  const bool whole = file.is_open() && RoundUp8(file.size) >= RoundUp8(size);
  auto* bytes =
      whole ? static_cast<std::uint8_t*>(block->allocate(block->allocate_ctx, RoundUp8(size)))
            : nullptr;
  if (bytes == nullptr) {
    kestra::os::slxcfcl(file);
    return nullptr;
  }
  if (!lxlfrd(file, std::span(bytes, user ? size : RoundUp8(size)), area, slot)) {
    block->release(block->release_ctx, bytes);
    return nullptr;
  }
  auto* object = reinterpret_cast<lxobject*>(bytes);
  if (user) Tail(area).user_sizes[slot - Boot(area).count() - kIso2022Slots] = size;
  Slot(area, slot).store(object, std::memory_order_release);
  return object;
}

int lxldunl(void* ctx, lxobject** slot) noexcept {
  auto* block = static_cast<lxcallbacks*>(ctx);
  if (slot == nullptr || block == nullptr) return 1;
  const std::atomic_ref<lxobject*> content(*slot);
  if (content.load(std::memory_order_acquire) == nullptr) return 1;
  const kestra::os::ProcessLock lock;
  if (lxobject* object = content.exchange(nullptr, std::memory_order_acq_rel)) {
    block->release(block->release_ctx, object);
  }
  return 1;
}

const char* lxlobjcheck(void* bytes, std::size_t size, int boot) noexcept {
  using namespace kestra::nls;
  const std::span object(static_cast<std::uint8_t*>(bytes), size);
  if (boot != 0) {
    if (size < nlb::boot::kHeaderSize) return CheckBootHeader(object);
    const bool swapped = HasForeignOrder(object[nlb::boot::kByteFlagsAt]);
    if (swapped) SwapBootHeader(object);
    if (const Fault fault = CheckBootHeader(object)) return fault;
    if (Load32(object.data(), nlb::boot::kSizeAt) > size) return "shorter than its header says";
    if (swapped) SwapBootEntries(object);
    return CheckBootDirectory(object.data(), size);
  }
  if (size < nlb::kHeaderSize) return CheckObjectHeader(object);
  const bool swapped = HasForeignOrder(object[nlb::kByteFlagsAt]);
  if (swapped) SwapObjectHeader(object);
  if (const Fault fault = CheckObjectHeader(object)) return fault;
  const std::size_t stated = Load32(object.data(), nlb::kSizeAt);
  if (stated > size || stated <= nlb::kHeaderSize) return "size is not the file's";
  if (swapped && !lxladjobj(object.first(stated))) return "tables are not inside the object";
  if (const Fault fault = CheckObject(object.first(stated))) return fault;
  return swapped ? nullptr : lxlchkobj(object.first(stated));
}

}  // extern "C"
