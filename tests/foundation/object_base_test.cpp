#include "tests/support/test.h"

namespace velmora {
namespace {

using basic_structures::NxObjectRefPool;
using Ref = NxRef<NxObjectBase>;

// Tells, while it dies, what its count reads.
template <typename Base>
class DyingObject : public Base {
 public:
  explicit DyingObject(std::function<void(std::int32_t count)> tell) : tell_(std::move(tell)) {}
  ~DyingObject() override { tell_(this->GetReferenceCount()); }

 private:
  std::function<void(std::int32_t count)> tell_;
};

template <typename Action>
int ThrownInt(Action action) {
  try {
    action();
  } catch (int thrown) {
    return thrown;
  }
  return 0;
}

// The two bases that count, with and without atomic operations.
template <typename Base>
class ReferenceCount : public ::testing::Test {};

using Bases = ::testing::Types<NxObjectBase, NxSingleThreadObjectBase>;
TYPED_TEST_SUITE(ReferenceCount, Bases, );  // clang wants the third argument, empty or not

TYPED_TEST(ReferenceCount, IsNeverCopied) {
  TypeParam source, target;
  for (TypeParam* object : {&source, &source, &target}) object->retain();
  EXPECT_EQ(TypeParam(source).GetReferenceCount(), 0);
  target = source;
  EXPECT_EQ(target.GetReferenceCount(), 0);
  EXPECT_EQ(source.GetReferenceCount(), 2);
}

TYPED_TEST(ReferenceCount, IsPoisonedByTheLastReleaseBeforeTheDestructor) {
  std::int32_t countAtDeath = 0;
  auto* object = new DyingObject<TypeParam>([&](std::int32_t count) { countAtDeath = count; });
  EXPECT_EQ(ThrownInt([&] { object->release(); }), 4711) << "nothing to release";
  EXPECT_EQ(object->retain()->GetReferenceCount(), 1);
  object->retain();
  object->release();
  EXPECT_EQ(countAtDeath, 0) << "still alive";
  object->release();
  EXPECT_EQ(static_cast<std::uint32_t>(countAtDeath), 0xDEADF001U);
}

TEST(ObjectRefPool, RetainsAndReleasesBarePointers) {
  auto* pool = NxObjectRefPool::GetInstance();
  pool->RetainCache(nullptr);
  pool->ReleaseCache(nullptr);
  const Ref object = new NxObjectBase;
  pool->RetainCache(object.get());
  EXPECT_EQ(object->GetReferenceCount(), 2);
  pool->ReleaseCache(object.get());
  EXPECT_EQ(object->GetReferenceCount(), 1);
}

TEST(ObjectBase, OverReleaseOfAnotherModuleIsCaughtHere) {
  NxObjectBase object;
  EXPECT_EQ(ThrownInt([&] { NxObjectRefPool::GetInstance()->ReleaseCache(&object); }), 4711);
  Ref ref(&object);
  const Ref next = new NxObjectBase;
  object = NxObjectBase();  // back to 0 while the ref holds it
  EXPECT_EQ(ThrownInt([&] { ref = next; }), 4711);
  EXPECT_EQ(ThrownInt([&] { ref = next.get(); }), 4711);
  EXPECT_EQ(ThrownInt([&] { ref.reset(); }), 4711);
  EXPECT_EQ(ref, &object);
  EXPECT_EQ(next->GetReferenceCount(), 1) << "what did not get in is not kept";
  object.retain();  // for the ref, and so that its release is not the last
  object.retain();
}

TEST(ObjectBase, CopiesAnIdOnlyIfTheSourceHasOne) {
  NxObjectBase named;
  named.SetObjectId("named");
  NxObjectBase copy(named);
  EXPECT_TRUE(copy.HasObjectId());
  copy = NxObjectBase();
  EXPECT_FALSE(copy.HasObjectId());
  EXPECT_EQ(copy.GetObjectId(), "named") << "the old text stays in place";
  EXPECT_EQ(NxObjectBase(copy).GetObjectId(), "") << "a text without the flag is not copied";

  named = *&named;
  EXPECT_EQ(named.GetObjectId(), "named");
}

TEST(ObjectBase, IdStructMovesItsTextAndSetValueKeepsTheFlag) {
  const std::string text = "a text that is too long for any small-string buffer";
  NxObjectBaseIdStruct id, assigned;
  id.SetValue(text);
  EXPECT_FALSE(id.hasValue);
  id.hasValue = true;
  NxObjectBaseIdStruct moved(std::move(id));
  EXPECT_TRUE(moved.hasValue);
  EXPECT_EQ(id.GetValue(), "");
  assigned = std::move(moved);
  EXPECT_EQ(assigned.GetValue(), text);
  EXPECT_EQ(moved.GetValue(), "");
}

TEST(ObjectBase, CountsAreExactUnderContention) {
  std::int32_t countAtDeath = 0;
  auto* object = new DyingObject<NxObjectBase>([&](std::int32_t count) { countAtDeath = count; });
  constexpr int kThreads = 8;
  for (int i = 0; i < kThreads; ++i) object->retain();
  testing::RunTogether(kThreads, [object](int) {
    for (int i = 0; i < 10'000; ++i) {
      object->retain();
      object->release();
    }
    object->release();  // the last thread destroys it
  });
  EXPECT_EQ(countAtDeath, kPoisonedReferenceCount);
}

struct Leaf : NxObjectBase {};

TEST(Ref, CountsCopiesAndNoMoves) {
  NxRef<Leaf> leaf = new Leaf;
  Ref ref = std::move(leaf);
  EXPECT_EQ(leaf, nullptr);
  NxObjectBase* const pointee = ref.get();
  ref = ref.get();
  ref = *&ref;
  ref = std::move(*&ref);
  ASSERT_EQ(ref, pointee);
  EXPECT_EQ(ref->GetReferenceCount(), 1);
  {
    const Ref copy(ref);
    Ref assigned = new NxObjectBase;
    assigned = ref;
    EXPECT_EQ(ref->GetReferenceCount(), 3);
  }
  EXPECT_EQ(ref->GetReferenceCount(), 1);
}

TEST(Ref, RetainsTheNewThenReleasesTheOldThenStores) {
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
    Ref ref, successor = new NxObjectBase;
    const NxObjectBase& next = *successor;
    const NxObjectBase* old = nullptr;
    int deaths = 0;
    ref = new DyingObject<NxObjectBase>([&](std::int32_t) {
      ++deaths;
      EXPECT_EQ(ref, old);
      EXPECT_EQ(next.GetReferenceCount(), row.successorCount);
    });
    old = ref.get();
    row.replace(ref, successor);
    EXPECT_EQ(deaths, 1);
    EXPECT_EQ(next.GetReferenceCount(), int{ref == &next} + int{successor == &next});
  }
}

}  // namespace
}  // namespace velmora
