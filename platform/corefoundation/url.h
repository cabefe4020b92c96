// The object behind CFURLRef, and the one folder that an FSRef can refer to: `Frameworks`, beside
// this library.
#ifndef PLATFORM_COREFOUNDATION_URL_H_
#define PLATFORM_COREFOUNDATION_URL_H_

#include <string>
#include <utility>

#include "platform/corefoundation/object.h"

struct __CFURL final : qrv::corefoundation::Object {
  explicit __CFURL(std::string url) : path(std::move(url)) {}
  const std::string path;  // absolute
};

namespace qrv::corefoundation {

// Makes `reference` refer to the frameworks folder. False when there is no such folder. The bytes
// are a tag and not an address, so that copies work and made-up references are harmless.
bool ReferToFrameworksFolder(FSRef& reference) noexcept;

}  // namespace qrv::corefoundation

#endif  // PLATFORM_COREFOUNDATION_URL_H_
