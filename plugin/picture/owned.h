// Handles that are released at the end of their scope, in the reverse order of creation.
#ifndef PLUGIN_PICTURE_OWNED_H_
#define PLUGIN_PICTURE_OWNED_H_

namespace picture {

// `Release` is called once, and never for null.
template <typename Handle, void (*Release)(Handle)>
class Owned {
 public:
  explicit Owned(Handle handle) : handle_(handle) {}
  Owned(const Owned&) = delete;
  Owned& operator=(const Owned&) = delete;
  ~Owned() { Reset(nullptr); }

  Handle get() const { return handle_; }

  // Releases what is held and holds `handle` instead.
  void Reset(Handle handle) {
    if (handle_ != nullptr) Release(handle_);
    handle_ = handle;
  }

  // Gives the handle up without releasing it.
  Handle Take() {
    Handle handle = handle_;
    handle_ = nullptr;
    return handle;
  }

 private:
  Handle handle_;
};

}  // namespace picture

#endif  // PLUGIN_PICTURE_OWNED_H_
