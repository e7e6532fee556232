// The slots of a work output table.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

#include "velmora/engine/internal/lowest_index.h"
#include "velmora/engine/work_output.h"
#include "velmora/foundation/ref.h"
#include "velmora/platform/mutex.h"

namespace velmora::internal {

// Lists of slots, numbered level by level and within a level by work mode, so that the lowest list
// with work is the one to search.
//
// In the alternating order of a list of n slots, slot i is visited as number 2i when it lies in the
// front half and as 2(n-1-i)+1 when it lies in the rear half. Those numbers grow from either end
// towards the middle, so the first of any set of slots to be visited is its lowest or its highest
// slot. Hence two chains through the slots that still hold work: one through all slots of a list,
// one through those of the same work mode, which are the same while there is one mode. A search
// looks at the two ends of a chain, whatever was emptied around or between them and however far
// appends have moved the far end.
//
// All work was taken out when they are destroyed.
class WorkSlots {
 public:
  void SetListsPerLevel(int count);
  // Takes `work` over; leaves it where it is if there is no such list, so that what is refused does
  // not die in here, under the table's lock.
  void Append(int level, int mode, NxRef<NxWorkOutput>& work);
  // The next work of `workMode`, of any when that is empty; or an empty reference.
  NxRef<NxWorkOutput> Take(const std::string& workMode, bool sequential);
  bool HasWork() const { return any_.Lowest() != LowestIndex::kNone; }
  std::int64_t GetVisitedCount() const { return visitedCount_; }

 private:
  static constexpr std::uint32_t kNone = UINT32_MAX;

  // The neighbours of a slot in a chain. Nobody asks the first one who was before it, nor the last
  // one who was behind: what stands there is out of date.
  struct Link {
    std::uint32_t before = kNone;
    std::uint32_t behind = kNone;
  };
  // Taking work from an end of the chain only reads slots. So threads that take in turns keep the
  // lines of the slots, each for itself.
  struct Slot {
    NxWorkOutput* work = nullptr;  // owned while the slot is in the chain
    Link any;                      // in the chain of the list
  };
  struct Chain {
    std::uint32_t first = kNone;
    std::uint32_t last = kNone;
  };
  // The chains of a list that holds work of several modes.
  struct Modes {
    struct Slot {
      Link sameMode;  // in the chain of the list and the work mode
      std::uint32_t modeId = kNone;
    };
    std::vector<Slot> slots;    // as the list's
    std::vector<Chain> chains;  // indexed by mode id, as far as modes were appended here
  };
  struct List {
    Chain any;                     // of the current list: out of date
    std::uint32_t modeId = kNone;  // that of all its work, unless it has `modes`
    std::vector<Slot> slots;
    std::unique_ptr<Modes> modes;  // made for the second mode: most lists have one only
  };

  void AddLevelsUpTo(int level);
  List* FindList(int level, int mode);
  std::uint32_t ModeId(const std::string& workMode);
  static void AddMode(List& list, const Chain& any, std::uint32_t modeId);
  // The chain of all work in a list, which thereby becomes the current one.
  Chain& MakeCurrent(std::uint32_t listIndex);
  std::uint32_t Choose(const List& list, const Chain& chain, bool sequential);
  NxRef<NxWorkOutput> TakeFrom(std::uint32_t listIndex, std::uint32_t slotIndex);

  // Few takes write more than the chain of the list that was used last and the count. On 64-bit
  // Linux they lie in the cache line of the lock, which threads that take in turns pass on anyway.
  Chain current_;
  std::uint32_t currentList_ = kNone;
  std::uint32_t listsPerLevel_ = 0;
  std::int64_t visitedCount_ = 0;
  std::vector<std::uint32_t> levelEnds_;  // index of the list behind the level's last
  std::vector<List> lists_;
  LowestIndex any_;                                         // lists with work
  std::vector<LowestIndex> byMode_;                         // lists with work of a mode id
  std::unordered_map<std::string, std::uint32_t> modeIds_;  // in the order of their first append
};

struct alignas(64) GuardedWorkSlots {
  Mutex mutex;
  WorkSlots slots VELMORA_GUARDED_BY(mutex);
};

}  // namespace velmora::internal
