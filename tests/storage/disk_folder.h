#pragma once
#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

namespace Orvel::test {

using Bytes = std::vector<std::uint8_t>;

/// Gives every test an empty directory of its own.
class DiskFolder : public ::testing::Test {
protected:
    void SetUp() override {
        const auto* test = ::testing::UnitTest::GetInstance()->current_test_info();
        dir_ = std::filesystem::path(::testing::TempDir()) /
               (std::string("orvel_") + test->test_suite_name() + "_" + test->name());
        std::filesystem::remove_all(dir_);
        std::filesystem::create_directories(dir_);
    }
    void TearDown() override { std::filesystem::remove_all(dir_); }

    std::filesystem::path file(const std::string& name) const { return dir_ / name; }
    std::wstring wide(const std::string& name) const { return file(name).wstring(); }

    void store(const std::string& name, const Bytes& bytes) const {
        std::ofstream(file(name), std::ios::binary)
            .write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
    }
    Bytes load(const std::string& name) const {
        std::ifstream in(file(name), std::ios::binary);
        return Bytes(std::istreambuf_iterator<char>(in), {});
    }

    std::filesystem::path dir_;
};

}  // namespace Orvel::test
