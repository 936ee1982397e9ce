#pragma once
#include <gtest/gtest.h>

#include "orvel/pipeline/process_video.h"
#include "tests/pipeline/sized_params.h"
#include "tests/support/pictures.h"

namespace Orvel::test {

/// A picture on loan from the engine.
template <class T>
struct Loan {
    ProcessVideo<T>& engine;
    T* img;
    ~Loan() { engine.returnImg(img); }
    T* operator->() const { return img; }
    T& operator*() const { return *img; }
};

template <class T>
Loan<T> run(ProcessVideo<T>& engine, Img& src) {
    bool ok = false;
    T* img = engine.process(src, ok);
    EXPECT_EQ(ok, img != nullptr);
    return {engine, img};
}

}  // namespace Orvel::test
