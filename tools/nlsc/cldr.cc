#include "cldr.h"

#include <fmt/format.h>

#include <algorithm>
#include <tuple>

#include "cldr_file.h"

namespace kestra::nlsc {
namespace {

constexpr const char* kDays[] = {"sun", "mon", "tue", "wed", "thu", "fri", "sat"};

std::string LocaleFile(const std::string& locale) {
  return fmt::format("usr/share/unicode/cldr/common/main/{}.xml", locale);
}

}  // namespace

// A locale without a file of its own has what its parents have.
const Cldr::Values& Cldr::Load(const std::string& locale) {
  const auto [place, added] = locales_.try_emplace(locale);
  if (added && sources_.Has(LocaleFile(locale))) {
    place->second = ReadLocaleValues(sources_.Read(LocaleFile(locale)));
  }
  return place->second;
}

std::string Cldr::Parent(const std::string& locale) {
  LoadSupplemental();
  if (const auto found = parents_.find(locale); found != parents_.end()) return found->second;
  const std::size_t cut = locale.rfind('_');
  return cut == std::string::npos ? "root" : locale.substr(0, cut);
}

std::optional<std::string> Cldr::Find(const std::string& locale,
                                      const std::vector<std::string>& keys, bool with_root) {
  for (const std::string& key : keys) {
    for (std::string at = locale; at != "root" || with_root; at = Parent(at)) {
      const Values& values = Load(at);
      if (const auto found = values.find(key); found != values.end()) return found->second;
      if (at == "root") break;
    }
  }
  return std::nullopt;
}

std::string Cldr::Get(const std::string& locale, const std::vector<std::string>& keys) {
  if (std::optional<std::string> value = Find(locale, keys)) return *value;
  throw InputError(LocaleFile(locale), 0,
                   fmt::format("neither the locale nor its parents have {}", keys.front()));
}

// Root's aliases: stand-alone names are the format ones, abbreviated ones the wide ones, and the
// months of dangi are those of chinese.
std::string Cldr::MonthName(const std::string& locale, const std::string& calendar,
                            const std::string& context, const std::string& width, unsigned number) {
  const auto key = [&](const char* context_name, const char* width_name) {
    return fmt::format("month/{}/{}/{}/{}", calendar, context_name, width_name, number);
  };
  std::vector<std::string> keys = {
      fmt::format("month/{}/{}/{}/{}", calendar, context, width, number)};
  if (context == "stand-alone") keys.push_back(key("format", width.c_str()));
  if (width == "abbreviated") keys.push_back(key("format", "wide"));
  if (calendar == "dangi" && !Find(locale, keys)) {
    return MonthName(locale, "chinese", context, width, number);
  }
  return Get(locale, keys);
}

std::string Cldr::DayName(const std::string& locale, const std::string& width, unsigned number) {
  return Get(locale, {fmt::format("day/format/{}/{}", width, kDays[number]),
                      fmt::format("day/format/wide/{}", kDays[number])});
}

bool Cldr::HasMonths(const std::string& locale, const std::string& calendar) {
  return Find(locale, {fmt::format("month/{}/format/wide/1", calendar)}, false).has_value();
}

bool Cldr::HasEras(const std::string& locale, const std::string& calendar) {
  std::vector<std::string> keys;
  for (const Era& era : Eras(calendar)) {
    keys.push_back(fmt::format("era/{}/eraNames/{}", calendar, era.number));
    keys.push_back(fmt::format("era/{}/eraAbbr/{}", calendar, era.number));
  }
  return Find(locale, keys, false).has_value();
}

std::string Cldr::LocaleName(const std::string& locale, const std::string& in_locale) {
  if (const auto whole = Find(in_locale, {"language/" + locale})) return *whole;
  const std::vector<std::string_view> subtags = Split(locale, '_');
  const auto language = Find(in_locale, {fmt::format("language/{}", subtags[0])});
  if (!language) return {};
  std::string parts;
  for (std::size_t i = 1; i < subtags.size(); ++i) {
    const char* kind = subtags[i].size() == 4 ? "script" : "territory";
    const auto part = Find(in_locale, {fmt::format("{}/{}", kind, subtags[i])});
    parts += fmt::format("{}{}", parts.empty() ? "" : ", ", part ? *part : subtags[i]);
  }
  return parts.empty() ? *language : fmt::format("{} ({})", *language, parts);
}

const std::vector<Cldr::Era>& Cldr::Eras(const std::string& calendar) {
  LoadSupplemental();
  return eras_[calendar];
}

const std::map<std::string, unsigned>& Cldr::Currencies() {
  LoadSupplemental();
  return currencies_;
}

unsigned Cldr::CurrencyDigits(const std::string& currency) {
  LoadSupplemental();
  const auto found = currencies_.find(currency);
  return found == currencies_.end() ? 2 : found->second;
}

unsigned Cldr::MinDays(const std::string& territory) {
  LoadSupplemental();
  const auto found = min_days_.find(territory);
  return found == min_days_.end() ? min_days_["001"] : found->second;
}

std::optional<unsigned> Cldr::IsoNumber(const std::string& territory) {
  LoadSupplemental();
  const auto found = iso_numbers_.find(territory);
  if (found == iso_numbers_.end()) return std::nullopt;
  return found->second;
}

void Cldr::LoadSupplemental() {
  if (supplemental_loaded_) return;
  supplemental_loaded_ = true;
  SupplementalValues values = ReadSupplementalValues(
      sources_.Read("usr/share/unicode/cldr/common/supplemental/supplementalData.xml"));
  parents_ = std::move(values.parents);
  currencies_ = std::move(values.currencies);
  min_days_ = std::move(values.min_days);
  iso_numbers_ = std::move(values.iso_numbers);
  for (auto& [calendar, starts] : values.eras) {
    std::vector<Era>& eras = eras_[calendar];
    for (const SupplementalValues::Era& era : starts) {
      eras.push_back({static_cast<std::uint16_t>(era.number), static_cast<std::int16_t>(era.year),
                      static_cast<std::uint8_t>(era.month), static_cast<std::uint8_t>(era.day)});
    }
    std::sort(eras.begin(), eras.end(), [](const Era& a, const Era& b) {
      const auto key = [](const Era& era) {
        return std::tuple(era.month != 0, era.year, era.month, era.day, era.number);
      };
      return key(a) < key(b);
    });
  }
}

}  // namespace kestra::nlsc
