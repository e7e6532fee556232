// The slots of a work output table, without its lock.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

#include "velmora/engine/internal/lowest_index.h"
#include "velmora/engine/work_output.h"
#include "velmora/foundation/ref.h"

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
class WorkSlots {
 public:
  void SetListsPerLevel(int count);
  // Takes `work` over; leaves it where it is if there is no such list, so that what is refused does
  // not die in here, under the table's lock.
  void Append(int level, int mode, NxRef<NxWorkOutput>& work);
  // The next work of `workMode`, of any when that is empty; or an empty reference.
  NxRef<NxWorkOutput> Take(const std::string& workMode, bool sequential);
  bool HasWork() const { return any_.Lowest() != LowestIndex::kNone; }
  std::int64_t GetVisitedCount() const;

 private:
  static constexpr std::uint32_t kNone = UINT32_MAX;

  // The neighbours of a slot in a chain.
  struct Link {
    std::uint32_t before = kNone;
    std::uint32_t behind = kNone;
  };
  struct Slot {
    NxRef<NxWorkOutput> work;  // empty once taken; then the rest means nothing
    Link any;                  // in the chain of the list
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
  // What a take writes of a list lies in one cache line: threads that take turns pass it on.
  struct alignas(64) List {
    Chain any;
    std::uint32_t modeId = kNone;  // that of all its work, unless it has `modes`
    std::vector<Slot> slots;
    std::unique_ptr<Modes> modes;  // made for the second mode: most lists have one only
    std::int64_t visitedCount = 0;
  };

  void AddLevelsUpTo(int level);
  List* FindList(int level, int mode);
  std::uint32_t ModeId(const std::string& workMode);
  static void AddMode(List& list, std::uint32_t modeId);
  static std::uint32_t Choose(List& list, const Chain& chain, bool sequential);
  NxRef<NxWorkOutput> TakeFrom(std::uint32_t listIndex, std::uint32_t slotIndex);

  std::uint32_t listsPerLevel_ = 0;
  std::vector<std::uint32_t> levelEnds_;  // index of the list behind the level's last
  std::vector<List> lists_;
  LowestIndex any_;                                         // lists with work
  std::vector<LowestIndex> byMode_;                         // lists with work of a mode id
  std::unordered_map<std::string, std::uint32_t> modeIds_;  // in the order of their first append
};

}  // namespace velmora::internal
