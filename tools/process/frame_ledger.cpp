#include "tools/process/frame_ledger.h"

#include <fmt/format.h>

#include <new>

#include "tools/errors.h"

namespace OrvelTool {
namespace {

[[noreturn]] void fail(const std::string& what) {
    throw ToolError(ExitCode::refused, "process", what, "this is a fault of the program; the output is not complete");
}

}  // namespace

void FrameLedger::read(Orvel::Img& picture) {
    // Only the value matters; no mark is 0, which stands for none, and no two are the same.
    void* const mark = reinterpret_cast<void*>(static_cast<std::uintptr_t>(++read_));
    if (!picture.addUserData(mark)) throw std::bad_alloc();
    underway_.insert(mark);
}

void FrameLedger::written(Orvel::Img& picture) {
    ++written_;
    const std::int64_t marks = settleMarks(picture);
    if (marks == 0)
        ++added_;
    else
        dropped_ += marks - 1;
}

void FrameLedger::discarded(Orvel::Img& picture) {
    dropped_ += settleMarks(picture);
}

void FrameLedger::held(void* mark) {
    settle(mark);
    ++held_;
}

void FrameLedger::close() const {
    if (!underway_.empty()) fail(fmt::format("{} of {} pictures were lost", underway_.size(), read_));
    if (read_ + added_ != written_ + dropped_ + held_) fail("the pictures do not add up: " + text());
}

std::string FrameLedger::text() const {
    return fmt::format("{} read, {} added, {} written, {} dropped, {} held back", read_, added_, written_, dropped_,
                       held_);
}

std::int64_t FrameLedger::settleMarks(Orvel::Img& picture) {
    std::int64_t marks = 0;
    while (void* mark = picture.getUserData(nullptr)) {
        picture.delUserData(mark);
        settle(mark);
        ++marks;
    }
    return marks;
}

void FrameLedger::settle(void* mark) {
    if (underway_.erase(mark) != 1)
        fail(fmt::format("picture {} came out twice", reinterpret_cast<std::uintptr_t>(mark) - 1));
}

}  // namespace OrvelTool
