// Refuses one allocation of a method call: whoever asks for it, unless it is the plug-in itself,
// whose own are refused in its unit tests. Does nothing in a sanitized build, which has an
// allocator of its own.
#ifndef TESTS_INTEGRATION_REFUSED_MEMORY_H_
#define TESTS_INTEGRATION_REFUSED_MEMORY_H_

namespace qrv::testing {

// The next call's allocation number `n`, from 0, is refused.
void RefuseAllocation(long n);
// Whether it has been.
bool WasAllocationRefused();

// Around each call of a method.
class MethodCall {
 public:
  MethodCall();
  MethodCall(const MethodCall&) = delete;
  MethodCall& operator=(const MethodCall&) = delete;
  ~MethodCall();
};

}  // namespace qrv::testing

#endif  // TESTS_INTEGRATION_REFUSED_MEMORY_H_
