#pragma once
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>

#include "orvel/img/img.h"
#include "tools/format_converter.h"
#include "tools/media/frame_source.h"
#include "tools/process/frame_ledger.h"
#include "tools/process/process_chain.h"
#include "tools/process/process_setup.h"

namespace OrvelTool {

/// Runs a clip through the stages, once.
class ClipRun {
public:
    /// @param input the format that the stages are given.
    /// @param take receives each finished picture, in the working format.
    ClipRun(FrameSource& source, const Orvel::FormatInfo& input, ProcessChain& chain,
            std::function<void(Orvel::Img&)> take);

    /// Reads to the end and accounts for every picture. @param ends when the first and the last picture are to be
    /// repeated for the neighbours they lack: output then lasts as long as the clip; else the stages drop what they
    /// hold. Throws ToolError.
    void wholeClip(const std::optional<EndRepetition>& ends);
    const FrameLedger& ledger() const noexcept { return ledger_; }

private:
    void feed(bool fromSource);
    void collect();
    void repeatLast(const Ratio& yield);

    FrameSource& source_;
    ProcessChain& chain_;
    std::function<void(Orvel::Img&)> take_;
    std::unique_ptr<Orvel::Img> picture_;
    FormatConverter toInput_;
    FrameLedger ledger_;
    std::optional<std::int64_t> wanted_;  // output pictures, where known
};

}  // namespace OrvelTool
