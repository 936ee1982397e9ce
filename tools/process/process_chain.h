#pragma once
#include <cstddef>
#include <exception>
#include <functional>
#include <memory>
#include <vector>

#include "orvel/img/img.h"
#include "tools/process/process_setup.h"

namespace OrvelTool {

/// What a stage throws that cannot handle a picture.
class StageFailed : public std::exception {
public:
    const char* what() const noexcept override { return "a stage failed"; }
};

/// The stages that process a clip, one behind the other. For each picture: push(), then pull() until it gives none.
class ProcessChain {
public:
    /// Throws ToolError (refused) when a stage cannot be built.
    template <class T>
    explicit ProcessChain(const ProcessSetup<T>& setup);
    ~ProcessChain();

    /// Has the last stage given its first picture twice. That stage must keep the first one without an output.
    void repeatFirst() noexcept { repeatFirst_ = true; }
    /// Gives a picture to the first stage, which moves its user data and keeps nothing else. Throws StageFailed.
    void push(Orvel::Img& picture);
    /// The next finished picture, in the working format, null when there is none until the next push(). It goes back
    /// with giveBack() before anything else is asked. Throws StageFailed.
    Orvel::Img* pull();
    void giveBack(Orvel::Img& picture);
    /// Drops the pictures that the stages hold. @param item receives each item of their user data.
    void drain(const std::function<void(void*)>& item);

    /// One of the stages; it hands back what it was given as this class does what it hands out.
    class Stage;

private:
    void add(std::unique_ptr<Stage> stage);
    Orvel::Img* pullFrom(std::size_t stage);

    std::vector<std::unique_ptr<Stage>> stages_;
    bool repeatFirst_ = false;
};

}  // namespace OrvelTool
