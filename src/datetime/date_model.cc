#include "datetime/date_model.h"

namespace kestra::datetime {
namespace {

struct NamedElement {
  std::string_view name;
  std::uint8_t code;
};
// Sorted by name, which in EBCDIC is the same order.
constexpr NamedElement kNames[kRows] = {
    {"A.D.", KES_DATE_A_D},      {"A.M.", KES_DATE_A_M},    {"AD", KES_DATE_AD},
    {"AM", KES_DATE_AM},         {"B.C.", KES_DATE_A_D},    {"BC", KES_DATE_AD},
    {"CC", KES_DATE_CC},         {"D", KES_DATE_D},         {"DAY", KES_DATE_DAY},
    {"DD", KES_DATE_DD},         {"DDD", KES_DATE_DDD},     {"DL", KES_DATE_DL},
    {"DS", KES_DATE_DS},         {"DSP", KES_DATE_D},       {"DY", KES_DATE_DY},
    {"E", KES_DATE_E},           {"EE", KES_DATE_EE},       {"FM", KES_DATE_FM},
    {"FX", KES_DATE_FX},         {"HH", KES_DATE_HH12},     {"HH12", KES_DATE_HH12},
    {"HH24", KES_DATE_HH24},     {"I", KES_DATE_I},         {"IW", KES_DATE_IW},
    {"IY", KES_DATE_IY},         {"IYY", KES_DATE_IYY},     {"IYYY", KES_DATE_IYYY},
    {"J", KES_DATE_J},           {"MI", KES_DATE_MI},       {"MM", KES_DATE_MM},
    {"MON", KES_DATE_MON},       {"MONTH", KES_DATE_MONTH}, {"NYYYY", KES_DATE_NYYYY},
    {"P.M.", KES_DATE_A_M},      {"PM", KES_DATE_AM},       {"Q", KES_DATE_Q},
    {"RM", KES_DATE_RM},         {"RR", KES_DATE_RR},       {"RRRR", KES_DATE_RRRR},
    {"SCC", KES_DATE_SCC},       {"SS", KES_DATE_SS},       {"SSSSS", KES_DATE_SSSSS},
    {"SY,YYY", KES_DATE_SY_YYY}, {"SYEAR", KES_DATE_SYEAR}, {"SYYYY", KES_DATE_SYYYY},
    {"TS", KES_DATE_TS},         {"W", KES_DATE_W},         {"WW", KES_DATE_WW},
    {"Y", KES_DATE_Y},           {"Y,YYY", KES_DATE_Y_YYY}, {"YEAR", KES_DATE_YEAR},
    {"YY", KES_DATE_YY},         {"YYY", KES_DATE_YYY},     {"YYYY", KES_DATE_YYYY},
};
// Without a row of its own DSP would be DS and a P; its last two letters are the suffix.
constexpr std::string_view kSpelledDay = "DSP";

constexpr ElementTable MakeTable(Basis basis) noexcept {
  ElementTable table{};
  for (std::uint8_t& first : table.first) first = kNoRow;
  for (std::size_t i = 0; i < kRows; ++i) {
    const std::string_view name = kNames[i].name;
    ElementRow& row = table.rows[i];
    for (std::size_t k = 0; k < name.size(); ++k) row.name[k] = InBasis(name[k], basis);
    row.length = static_cast<std::uint8_t>(name == kSpelledDay ? 1 : name.size());
    row.code = kNames[i].code;
    std::uint8_t& first = table.first[static_cast<std::size_t>(name[0] - 'A')];
    if (first == kNoRow) first = static_cast<std::uint8_t>(i);
  }
  return table;
}

struct Group {
  std::uint32_t number;
  std::uint64_t one;      // of these at most one
  std::uint64_t another;  // and of these together with one of the former none
};
constexpr std::uint64_t kMeridians = Bit(KES_DATE_AM) | Bit(KES_DATE_A_M);
constexpr std::uint64_t kEras = Bit(KES_DATE_AD) | Bit(KES_DATE_A_D);
constexpr std::uint64_t kSignedYears =
    Bit(KES_DATE_SYYYY) | Bit(KES_DATE_NYYYY) | Bit(KES_DATE_SY_YYY);
constexpr Group kGroups[] = {
    {1811, Bit(KES_DATE_DDD) | Bit(KES_DATE_J), 0},
    {1812,
     Bit(KES_DATE_Y) | Bit(KES_DATE_YY) | Bit(KES_DATE_YYY) | Bit(KES_DATE_YYYY) |
         Bit(KES_DATE_Y_YYY) | kSignedYears,
     0},
    {1813, Bit(KES_DATE_HH12) | Bit(KES_DATE_HH24), 0},
    {1814, kMeridians, 0},
    {1815, kEras, 0},
    {1816, Bit(KES_DATE_MONTH) | Bit(KES_DATE_MON) | Bit(KES_DATE_MM) | Bit(KES_DATE_RM), 0},
    {1817, Bit(KES_DATE_DAY) | Bit(KES_DATE_DY) | Bit(KES_DATE_D), 0},
    {1818, kMeridians, Bit(KES_DATE_HH24)},
    {1819, kSignedYears, kEras},
};

}  // namespace

constinit const ElementTable kAsciiElements = MakeTable(Basis::kAscii);
constinit const ElementTable kEbcdicElements = MakeTable(Basis::kEbcdic);

std::uint32_t GroupError(std::uint64_t seen) noexcept {
  for (const Group& group : kGroups) {
    const std::uint64_t one = seen & group.one;
    const bool more =
        group.another == 0 ? (one & (one - 1)) != 0 : one != 0 && (seen & group.another) != 0;
    if (more) return group.number;
  }
  return 0;
}

}  // namespace kestra::datetime
