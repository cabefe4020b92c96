/* The C library's declarations that the plug-in needs on its original target. */
#ifndef TESTS_MACHO_STRING_H_
#define TESTS_MACHO_STRING_H_
#include <stddef.h>
#ifdef __cplusplus
extern "C" {
#endif
void* memcpy(void* destination, const void* source, size_t size);
#ifdef __cplusplus
}
#endif
#endif /* TESTS_MACHO_STRING_H_ */
