#include <orvel/orvel.h>

/// Runs a picture through the installed pipeline. Exit code 0 when it comes out at the size asked for.
int main() {
    Orvel::ProcessVideoParams<Orvel::I420Img> params;
    params.srcWidth = 64;
    params.srcHeight = 48;
    params.dstWidth = 32;
    params.dstHeight = 24;
    Orvel::ProcessVideo<Orvel::I420Img> engine;
    Orvel::UYVYImg source;
    if (!engine.allocate(params) || !source.allocate(64, 48, Orvel::UYVYImg::getClassBpp())) return 1;
    source.set(100, 128, 128);
    bool ok = false;
    Orvel::I420Img* out = engine.process(source, ok);
    const bool right = ok && out != nullptr && out->getWidth(0) == 32 && *out->getPixel(0, 12, 16) == 100;
    return engine.returnImg(out) && right ? 0 : 1;
}
