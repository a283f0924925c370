// Export/import macro for the SDK library boundary.
#pragma once

#if defined(_WIN32)
#if defined(OMBRIX_BUILDING_SDK)
#define OMBRIX_API __declspec(dllexport)
#else
#define OMBRIX_API __declspec(dllimport)
#endif
#else
#define OMBRIX_API __attribute__((visibility("default")))
#endif
