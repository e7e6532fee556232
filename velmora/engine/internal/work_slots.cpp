#include "velmora/engine/internal/work_slots.h"

#include <algorithm>
#include <stdexcept>
#include <utility>

#include "velmora/platform/prefetch.h"

namespace velmora::internal {
namespace {

// When slot `index` of a list of `count` slots is visited in the alternating order.
std::uint64_t VisitNumber(std::uint64_t index, std::uint64_t count) {
  return index <= (count - 1) / 2 ? 2 * index : 2 * (count - 1 - index) + 1;
}

// Puts slot `index`, the last of the list, at the end of the chain. `link` is the member of a slot
// that belongs to the chain.
template <typename Slot, typename Link, typename Chain>
void PushBack(std::vector<Slot>& slots, Link Slot::*link, Chain& chain, std::uint32_t index) {
  (slots[index].*link).before = chain.last;
  std::uint32_t& follower =
      chain.last == UINT32_MAX ? chain.first : (slots[chain.last].*link).behind;
  follower = index;
  chain.last = index;
}

template <typename Slot, typename Link, typename Chain>
void Unlink(std::vector<Slot>& slots, Link Slot::*link, Chain& chain, std::uint32_t index) {
  if (chain.first == chain.last) {
    chain = {};
    return;
  }
  const Link gone = slots[index].*link;
  if (index == chain.first) {
    chain.first = gone.behind;
  } else if (index == chain.last) {
    chain.last = gone.before;
  } else {
    (slots[gone.before].*link).behind = gone.behind;
    (slots[gone.behind].*link).before = gone.before;
  }
}

// Work was made some time ago, often by another thread.
void FetchAll(const NxWorkOutput* work) {
  const auto* const memory = reinterpret_cast<const char*>(work);
  for (std::size_t offset = 0; offset < sizeof(NxWorkOutput); offset += 64) {
    PrefetchToWrite(memory + offset);
  }
}

}  // namespace

void WorkSlots::SetListsPerLevel(int count) {
  listsPerLevel_ = count < 0 ? 0 : static_cast<std::uint32_t>(count);
}

void WorkSlots::Append(int level, int mode, NxRef<NxWorkOutput>& work) {
  AddLevelsUpTo(level);
  List* const list = FindList(level, mode);
  if (list == nullptr) return;

  // All that may run out of memory comes first, the slot last, so that a failure leaves the order
  // of the work and `work` itself as they were.
  const std::uint32_t modeId = work ? ModeId(work->GetWorkMode()) : kNone;
  const auto listIndex = static_cast<std::uint32_t>(list - lists_.data());
  Chain& any = MakeCurrent(listIndex);
  if (work) AddMode(*list, any, modeId);
  const auto slotIndex = static_cast<std::uint32_t>(list->slots.size());
  Slot& slot = list->slots.emplace_back();
  if (!work) return;

  slot.work = work.Detach();
  PushBack(list->slots, &Slot::any, any, slotIndex);
  if (list->modes) {
    Modes& modes = *list->modes;
    modes.slots[slotIndex].modeId = modeId;
    PushBack(modes.slots, &Modes::Slot::sameMode, modes.chains[modeId], slotIndex);
  }
  any_.Insert(listIndex);
  byMode_[modeId].Insert(listIndex);
}

NxRef<NxWorkOutput> WorkSlots::Take(const std::string& workMode, bool sequential) {
  if (workMode.empty()) {
    const std::uint32_t listIndex = any_.Lowest();
    if (listIndex == LowestIndex::kNone) return nullptr;
    return TakeFrom(listIndex, Choose(lists_[listIndex], MakeCurrent(listIndex), sequential));
  }
  const auto mode = modeIds_.find(workMode);
  if (mode == modeIds_.end()) return nullptr;
  const std::uint32_t listIndex = byMode_[mode->second].Lowest();
  if (listIndex == LowestIndex::kNone) return nullptr;
  const List& list = lists_[listIndex];
  const Chain& any = MakeCurrent(listIndex);
  const Chain& chain = list.modes ? list.modes->chains[mode->second] : any;
  return TakeFrom(listIndex, Choose(list, chain, sequential));
}

void WorkSlots::AddLevelsUpTo(int level) {
  const auto levelCount = static_cast<std::int64_t>(levelEnds_.size());
  if (level < levelCount) return;
  const std::uint64_t newLevels = static_cast<std::uint64_t>(level - levelCount) + 1;
  const std::uint64_t listCount = lists_.size() + newLevels * listsPerLevel_;
  if (listCount >= kNone) throw std::length_error("NxWorkOutputTable");

  const auto end = static_cast<std::uint32_t>(listCount);
  any_.Grow(end);
  for (LowestIndex& lists : byMode_) lists.Grow(end);
  const std::size_t levels = static_cast<std::size_t>(level) + 1;
  // reserve() alone takes what it is asked for, and would copy the ends again for every new level.
  if (levelEnds_.capacity() < levels) levelEnds_.reserve(std::max(levels, 2 * levelEnds_.size()));
  std::uint64_t levelEnd = lists_.size();
  lists_.resize(end);
  for (std::uint64_t i = 0; i < newLevels; ++i) {
    levelEnds_.push_back(static_cast<std::uint32_t>(levelEnd += listsPerLevel_));
  }
}

WorkSlots::List* WorkSlots::FindList(int level, int mode) {
  if (level < 0 || mode < 0) return nullptr;
  const auto index = static_cast<std::size_t>(level);
  const std::uint32_t begin = index == 0 ? 0 : levelEnds_[index - 1];
  const std::uint32_t count = levelEnds_[index] - begin;
  const auto offset = static_cast<std::uint32_t>(mode);
  return offset < count ? &lists_[begin + offset] : nullptr;
}

std::uint32_t WorkSlots::ModeId(const std::string& workMode) {
  const auto known = modeIds_.find(workMode);
  if (known != modeIds_.end()) return known->second;
  const auto id = static_cast<std::uint32_t>(byMode_.size());
  LowestIndex lists;
  lists.Grow(static_cast<std::uint32_t>(lists_.size()));
  byMode_.push_back(std::move(lists));
  modeIds_.emplace(workMode, id);  // without memory for it the index stays unused
  return id;
}

// Makes room for one more slot, of mode `modeId`, among the chains of the modes. A list without
// work takes the mode for its only one.
void WorkSlots::AddMode(List& list, const Chain& any, std::uint32_t modeId) {
  if (!list.modes && (any.first == kNone || list.modeId == modeId)) {
    list.modeId = modeId;
    return;
  }
  std::unique_ptr<Modes> split;
  if (!list.modes) split = std::make_unique<Modes>();
  Modes& modes = split ? *split : *list.modes;
  modes.slots.resize(list.slots.size() + 1);
  const std::size_t modeCount = split ? std::max(modeId, list.modeId) : modeId;
  if (modes.chains.size() <= modeCount) modes.chains.resize(modeCount + 1);
  if (!split) return;

  // Until now the chain of the list was the one of its only mode.
  modes.chains[list.modeId] = any;
  for (std::uint32_t i = any.first;; i = list.slots[i].any.behind) {
    modes.slots[i] = {list.slots[i].any, list.modeId};
    if (i == any.last) break;
  }
  list.modes = std::move(split);
}

WorkSlots::Chain& WorkSlots::MakeCurrent(std::uint32_t listIndex) {
  if (listIndex != currentList_) {
    if (currentList_ != kNone) lists_[currentList_].any = current_;
    current_ = lists_[listIndex].any;
    currentList_ = listIndex;
  }
  return current_;
}

std::uint32_t WorkSlots::Choose(const List& list, const Chain& chain, bool sequential) {
  visitedCount_ += sequential || chain.first == chain.last ? 1 : 2;
  if (sequential) return chain.first;
  const std::size_t count = list.slots.size();
  return VisitNumber(chain.first, count) < VisitNumber(chain.last, count) ? chain.first
                                                                          : chain.last;
}

NxRef<NxWorkOutput> WorkSlots::TakeFrom(std::uint32_t listIndex, std::uint32_t slotIndex) {
  List& list = lists_[listIndex];
  NxWorkOutput* const work = list.slots[slotIndex].work;
  FetchAll(work);
  Unlink(list.slots, &Slot::any, current_, slotIndex);
  const bool isEmpty = current_.first == kNone;
  if (isEmpty) any_.Erase(listIndex);
  if (list.modes) {
    Modes& modes = *list.modes;
    const std::uint32_t modeId = modes.slots[slotIndex].modeId;
    Unlink(modes.slots, &Modes::Slot::sameMode, modes.chains[modeId], slotIndex);
    if (modes.chains[modeId].first == kNone) byMode_[modeId].Erase(listIndex);
  } else if (isEmpty) {
    byMode_[list.modeId].Erase(listIndex);
  }
  return NxRef<NxWorkOutput>::Adopt(work);
}

}  // namespace velmora::internal
