// FSRef, and the one folder that a reference can stand for: the frameworks folder.
//
// The 80 bytes hold a tag and the folder's device and inode, never an address. A reference can
// therefore be copied freely, and one that was made up, or whose folder has been replaced since, is
// recognised instead of being followed.
#ifndef PLATFORM_COREFOUNDATION_FILE_REFERENCE_H_
#define PLATFORM_COREFOUNDATION_FILE_REFERENCE_H_

#include <CoreFoundation/CoreFoundation.h>

#include <string>

namespace qrv::corefoundation {

// Fills `reference` with one to the frameworks folder, `Frameworks` beside this library. False when
// there is no such folder.
bool ReferToFrameworksFolder(FSRef* reference) noexcept;

// The absolute path of the referenced folder, empty when the reference stands for none.
std::string PathOf(const FSRef& reference);

}  // namespace qrv::corefoundation

#endif  // PLATFORM_COREFOUNDATION_FILE_REFERENCE_H_
