#include "version.h"

#include <fmt/format.h>

#include <cstring>

#include "command.h"
#include "kestra/object.h"
#include "names.h"
#include "session.h"
#include "zones.h"

namespace kestra::tools {
namespace {

constexpr std::size_t kReleaseAt = 4;   // of an object, docs/formats/
constexpr std::size_t kSourcesAt = 58;  // versions of what it was made from
constexpr std::size_t kSourcesSize = 34;

// The release of the time zones in use; empty without a zone file.
std::string ZoneRelease() {
  const ltzfile* file = ltzRead(nullptr, KES_ZONE_ANY_ORDER, nullptr, nullptr);
  const std::string release = file == nullptr ? "" : ReleaseName(ltzGetFileContentVer(file));
  ltzFree(file);
  return release;
}

}  // namespace

int PrintVersion(bool json) {
  Session session;
  // The object of a Unicode form tells the data's release and the Unicode version.
  const lxobject* object = lxpcobj(session.minimal() ? 1 : kAl32Utf8, session.context());
  std::uint32_t release = 0;
  std::string sources;
  if (object != nullptr) {
    const auto* bytes = reinterpret_cast<const char*>(object);
    std::memcpy(&release, bytes + kReleaseAt, sizeof release);
    sources.assign(bytes + kSourcesAt, strnlen(bytes + kSourcesAt, kSourcesSize));
  }
  constexpr std::string_view kUnicode = "UCD ";
  if (sources.starts_with(kUnicode)) sources.erase(0, kUnicode.size());
  const std::string data =
      fmt::format("{}.{}.{}", release / 1000000, release / 1000 % 1000, release % 1000);
  const char* origin = session.minimal() ? "built-in minimal data" : "";
  if (json) {
    PrintJson({{"tool", KESTRA_VERSION},
               {"library", lxlbanner()},
               {"data", data},
               {"data_from", session.Origin()},
               {"minimal", session.minimal()},
               {"unicode", sources},
               {"tzdata", ZoneRelease()}});
    return kDone;
  }
  fmt::print("kestra {}\nLibrary  {}\nData     {} from {}{}\n", KESTRA_VERSION, lxlbanner(), data,
             session.Origin(), *origin == '\0' ? "" : fmt::format(" ({})", origin));
  if (!sources.empty()) fmt::print("Unicode  {}\n", sources);
  const std::string zones = ZoneRelease();
  if (!zones.empty()) fmt::print("Zones    tzdata {}\n", zones);
  return kDone;
}

}  // namespace kestra::tools
