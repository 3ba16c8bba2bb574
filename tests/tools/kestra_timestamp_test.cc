// kestra timestamp: sums across transitions, differences, zones, models, messages.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/support/child_process.h"

namespace kestra::test {
namespace {

struct Case {
  std::vector<std::string> arguments;
  int exit_code;
  const char* out;
  const char* err;
};

TEST(KestraTimestamp, WhatIsAskedAndWhatIsAnswered) {
  const Case cases[] = {
      {{"2026-03-07 02:30 America/New_York", "--add", "P1D"},
       0,
       "TIMESTAMP '2026-03-08 03:30:00 America/New_York'\n",
       ""},
      {{"2026-03-07 02:30:00.25", "-a", "1-1", "-s", "PT0.25S", "-f", "DD Mon YYYY HH24:MI:SSXFF2"},
       0,
       "07 Apr 2027 02:30:00.00\n",
       ""},
      {{"2026-07-01T12:00Z", "--minus", "2024-02-29T00:00:00.5+02:00"},
       0,
       "+853 13:59:59.500000000  P853DT13H59M59.5S\n",
       ""},
      {{"2026-07-01T12:00", "-z", "Europe/Berlin", "-t", "+05:45"},
       0,
       "TIMESTAMP '2026-07-01 15:45:00 +05:45'\n",
       ""},
      {{"2026-07-01T12:00Z", "--to", "Europe/Berln"}, 2, "", "did you mean Europe/Berlin?"},
      {{"hello"}, 2, "", "'hello': not a datetime"},
      {{"2026-01-01", "--add", "P1H"}, 2, "", "not an interval (1867)"},
      {{"9999-12-31", "--add", "P1D"}, 2, "", "(1841)"},
  };
  for (const Case& c : cases) {
    std::vector<std::string> arguments = c.arguments;
    arguments.insert(arguments.begin(), "timestamp");
    const ChildResult result =
        RunTool("kestra", arguments, "", {{"KESTRA_HOME", KESTRA_BUILD_DIR "/testdata/home"}});
    EXPECT_EQ(result.exit_code, c.exit_code) << c.arguments[0];
    EXPECT_EQ(result.out, c.out);
    EXPECT_NE(result.err.find(c.err), std::string::npos) << result.err;
  }
}

}  // namespace
}  // namespace kestra::test
