// From nothing to a usable language handle with full data, beside opening an ICU converter and a
// glibc locale.
//
// BM_Again*  repeats the whole life in one process: files are in the page cache, code is paged in.
// BM_First*  measures the first time in a fresh child process, which includes what a peer sets up
//            once per process.
#include <benchmark/benchmark.h>
#include <locale.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "kestra/context.h"
#include "kestra/handle.h"

#ifdef KESTRA_HAVE_ICU
#include <unicode/uclean.h>
#include <unicode/ucnv.h>
#endif

namespace {

using Clock = std::chrono::steady_clock;

// The environment is read once per process, so every life after the first builds from the text as
// lxhLangEnv does: NLS_LANG, then all other parameters.
bool OpenHandle(const char* specification) {
  std::uint32_t error = 0;
  lxcontext context;
  if (lxinitc(&context, lxlinit(nullptr, 0, &error), nullptr, 0) == nullptr) return false;
  lxhandle handle;
  const bool built = lxhLaToId(specification, 0, &handle, 0, &context) != nullptr &&
                     lxhenvquery(&handle, 1, &context) != nullptr;
  benchmark::DoNotOptimize(handle);
  lxlterm(&context);
  return built && error == 0;
}

bool OpenIcu(const char* name) {
#ifdef KESTRA_HAVE_ICU
  UErrorCode error = U_ZERO_ERROR;
  UConverter* converter = ucnv_open(name, &error);
  benchmark::DoNotOptimize(converter);
  if (converter != nullptr) ucnv_close(converter);
  return U_SUCCESS(error) != 0;
#else
  static_cast<void>(name);
  return false;
#endif
}

// ICU keeps the table of a converter that was closed; this life ends with giving it back.
bool OpenIcuAnew(const char* name) {
  const bool opened = OpenIcu(name);
#ifdef KESTRA_HAVE_ICU
  ucnv_flushCache();
#endif
  return opened;
}

bool OpenLocale(const char* name) {
  locale_t locale = newlocale(LC_ALL_MASK, name, nullptr);
  benchmark::DoNotOptimize(locale);
  if (locale == nullptr) return false;
  freelocale(locale);
  return true;
}

using Open = bool (*)(const char*);

void Again(benchmark::State& state, Open open, const char* name) {
  for (auto _ : state) {
    if (!open(name)) {
      state.SkipWithError("not available");
      break;
    }
  }
}

void First(benchmark::State& state, Open open, const char* name) {
  for (auto _ : state) {
    int ends[2];
    if (pipe(ends) != 0) std::abort();
    const pid_t child = fork();
    if (child == 0) {
      const Clock::time_point start = Clock::now();
      const bool opened = open(name);
      const std::int64_t taken =
          opened ? std::chrono::nanoseconds(Clock::now() - start).count() : -1;
      const ssize_t written = write(ends[1], &taken, sizeof taken);
      _exit(written == sizeof taken ? 0 : 1);
    }
    std::int64_t taken = -1;
    const ssize_t count = read(ends[0], &taken, sizeof taken);
    close(ends[0]);
    close(ends[1]);
    waitpid(child, nullptr, 0);
    if (count != sizeof taken || taken < 0) {
      state.SkipWithError("not available");
      break;
    }
    state.SetIterationTime(static_cast<double>(taken) * 1e-9);
  }
}

struct Row {
  const char* name;
  Open open;
  const char* argument;
};
constexpr Row kRows[] = {
    {"kestra/AMERICAN_AMERICA.US7ASCII", OpenHandle, "AMERICAN_AMERICA.US7ASCII"},
    {"kestra/GERMAN_GERMANY.WE8CP1252", OpenHandle, "GERMAN_GERMANY.WE8CP1252"},
    {"kestra/FRENCH_FRANCE.AL32UTF8", OpenHandle, "FRENCH_FRANCE.AL32UTF8"},
    {"kestra/JAPANESE_JAPAN.JA16SHIFTJIS", OpenHandle, "JAPANESE_JAPAN.JA16SHIFTJIS"},
    {"icu_converter/windows-1252", OpenIcuAnew, "windows-1252"},
    {"icu_converter/Shift_JIS", OpenIcuAnew, "Shift_JIS"},
    {"icu_converter_cached/Shift_JIS", OpenIcu, "Shift_JIS"},
    {"glibc_newlocale/C.UTF-8", OpenLocale, "C.UTF-8"},
    {"glibc_newlocale/de_DE.UTF-8", OpenLocale, "de_DE.UTF-8"},
};

// Compiles a glibc locale of German for this run, since machines have few or none installed.
void MakeLocale() {
  const std::string directory = KESTRA_BUILD_DIR "/locale";
  setenv("LOCPATH", directory.c_str(), 1);
  const std::string command = "mkdir -p '" + directory + "' && test -d '" + directory +
                              "/de_DE.UTF-8' || localedef -i de_DE -f UTF-8 '" + directory +
                              "/de_DE.UTF-8' 2>&1";
  if (std::system(command.c_str()) != 0) std::fputs("no glibc locale could be made\n", stderr);
}

}  // namespace

int main(int argc, char** argv) {
  setenv("KESTRA_HOME", KESTRA_BUILD_DIR "/home", 0);
  MakeLocale();
  // First lives first: a child must not inherit what this process has set up.
  for (const Row& row : kRows) {
    benchmark::RegisterBenchmark((std::string("BM_First/") + row.name).c_str(), First, row.open,
                                 row.argument)
        ->UseManualTime()
        ->Unit(benchmark::kMicrosecond);
  }
  for (const Row& row : kRows) {
    benchmark::RegisterBenchmark((std::string("BM_Again/") + row.name).c_str(), Again, row.open,
                                 row.argument)
        ->Unit(benchmark::kMicrosecond);
  }
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
  return 0;
}
