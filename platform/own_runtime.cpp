// For libraries that have the C++ runtime in themselves: it holds memory for exceptions in want of
// memory, and leaves that behind when the library is unloaded.

namespace __gnu_cxx {  // NOLINT(*-reserved-identifier): the runtime's, declared in no header
void __freeres();      // NOLINT(*-reserved-identifier)
}  // namespace __gnu_cxx

namespace {

[[gnu::destructor]] void FreeRuntime() { __gnu_cxx::__freeres(); }

}  // namespace
