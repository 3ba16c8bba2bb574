#include "tests/support/zone_builder.h"

#include <algorithm>
#include <cctype>

#include "datetime/zone_format.h"
#include "tests/support/zone_times.h"

namespace kestra::test {

namespace zone = datetime::zone;

namespace {

class Bytes {
 public:
  Bytes(std::size_t size, bool big_endian) : bytes_(size), big_(big_endian) {}

  std::uint32_t size() const { return static_cast<std::uint32_t>(bytes_.size()); }
  void Put(std::size_t at, std::uint32_t value, std::size_t width) {
    for (std::size_t i = 0; i < width; ++i) {
      bytes_[at + (big_ ? width - 1 - i : i)] = static_cast<std::uint8_t>(value >> 8 * i);
    }
  }
  void Append(std::uint32_t value, std::size_t width) {
    bytes_.resize(bytes_.size() + width);
    Put(bytes_.size() - width, value, width);
  }
  std::uint32_t AppendText(const std::string& text) {
    const std::uint32_t at = size();
    bytes_.insert(bytes_.end(), text.begin(), text.end());
    bytes_.push_back(0);
    return at;
  }
  void AppendDate(const LdiDate& date, std::uint32_t region) {
    Append(static_cast<std::uint16_t>(date.year), 2);
    for (const std::uint8_t field :
         {date.month, date.day, date.hour, date.minute, date.second, date.zero}) {
      Append(field, 1);
    }
    Append(0, 4);
    Append(0, 2);
    Append(KES_DATETIME_TIMESTAMP, 1);
    Append(0, 1);
    Append(region, 2);
    Append(0, 2);
  }
  std::vector<std::uint8_t> Take() { return std::move(bytes_); }

