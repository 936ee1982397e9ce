#pragma once
/// ORVEL_API marks what the library exports; everything else stays hidden.
#if defined(ORVEL_STATIC)
#define ORVEL_API
#elif defined(_WIN32)
#if defined(ORVEL_BUILDING)
#define ORVEL_API __declspec(dllexport)
#else
#define ORVEL_API __declspec(dllimport)
#endif
#else
#define ORVEL_API __attribute__((visibility("default")))
#endif
