#include "velmora/foundation/ref.h"

#include <gtest/gtest.h>

#include <string>
#include <unordered_set>
#include <vector>

#include "tests/support/barrier.h"
#include "velmora/foundation/object_base.h"

namespace velmora {
namespace {

class Node : public NxObjectBase {
 public:
  explicit Node(int* deaths) : deaths_(deaths) {}
  ~Node() override { ++*deaths_; }

  NxRef<Node> next;

 private:
  int* deaths_;
};

class Leaf : public Node {
  using Node::Node;
};

TEST(Ref, OwnsOneReference) {
  int deaths = 0;
  {
    NxRef<Node> ref = new Node(&deaths);
    EXPECT_EQ(ref->GetReferenceCount(), 1);
    const NxRef<Node> copy(ref);
    EXPECT_EQ(ref->GetReferenceCount(), 2);
    NxRef<Node> assigned;
    assigned = ref;
    assigned = assigned.get();
    EXPECT_EQ(ref->GetReferenceCount(), 3);
    assigned = nullptr;
    EXPECT_EQ(ref->GetReferenceCount(), 2);
  }
  EXPECT_EQ(deaths, 1);
}

TEST(Ref, SurvivesSelfAssignment) {
  int deaths = 0;
  NxRef<Node> ref = new Node(&deaths);
  ref = ref.get();
  ref = *&ref;
  ref = std::move(*&ref);
  ASSERT_TRUE(ref);
  EXPECT_EQ(ref->GetReferenceCount(), 1);
  EXPECT_EQ(deaths, 0);
}

TEST(Ref, TakesOverWhatOnlyTheOldPointeeKeptAlive) {
  int headDeaths = 0;
  int tailDeaths = 0;
  NxRef<Node> ref = new Node(&headDeaths);
  ref->next = new Node(&tailDeaths);
  ref = ref->next.get();
  EXPECT_EQ(headDeaths, 1);
  EXPECT_EQ(tailDeaths, 0);
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
  int deaths = 0;
  NxRef<Leaf> leaf = new Leaf(&deaths);
  NxRef<Node> node = std::move(leaf);
  EXPECT_EQ(leaf, nullptr);
  EXPECT_EQ(node->GetReferenceCount(), 1);
  NxRef<Node> other = new Node(&deaths);
  other = std::move(node);
  EXPECT_EQ(deaths, 1) << "the pointee that was moved over";
  EXPECT_FALSE(node);
  EXPECT_EQ(other->GetReferenceCount(), 1);
}

TEST(Ref, ComparesByAddress) {
  int deaths = 0;
  const NxRef<Leaf> leaf = new Leaf(&deaths);
  const NxRef<Node> node = leaf;
  const NxRef<Node> empty;
  EXPECT_TRUE(node == leaf && leaf == node && node == leaf.get() && leaf.get() == leaf);
  EXPECT_TRUE(node != empty && empty == nullptr && nullptr != node);
  EXPECT_EQ(std::unordered_set<NxRef<Node>>({node, leaf, empty}).size(), 2U);
  EXPECT_EQ(node->GetReferenceCount(), 2);
}

TEST(Ref, DestructorPassesOnTheOverRelease) {
  NxObjectBase object;  // on the stack: no ref may destroy it
  object.retain();
  int thrown = 0;
  try {
    const NxRef<NxObjectBase> ref(&object);
    object.retain();
    for (int i = 0; i < 2; ++i) object.release();
    object = NxObjectBase();  // resets the count to 0 under the ref's feet
  } catch (int error) {
    thrown = error;
  }
  EXPECT_EQ(thrown, 4711);
}

TEST(Ref, CopiesFromManyThreadsKeepTheCountExact) {
  int deaths = 0;
  for (const int threads : {2, 8}) {
    SCOPED_TRACE(threads);
    deaths = 0;
    NxRef<Node> shared = new Node(&deaths);
    testing::RunTogether(threads, [&shared](int) {
      std::vector<NxRef<Node>> copies;
      for (int i = 0; i < 2'000; ++i) {
        copies.push_back(shared);
        if (i % 3 == 0) copies.clear();
      }
    });
    EXPECT_EQ(shared->GetReferenceCount(), 1);
    shared.reset();
    EXPECT_EQ(deaths, 1);
  }
}

}  // namespace
}  // namespace velmora
