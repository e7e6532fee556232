#include "velmora/engine/internal/work_output_memory.h"

#include <atomic>
#include <cstdint>
#include <new>

#include "velmora/engine/work_output.h"
#include "velmora/platform/mutex.h"

#if defined(__has_feature)
#if __has_feature(address_sanitizer)
#define VELMORA_ADDRESS_SANITIZER
#endif
#elif defined(__SANITIZE_ADDRESS__)
#define VELMORA_ADDRESS_SANITIZER
#endif

namespace velmora::internal {
namespace {

#ifdef VELMORA_ADDRESS_SANITIZER
constexpr std::uint32_t kCellsPerSlab = 1;  // so that a cell that was freed is not readable
#else
constexpr std::uint32_t kCellsPerSlab = 64;  // 16 cost 10 ns more per item
#endif

struct Slab;

// As the heap aligns: objects of derived classes without members of their own are as large and may
// ask for it.
constexpr std::size_t kHeapAlignment = 2 * sizeof(void*);
static_assert(alignof(NxWorkOutput) <= kHeapAlignment);

struct Cell {
  Slab* slab;
  alignas(kHeapAlignment) unsigned char workOutput[sizeof(NxWorkOutput)];
};

struct Slab {
  // The cells that are in use or will be.
  std::atomic<std::uint32_t> cellsLeft{kCellsPerSlab};
  Cell cells[kCellsPerSlab];
};

void Drop(Slab* slab, std::uint32_t cells) noexcept {
  // Release: the destructors of the work outputs come before the slab is freed. Acquire: elsewhere.
  if (slab->cellsLeft.fetch_sub(cells, std::memory_order_acq_rel) == cells) delete slab;
}

// Where a thread takes its cells from. Several threads may share one.
class alignas(64) Source {
 public:
  ~Source() {
    const MutexLock lock(mutex_);
    if (slab_ != nullptr) Drop(slab_, kCellsPerSlab - usedCells_);
    slab_ = nullptr;
  }

  void* Allocate() {
    const MutexLock lock(mutex_);
    if (slab_ == nullptr) {
      slab_ = new Slab;
      usedCells_ = 0;
    }
    Cell& cell = slab_->cells[usedCells_];
    cell.slab = slab_;
    if (++usedCells_ == kCellsPerSlab) slab_ = nullptr;
    return cell.workOutput;
  }

 private:
  Mutex mutex_;
  Slab* slab_ VELMORA_GUARDED_BY(mutex_) = nullptr;  // has an unused cell
  std::uint32_t usedCells_ VELMORA_GUARDED_BY(mutex_) = 0;
};

constexpr std::uint32_t kSourceCount = 8;
Source sources[kSourceCount];
std::atomic<std::uint32_t> threadCount{0};
thread_local std::uint32_t threadNumber = 0;  // from 1; 0 before the thread's first work output

Source& SourceOfThread() {
  // Relaxed: the number publishes nothing.
  if (threadNumber == 0) threadNumber = threadCount.fetch_add(1, std::memory_order_relaxed) + 1;
  return sources[threadNumber % kSourceCount];
}

}  // namespace

void* AllocateWorkOutput() {
  return SourceOfThread().Allocate();
}

void FreeWorkOutput(void* memory) noexcept {
  auto* const place = static_cast<unsigned char*>(memory) - offsetof(Cell, workOutput);
  Drop(reinterpret_cast<Cell*>(place)->slab, 1);
}

}  // namespace velmora::internal
