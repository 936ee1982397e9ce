#include "tools/media/atomic_file.h"

#include <gmock/gmock.h>
#include <sys/stat.h>

#include "tests/tools/tool_support.h"

namespace OrvelTool {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;

class AtomicFileTest : public test::FolderTest {};

TEST_F(AtomicFileTest, TakesItsNameOnlyWithCommitAndLeavesNothingElse) {
    for (const bool committed : {false, true}) {
        write("out", "old");
        {
            AtomicFile file(path("out"));
            file.write("new");
            EXPECT_EQ(slurp(path("out")), "old");
            if (committed) file.commit();
        }
        EXPECT_EQ(slurp(path("out")), committed ? "new" : "old");
        EXPECT_THAT(files(), ElementsAre("out"));
    }
}

TEST_F(AtomicFileTest, KeepsPermissionsAndLinks) {
    write("real", "old");
    ASSERT_EQ(chmod(path("real").c_str(), 0640), 0);
    std::filesystem::create_symlink("real", path("link"));
    AtomicFile file(path("link"));
    file.write("new");
    file.commit();
    EXPECT_TRUE(std::filesystem::is_symlink(path("link")));
    EXPECT_EQ(slurp(path("real")), "new");
    struct stat status = {};
    ASSERT_EQ(stat(path("real").c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777, 0640u);
}

TEST_F(AtomicFileTest, ANewFileIsReadableAsTheUmaskSays) {
    const mode_t before = umask(027);
    AtomicFile file(path("out"));
    file.commit();
    umask(before);
    struct stat status = {};
    ASSERT_EQ(stat(path("out").c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777, 0640u);
}

TEST_F(AtomicFileTest, FailuresAreToldWithTheirReason) {
    EXPECT_THAT(test::errorOf(ExitCode::outputFailed, [&] { AtomicFile file(path("no/out")); }),
                HasSubstr("make the folder"));
    EXPECT_THAT(test::errorOf(ExitCode::outputFailed, [&] { AtomicFile file(folder_.string()); }),
                HasSubstr("directory"));
    AtomicFile full("/dev/full");
    EXPECT_THAT(test::errorOf(ExitCode::outputFailed, [&] { full.write("x"); }), HasSubstr("No space left"));
}

}  // namespace
}  // namespace OrvelTool
