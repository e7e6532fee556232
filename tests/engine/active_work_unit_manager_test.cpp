#include "velmora/engine/active_work_unit_manager.h"

#include <gtest/gtest.h>

#include <cstdint>

#include "tests/engine/engine_objects.h"
#include "tests/support/barrier.h"

namespace velmora {
namespace {

using testing::MakeRegion;

// An item at work on an image.
struct Active {
  explicit Active(const NxRef<NxSourceImageObject>& source)
      : output(MakeRegion("page", source), MakeRegion("page"), "read", TT_ATOMIC_0),
        item(&output, nullptr, nullptr, 0) {}

  NxOutputBase output;
  ExecutableWorkItem item;
};

TEST(ActiveWorkUnitManager, ChargesEachImageInFlightOnce) {
  const NxRef<NxSourceImageObject> image = new NxSourceImageObject(nullptr, 1, 10);
  const NxRef<NxSourceImageObject> other = new NxSourceImageObject(nullptr, 2, 10);
  Active first(image);
  Active second(image);
  Active third(other);
  Active noImage(nullptr);
  ActiveWorkUnitManager manager;
  manager.AddTimeCheckCountForActiveWorkUnit(1);
  for (Active* active : {&first, &second, &third, &noImage}) {
    manager.LoadActiveWorkUnit(&active->item);
    manager.LoadActiveWorkUnit(&active->item);
  }
  manager.AddTimeCheckCountForActiveWorkUnit(10);
  EXPECT_EQ(image->GetElapsedTime(), 10);
  EXPECT_FALSE(image->IsTimeOut());
  manager.UnloadActiveWorkUnit(&first.item);
  manager.UnloadActiveWorkUnit(&third.item);
  manager.UnloadActiveWorkUnit(&third.item);
  manager.AddTimeCheckCountForActiveWorkUnit(INT64_C(0x7700000001));  // only the low 32 bits count
  EXPECT_EQ(image->GetElapsedTime(), 11);
  EXPECT_TRUE(image->IsTimeOut());
  EXPECT_EQ(other->GetElapsedTime(), 10);
}

TEST(ActiveWorkUnitManager, ChargesWhileItemsComeAndGo) {
  constexpr int kCharges = 2000;
  const NxRef<NxSourceImageObject> image = new NxSourceImageObject(nullptr, 1, 10);
  Active resident(image);
  ActiveWorkUnitManager manager;
  manager.LoadActiveWorkUnit(&resident.item);
  testing::RunTogether(3, [&](int thread) {
    for (int i = 0; i < kCharges; ++i) {
      if (thread == 0) {
        manager.AddTimeCheckCountForActiveWorkUnit(1);
        continue;
      }
      Active passing(image);
      manager.LoadActiveWorkUnit(&passing.item);
      manager.UnloadActiveWorkUnit(&passing.item);
    }
  });
  EXPECT_EQ(image->GetElapsedTime(), kCharges);
}

}  // namespace
}  // namespace velmora
