#pragma once
#include <memory>
#include <string>

#include "orvel/img/i420_img.h"

struct AVFrame;

// FFmpeg's filters as a peer, in the same process.
namespace Orvel::bench {

/// A chain of FFmpeg filters between memory and memory, for I420 or UYVY pictures of one size. Frames are handed over
/// by reference, so that a call costs what the filters cost.
class FilterPeer {
public:
    using Frame = std::shared_ptr<AVFrame>;

    /// Whether this program was built with FFmpeg; if not, no chain is ready.
    static bool installed();

    /// The picture as an FFmpeg frame with memory of its own, marked as interlaced with the top field first, or as
    /// progressive. Null when memory runs
    /// out.
    static Frame frameOf(const Img& picture, bool interlaced);
    /// Copies a 4:2:0 frame's pixels into a picture of the same size.
    static void copy(const Frame& frame, I420Img& picture);

    /// @param filters as on FFmpeg's command line, e.g. "yadif=mode=send_frame:parity=tff"
    /// @param like a picture of the format and the size that come in
    /// @param rate frames a second that come in
    /// @param threads of the filters that work on slices; the others have one
    FilterPeer(const std::string& filters, const Img& like, int rate, int threads);
    ~FilterPeer();
    FilterPeer(FilterPeer&&) noexcept;

    /// False when FFmpeg is not installed or does not know a filter or an option; nothing else may be called then.
    bool ready() const { return graph_ != nullptr; }
    /// Hands over the next frame. @return false on failure.
    bool push(const Frame& frame);
    /// Says that no further frame comes, so that filters which wait for one give out their last results.
    bool finish();
    /// The next result, or null when the filters want another frame or are at their end.
    Frame pull();
    /// When a result is to be shown: 0 is the instant of the first frame pushed, 1 that of the second, 0.5 that of the
    /// first one's later field.
    double instantOf(const Frame& frame) const;

private:
    struct Graph;
    std::unique_ptr<Graph> graph_;
};

}  // namespace Orvel::bench
