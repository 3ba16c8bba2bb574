// Conversion between character sets beside ICU, glibc's iconv and memcpy.
//
// Text: slices of bench/data/convert drawn at random (fixed seed), so that no size is one short
// piece repeated; lines that a pair of sets cannot hold are left out. Every run's result is
// compared with iconv's before it is timed. Rows are named from>to/text/bytes of source/who; bytes
// per second count the source. scripts/bench-ratios makes a table of ratios from the JSON output.
// BENCH_CPU_LEVEL=0 or 1 in the environment runs the kernels of lesser processors.
#include <benchmark/benchmark.h>
#include <iconv.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>
#include <map>
#include <random>
#include <string>
#include <vector>

#include "bench/cpu_level.h"
#include "kestra/convert.h"
#include "kestra/handle.h"
#ifdef KESTRA_HAVE_ICU
#include <unicode/ucnv.h>
#endif

namespace {

struct SetName {
  unsigned id;
  const char* name;  // in the rows, and for iconv
  const char* icu;
};

constexpr SetName kUtf8 = {873, "UTF-8", "UTF-8"};
constexpr SetName kUtf16 = {2000, "UTF-16BE", "UTF-16BE"};
constexpr SetName kAscii = {1, "US-ASCII", "US-ASCII"};
constexpr SetName kLatin1 = {101, "ISO-8859-1", "ISO-8859-1"};
constexpr SetName kCp1252 = {252, "CP1252", "windows-1252"};
constexpr SetName kCp1251 = {251, "CP1251", "windows-1251"};
constexpr SetName kKoi8 = {410, "KOI8-R", "KOI8-R"};
constexpr SetName kEbcdic = {543, "IBM1047", "ibm-1047_P100-1995"};
constexpr SetName kSjis = {837, "CP932", "ibm-943_P15A-2003"};
constexpr SetName kEucJp = {831, "EUC-JP", "EUC-JP"};
constexpr SetName kEucKr = {841, "EUC-KR", "EUC-KR"};
constexpr SetName kUhc = {843, "UHC", "windows-949"};
constexpr SetName kGbk = {851, "GBK", "GBK"};
constexpr SetName kBig5 = {860, "BIG5", "Big5"};
constexpr SetName kGb18030 = {854, "GB18030", "gb18030"};
constexpr SetName kIbm939 = {901, "IBM939", "ibm-939"};
constexpr SetName kIbm933 = {904, "IBM933", "ibm-933"};
constexpr SetName kIbm1388 = {907, "IBM1388", "ibm-1388"};
constexpr SetName kIbm937 = {908, "IBM937", "ibm-937"};
constexpr SetName kIso2022Jp = {9999, "ISO-2022-JP", "ISO-2022-JP"};
constexpr SetName kIso2022Kr = {9998, "ISO-2022-KR", "ISO-2022-KR"};
constexpr SetName kIso2022Cn = {9997, "ISO-2022-CN", "ISO-2022-CN"};

struct Row {
  SetName from, to;
  std::vector<const char*> texts;
};

const Row kRows[] = {
    {kUtf16, kUtf8, {"english", "latin", "cyrillic", "japanese", "emoji"}},
    {kUtf8, kUtf16, {"english", "latin", "cyrillic", "japanese", "emoji"}},
    {kAscii, kUtf8, {"english"}},
    {kUtf8, kAscii, {"english"}},
    {kLatin1, kUtf8, {"latin"}},
    {kUtf8, kLatin1, {"latin"}},
    {kCp1252, kUtf8, {"english", "latin"}},
    {kUtf8, kCp1252, {"english", "latin"}},
    {kCp1251, kUtf8, {"cyrillic"}},
    {kUtf8, kCp1251, {"cyrillic"}},
    {kEbcdic, kUtf8, {"english", "latin"}},
    {kUtf8, kEbcdic, {"english", "latin"}},
    {kCp1251, kKoi8, {"cyrillic"}},
    {kCp1252, kEbcdic, {"latin"}},
    {kCp1252, kUtf16, {"latin"}},
    {kUtf16, kCp1252, {"latin"}},
    {kSjis, kUtf8, {"japanese"}},
    {kUtf8, kSjis, {"japanese"}},
    {kEucJp, kUtf8, {"japanese"}},
    {kUtf8, kEucJp, {"japanese"}},
    {kEucKr, kUtf8, {"korean"}},
    {kUtf8, kEucKr, {"korean"}},
    {kUhc, kUtf8, {"korean"}},
    {kUtf8, kUhc, {"korean"}},
    {kGbk, kUtf8, {"chinese", "english"}},
    {kUtf8, kGbk, {"chinese", "english"}},
    {kBig5, kUtf8, {"taiwanese"}},
    {kUtf8, kBig5, {"taiwanese"}},
    {kSjis, kEucJp, {"japanese"}},
    {kGb18030, kUtf8, {"chinese", "english"}},
    {kUtf8, kGb18030, {"chinese", "english"}},
    {kGb18030, kUtf16, {"chinese"}},
    {kUtf16, kGb18030, {"chinese"}},
    {kIbm939, kUtf8, {"japanese", "english"}},
    {kUtf8, kIbm939, {"japanese", "english"}},
    {kIbm933, kUtf8, {"korean"}},
    {kUtf8, kIbm933, {"korean"}},
    {kIbm1388, kUtf8, {"chinese"}},
    {kUtf8, kIbm1388, {"chinese"}},
    {kIbm937, kUtf8, {"taiwanese"}},
    {kUtf8, kIbm937, {"taiwanese"}},
    {kIbm939, kSjis, {"japanese"}},
    {kIso2022Jp, kUtf8, {"japanese", "english"}},
    {kUtf8, kIso2022Jp, {"japanese", "english"}},
    {kIso2022Kr, kUtf8, {"korean"}},
    {kUtf8, kIso2022Kr, {"korean"}},
    {kIso2022Cn, kUtf8, {"chinese"}},
    {kUtf8, kIso2022Cn, {"chinese"}},
};

constexpr std::size_t kSizes[] = {64, 4096, 1 << 20};

[[noreturn]] void Fail(const std::string& what) {
  std::fprintf(stderr, "lxg_convert_bench: %s\n", what.c_str());
  std::exit(1);
}

// The context of all conversions: the composed sets load their parts through it.
lxcontext& Context() {
  static lxcontext context = [] {
    setenv("KESTRA_HOME", KESTRA_BUILD_DIR "/home", 1);
    lxcontext made{};
    std::uint32_t error = 0;
    lxinitc(&made, lxlinit(nullptr, 1, &error), nullptr, 0);
    return made;
  }();
  return context;
}

const lxobject* LoadSet(unsigned id) {
  if (id >= 9994) return lxpcobj(id, &Context());
  static std::map<unsigned, std::vector<std::uint64_t>> sets;
  std::vector<std::uint64_t>& words = sets[id];
  if (words.empty()) {
    char name[32];
    std::snprintf(name, sizeof name, "lx2%04x.nlb", id);
    const std::string path = std::string(KESTRA_BUILD_DIR) + "/" + "home/nls/data/" + name;
    std::ifstream file(path, std::ios::binary);
    const std::string bytes((std::istreambuf_iterator<char>(file)), {});
    if (bytes.empty()) Fail("cannot read " + path);
    words.resize((bytes.size() + 7) / 8);
    std::memcpy(words.data(), bytes.data(), bytes.size());
  }
  return reinterpret_cast<const lxobject*>(words.data());
}

class Iconv {
 public:
  Iconv(const char* to, const char* from) : handle_(iconv_open(to, from)) {
    if (handle_ == reinterpret_cast<iconv_t>(-1)) Fail(std::string("iconv lacks ") + to + from);
  }
  ~Iconv() { iconv_close(handle_); }
  Iconv(const Iconv&) = delete;
  Iconv& operator=(const Iconv&) = delete;
  // False: something cannot be converted.
  bool Convert(std::string& out, const std::string& in, std::size_t* length) {
    char* source = const_cast<char*>(in.data());
    std::size_t left = in.size();
    char* target = out.data();
    std::size_t room = out.size();
    const std::size_t result = iconv(handle_, &source, &left, &target, &room);
    iconv(handle_, nullptr, nullptr, &target, &room);
    *length = out.size() - room;
    return result == 0 && left == 0;
  }

