// Whether this build is watched by the address sanitizer, with gcc's name for it or clang's.
#pragma once

#if defined(__SANITIZE_ADDRESS__)
constexpr bool kIsSanitized = true;
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
constexpr bool kIsSanitized = true;
#else
constexpr bool kIsSanitized = false;
#endif
#else
constexpr bool kIsSanitized = false;
#endif
