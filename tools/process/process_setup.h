#pragma once
#include <optional>
#include <string>
#include <vector>

#include "orvel/pipeline/process_video_params.h"
#include "tools/media/clip_info.h"
#include "tools/process/process_plan.h"

namespace OrvelTool {

/// Something that the user should know although it is done: which option, and what became of it.
struct SetupNote {
    const char* option;
    std::string text;
};

/// What is repeated so that every picture of the clip comes out.
struct EndRepetition {
    int first = 0;            ///< stages that look back: the first picture is given so many times again
    bool firstField = false;  ///< at double rate the filter behind the deinterlacer is given its first picture twice
    Ratio yield{1, 1};        ///< output pictures for each picture read; the last one is given until they are there
};

/// How a clip is processed in the working format T: by one engine, or, at double rate, by a deinterlacer between two.
/// The records are complete except for deinterlaceParams, which are null.
template <class T>
struct ProcessSetup {
    /// Double rate: the engine ahead of the deinterlacer, which cuts and converts pictures that stay interlaced.
    std::optional<Orvel::ProcessVideoParams<T>> front;
    Orvel::ProcessVideoParams<T> engine;
    bool topFirst = true;  ///< of the pictures that are deinterlaced, after the cut

    ClipInfo output;     ///< the pictures after processing, in the working format; the container is the source's
    EndRepetition ends;  ///< for plans that ask for it
    std::vector<SetupNote> notes;
};

/// Throws ToolError (refused) with a line that names what is wrong, also for what the engine would accept but not do
/// well (see checkProcess).
template <class T>
ProcessSetup<T> setUpProcess(const ProcessPlan& plan, const ClipInfo& source);

}  // namespace OrvelTool
