#pragma once
#include <gmock/gmock.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdint>
#include <span>
#include <string>

#include "orvel/pipeline/process_video.h"
#include "tests/tools/tool_support.h"
#include "tools/media/frame_shape.h"

namespace OrvelTool::test {

struct Outcome {
    int exit;  // 128 + signal when killed
    std::string out, err;
};

/// Runs the built program in a folder of its own.
class ProgramTest : public FolderTest {
protected:
    /// Starts the program in the test's folder with its output in the files .out and .err; redirections of the shell
    /// that follow the arguments come last.
    pid_t start(const std::string& arguments) {
        const std::string command = "exec " ORVEL_TOOL " >.out 2>.err " + arguments;
        const pid_t child = fork();
        if (child != 0) return child;
        if (chdir(folder_.c_str()) != 0) _exit(126);
        execl("/bin/sh", "sh", "-c", command.c_str(), nullptr);
        _exit(127);
    }
    Outcome finish(pid_t child) {
        int status = 0;
        waitpid(child, &status, 0);
        Outcome outcome{WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status), slurp(path(".out")),
                        slurp(path(".err"))};
        std::filesystem::remove(path(".out"));
        std::filesystem::remove(path(".err"));
        return outcome;
    }
    Outcome run(const std::string& arguments) { return finish(start(arguments)); }

    /// The outcome is a failure with one line on stderr, nothing on stdout, and no new file.
    std::string failure(int exit, const std::string& arguments) {
        const auto before = files();
        const Outcome outcome = run(arguments);
        EXPECT_EQ(outcome.exit, exit) << arguments << "\n" << outcome.err;
        EXPECT_EQ(outcome.out, "") << arguments;
        EXPECT_THAT(outcome.err, ::testing::StartsWith("orvelvis: "));
        EXPECT_EQ(outcome.err.find('\n'), outcome.err.size() - 1) << outcome.err;
        EXPECT_EQ(files(), before) << arguments;
        return outcome.err;
    }

    std::string clip_ = randomBytes(3 * 48 * 32 * 3 / 2);  // three 48x32 frames of 4:2:0
};

/// The frames of a headerless clip, one after the other.
class Frames {
public:
    Frames(const std::string& clip, const char* format, int width, int height)
        : clip_(clip),
          shape_(*findFormatByName(format), width, height, OddChroma::down),
          picture_(makePicture(*findFormatByName(format), width, height)) {}

    /// The next frame, null at the end; valid until the next call.
    Orvel::Img* next() {
        if (at_ == clip_.size()) return nullptr;
        shape_.unpack({reinterpret_cast<const std::uint8_t*>(clip_.data()) + at_, shape_.bytes()}, *picture_);
        at_ += shape_.bytes();
        return picture_.get();
    }

private:
    const std::string& clip_;
    FrameShape shape_;
    std::unique_ptr<Orvel::Img> picture_;
    std::size_t at_ = 0;
};

/// The bytes of a planar picture as they lie in a headerless file.
inline std::string packed(const Orvel::Img& picture) {
    const FrameShape shape(*Orvel::findFormat(picture.getFormat()), picture.getWidth(0), picture.getHeight(0),
                           OddChroma::down);
    std::string bytes(shape.bytes(), '\0');
    shape.pack(picture, {reinterpret_cast<std::uint8_t*>(bytes.data()), bytes.size()});
    return bytes;
}

/// The bytes of all frames of a headerless clip after processing by the library itself.
template <class T>
std::string processed(const std::string& clip, const char* format, int width, int height,
                      Orvel::ProcessVideoParams<T> params) {
    Orvel::ProcessVideo<T> engine;
    EXPECT_TRUE(engine.allocate(params));
    Frames frames(clip, format, width, height);
    std::string result;
    while (Orvel::Img* picture = frames.next()) {
        bool ok = false;
        for (T* out = engine.process(*picture, ok); out != nullptr; out = engine.isOutputAvailable(ok)) {
            result += packed(*out);
            engine.returnImg(out);
        }
        if (!ok) return "failed";
    }
    return result;
}

}  // namespace OrvelTool::test
