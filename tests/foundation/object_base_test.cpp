#include "velmora/foundation/object_base.h"

#include <gtest/gtest.h>

#include <thread>

#include "tests/support/barrier.h"
#include "velmora/foundation/object_ref_pool.h"
#include "velmora/foundation/single_thread_object_base.h"

namespace velmora {
namespace {

// An object on the stack with a given count; nothing releases it to 0.
class Counted : public NxObjectBase {
 public:
  explicit Counted(int count) {
    for (int i = 0; i < count; ++i) retain();
  }
};

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

TEST(ObjectBase, CopyingNeverTransfersReferences) {
  const Counted five(5);
  const Counted copy(five);
  EXPECT_EQ(copy.GetReferenceCount(), 0);
  Counted three(3);
  three = five;
  EXPECT_EQ(three.GetReferenceCount(), 0);
  EXPECT_EQ(five.GetReferenceCount(), 5);
}

TEST(ObjectBase, CopiesAnIdOnlyIfTheSourceHasOne) {
  Counted named(0);
  named.SetObjectId("named");
  const Counted nameless(0);

  const Counted copy(named);
  EXPECT_TRUE(copy.HasObjectId());
  EXPECT_EQ(copy.GetObjectId(), "named");

  Counted target(copy);
  target = nameless;
  EXPECT_FALSE(target.HasObjectId());
  EXPECT_EQ(target.GetObjectId(), "named") << "the old text stays in place";
  const Counted copyOfStaleText(target);
  EXPECT_EQ(copyOfStaleText.GetObjectId(), "") << "a text without the flag is not copied";

  named = *&named;
  EXPECT_EQ(named.GetObjectId(), "named");
}

TEST(ObjectBase, IdStructMovesItsTextAndSetValueKeepsTheFlag) {
  NxObjectBaseIdStruct id;
  id.SetValue("a text that is too long for any small-string buffer");
  EXPECT_FALSE(id.hasValue);
  id.hasValue = true;
  NxObjectBaseIdStruct moved(std::move(id));
  EXPECT_TRUE(moved.hasValue);
  EXPECT_EQ(id.GetValue(), "");
  NxObjectBaseIdStruct assigned;
  assigned = std::move(moved);
  EXPECT_EQ(assigned.GetValue(), "a text that is too long for any small-string buffer");
  EXPECT_EQ(moved.GetValue(), "");
}

TEST(ObjectBase, OverReleaseThrows4711AndChangesNothing) {
  Counted counted(0);
  EXPECT_EQ(ThrownInt([&] { counted.release(); }), 4711);
  EXPECT_EQ(counted.GetReferenceCount(), 0);
  EXPECT_EQ(
      ThrownInt([&] { basic_structures::NxObjectRefPool::GetInstance()->ReleaseCache(&counted); }),
      4711)
      << "thrown inside the library, caught outside";
  struct SingleThreaded : NxSingleThreadObjectBase {
  } single;
  EXPECT_EQ(ThrownInt([&] { single.release(); }), 4711);
  EXPECT_EQ(single.GetReferenceCount(), 0);
}

TEST(ObjectBase, LastReleasePoisonsTheCountBeforeTheDestructor) {
  std::int32_t count = 0;
  auto* shared = new DyingObject<NxObjectBase>(&count);
  EXPECT_EQ(shared->retain(), shared);
  shared->retain();
  shared->release();
  EXPECT_EQ(count, 0) << "still alive";
  shared->release();
  EXPECT_EQ(static_cast<std::uint32_t>(count), 0xDEADF001U);

  count = 0;
  auto* single = new DyingObject<NxSingleThreadObjectBase>(&count);
  single->retain();
  single->release();
  EXPECT_EQ(static_cast<std::uint32_t>(count), 0xDEADF001U);
}

TEST(ObjectBase, SingleThreadAssignmentResetsTheCount) {
  struct SingleThreaded : NxSingleThreadObjectBase {
  } source, target;
  source.retain();
  target.retain();
  target = source;
  EXPECT_EQ(target.GetReferenceCount(), 0);
  EXPECT_EQ(SingleThreaded(source).GetReferenceCount(), 0);
}

TEST(ObjectRefPool, HoldsReferencesForBarePointers) {
  auto* pool = basic_structures::NxObjectRefPool::GetInstance();
  EXPECT_EQ(pool, &basic_structures::NxObjectRefPool::m_instance);
  pool->RetainCache(nullptr);
  pool->ReleaseCache(nullptr);
  std::int32_t count = 0;
  auto* object = new DyingObject<NxObjectBase>(&count);
  pool->RetainCache(object);
  EXPECT_EQ(object->GetReferenceCount(), 1);
  pool->ReleaseCache(object);
  EXPECT_NE(count, 0);
}

TEST(ObjectBase, CountsAreExactUnderContention) {
  for (const int threads : {2, 8}) {
    SCOPED_TRACE(threads);
    std::int32_t countAtDeath = 0;
    auto* object = new DyingObject<NxObjectBase>(&countAtDeath);
    for (int i = 0; i < threads; ++i) object->retain();
    testing::RunTogether(threads, [object](int) {
      for (int i = 0; i < 10'000; ++i) {
        object->retain();
        object->release();
      }
      object->release();  // the last thread destroys it
    });
    EXPECT_EQ(countAtDeath, kPoisonedReferenceCount);
  }
}

}  // namespace
}  // namespace velmora
