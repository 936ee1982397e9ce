#include "bench/report.h"

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <limits>
#include <stdexcept>
#include <string>

namespace Orvel::bench {
namespace {

/// A file of the test's own: tests run side by side.
class ReportTest : public testing::Test {
protected:
    ~ReportTest() override {
        std::error_code ignored;
        std::filesystem::remove(file, ignored);
    }

    void write(const std::string& text) { std::ofstream(file, std::ios::binary) << text; }

    std::string read() {
        std::ifstream in(file, std::ios::binary);
        return {std::istreambuf_iterator<char>(in), {}};
    }

    const std::filesystem::path file =
        std::filesystem::path(testing::TempDir()) /
        (std::string("report_test_") + testing::UnitTest::GetInstance()->current_test_info()->name() + ".md");
};

TEST(Report, FiguresAreRoundedAndWithoutErrorExact) {
    EXPECT_EQ(fixed(38.546, 2), "38.55");
    EXPECT_EQ(fixed(-0.25, 1), "-0.2");
    EXPECT_EQ(fixed(std::numeric_limits<double>::infinity(), 2), "exact");
}

TEST_F(ReportTest, ReplacesItsSectionAndNoOther) {
    const std::string before = "prose\n<!-- a: written by me -->\n", between = "<!-- a ends -->\nmore\n",
                      other = "<!-- a b: written by me -->\nkept\n<!-- a b ends -->\n";
    write(before + "old\n" + between + other);
    replaceMarked(file, "a", "new\n");
    EXPECT_EQ(read(), before + "\nnew\n" + between + other);
    replaceMarked(file, "a", "newer\n");
    EXPECT_EQ(read(), before + "\nnewer\n" + between + other);
}

TEST_F(ReportTest, RefusesATextWithoutTheMarkersAndLeavesItAsItWas) {
    for (const std::string text :
         {"", "<!-- a: written by me -->\n", "<!-- a ends -->\n<!-- a: written by me -->\n",
          "<!-- b: written by me -->\n<!-- b ends -->\n", "<!-- a: written by me <!-- a ends -->"}) {
        write(text);
        EXPECT_THROW(replaceMarked(file, "a", "new"), std::runtime_error) << text;
        EXPECT_EQ(read(), text);
    }
    std::filesystem::remove(file);
    EXPECT_THROW(replaceMarked(file, "a", "new"), std::runtime_error);
}

}  // namespace
}  // namespace Orvel::bench
