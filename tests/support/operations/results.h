// Calls of results that enclose each other, beside lists of what each of them holds.
#pragma once

#include <algorithm>
#include <iterator>
#include <set>
#include <vector>

#include "tests/support/operations/counted.h"
#include "velmora/image/image_tag.h"
#include "velmora/results/captured_result_item.h"
#include "velmora/results/item_base.h"
#include "velmora/results/result_imp_base.h"

namespace velmora::testing {

class ScriptItem : public basic_structures::CCapturedResultItem,
                   public basic_structures::NxvItemBase {
 public:
  ScriptItem() { SetCCapturedResultItemPtr(this); }
  ~ScriptItem() override = default;
  basic_structures::CapturedResultItemType GetType() const override {
    return basic_structures::CRIT_OriginalImage;
  }
  const CCapturedResultItem* GetReferenceItem() const override { return nullptr; }
  const char* GetTargetROIDefName() const override { return GetTargetName().c_str(); }
  const char* GetTaskName() const override { return NxvItemBase::GetTaskName().c_str(); }
  CCapturedResultItem* Clone() const override { return nullptr; }
  void Retain() const override { retain(); }
  void Release() const override { release(); }
};

class ResultsScript {
 public:
  explicit ResultsScript(Bytes& script) : script_(script) {
    for (Result& result : results_) result.object = MakeRef<Object>("hash", nullptr);
  }

  void Run() {
    while (!script_.IsEmpty()) {
      const int index = script_.Below(kResults);
      Step(index);
      Check(results_[index]);
    }
    VELMORA_REQUIRE(alive_.Get() == CountReachable());
  }

 private:
  using Object = basic_structures::ResultImpBase;
  using Item = NxRef<Counted<ScriptItem>>;
  static constexpr int kResults = 4, kItems = 6;

  struct Result {
    NxRef<Object> object;
    std::vector<ScriptItem*> items;  // null for empty references
    int parent = -1;                 // a lower index: no ring
  };

  void Step(int index) {
    Result& result = results_[index];
    Item& item = items_[script_.Below(kItems)];
    switch (script_.Below(10)) {
      case 0:
        item = MakeRef<Counted<ScriptItem>>(alive_);
        break;
      case 1:
        result.object->AddResultItem(item);
        result.items.push_back(item.get());
        break;
      case 2: {
        const Result& source = results_[script_.Below(kResults)];  // perhaps itself
        if (result.items.size() + source.items.size() > 1000) break;
        result.object->AddResultItems(source.object->GetResultItems());
        const std::vector<ScriptItem*> added = source.items;
        result.items.insert(result.items.end(), added.begin(), added.end());
        break;
      }
      case 3: {
        const int code = result.object->AddResultItemExternal(item.get());
        VELMORA_REQUIRE(code == (item ? 0 : -10002));
        for (int i = item ? index : -1; i >= 0; i = results_[i].parent) {
          results_[i].items.push_back(item.get());
        }
        break;
      }
      case 4:
        VELMORA_REQUIRE(result.object->RemoveResultItem(item.get()) == 0);
        for (int i = item ? index : -1; i >= 0; i = results_[i].parent) {
          auto& items = results_[i].items;
          const auto found = std::find(items.begin(), items.end(), item.get());
          if (found != items.end()) items.erase(found);
        }
        break;
      case 5:
        result.object->ClearAllItems();
        result.items.clear();
        break;
      case 6:
        result.parent = index == 0 ? -1 : script_.Below(index + 1) - 1;
        result.object->SetCaptureResultPointer(
            result.parent < 0 ? nullptr : results_[result.parent].object.get());
        break;
      case 7:
        return Copy(result, results_[script_.Below(kResults)]);
      case 8:
        item.reset();
        break;
      default:
        result.object->SetErrorCode(script_.Int());
        results_[script_.Below(kResults)].object->CopySourceImageInfoTo(result.object.get());
    }
  }

  // In place of the result, whose children get the copy.
  void Copy(Result& result, const Result& source) {
    NxRef<Object> copy = MakeRef<Object>(source.object.get());
    VELMORA_REQUIRE(copy->GetErrorStringBase() == source.object->GetErrorStringBase());
    for (Result& child : results_) {
      if (child.parent >= 0 && results_[child.parent].object == result.object) {
        child.object->SetCaptureResultPointer(copy.get());
      }
    }
    result.object = copy;
    result.items.clear();
    result.parent = -1;
  }

  void Check(const Result& result) const {
    const auto& items = result.object->GetResultItems();
    VELMORA_REQUIRE(
        std::equal(items.begin(), items.end(), result.items.begin(), result.items.end()));
    const Item& item = items_[0];
    const bool holds = std::count(result.items.begin(), result.items.end(), item.get()) != 0;
    VELMORA_REQUIRE(result.object->HasResultItem(item.get()) == (item && holds));
  }

  int CountReachable() const {
    std::set<const void*> reachable;
    for (const Item& item : items_) reachable.insert(item.get());
    for (const Result& result : results_) {
      reachable.insert(result.items.begin(), result.items.end());
    }
    reachable.erase(nullptr);
    return static_cast<int>(reachable.size());
  }

  Bytes& script_;
  AliveCount alive_;
  Item items_[kItems];
  Result results_[kResults];
};

inline void RunResults(const std::uint8_t* bytes, std::size_t size) {
  Bytes script(bytes, size);
  ResultsScript(script).Run();
}

}  // namespace velmora::testing
