#include "velmora/foundation/object_base.h"

#include <gtest/gtest.h>

#include "tests/support/barrier.h"
#include "velmora/foundation/object_ref_pool.h"
#include "velmora/foundation/ref.h"
#include "velmora/foundation/single_thread_object_base.h"

namespace velmora {
namespace {

using basic_structures::NxObjectRefPool;

// Tells what the count reads while the object dies.
template <typename Base>
class DyingObject : public Base {
 public:
  explicit DyingObject(std::int32_t* countAtDeath) : countAtDeath_(countAtDeath) {}
  ~DyingObject() override { *countAtDeath_ = this->GetReferenceCount(); }

 private:
  std::int32_t* countAtDeath_;
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

TYPED_TEST(ReferenceCount, ReleasedAtZeroThrows4711AndStays) {
  TypeParam object;
  EXPECT_EQ(ThrownInt([&] { object.release(); }), 4711);
  EXPECT_EQ(object.GetReferenceCount(), 0);
}

TYPED_TEST(ReferenceCount, IsPoisonedByTheLastReleaseBeforeTheDestructor) {
  std::int32_t count = 0;
  auto* object = new DyingObject<TypeParam>(&count);
  EXPECT_EQ(object->retain(), object);
  object->retain();
  object->release();
  EXPECT_EQ(count, 0) << "still alive";
  object->release();
  EXPECT_EQ(static_cast<std::uint32_t>(count), 0xDEADF001U);
}

TEST(ObjectBase, OverReleaseOfAnotherModuleIsCaughtHere) {
  NxObjectBase object;
  EXPECT_EQ(ThrownInt([&] { NxObjectRefPool::GetInstance()->ReleaseCache(&object); }), 4711);
  EXPECT_EQ(ThrownInt([&] {
              const NxRef<NxObjectBase> ref(&object);
              object = NxObjectBase();  // back to 0 under the feet of the ref
            }),
            4711);
}

TEST(ObjectRefPool, HoldsReferencesForBarePointers) {
  auto* pool = NxObjectRefPool::GetInstance();
  EXPECT_EQ(pool, &NxObjectRefPool::m_instance);
  pool->RetainCache(nullptr);
  pool->ReleaseCache(nullptr);
  std::int32_t count = 0;
  auto* object = new DyingObject<NxObjectBase>(&count);
  pool->RetainCache(object);
  EXPECT_EQ(object->GetReferenceCount(), 1);
  pool->ReleaseCache(object);
  EXPECT_NE(count, 0);
}

TEST(ObjectBase, CopiesAnIdOnlyIfTheSourceHasOne) {
  NxObjectBase named;
  named.SetObjectId("named");
  NxObjectBase copy(named);
  EXPECT_TRUE(copy.HasObjectId());
  EXPECT_EQ(copy.GetObjectId(), "named");

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
  auto* object = new DyingObject<NxObjectBase>(&countAtDeath);
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

}  // namespace
}  // namespace velmora