 private:
  std::vector<std::uint8_t> bytes_;
  bool big_;
};

std::string Lower(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return text;
}

}  // namespace

std::vector<std::uint8_t> BuildZones(const std::vector<BuiltZone>& zones, bool big_endian) {
  Bytes out(zone::kTablesAt, big_endian);
  std::vector<BuiltTransition> all;
  std::uint32_t first = 0, count = 0;
  out.Put(zone::kTransitionsAt, out.size(), 4);
  std::vector<std::uint32_t> names;
  for (const BuiltZone& built : zones) {
    if (!built.transitions.empty()) {
      first = static_cast<std::uint32_t>(all.size());
      count = static_cast<std::uint32_t>(built.transitions.size());
    }
    for (const BuiltTransition& transition : built.transitions) {
      out.AppendDate(FromSeconds(transition.at), built.id);
      all.push_back(transition);
    }
    const std::size_t entry = zone::kHeaderSize + zone::kEntrySize * built.id;
    out.Put(entry + zone::kEntryCountAt, count, 4);
    out.Put(entry + zone::kEntryFirstAt, first, 4);
  }
  out.Put(zone::kTransitionTypesAt, out.size(), 4);
  for (std::size_t i = 0; i < all.size(); ++i) out.Append(static_cast<std::uint32_t>(i), 2);
  out.Put(zone::kFlagsAt, out.size(), 4);
  for (const BuiltTransition& transition : all) out.Append(transition.dst ? 1 : 0, 1);
  std::vector<std::uint32_t> texts;
  for (const BuiltTransition& transition : all) {
    texts.push_back(out.AppendText(transition.abbreviation));
  }
  out.Put(zone::kTypesAt, out.size(), 4);
  for (std::size_t i = 0; i < all.size(); ++i) {
    out.Append(static_cast<std::uint32_t>(all[i].offset), 4);
    out.Append(texts[i], 4);
  }
  std::vector<std::pair<std::string, std::size_t>> order;
  for (std::size_t i = 0; i < zones.size(); ++i) order.emplace_back(Lower(zones[i].name), i);
  std::sort(order.begin(), order.end());
  std::vector<std::uint32_t> name_at(zones.size());
  for (const auto& [name, i] : order) {
    name_at[i] = out.AppendText(zones[i].name);
    const std::size_t entry = zone::kHeaderSize + zone::kEntrySize * zones[i].id;
    out.Put(entry + zone::kEntryNameAt, name_at[i], 4);
  }
  out.Put(zone::kNameIndexAt, out.size(), 4);
  for (const auto& [name, i] : order) {
    out.Append(name_at[i], 4);
    out.Append(zones[i].id, 2);
    out.Append(0, 2);
  }
  out.Put(zone::kMagicAt, zone::kMagic, 4);
  out.Put(zone::kSizeAt, out.size(), 4);
  out.Put(zone::kVersionAt, zone::kVersion, 2);
  out.Put(zone::kContentAt, 2601, 2);
  out.Put(zone::kFileIdAt, zone::kCompleteFileId, 2);
  out.Put(zone::kNameCountAt, static_cast<std::uint32_t>(zones.size()), 2);
  return out.Take();
}

std::vector<BuiltZone> SampleZones() {
  const auto at = [](const char* text) { return ToSeconds(Timestamp(text)); };
  return {
      {10, "Test/Fixed", {{kLongAgo, 19800, false, "FIX"}}},
      {100,
       "Test/Summer",
       {{kLongAgo, -17762, false, "LMT"},
        {at("1900-01-01 05:00:00"), -18000, false, "STD"},
        {at("2000-04-02 07:00:00"), -14400, true, "SUM"},
        {at("2000-10-29 06:00:00"), -18000, false, "STD"},
        {at("2001-04-01 07:00:00"), -14400, true, "SUM"},
        {at("2001-10-28 06:00:00"), -18000, false, "STD"}}},
      {612, "Test/Alias", {}},
      // Winter time is the one that is flagged.
      {101,
       "Test/Winter",
       {{kLongAgo, 3600, false, "NORM"},
        {at("2000-10-29 01:00:00"), 0, true, "WINT"},
        {at("2001-03-25 01:00:00"), 3600, false, "NORM"}}},
      // Four changes in a year, one of the abbreviation alone, one of a whole day.
      {102,
       "Test/Restless",
       {{kLongAgo, -39600, false, "OLD"},
        {at("1999-12-31 10:00:00"), 46800, false, "NEW"},
        {at("2000-03-01 00:00:00"), 46800, false, "NAME"},
        {at("2000-06-01 00:00:00"), 43200, false, "BACK"},
        {at("2000-06-01 06:00:00"), 45000, true, "HALF"},
        {at("2000-12-31 23:59:59"), 46801, false, "SEC"}}},
      // Changes that overtake each other in local time.
      {103,
       "Test/Crossing",
       {{kLongAgo, 3600, false, "ONE"},
        {at("2000-01-01 00:00:00"), -43200, false, "LOW"},
        {at("2000-01-01 06:00:00"), 43200, true, "HIGH"},
        {at("2000-01-01 08:00:00"), 1815, false, "END"}}},
  };
}

std::vector<BuiltZone> MeanTimeZones() {
  const auto at = [](const char* text) { return ToSeconds(Timestamp(text)); };
  return {
      // The day line moves: a day comes twice.
      {200,
       "Mean/Far_East",
       {{kLongAgo, 54822, false, "LMT"},
        {at("1867-10-18 00:00:00"), -31578, false, "LMT"},
        {at("1900-08-20 20:52:42"), -28800, false, "STD"}}},
      {201,
       "Mean/West",
       {{kLongAgo, -15584, false, "LMT"}, {at("1890-01-01 04:19:44"), -14400, false, "STD"}}},
      // From one mean time to another and to zones on either side.
      {202,
       "Mean/East",
       {{kLongAgo, 1172, false, "LMT"},
        {at("1835-01-01 00:00:00"), 1195, false, "AMT"},
        {at("1916-04-30 23:40:25"), 4772, true, "SUM"},
        {at("1916-09-30 22:40:28"), 1172, false, "AMT"},
        {at("1937-07-01 00:00:00"), 1200, false, "STD"}}},
      {203,
       "Mean/Between",
       {{kLongAgo, 55, false, "LMT"},
        {at("1880-01-01 00:00:00"), -55, false, "MMT"},
        {at("1890-01-01 00:00:00"), -1521, false, "DMT"},
        {at("1916-05-21 02:25:21"), 2079, true, "IST"},
        {at("1916-10-01 02:25:21"), 0, false, "GMT"}}},
  };
}

}  // namespace kestra::test
