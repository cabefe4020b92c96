// QuickDraw of the fake platform, by name.
#ifndef TESTS_FAKES_FAKE_QUICKDRAW_H_
#define TESTS_FAKES_FAKE_QUICKDRAW_H_

#include <string>

namespace qrv::fakes {

// The function of that name, or null.
void* QuickDrawFunction(const std::string& name);

}  // namespace qrv::fakes

#endif  // TESTS_FAKES_FAKE_QUICKDRAW_H_
