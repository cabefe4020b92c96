// Work on a picture strip by strip: made ahead on every processor, taken in order.
#ifndef CLI_IMAGE_STRIPS_H_
#define CLI_IMAGE_STRIPS_H_

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <exception>
#include <future>
#include <semaphore>
#include <system_error>
#include <thread>
#include <type_traits>
#include <utility>
#include <vector>

namespace qrv::cli {

// `Make` makes of the rows from `first` up to, but without, `end` what Take gives out. It runs in
// several threads at once.
template <typename Make>
class Strips {
 public:
  using Strip = std::invoke_result_t<Make, int32_t, int32_t>;

  Strips(int32_t width, int32_t height, Make make)
      : make_(std::move(make)),
        height_(height),
        stripRows_(static_cast<int32_t>(std::max<int64_t>(kStripPixels / width, 1))),
        strips_(static_cast<size_t>((height + stripRows_ - 1) / stripRows_)) {
    StartWorkers();
  }
  Strips(const Strips&) = delete;
  Strips& operator=(const Strips&) = delete;
  ~Strips() {
    started_ = strips_.size();
    room_.release(static_cast<std::ptrdiff_t>(workers_.size()));
  }

  bool IsDone() const { return taken_ == strips_.size(); }

  Strip Take() {
    if (workers_.empty()) MakeNext();
    Strip strip = strips_[taken_++].get_future().get();
    room_.release();
    return strip;
  }

 private:
  // Large enough that strips lose nothing by not knowing one another, small enough that even a
  // small picture keeps every processor busy.
  static constexpr int64_t kStripPixels = int64_t{1} << 16;
  static constexpr std::ptrdiff_t kAhead = 8;  // strips that wait to be taken, at most

  // Without a thread to be had each strip is made when it is taken, as is the only strip of a small
  // picture, which takes less time than to start a thread.
  void StartWorkers() {
    if (strips_.size() < 2) return;
    try {
      for (unsigned i = std::max(std::thread::hardware_concurrency(), 1U); i > 0; --i) {
        workers_.emplace_back([this] {
          do {
            room_.acquire();
          } while (MakeNext());
        });
      }
    } catch (const std::system_error&) {
    }
  }

  // False when all have been started.
  bool MakeNext() {
    const size_t index = started_++;
    if (index >= strips_.size()) return false;
    const int32_t first = static_cast<int32_t>(index) * stripRows_;
    try {
      strips_[index].set_value(make_(first, std::min(first + stripRows_, height_)));
    } catch (...) {
      strips_[index].set_exception(std::current_exception());
    }
    return true;
  }

  const Make make_;
  int32_t height_;
  int32_t stripRows_;
  std::vector<std::promise<Strip>> strips_;
  std::atomic<size_t> started_ = 0;
  size_t taken_ = 0;
  std::counting_semaphore<> room_{kAhead};
  std::vector<std::jthread> workers_;
};

}  // namespace qrv::cli

#endif  // CLI_IMAGE_STRIPS_H_
