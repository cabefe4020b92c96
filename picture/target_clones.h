// QRV_VECTOR_VERSIONS: compiles a function for several generations of vector instructions; the best
// one for the processor is chosen when the program is loaded. Empty where the object format or the
// compiler has no such thing; the function is then compiled for the baseline alone, as it is where
// QRV_BASELINE_ONLY is defined.
#ifndef PICTURE_TARGET_CLONES_H_
#define PICTURE_TARGET_CLONES_H_

#if defined(__ELF__) && defined(__has_attribute) && !defined(QRV_BASELINE_ONLY)
#if __has_attribute(target_clones) && !defined(__SANITIZE_ADDRESS__)
#define QRV_VECTOR_VERSIONS __attribute__((target_clones("avx2", "ssse3", "default")))
#endif
#endif

#if !defined(QRV_VECTOR_VERSIONS)
#define QRV_VECTOR_VERSIONS
#endif

#endif  // PICTURE_TARGET_CLONES_H_
