#pragma once
// The seven picture types.
#include "orvel/img/bgr_img.h"
#include "orvel/img/hy16_img.h"
#include "orvel/img/i420_img.h"
#include "orvel/img/uyvy_img.h"
#include "orvel/img/v216_img.h"
#include "orvel/img/yuyv_img.h"
#include "orvel/img/yv16_img.h"
