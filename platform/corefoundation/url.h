// Places of files and folders: the object behind CFURLRef, and the one folder that an FSRef can
// stand for, `Frameworks` beside this library.
#ifndef PLATFORM_COREFOUNDATION_URL_H_
#define PLATFORM_COREFOUNDATION_URL_H_

#include <string>
#include <utility>

#include "platform/corefoundation/object.h"

struct __CFURL final : qrv::corefoundation::Object {
  explicit __CFURL(std::string place) : path(std::move(place)) {}
  const std::string path;  // absolute
};

namespace qrv::corefoundation {

// Fills `reference` with one to the frameworks folder. False when there is no such folder. The
// bytes hold a tag and no address, so a reference can be copied freely, and one that was made up is
// not followed.
bool ReferToFrameworksFolder(FSRef& reference) noexcept;

}  // namespace qrv::corefoundation

#endif  // PLATFORM_COREFOUNDATION_URL_H_