 private:
  iconv_t handle_;
};

std::string Recode(const char* to, const char* from, const std::string& text, bool* ok) {
  Iconv converter(to, from);
  std::string out(text.size() * 4 + 16, '\0');
  std::size_t length = 0;
  *ok = converter.Convert(out, text, &length);
  out.resize(length);
  return out;
}

std::u32string Corpus(const char* name, const SetName& a, const SetName& b) {
  std::ifstream file(std::string(KESTRA_SOURCE_DIR "/bench/data/convert/") + name + ".txt");
  std::string line;
  std::u32string corpus;
  while (std::getline(file, line)) {
    bool fits_a = false, fits_b = false, ok = false;
    line += '\n';
    Recode(a.name, "UTF-8", line, &fits_a);
    Recode(b.name, "UTF-8", line, &fits_b);
    if (!fits_a || !fits_b) continue;
    const std::string wide = Recode("UTF-32LE", "UTF-8", line, &ok);
    for (std::size_t i = 0; i < wide.size(); i += 4) {
      char32_t c;
      std::memcpy(&c, wide.data() + i, 4);
      corpus += c;
    }
  }
  if (corpus.size() < 200) Fail(std::string("too little text in ") + name);
  return corpus;
}

// About `size` bytes in set `from`, ending at a character.
std::string MakeText(const char* name, const SetName& from, const SetName& to, std::size_t size) {
  const std::u32string corpus = Corpus(name, from, to);
  std::mt19937 random(12345);
  std::string text;
  while (text.size() < size) {
    const std::size_t length = 5 + random() % 60;
    const std::size_t start = random() % (corpus.size() - length);
    const std::u32string slice = corpus.substr(start, length);
    bool ok = false;
    text += Recode(from.name, "UTF-32LE",
                   std::string(reinterpret_cast<const char*>(slice.data()), slice.size() * 4), &ok);
    if (!ok) Fail("slice");
  }
  // Cut at the last character that fits whole: the longest prefix that converts.
  for (std::size_t cut = size;; --cut) {
    bool ok = false;
    Recode("UTF-32LE", from.name, text.substr(0, cut), &ok);
    if (ok) return text.substr(0, cut);
  }
}

struct Work {
  Row row;
  std::string text;
  std::size_t converted = 0;
};

void SetRates(benchmark::State& state, const Work& work) {
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * work.text.size()));
}

