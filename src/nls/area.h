// The global area: slot table, boot directory and what the library keeps behind them.
//
// Slot 0 holds the boot object and slots 1.. the objects of its directory; then come four slots for
// the built-in ISO-2022 character sets and three for user-defined objects. A filled slot is read
// without a lock; slots are filled under the process lock.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

#include "kestra/object.h"
#include "nls/nlb_format.h"
#include "nls/object_view.h"

// The area's memory begins with the slot table.
struct lxarea {
  lxobject* boot;
};

namespace kestra::nls {

inline constexpr std::uint32_t kIso2022Slots = 4;
inline constexpr std::uint32_t kUserSlots = 3;
inline constexpr std::uint32_t kExtraSlots = kIso2022Slots + kUserSlots;
inline constexpr std::uint32_t kIso2022FirstId = 9999;  // of the first extra slot, then downwards

// One entry of the boot directory.
class DirectoryEntry {
 public:
  explicit DirectoryEntry(const std::uint8_t* bytes) noexcept : bytes_(bytes) {}
  std::uint32_t object_size() const noexcept {
    return Load32(bytes_, nlb::boot::kEntryObjectSizeAt);
  }
  std::uint32_t type() const noexcept { return Load16(bytes_, nlb::boot::kEntryTypeAt); }
  std::uint32_t id_word() const noexcept { return Load16(bytes_, nlb::boot::kEntryIdAt); }
  std::uint32_t id() const noexcept { return id_word() & nlb::kIdMask; }
  std::uint32_t flags1() const noexcept { return bytes_[nlb::boot::kEntryFlags1At]; }
  std::uint32_t flags2() const noexcept { return bytes_[nlb::boot::kEntryFlags2At]; }
  const char* c_name() const noexcept {
    return reinterpret_cast<const char*>(bytes_ + nlb::boot::kEntryNameAt);
  }
  std::string_view name() const noexcept {
    return {c_name(), bytes_[nlb::boot::kEntryNameLengthAt] - std::size_t{1}};
  }

 private:
  const std::uint8_t* bytes_;
};

// A boot object that CheckBootDirectory (nlb_check.h) has accepted.
class BootView {
 public:
  struct Run {
    std::uint32_t first;
    std::uint32_t end;
  };
  explicit BootView(const lxobject* boot) noexcept
      : bytes_(reinterpret_cast<const std::uint8_t*>(boot)) {}

  std::uint32_t count() const noexcept { return Load16(bytes_, nlb::boot::kCountAt); }
  bool built_in() const noexcept {
    return (Load32(bytes_, nlb::boot::kFlagsAt) & nlb::boot::kBuiltInFlag) != 0;
  }
  DirectoryEntry entry(std::uint32_t slot) const noexcept {
    return DirectoryEntry(bytes_ + nlb::boot::kHeaderSize + slot * nlb::boot::kEntrySize);
  }
  // The slots of a type; empty for a type that the directory has no run for.
  Run run(std::uint32_t type) const noexcept {
    if (type >= nlb::boot::kRunCount) return {0, 0};
    return {Load16(bytes_, nlb::boot::kRunsAt + 2 * type),
            Load16(bytes_, nlb::boot::kRunsAt + 2 * type + 2)};
  }
  // Slot of an id or a name (ignoring the case of ASCII letters) of a type; 0: none.
  std::uint32_t FindId(std::uint32_t type, std::uint32_t id) const noexcept;
  std::uint32_t FindName(std::uint32_t type, std::string_view name) const noexcept;

 private:
  const std::uint8_t* bytes_;
};

// What the library keeps behind the slot table.
struct AreaTail {
  lxcallbacks* block;                    // loads and frees the area's objects
  lxarea* next;                          // of all live areas
  bool profile;                          // the boot file came from the profile directory
  std::uint64_t user_sizes[kUserSlots];  // bytes of the user-defined objects
};

inline BootView Boot(const lxarea* area) noexcept { return BootView(area->boot); }

inline std::uint32_t SlotCount(const lxarea* area) noexcept {
  return Boot(area).count() + kExtraSlots;
}
inline std::size_t AreaSize(std::uint32_t slot_count) noexcept {
  return slot_count * sizeof(lxobject*) + sizeof(AreaTail);
}
inline AreaTail& Tail(lxarea* area) noexcept {
  return *reinterpret_cast<AreaTail*>(reinterpret_cast<lxobject**>(area) + SlotCount(area));
}
inline lxobject** SlotAddress(lxarea* area, std::uint32_t slot) noexcept {
  return reinterpret_cast<lxobject**>(area) + slot;
}
inline std::atomic_ref<lxobject*> Slot(lxarea* area, std::uint32_t slot) noexcept {
  return std::atomic_ref<lxobject*>(*SlotAddress(area, slot));
}

// Loads the object of a directory slot through the area's callback, with the lock held. Null when
// that fails.
lxobject* lxdlobj(std::uint32_t slot, lxarea* area) noexcept;

// The bytes of a user-defined object that lxldlod read into one of the last three slots, as they
// are in its file; empty when the slot is empty.
std::span<const std::uint8_t> UserObject(lxarea* area, std::uint32_t slot) noexcept;

// Makes an area from the block's boot object, or, where there is none that is sound, from built-in
// data. Null when there is no memory.
lxarea* MakeArea(lxcallbacks& block, bool& built_in) noexcept;

// Frees the area with everything in it.
void lxlfterm(lxarea* area) noexcept;

}  // namespace kestra::nls
