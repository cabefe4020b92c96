// Large pages for pixels: a picture that is written once is mostly page faults otherwise.
#ifndef PLATFORM_COREGRAPHICS_LARGE_PAGES_H_
#define PLATFORM_COREGRAPHICS_LARGE_PAGES_H_

#include <cstddef>

namespace qrv::coregraphics {

// Tells the system that the memory is worth large pages, as far as it is made of whole ones. Only a
// hint: it changes neither the content nor whose the memory is.
void PreferLargePages(void* memory, size_t size);

}  // namespace qrv::coregraphics

#endif  // PLATFORM_COREGRAPHICS_LARGE_PAGES_H_
