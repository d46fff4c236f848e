#pragma once

// A private folder with a company database path in it, and the kvlnmov tool run as a user
// runs it (the test target defines KVLNMOV_CLI as the tool's path).

#include <gtest/gtest.h>
#include <stdlib.h>

#include <filesystem>
#include <string>
#include <vector>

#include "kvlnmov/core/library.h"
#include "support/run_tool.h"

namespace kvlnmov::testing {

class ToolFixture : public ::testing::Test {
  protected:
    void SetUp() override {
        char pattern[] = "/tmp/kvlnmov-tool-XXXXXX";
        ASSERT_NE(mkdtemp(pattern), nullptr);
        folder_ = pattern;
        database_ = (folder_ / "empresa.db").string();
    }
    void TearDown() override {
        resetLibrary();
        std::filesystem::remove_all(folder_);
    }

    /// Runs the tool with `arguments`, its output captured in the folder.
    ToolRun kvlnmov(std::vector<std::string> arguments) {
        ToolRun run = runTool(KVLNMOV_CLI, std::move(arguments), (folder_ / "run").string());
        EXPECT_NE(run.exitCode, -1) << "cannot start " << KVLNMOV_CLI;
        return run;
    }

    /// Runs the tool with `arguments` in this process's environment with `environment`
    /// changes made (a language, a variable removed).
    ToolRun kvlnmov(const EnvironmentChanges& environment, std::vector<std::string> arguments) {
        ToolRun run =
            runTool(KVLNMOV_CLI, std::move(arguments), (folder_ / "run").string(), environment);
        EXPECT_NE(run.exitCode, -1) << "cannot start " << KVLNMOV_CLI;
        return run;
    }

    std::filesystem::path folder_;
    std::string database_;
};

}  // namespace kvlnmov::testing
