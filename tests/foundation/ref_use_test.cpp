// What ordinary C++ does with values, done with references. Compiled as C++17 here and as C++20
// beside it, where comparisons are looked up in another way.
#include <future>

#include "tests/support/test.h"

namespace velmora {
namespace {

struct Node : NxObjectBase {
  int Value() const { return 5; }
};

struct PlainBase {
  virtual ~PlainBase() = default;
};
struct Holder : PlainBase {
  NxRef<Node> node = new Node;
};
struct SharedHolder : NxObjectBase, PlainBase {
  NxRef<const Node> node = new Node;
};

template <typename T>
constexpr bool kMovesWithoutThrowing =
    std::is_nothrow_move_constructible_v<T>&& std::is_nothrow_move_assignable_v<T>&&
        std::is_nothrow_swappable_v<T>&& std::is_nothrow_destructible_v<T>;

static_assert(kMovesWithoutThrowing<NxRef<Node>> && kMovesWithoutThrowing<NxRef<const Node>>);
static_assert(kMovesWithoutThrowing<Holder>);
static_assert(!std::is_nothrow_assignable_v<NxRef<Node>&, Node*>, "may throw 4711");
static_assert(!std::is_nothrow_copy_assignable_v<NxRef<Node>>, "may throw 4711");
static_assert(!std::is_convertible_v<NxRef<const Node>, NxRef<Node>>);

TEST(RefUse, AThreadMayBeGivenOne) {
  const NxRef<Node> node = new Node;
  int value = 0;
  std::thread([node, &value] { value = node->Value(); }).join();
  EXPECT_EQ(value + std::async(std::launch::async, [node] { return node->Value(); }).get(), 10);
  std::packaged_task<int()> task([node] { return node->Value(); });
  task();
  EXPECT_EQ(task.get_future().get(), 5);
  task = {};
  EXPECT_EQ(node->GetReferenceCount(), 1);
}

TEST(RefUse, NullIsSpelledInEveryWay) {
  NxRef<Node> refs[] = {nullptr, NULL, 0, {}};
  for (NxRef<Node>& ref : refs) {
    EXPECT_TRUE(ref == NULL && NULL == ref && ref == 0 && 0 == ref && ref == nullptr);
    ref = new Node;
    EXPECT_TRUE(ref != NULL && NULL != ref && ref != 0 && 0 != ref && nullptr != ref);
  }
  refs[0] = nullptr;
  refs[1] = NULL;
  refs[2] = 0;
  refs[3] = {};
  for (const NxRef<Node>& ref : refs) EXPECT_FALSE(ref);
}

TEST(RefUse, ConstObjectsAreShared) {
  NxRef<Node> node = new Node;
  NxRef<const Node> shared = node, other;
  other = shared;
  EXPECT_EQ(shared->GetReferenceCount(), 3);
  EXPECT_TRUE(shared == node && node == other && shared == node.get() && !(node != shared));
  const NxRef<const NxObjectBase> base = std::move(other);
  EXPECT_EQ(base, node);
  node.reset();
  EXPECT_EQ(shared->Value(), 5);
  EXPECT_EQ(SharedHolder().node->GetReferenceCount(), 1);
}

struct SharesItself : NxObjectBase {
  explicit SharesItself(NxRef<SharesItself>& other) { other = this; }
};

TEST(RefUse, MakesObjectsThatSharedThemselvesAlready) {
  NxRef<SharesItself> other;
  EXPECT_EQ(MakeRef<SharesItself>(other)->GetReferenceCount(), 2);
  EXPECT_EQ(other->GetReferenceCount(), 1);
}

TEST(RefUse, ContainersOrderHashAndMoveThem) {
  std::map<NxRef<Node>, std::size_t> values;
  std::unordered_set<NxRef<const Node>> nodes;
  std::vector<NxRef<Node>> grown;
  for (std::size_t i = 0; i < 100; ++i) {
    grown.emplace_back(new Node);
    values[grown.back()] = i;
    nodes.insert(grown.back());
  }
  for (std::size_t i = 0; i < 100; ++i) EXPECT_EQ(values.at(grown[i]), i);
  EXPECT_EQ(nodes.count(grown[7]), 1U);
  EXPECT_EQ(grown[7]->GetReferenceCount(), 3);
  std::vector<Holder> holders(1);
  Node* const first = holders[0].node.get();
  holders.resize(100);
  EXPECT_TRUE(holders[0].node == first && first->GetReferenceCount() == 1);
}

}  // namespace
}  // namespace velmora
