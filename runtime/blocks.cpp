#include "runtime/blocks.h"

#include <pthread.h>
#include <signal.h>
#include <stdlib.h>
#include <string.h>
#include <sys/mman.h>

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <system_error>
#include <thread>
#include <utility>

#include <QRV/Desktop.h>

namespace qrv::runtime {
namespace {

using Clock = std::chrono::steady_clock;

constexpr size_t kLargeBlock = size_t{4} << 20;  // smaller ones are malloc's
constexpr size_t kSizeStep = size_t{2} << 20;    // of a large page
constexpr std::chrono::seconds kKept{1};

struct Mapping {
  uint8_t* memory = nullptr;
  size_t size = 0;
  bool isZero = true;
};

Mapping Map(size_t bytes) {
  const size_t size = (bytes + kSizeStep - 1) / kSizeStep * kSizeStep;
  void* const memory =
      mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  if (memory == MAP_FAILED) return {};
  FetchPages(memory, size);
  return {static_cast<uint8_t*>(memory), size};
}

void Unmap(const Mapping& mapping) {
  if (mapping.memory != nullptr) munmap(mapping.memory, mapping.size);
}

// Runs the task in a thread of its own, which gets no signals. False when there is none to be had.
template <typename Task>
bool StartThread(Task task) {
  sigset_t all;
  sigset_t previous;
  sigfillset(&all);
  pthread_sigmask(SIG_SETMASK, &all, &previous);
  bool isStarted = true;
  try {
    std::thread(task).detach();
  } catch (const std::system_error&) {
    isStarted = false;
  }
  pthread_sigmask(SIG_SETMASK, &previous, nullptr);
  return isStarted;
}

// The block that is kept. Its threads may outlive all else in the process, so it is never
// destroyed.
class Keeper {
 public:
  Mapping Take(size_t bytes) {
    std::unique_lock lock(mutex_);
    isReady_.wait(lock, [this] { return !isPreparing_; });
    const Mapping kept = std::exchange(kept_, {});
    lock.unlock();
    // Of one that is much larger, most would lie idle.
    if (kept.size >= bytes && kept.size - bytes <= bytes / 4) return kept;
    Unmap(kept);
    return Map(bytes);
  }

  void Keep(const Mapping& mapping) {
    const std::lock_guard lock(mutex_);
    Unmap(std::exchange(kept_, mapping));
    keptUntil_ = Clock::now() + kKept;
    if (!isWatched_) isWatched_ = StartThread([this] { Watch(); });
    if (!isWatched_) Unmap(std::exchange(kept_, {}));
  }

  void Prepare(size_t bytes) {
    {
      const std::lock_guard lock(mutex_);
      if (isPreparing_ || kept_.memory != nullptr) return;
      isPreparing_ = true;
    }
    const bool isStarted = StartThread([this, bytes] { EndPreparing(Map(bytes)); });
    if (!isStarted) EndPreparing({});
  }

 private:
  void EndPreparing(const Mapping& fresh) {
    if (fresh.memory != nullptr) Keep(fresh);
    const std::lock_guard lock(mutex_);
    isPreparing_ = false;
    isReady_.notify_all();
  }

  // Unmaps what has been kept for its time.
  void Watch() {
    std::unique_lock lock(mutex_);
    while (kept_.memory != nullptr && Clock::now() < keptUntil_) {
      const Clock::time_point until = keptUntil_;
      lock.unlock();
      std::this_thread::sleep_until(until);
      lock.lock();
    }
    Unmap(std::exchange(kept_, {}));
    isWatched_ = false;
  }

  std::mutex mutex_;
  std::condition_variable isReady_;
  Mapping kept_;
  Clock::time_point keptUntil_;
  bool isWatched_ = false;
  bool isPreparing_ = false;
};

Keeper& TheKeeper() {
  alignas(Keeper) static unsigned char memory[sizeof(Keeper)];
  static Keeper* const keeper = new (memory) Keeper;
  return *keeper;
}

bool IsLarge(size_t bytes) { return bytes >= kLargeBlock && bytes <= SIZE_MAX - kSizeStep; }

}  // namespace

void BlockDeleter::operator()(uint8_t* memory) const {
  if (mappedSize != 0) {
    TheKeeper().Keep({memory, mappedSize, false});
  } else {
    free(memory);
  }
}

Block NewZeroedBlock(size_t bytes) {
  if (!IsLarge(bytes)) return Block(static_cast<uint8_t*>(calloc(1, bytes)));
  const Mapping mapping = TheKeeper().Take(bytes);
  if (!mapping.isZero) memset(mapping.memory, 0, bytes);
  return Block(mapping.memory, BlockDeleter{mapping.size});
}

Block NewBlock(size_t bytes) {
  if (!IsLarge(bytes)) return Block(static_cast<uint8_t*>(malloc(bytes)));
  const Mapping mapping = TheKeeper().Take(bytes);
  return Block(mapping.memory, BlockDeleter{mapping.size});
}

void PrepareBlock(size_t bytes) {
  if (IsLarge(bytes)) TheKeeper().Prepare(bytes);
}

}  // namespace qrv::runtime
