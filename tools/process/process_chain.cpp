#include "tools/process/process_chain.h"

#include <new>
#include <utility>

#include "orvel/deinterlace/deinterlace_blend_img.h"
#include "orvel/img/all_formats.h"
#include "orvel/pipeline/process_video.h"
#include "tools/errors.h"
#include "tools/media/frame_shape.h"

namespace OrvelTool {

using namespace Orvel;

class ProcessChain::Stage {
public:
    Stage() = default;
    virtual ~Stage() = default;
    Stage(const Stage&) = delete;
    Stage& operator=(const Stage&) = delete;

    virtual void push(Img& in) = 0;
    virtual Img* pull() = 0;
    virtual void giveBack(Img& out) = 0;
    virtual void drain(const std::function<void(void*)>& item) = 0;

    /// Whom to tell that a pushed picture is no longer needed.
    void onDone(std::function<void(Img&)> listener) { done_ = std::move(listener); }

protected:
    void done(Img& in) const {
        if (done_) done_(in);
    }

private:
    std::function<void(Img&)> done_;
};

namespace {

/// The record for the engine's deinterlacer, null when it has none.
template <class T>
std::unique_ptr<DeinterlaceImgParams> deinterlacing(const ProcessSetup<T>& setup) {
    const ProcessVideoParams<T>& p = setup.engine;
    if (p.srcProgressive || !p.dstProgressive) return nullptr;
    std::unique_ptr<DeinterlaceImgParams> record(DeinterlaceImgParams::newAlloc(p.deinterlaceType));
    if (record == nullptr) throw std::bad_alloc();
    record->width = p.cropWidth;
    record->height = p.cropHeight;
    // What one picture is made of is the earlier field where there is a choice.
    if (auto* cavt = dynamic_cast<DeinterlaceCAVTImgParams*>(record.get())) cavt->topField = setup.topFirst;
    if (auto* blend = dynamic_cast<DeinterlaceBlendImgParams*>(record.get())) blend->topFirst = setup.topFirst;
    return record;
}

template <class T>
class EngineStage : public ProcessChain::Stage {
public:
    EngineStage(ProcessVideoParams<T> params, std::unique_ptr<DeinterlaceImgParams> record) {
        params.deinterlaceParams = record.get();
        if (!engine_.allocate(params))
            throw ToolError(ExitCode::refused, "process", "the engine cannot be set up for these sizes and this method",
                            "try --interp linear or other sizes");
        static_cast<void>(record.release());  // the engine's from now on
    }

    void push(Img& in) override {
        bool ok = false;
        ready_ = engine_.process(in, ok);
        if (!ok) throw StageFailed();
        done(in);
    }
    Img* pull() override {
        if (ready_ != nullptr) return std::exchange(ready_, nullptr);
        bool ok = false;
        Img* const out = engine_.isOutputAvailable(ok);
        if (!ok) throw StageFailed();
        return out;
    }
    void giveBack(Img& out) override {
        T* picture = static_cast<T*>(&out);
        engine_.returnImg(picture);
    }
    void drain(const std::function<void(void*)>& item) override {
        engine_.flush();
        while (void* data = engine_.extractUserData()) item(data);
    }

private:
    ProcessVideo<T> engine_;
    T* ready_ = nullptr;
};

/// Makes two progressive pictures of each pushed one, the earlier field's first. It needs the neighbours: the first and
/// the last picture pushed serve as such only.
class DoubleRateStage : public ProcessChain::Stage {
public:
    DoubleRateStage(const FormatInfo& format, int width, int height, bool topFirst)
        : out_(makePicture(format, width, height)) {
        DeinterlaceBlendImgParams params;
        params.width = width;
        params.height = height;
        params.topFirst = topFirst;
        params.doubleRate = params.keepUserData = true;
        if (!blend_.allocate(&params))
            throw ToolError(ExitCode::refused, "--double-rate", "the deinterlacer cannot be set up for these sizes",
                            "try another --crop");
    }
    ~DoubleRateStage() override {
        DoubleRateStage::drain([](void*) {});
    }

    void push(Img& in) override {
        if (!blend_.pushImg(in)) throw StageFailed();
        if (blend_.bufferedFrames() == blend_.requiredFrames()) ready_ = 2;
    }
    Img* pull() override {
        if (ready_ == 0) return nullptr;
        --ready_;
        Img* released = nullptr;
        if (!blend_.deinterlace(*out_, &released)) throw StageFailed();
        if (released != nullptr) done(*released);
        return out_.get();
    }
    void giveBack(Img&) override {}
    void drain(const std::function<void(void*)>& item) override {
        while (Img* held = blend_.popImg()) {
            while (void* data = held->getUserData(nullptr)) {
                held->delUserData(data);
                item(data);
            }
            done(*held);
        }
    }

private:
    DeinterlaceBlendImg blend_;
    std::unique_ptr<Img> out_;
    int ready_ = 0;  // pictures that the queue still yields
};

}  // namespace

template <class T>
ProcessChain::ProcessChain(const ProcessSetup<T>& setup) {
    if (setup.front) {
        add(std::make_unique<EngineStage<T>>(*setup.front, nullptr));
        add(std::make_unique<DoubleRateStage>(formatOf<T>(), setup.engine.srcWidth, setup.engine.srcHeight,
                                              setup.topFirst));
    }
    add(std::make_unique<EngineStage<T>>(setup.engine, deinterlacing(setup)));
}

ProcessChain::~ProcessChain() {
    while (!stages_.empty()) stages_.pop_back();  // each may hold pictures of the one before
}

void ProcessChain::add(std::unique_ptr<Stage> stage) {
    if (!stages_.empty()) stage->onDone([before = stages_.back().get()](Img& picture) { before->giveBack(picture); });
    stages_.push_back(std::move(stage));
}

void ProcessChain::push(Img& picture) {
    stages_.front()->push(picture);
}

Img* ProcessChain::pull() {
    return pullFrom(stages_.size() - 1);
}

Img* ProcessChain::pullFrom(std::size_t stage) {
    for (;;) {
        if (Img* out = stages_[stage]->pull()) return out;
        Img* const in = stage > 0 ? pullFrom(stage - 1) : nullptr;
        if (in == nullptr) return nullptr;
        if (stage + 1 == stages_.size() && std::exchange(repeatFirst_, false)) stages_[stage]->push(*in);
        stages_[stage]->push(*in);
    }
}

void ProcessChain::giveBack(Img& picture) {
    stages_.back()->giveBack(picture);
}

void ProcessChain::drain(const std::function<void(void*)>& item) {
    for (const auto& stage : stages_) stage->drain(item);
}

template ProcessChain::ProcessChain(const ProcessSetup<I420Img>&);
template ProcessChain::ProcessChain(const ProcessSetup<YV16Img>&);
template ProcessChain::ProcessChain(const ProcessSetup<HY16Img>&);

}  // namespace OrvelTool
