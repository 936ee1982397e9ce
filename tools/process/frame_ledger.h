#pragma once
#include <cstdint>
#include <set>
#include <string>

#include "orvel/img/img.h"

namespace OrvelTool {

/// Follows every source picture through the stages to its end. Each is marked by an item of its user data, which stages
/// that keep user data carry to the output: an output picture without a mark was added by a stage, one with several
/// marks stands for all of them but one. So always: read + added = written + dropped + held.
class FrameLedger {
public:
    /// A source picture, about to be given to the stages; it is marked.
    void read(Orvel::Img& picture);
    /// An output picture that is written. Its marks are removed.
    void written(Orvel::Img& picture);
    /// An output picture that is not written. Its marks are removed.
    void discarded(Orvel::Img& picture);
    /// The mark of a picture that the stages held when the clip ended.
    void held(void* mark);
    /// Throws ToolError (refused) when a picture that was read has not come to an end.
    void close() const;

    std::int64_t pictures() const noexcept { return read_; }
    std::int64_t output() const noexcept { return written_; }
    /// "4 read, 3 added, 7 written, 0 dropped, 0 held back"
    std::string text() const;

private:
    std::int64_t settleMarks(Orvel::Img& picture);
    void settle(void* mark);

    std::int64_t read_ = 0, added_ = 0, written_ = 0, dropped_ = 0, held_ = 0;
    std::set<void*> underway_;  // marks of pictures whose end is not known yet
};

}  // namespace OrvelTool
