#include "velmora/foundation/ref.h"

#include <gtest/gtest.h>

#include <unordered_set>

#include "velmora/foundation/object_base.h"

namespace velmora {
namespace {

struct Leaf : NxObjectBase {};

TEST(Ref, OwnsOneReference) {
  const NxRef<NxObjectBase> ref = new NxObjectBase;
  EXPECT_EQ(ref->GetReferenceCount(), 1);
  {
    const NxRef<NxObjectBase> copy(ref);
    NxRef<NxObjectBase> assigned;
    assigned = ref;
    assigned = assigned.get();
    EXPECT_EQ(ref->GetReferenceCount(), 3);
  }
  EXPECT_EQ(ref->GetReferenceCount(), 1);
}

TEST(Ref, SurvivesSelfAssignment) {
  NxRef<NxObjectBase> ref = new NxObjectBase;
  NxObjectBase* const pointee = ref.get();
  ref = ref.get();
  ref = *&ref;
  ref = std::move(*&ref);
  ASSERT_EQ(ref.get(), pointee);
  EXPECT_EQ(ref->GetReferenceCount(), 1);
}

// Notes, while it dies, what the ref that let it go holds and how often its successor is retained.
class Witness : public NxObjectBase {
 public:
  struct Notes {
    bool isStillHeld = false;
    std::int32_t successorCount = -1;
  };

  Witness(const NxRef<NxObjectBase>& holder, const NxObjectBase& successor, Notes* notes)
      : holder_(holder), successor_(successor), notes_(notes) {}
  ~Witness() override { *notes_ = {holder_ == this, successor_.GetReferenceCount()}; }

 private:
  const NxRef<NxObjectBase>& holder_;
  const NxObjectBase& successor_;
  Notes* notes_;
};

TEST(Ref, RetainsTheNewThenReleasesTheOldThenStores) {
  using Ref = NxRef<NxObjectBase>;
  struct Row {
    const char* name;
    void (*replace)(Ref& ref, Ref& successor);
    std::int32_t successorCount;  // at the death of the old object
  };
  for (const Row& row :
       {Row{"raw pointer", [](Ref&ref, Ref&successor) { ref = successor.get(); }, 2},
        Row{"copy", [](Ref&ref, Ref&successor) { ref = successor; }, 2},
        Row{"move", [](Ref&ref, Ref&successor) { ref = std::move(successor); }, 1},
        Row{"null", [](Ref&ref, Ref&) { ref = nullptr; }, 1},
        Row{"reset", [](Ref&ref, Ref&) { ref.reset(); }, 1}}) {
    SCOPED_TRACE(row.name);
    Witness::Notes notes;
    Ref successor = new NxObjectBase;
    Ref ref;
    ref = new Witness(ref, *successor, &notes);
    row.replace(ref, successor);
    EXPECT_TRUE(notes.isStillHeld);
    EXPECT_EQ(notes.successorCount, row.successorCount);
  }
}

TEST(Ref, MovesTouchNoCount) {
  NxRef<Leaf> leaf = new Leaf;
  NxRef<NxObjectBase> base = std::move(leaf);
  EXPECT_EQ(leaf, nullptr);
  EXPECT_EQ(base->GetReferenceCount(), 1);
  NxRef<NxObjectBase> other = new NxObjectBase;
  other = std::move(base);
  EXPECT_FALSE(base);
  EXPECT_EQ(other->GetReferenceCount(), 1);
}

TEST(Ref, ComparesByAddress) {
  const NxRef<Leaf> leaf = new Leaf;
  const NxRef<NxObjectBase> base = leaf;
  const NxRef<NxObjectBase> empty;
  EXPECT_TRUE(base == leaf && leaf == base && base == leaf.get() && leaf.get() == leaf);
  EXPECT_TRUE(base != empty && empty == nullptr && nullptr != base && empty.get() != base);
  EXPECT_EQ(std::unordered_set<NxRef<NxObjectBase>>({base, leaf, empty}).size(), 2U);
  EXPECT_EQ(base->GetReferenceCount(), 2);
}

}  // namespace
}  // namespace velmora
