// Any bytes as an object or boot file: check and dump must read them without harm, and what check
// accepts, dump prints whole.
#include <cstdint>
#include <cstdlib>
#include <vector>

#include "nls/nlb_format.h"
#include "tools/nlsc/check.h"
#include "tools/nlsc/dump.h"

namespace {

namespace nlsc = kestra::nlsc;
namespace nlb = kestra::nls::nlb;

// Writes the right size and checksum into the header, so that mutations reach what lies behind.
void Repair(std::vector<std::uint8_t>& bytes) {
  if (bytes.size() < nlb::kHeaderSize || nlsc::BootReader::IsBoot(bytes)) return;
  bytes[nlb::kMagicAt] = nlb::kMagic;
  const nlsc::ObjectReader object(bytes);
  const auto put = [&](std::size_t at, std::uint32_t value) {
    for (std::size_t i = 0; i < 4; ++i) {
      bytes[at + i] = static_cast<std::uint8_t>(value >> 8 * (object.big_endian() ? 3 - i : i));
    }
  };
  put(nlb::kSizeAt, static_cast<std::uint32_t>(bytes.size()));
  put(nlb::kChecksumAt, object.computed_checksum());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  std::vector<std::uint8_t> bytes(data, data + size);
  Repair(bytes);
  const bool boot = nlsc::BootReader::IsBoot(bytes);
  const nlsc::Faults faults = boot ? nlsc::CheckBoot(bytes) : nlsc::CheckObject(bytes);
  try {
    const std::string text = nlsc::Dump(bytes, true);
    if (faults.empty() && text.find("\ndamaged: ") != std::string::npos) std::abort();
  } catch (const nlsc::BadObject&) {
    if (faults.empty()) std::abort();
  }
  return 0;
}
