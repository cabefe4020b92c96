#include "runtime/blocks.h"

#include <pthread.h>
#include <signal.h>
#include <stdlib.h>
#include <string.h>
#include <sys/mman.h>

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <new>
#include <system_error>
#include <thread>
#include <utility>

#include <QRV/Desktop.h>

namespace qrv::runtime {
namespace {

using Clock = std::chrono::steady_clock;

constexpr size_t kLargeBlock = size_t{4} << 20;  // smaller ones are malloc's
constexpr std::chrono::seconds kKept{1};

struct Mapping {
  uint8_t* memory = nullptr;
  size_t size = 0;
  bool isZero = true;
};

Mapping Map(size_t bytes) {
  const size_t size = (bytes + kLargePageBytes - 1) / kLargePageBytes * kLargePageBytes;
  void* const memory =
      mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  if (memory == MAP_FAILED) return {};
  PreferLargePages(memory, size);
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
  // Of any content, unless it is to be all zero.
  Mapping Take(size_t bytes, bool isZero) {
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [this] { return !isAtWork_; });
    const Mapping kept = std::exchange(kept_, {});
    // Of one that is much larger, most would lie idle.
    const bool isReused = kept.size >= bytes && kept.size - bytes <= bytes / 4;
    isZeroedAhead_ = isReused && isZero;
    lock.unlock();
    if (!isReused) {
      Unmap(kept);
      return Map(bytes);
    }
    if (isZero && !kept.isZero) memset(kept.memory, 0, bytes);
    return kept;
  }

  void Keep(const Mapping& mapping) {
    const std::lock_guard lock(mutex_);
    PreferLargePages(mapping.memory, mapping.size);  // they may not have been at hand before
    Unmap(std::exchange(kept_, mapping));
    keptUntil_ = Clock::now() + kKept;
    if (!isWatched_) isWatched_ = StartThread([this] { Watch(); });
    if (!isWatched_) Unmap(std::exchange(kept_, {}));
    changed_.notify_all();
  }

  void Prepare(size_t bytes) {
    {
      const std::lock_guard lock(mutex_);
      if (isAtWork_ || kept_.memory != nullptr) return;
      isAtWork_ = true;
    }
    const bool isStarted = StartThread([this, bytes] {
      const Mapping fresh = Map(bytes);
      if (fresh.memory != nullptr) {
        FetchPages(fresh.memory, fresh.size);
        Keep(fresh);
      }
      EndWork();
    });
    if (!isStarted) EndWork();
  }

  // A fork's process has none of the threads, so none may be at work, and what they were to give
  // back goes.
  void BeforeFork() {
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [this] { return !isAtWork_; });
    lock.release();
  }
  void AfterFork(bool isChild) {
    if (isChild) {
      Unmap(std::exchange(kept_, {}));
      isWatched_ = false;
      // It counts the thread that waits for it, and would wait in turn until that has gone.
      new (&changed_) std::condition_variable;
    }
    mutex_.unlock();
  }

 private:
  void EndWork() {
    const std::lock_guard lock(mutex_);
    isAtWork_ = false;
    changed_.notify_all();
  }

  // Zeroes what is kept, when the last one was asked for like that, and unmaps it after its time.
  void Watch() {
    std::unique_lock lock(mutex_);
    while (kept_.memory != nullptr && Clock::now() < keptUntil_) {
      if (isZeroedAhead_ && !kept_.isZero) {
        Mapping kept = std::exchange(kept_, {});
        isAtWork_ = true;
        lock.unlock();
        memset(kept.memory, 0, kept.size);
        lock.lock();
        kept.isZero = true;
        Unmap(std::exchange(kept_, kept));
        isAtWork_ = false;
        changed_.notify_all();
      } else {
        changed_.wait_until(lock, keptUntil_);
      }
    }
    Unmap(std::exchange(kept_, {}));
    isWatched_ = false;
  }

  std::mutex mutex_;
  std::condition_variable changed_;
  Mapping kept_;
  Clock::time_point keptUntil_;
  bool isZeroedAhead_ = false;
  bool isWatched_ = false;  // by a thread
  bool isAtWork_ = false;   // a thread, on what is to be kept
};

Keeper& TheKeeper() {
  alignas(Keeper) static unsigned char memory[sizeof(Keeper)];
  static Keeper* const keeper = [] {
    pthread_atfork([] { TheKeeper().BeforeFork(); }, [] { TheKeeper().AfterFork(false); },
                   [] { TheKeeper().AfterFork(true); });
    return new (memory) Keeper;
  }();
  return *keeper;
}

bool IsLarge(size_t bytes) { return bytes >= kLargeBlock && bytes <= SIZE_MAX - kLargePageBytes; }

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
  const Mapping mapping = TheKeeper().Take(bytes, true);
  return Block(mapping.memory, BlockDeleter{mapping.size});
}

Block NewBlock(size_t bytes) {
  if (!IsLarge(bytes)) return Block(static_cast<uint8_t*>(malloc(bytes)));
  const Mapping mapping = TheKeeper().Take(bytes, false);
  return Block(mapping.memory, BlockDeleter{mapping.size});
}

void PrepareBlock(size_t bytes) {
  if (IsLarge(bytes)) TheKeeper().Prepare(bytes);
}

}  // namespace qrv::runtime
