/// @file
/// What an observer of intermediate results wants to see.
#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <set>
#include <string>

#include "velmora/platform/export.h"
#include "velmora/results/intermediate_result_unit.h"

namespace velmora::intermediate_results {

/// Choice of the unit types and tasks that an observer wants to see.
///
/// @threadsafety set up before processing starts; only read from then on
class VELMORA_EXPORT CObservationParameters {
 public:
  CObservationParameters() = default;
  CObservationParameters(const CObservationParameters&) = default;
  CObservationParameters& operator=(const CObservationParameters&) = default;
  virtual ~CObservationParameters();

  /// The unit types to observe, `IntermediateResultUnitType` bits; all of them unless set.
  virtual void SetObservedResultUnitTypes(unsigned long long types) = 0;
  virtual unsigned long long GetObservedResultUnitTypes() const = 0;
  /// Whether at least one bit of @p type is observed.
  virtual bool IsResultUnitTypeObserved(IntermediateResultUnitType type) const = 0;

  /// Adds a task to observe. The first one ends the observation of all others.
  /// @param taskName  copied; null adds nothing
  virtual void AddObservedTask(const char* taskName) = 0;
  /// Takes a task back, if it was added. After the last one all tasks are observed again.
  /// @param taskName  null removes nothing
  virtual void RemoveObservedTask(const char* taskName) = 0;
  /// True for every name, null too, while no task was added; otherwise for the tasks added.
  virtual bool IsTaskObserved(const char* taskName) const = 0;

  /// The unit types that the observer does not want to be shown but supplies itself; none unless
  /// set.
  virtual void SetResultUnitTypesOnlyForInput(unsigned long long types) = 0;
  virtual unsigned long long GetResultUnitTypesOnlyForInput() const = 0;
  /// Whether at least one bit of @p type is only for input.
  virtual bool IsResultUnitTypeOnlyForInput(IntermediateResultUnitType type) const = 0;
};

/// The settings behind every receiver, with two masks of marks that the modules set while they
/// work.
///
/// @threadsafety marks: any thread, lock-free. The rest as in the base.
class VELMORA_EXPORT CObservationParametersImp : public CObservationParameters {
 public:
  /// Observes every unit type and every task; nothing only for input, no marks.
  CObservationParametersImp();
  CObservationParametersImp(const CObservationParametersImp&) = delete;
  CObservationParametersImp& operator=(const CObservationParametersImp&) = delete;
  ~CObservationParametersImp() override;

  void SetObservedResultUnitTypes(unsigned long long types) override;
  unsigned long long GetObservedResultUnitTypes() const override;
  bool IsResultUnitTypeObserved(IntermediateResultUnitType type) const override;
  void AddObservedTask(const char* taskName) override;
  void RemoveObservedTask(const char* taskName) override;
  bool IsTaskObserved(const char* taskName) const override;
  void SetResultUnitTypesOnlyForInput(unsigned long long types) override;
  unsigned long long GetResultUnitTypesOnlyForInput() const override;
  bool IsResultUnitTypeOnlyForInput(IntermediateResultUnitType type) const override;

  /// Adds @p bits to the function mark. Marks are never taken back.
  void SetFunctionMark(unsigned long long bits) noexcept { Add(functionMark_, bits); }
  /// @return the function mark's bits in @p mask, all read at one moment
  unsigned long long GetFunctionMark(unsigned long long mask) const noexcept {
    return Read(functionMark_) & mask;
  }

  /// Adds @p bits to the time mark. Marks are never taken back.
  void SetTimeMark(unsigned long long bits) noexcept { Add(timeMark_, bits); }
  /// @return the time mark's bits in @p mask, all read at one moment
  unsigned long long GetTimeMark(unsigned long long mask) const noexcept {
    return Read(timeMark_) & mask;
  }

 private:
  using Mark = std::atomic<std::uint64_t>;
  static_assert(Mark::is_always_lock_free, "marks are set by code of several modules");

  // Release and acquire: who sees a mark also sees what was done before it was set.
  static void Add(Mark& mark, std::uint64_t bits) noexcept {
    mark.fetch_or(bits, std::memory_order_release);
  }
  static std::uint64_t Read(const Mark& mark) noexcept {
    return mark.load(std::memory_order_acquire);
  }

  std::uint64_t observedResultUnitTypes_ = IRUT_All;
  std::set<std::string, std::less<>> observedTasks_;
  std::uint64_t resultUnitTypesOnlyForInput_ = IRUT_None;
  // Aligned for targets that align 64-bit integers to 4 bytes: a mark that lay across two cache
  // lines would not be read whole.
  alignas(8) Mark functionMark_{0};
  alignas(8) Mark timeMark_{0};
};

}  // namespace velmora::intermediate_results
