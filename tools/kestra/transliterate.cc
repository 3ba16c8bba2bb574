// Letters of Latin-1 Supplement and Latin Extended-A lose their marks, typographic characters become
// what a typewriter has, full-width forms their narrow ones. Other scripts are not touched: what
// stands for their letters depends on the language.
#include "transliterate.h"

#include <algorithm>
#include <array>
#include <iterator>

namespace kestra::tools {
namespace {

// U+00C0 to U+017F, a word each.
constexpr const char* kLatin[192] = {
    "A", "A", "A",  "A",  "A", "A", "AE", "C", "E", "E",  "E", "E", "I", "I", "I",  "I",   // C0
    "D", "N", "O",  "O",  "O", "O", "O",  "x", "O", "U",  "U", "U", "U", "Y", "TH", "ss",  // D0
    "a", "a", "a",  "a",  "a", "a", "ae", "c", "e", "e",  "e", "e", "i", "i", "i",  "i",   // E0
    "d", "n", "o",  "o",  "o", "o", "o",  ":", "o", "u",  "u", "u", "u", "y", "th", "y",   // F0
    "A", "a", "A",  "a",  "A", "a", "C",  "c", "C", "c",  "C", "c", "C", "c", "D",  "d",   // 100
    "D", "d", "E",  "e",  "E", "e", "E",  "e", "E", "e",  "E", "e", "G", "g", "G",  "g",   // 110
    "G", "g", "G",  "g",  "H", "h", "H",  "h", "I", "i",  "I", "i", "I", "i", "I",  "i",   // 120
    "I", "i", "IJ", "ij", "J", "j", "K",  "k", "q", "L",  "l", "L", "l", "L", "l",  "L",   // 130
    "l", "L", "l",  "N",  "n", "N", "n",  "N", "n", "'n", "N", "n", "O", "o", "O",  "o",   // 140
    "O", "o", "OE", "oe", "R", "r", "R",  "r", "R", "r",  "S", "s", "S", "s", "S",  "s",   // 150
    "S", "s", "T",  "t",  "T", "t", "T",  "t", "U", "u",  "U", "u", "U", "u", "U",  "u",   // 160
    "U", "u", "U",  "u",  "W", "w", "Y",  "y", "Y", "Z",  "z", "Z", "z", "Z", "z",  "s"};  // 170

struct Similar {
  std::uint32_t code_point;
  const char* text;
};
constexpr Similar kSimilar[] = {
    {0xA0, " "},     {0xA1, "!"},     {0xA2, "c"},     {0xA3, "GBP"},  {0xA5, "JPY"},
    {0xA6, "|"},     {0xA8, "\""},    {0xA9, "(C)"},   {0xAA, "a"},    {0xAB, "<<"},
    {0xAD, "-"},     {0xAE, "(R)"},   {0xB0, "deg"},   {0xB1, "+/-"},  {0xB2, "2"},
    {0xB3, "3"},     {0xB4, "'"},     {0xB5, "u"},     {0xB7, "."},    {0xB8, ","},
    {0xB9, "1"},     {0xBA, "o"},     {0xBB, ">>"},    {0xBC, "1/4"},  {0xBD, "1/2"},
    {0xBE, "3/4"},   {0xBF, "?"},     {0x192, "f"},    {0x218, "S"},   {0x219, "s"},
    {0x21A, "T"},    {0x21B, "t"},    {0x2C6, "^"},    {0x2DC, "~"},   {0x1E9E, "SS"},
    {0x2000, " "},   {0x2001, " "},   {0x2002, " "},   {0x2003, " "},  {0x2004, " "},
    {0x2005, " "},   {0x2006, " "},   {0x2007, " "},   {0x2008, " "},  {0x2009, " "},
    {0x200A, " "},   {0x2010, "-"},   {0x2011, "-"},   {0x2012, "-"},  {0x2013, "-"},
    {0x2014, "--"},  {0x2015, "--"},  {0x2018, "'"},   {0x2019, "'"},  {0x201A, ","},
    {0x201B, "'"},   {0x201C, "\""},  {0x201D, "\""},  {0x201E, ",,"}, {0x201F, "\""},
    {0x2020, "+"},   {0x2022, "*"},   {0x2026, "..."}, {0x202F, " "},  {0x2032, "'"},
    {0x2033, "\""},  {0x2039, "<"},   {0x203A, ">"},   {0x2044, "/"},  {0x205F, " "},
    {0x20AC, "EUR"}, {0x2116, "No"},  {0x2122, "TM"},  {0x2190, "<-"}, {0x2192, "->"},
    {0x21D0, "<="},  {0x21D2, "=>"},  {0x2212, "-"},   {0x2215, "/"},  {0x2264, "<="},
    {0x2265, ">="},  {0x3000, " "},   {0xFB00, "ff"},  {0xFB01, "fi"}, {0xFB02, "fl"},
    {0xFB03, "ffi"}, {0xFB04, "ffl"}, {0xFB05, "st"},  {0xFB06, "st"},
};
static_assert(std::ranges::is_sorted(kSimilar, {}, &Similar::code_point));

}  // namespace

std::string Transliterate(std::uint32_t code_point) {
  if (code_point >= 0xC0 && code_point < 0x180) return kLatin[code_point - 0xC0];
  if (code_point > 0xFF00 && code_point < 0xFF5F) {
    return std::string(1, static_cast<char>(code_point - 0xFF00 + 0x20));
  }
  const auto* found = std::ranges::lower_bound(kSimilar, code_point, {}, &Similar::code_point);
  return found != std::end(kSimilar) && found->code_point == code_point ? found->text : "";
}

}  // namespace kestra::tools
