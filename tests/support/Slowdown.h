// How much longer a test may take, and how much less it does, under a sanitizer.
#pragma once

#if defined(__SANITIZE_THREAD__)
constexpr int kSlowdown = 20;
#elif defined(__SANITIZE_ADDRESS__)
constexpr int kSlowdown = 4;
#elif defined(__has_feature)
#if __has_feature(thread_sanitizer)
constexpr int kSlowdown = 20;
#elif __has_feature(address_sanitizer)
constexpr int kSlowdown = 4;
#else
constexpr int kSlowdown = 1;
#endif
#else
constexpr int kSlowdown = 1;
#endif
