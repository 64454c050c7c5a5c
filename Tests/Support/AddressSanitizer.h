/// Whether this build finds accesses outside of live memory.
#pragma once

#if defined(__SANITIZE_ADDRESS__)
inline constexpr bool HasAddressSanitizer = true;
#elif defined(__has_feature)
inline constexpr bool HasAddressSanitizer = __has_feature (address_sanitizer);
#else
inline constexpr bool HasAddressSanitizer = false;
#endif
