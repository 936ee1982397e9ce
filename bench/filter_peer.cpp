#include "bench/filter_peer.h"

#include <cstdint>

extern "C" {
#include <libavfilter/avfilter.h>
#include <libavfilter/buffersink.h>
#include <libavfilter/buffersrc.h>
#include <libavutil/frame.h>
#include <libavutil/imgutils.h>
#include <libavutil/log.h>
#include <libavutil/pixdesc.h>
}

namespace Orvel::bench {
namespace {

struct FreeGraph {
    void operator()(AVFilterGraph* graph) const { avfilter_graph_free(&graph); }
};

FilterPeer::Frame newFrame() {
    return {av_frame_alloc(), [](AVFrame* old) { av_frame_free(&old); }};
}

AVPixelFormat formatOf(const Img& picture) {
    return picture.getFormat() == fourCC("UYVY") ? AV_PIX_FMT_UYVY422 : AV_PIX_FMT_YUV420P;
}

/// Links source - filters - sink. @return false when FFmpeg refuses the filters.
bool parse(AVFilterGraph* graph, const std::string& filters, AVFilterContext* source, AVFilterContext* sink) {
    AVFilterInOut *open = avfilter_inout_alloc(), *end = avfilter_inout_alloc();
    bool parsed = false;
    if (open && end) {
        *open = {av_strdup("in"), source, 0, nullptr};
        *end = {av_strdup("out"), sink, 0, nullptr};
        parsed = avfilter_graph_parse_ptr(graph, filters.c_str(), &end, &open, nullptr) >= 0;
    }
    avfilter_inout_free(&open);
    avfilter_inout_free(&end);
    return parsed;
}

}  // namespace

struct FilterPeer::Graph {
    std::unique_ptr<AVFilterGraph, FreeGraph> filters{avfilter_graph_alloc()};
    AVFilterContext *source = nullptr, *sink = nullptr;  // the graph's
    int rate = 1;
    std::int64_t pushed = 0;
};

bool FilterPeer::installed() {
    return true;
}

FilterPeer::Frame FilterPeer::frameOf(const Img& picture, bool interlaced) {
    Frame frame = newFrame();
    if (!frame) return nullptr;
    frame->format = formatOf(picture);
    frame->width = picture.getWidth(0), frame->height = picture.getHeight(0);
    frame->interlaced_frame = frame->top_field_first = interlaced;
    if (av_frame_get_buffer(frame.get(), 64) < 0) return nullptr;
    for (int p = 0; p < picture.numPlanes(); ++p)
        av_image_copy_plane(frame->data[p], frame->linesize[p], picture.getPixels(p), picture.getStep(p),
                            picture.getWidth(p) * picture.getBpp(p), picture.getHeight(p));
    return frame;
}

void FilterPeer::copy(const Frame& frame, I420Img& picture) {
    for (int p = 0; p < picture.numPlanes(); ++p)
        av_image_copy_plane(picture.getPixels(p), picture.getStep(p), frame->data[p], frame->linesize[p],
                            picture.getWidth(p), picture.getHeight(p));
}

FilterPeer::FilterPeer(const std::string& filters, const Img& like, int rate, int threads)
    : graph_(std::make_unique<Graph>()) {
    av_log_set_level(AV_LOG_ERROR);  // no chatter between the figures
    AVFilterGraph* graph = graph_->filters.get();
    graph->nb_threads = threads;
    graph->thread_type = AVFILTER_THREAD_SLICE;
    graph_->rate = rate;
    const std::string in = "video_size=" + std::to_string(like.getWidth(0)) + "x" + std::to_string(like.getHeight(0)) +
                           ":pix_fmt=" + av_get_pix_fmt_name(formatOf(like)) + ":pixel_aspect=1/1:time_base=1/" +
                           std::to_string(rate) + ":frame_rate=" + std::to_string(rate);
    if (avfilter_graph_create_filter(&graph_->source, avfilter_get_by_name("buffer"), "in", in.c_str(), nullptr,
                                     graph) < 0 ||
        avfilter_graph_create_filter(&graph_->sink, avfilter_get_by_name("buffersink"), "out", nullptr, nullptr,
                                     graph) < 0 ||
        !parse(graph, filters, graph_->source, graph_->sink) || avfilter_graph_config(graph, nullptr) < 0)
        graph_.reset();
}

FilterPeer::~FilterPeer() = default;
FilterPeer::FilterPeer(FilterPeer&&) noexcept = default;

bool FilterPeer::push(const Frame& frame) {
    frame->pts = graph_->pushed++;
    return av_buffersrc_add_frame_flags(graph_->source, frame.get(), AV_BUFFERSRC_FLAG_KEEP_REF) >= 0;
}

bool FilterPeer::finish() {
    return av_buffersrc_add_frame_flags(graph_->source, nullptr, 0) >= 0;
}

FilterPeer::Frame FilterPeer::pull() {
    Frame frame = newFrame();
    return frame && av_buffersink_get_frame(graph_->sink, frame.get()) >= 0 ? frame : nullptr;
}

double FilterPeer::instantOf(const Frame& frame) const {
    return double(frame->pts) * av_q2d(av_buffersink_get_time_base(graph_->sink)) * graph_->rate;
}

}  // namespace Orvel::bench
