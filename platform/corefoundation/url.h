// The object behind CFURLRef: the place of a file or folder.
#ifndef PLATFORM_COREFOUNDATION_URL_H_
#define PLATFORM_COREFOUNDATION_URL_H_

#include <string>
#include <utility>

#include "platform/corefoundation/object.h"

struct __CFURL final : qrv::corefoundation::Object {
  explicit __CFURL(std::string place) : path(std::move(place)) {}
  const std::string path;  // absolute
};

#endif  // PLATFORM_COREFOUNDATION_URL_H_