void RunKestra(benchmark::State& state, const Work* work) {
  const lxobject* from = LoadSet(work->row.from.id);
  const lxobject* to = LoadSet(work->row.to.id);
  std::string out(work->text.size() * 4 + 64, '\0');
  lxcontext& context = Context();
  const auto convert = [&] {
    return lxgcnv(reinterpret_cast<std::uint8_t*>(out.data()), to, out.size(),
                  reinterpret_cast<const std::uint8_t*>(work->text.data()), from, work->text.size(),
                  &context);
  };
  const std::size_t length = convert();
  bool ok = false;
  if (out.substr(0, length) != Recode(work->row.to.name, work->row.from.name, work->text, &ok)) {
    state.SkipWithError("differs from iconv");
    return;
  }
  for (auto _ : state) {
    benchmark::DoNotOptimize(convert());
    benchmark::ClobberMemory();
  }
  SetRates(state, *work);
}

void RunIconv(benchmark::State& state, const Work* work) {
  Iconv converter(work->row.to.name, work->row.from.name);
  std::string out(work->text.size() * 4 + 64, '\0');
  for (auto _ : state) {
    std::size_t length = 0;
    if (!converter.Convert(out, work->text, &length)) state.SkipWithError("iconv");
    benchmark::DoNotOptimize(length);
    benchmark::ClobberMemory();
  }
  SetRates(state, *work);
}

void RunMemcpy(benchmark::State& state, const Work* work) {
  std::string out(work->text.size() + 64, '\0');
  for (auto _ : state) {
    std::size_t size = work->text.size();
    benchmark::DoNotOptimize(size);
    std::memcpy(out.data(), work->text.data(), size);
    benchmark::ClobberMemory();
  }
  SetRates(state, *work);
}

#ifdef KESTRA_HAVE_ICU
void RunIcu(benchmark::State& state, const Work* work) {
  UErrorCode error = U_ZERO_ERROR;
  UConverter* from = ucnv_open(work->row.from.icu, &error);
  UConverter* to = ucnv_open(work->row.to.icu, &error);
  if (U_FAILURE(error)) {
    state.SkipWithError(u_errorName(error));
    return;
  }
  std::string out(work->text.size() * 4 + 64, '\0');
  std::vector<UChar> pivot(1024);
  for (auto _ : state) {
    char* target = out.data();
    const char* source = work->text.data();
    UChar* pivot_source = pivot.data();
    UChar* pivot_target = pivot.data();
    ucnv_convertEx(to, from, &target, out.data() + out.size(), &source, source + work->text.size(),
                   pivot.data(), &pivot_source, &pivot_target, pivot.data() + pivot.size(), 1, 1,
                   &error);
    if (U_FAILURE(error)) state.SkipWithError(u_errorName(error));
    benchmark::DoNotOptimize(target);
    benchmark::ClobberMemory();
  }
  ucnv_close(from);
  ucnv_close(to);
  SetRates(state, *work);
}
#endif

}  // namespace

int main(int argc, char** argv) {
  kestra::bench::ForceCpuLevelOfEnvironment();
  benchmark::Initialize(&argc, argv);
  static std::vector<Work*> works;
  for (const Row& row : kRows) {
    for (const char* text : row.texts) {
      for (const std::size_t size : kSizes) {
        works.push_back(new Work{row, MakeText(text, row.from, row.to, size), 0});
        const Work* work = works.back();
        const std::string name = std::string(row.from.name) + ">" + row.to.name + "/" + text + "/" +
                                 std::to_string(size) + "/";
        benchmark::RegisterBenchmark((name + "kestra").c_str(), RunKestra, work);
#ifdef KESTRA_HAVE_ICU
        benchmark::RegisterBenchmark((name + "icu").c_str(), RunIcu, work);
#endif
        benchmark::RegisterBenchmark((name + "iconv").c_str(), RunIconv, work);
        benchmark::RegisterBenchmark((name + "memcpy").c_str(), RunMemcpy, work);
      }
    }
  }
  benchmark::RunSpecifiedBenchmarks();
  for (Work* work : works) delete work;
}
