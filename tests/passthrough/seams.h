// Each function that the plug-in calls, by its name: seam::NewGWorld.answer = ...
#ifndef TESTS_PASSTHROUGH_SEAMS_H_
#define TESTS_PASSTHROUGH_SEAMS_H_

#include <ApplicationServices/ApplicationServices.h>
#include <CoreServices/CoreServices.h>
#include <OpenGL/OpenGL.h>

#include "platform/quickdraw/quickdraw.h"
#include "runtime/entry_points.h"
#include "tests/passthrough/layer.h"

#define LIBRARY(name, signature, ...) SEAM(name, signature, __VA_ARGS__)
#define FRAMEWORK(name, ...) SEAM(name, decltype(::name), __VA_ARGS__)
#define WEAK(name, ...) SEAM(name, decltype(::name), __VA_ARGS__)
#define QUICKDRAW(name, ...) SEAM(name, decltype(::name), __VA_ARGS__)
#define HOST(name, function, ...) SEAM(name, decltype(runtime::function), __VA_ARGS__)

namespace qrv::seam {

#define SEAM(name, signature, ...) extern passthrough::Seam<signature> name;
#include "tests/passthrough/table.inc"
#undef SEAM

}  // namespace qrv::seam

#endif  // TESTS_PASSTHROUGH_SEAMS_H_
