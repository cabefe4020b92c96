/* The C library's declarations that the plug-in needs on its original target. */
#ifndef TESTS_MACHO_STDLIB_H_
#define TESTS_MACHO_STDLIB_H_
#include <stddef.h>
#ifdef __cplusplus
extern "C" {
#endif
void* malloc(size_t size);
void* calloc(size_t count, size_t size);
void free(void* memory);
#ifdef __cplusplus
}
#endif
#endif /* TESTS_MACHO_STDLIB_H_ */
