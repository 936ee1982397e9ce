#pragma once
#include "orvel/pipeline/process_video_params.h"
#include "tools/media/clip_info.h"
#include "tools/process/process_plan.h"

namespace OrvelTool {

/// Throws ToolError (refused) for what cannot be done with pictures of source, and for what the engine would accept but
/// not do well: cuts between the samples of a chroma sample, chroma lines that would change fields, a canvas around a
/// picture that is not scaled, a new rate for pictures with two fields, sizes that the noise filter does not take.
/// @param p the plan as the engine's fields, before validation.
template <class T>
void checkProcess(const ProcessPlan& plan, const ClipInfo& source, const Orvel::ProcessVideoParams<T>& p);

}  // namespace OrvelTool
