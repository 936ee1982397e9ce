#include "orvel/storage/video_disk.h"

namespace Orvel {

VideoDisk::~VideoDisk() = default;

}  // namespace Orvel
