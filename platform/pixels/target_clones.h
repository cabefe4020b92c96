// QRV_TARGET_CLONES before a function compiles it for several generations of vector instructions;
// the loader chooses the best one for the processor. Empty where the object format or the compiler
// does not support it, and with AddressSanitizer, which instruments the choosing function although
// that runs before the sanitizer's memory is set up. The function is then compiled for the baseline
// only.
#ifndef PLATFORM_PIXELS_TARGET_CLONES_H_
#define PLATFORM_PIXELS_TARGET_CLONES_H_

#if defined(__SANITIZE_ADDRESS__)
#define QRV_ADDRESS_SANITIZER
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define QRV_ADDRESS_SANITIZER
#endif
#endif

#if defined(__ELF__) && defined(__has_attribute)
#if __has_attribute(target_clones) && !defined(QRV_ADDRESS_SANITIZER)
#define QRV_TARGET_CLONES __attribute__((target_clones("avx2", "ssse3", "default")))
#endif
#endif

#if !defined(QRV_TARGET_CLONES)
#define QRV_TARGET_CLONES
#endif

#endif  // PLATFORM_PIXELS_TARGET_CLONES_H_
