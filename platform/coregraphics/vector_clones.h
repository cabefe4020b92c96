// QRV_VECTOR_CLONES before a function has it compiled for several generations of the processor;
// the dynamic linker picks one when the library is loaded.
//
// The choice runs before AddressSanitizer has its memory, and the function that makes it is
// instrumented there, so such a build has the plain version alone. So has one with
// QRV_BASELINE_ONLY.
#ifndef PLATFORM_COREGRAPHICS_VECTOR_CLONES_H_
#define PLATFORM_COREGRAPHICS_VECTOR_CLONES_H_

#if defined(__GNUC__) && !defined(__clang__) && !defined(__SANITIZE_ADDRESS__) && \
    !defined(QRV_BASELINE_ONLY)
#define QRV_VECTOR_CLONES __attribute__((target_clones("avx2", "ssse3", "default")))
#else
#define QRV_VECTOR_CLONES
#endif

#endif  // PLATFORM_COREGRAPHICS_VECTOR_CLONES_H_
