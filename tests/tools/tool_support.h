#pragma once
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <random>
#include <string>
#include <vector>

#include "orvel/img/img.h"
#include "tools/errors.h"

namespace OrvelTool::test {

/// A folder of its own for each test, removed at the end.
class FolderTest : public ::testing::Test {
protected:
    FolderTest() {
        std::string name = (std::filesystem::temp_directory_path() / "orvelvis-test-XXXXXX").string();
        folder_ = mkdtemp(name.data());
    }
    ~FolderTest() override { std::filesystem::remove_all(folder_); }

    std::string path(const std::string& name) const { return (folder_ / name).string(); }
    std::string write(const std::string& name, const std::string& bytes) const {
        std::ofstream(path(name), std::ios::binary) << bytes;
        return path(name);
    }
    static std::string slurp(const std::string& path) {
        std::ifstream file(path, std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }
    /// The names of all files in the folder, also hidden ones.
    std::vector<std::string> files() const {
        std::vector<std::string> names;
        for (const auto& entry : std::filesystem::directory_iterator(folder_))
            names.push_back(entry.path().filename().string());
        std::sort(names.begin(), names.end());
        return names;
    }

    std::filesystem::path folder_;
};

inline std::string randomBytes(std::size_t count, unsigned seed = 1) {
    std::mt19937 rng(seed);
    std::string bytes(count, '\0');
    for (char& c : bytes) c = static_cast<char>(rng());
    return bytes;
}

/// What the error says that body ends with; a failure of the test when it ends otherwise.
inline std::string errorOf(ExitCode code, const std::function<void()>& body) {
    try {
        body();
    } catch (const ToolError& error) {
        EXPECT_EQ(static_cast<int>(error.code()), static_cast<int>(code)) << error.what();
        return error.what();
    }
    ADD_FAILURE() << "no error";
    return {};
}

}  // namespace OrvelTool::test
