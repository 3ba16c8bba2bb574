// Command lines of the tool in a table: what is read, printed and told, and the exit code.
#pragma once

#include <gtest/gtest.h>

#include <span>
#include <string>
#include <vector>

#include "tests/support/child_process.h"

namespace kestra::test {

struct ToolCase {
  std::vector<std::string> arguments;
  const char* input;
  int exit_code;
  const char* out;
  const char* err;  // a part of it
};

inline void RunToolCases(const char* command, std::span<const ToolCase> cases,
                         const ChildEnvironment& environment = {}) {
  for (const ToolCase& c : cases) {
    std::vector<std::string> arguments = {command};
    arguments.insert(arguments.end(), c.arguments.begin(), c.arguments.end());
    SCOPED_TRACE(::testing::PrintToString(arguments).substr(0, 200));
    const ChildResult result = RunTool("kestra", arguments, c.input, environment);
    EXPECT_EQ(result.exit_code, c.exit_code) << result.err;
    EXPECT_EQ(result.out, c.out);
    EXPECT_NE(result.err.find(c.err), std::string::npos) << result.err;
  }
}

}  // namespace kestra::test
