// The umbrella header of the ApplicationServices framework.
#ifndef APPLICATIONSERVICES_APPLICATIONSERVICES_H_
#define APPLICATIONSERVICES_APPLICATIONSERVICES_H_

#include <ApplicationServices/CoreGraphics.h>
#include <ApplicationServices/QuickDraw.h>
#include <CoreFoundation/CoreFoundation.h>
#include <CoreServices/CoreServices.h>

#endif  // APPLICATIONSERVICES_APPLICATIONSERVICES_H_
