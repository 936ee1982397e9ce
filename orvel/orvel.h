#pragma once
// Everything public of the library.
#include "orvel/img/all_formats.h"
#include "orvel/img/format_info.h"
#include "orvel/img/img.h"
#include "orvel/img/img_kernels.h"
#include "orvel/img/img_pool.h"
#include "orvel/img/img_pool2.h"
#include "orvel/img/types.h"
#include "orvel/sys/aligned_mem.h"
#include "orvel/sys/external_mem.h"
