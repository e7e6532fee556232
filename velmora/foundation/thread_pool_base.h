/// @file
/// The interface of a pool of worker threads.
#pragma once

namespace velmora {

class RtrThreadWorkItemBase;

/// A pool of threads that runs work items. Modules that run pools implement it; this library only
/// hands such pools on and never calls them.
///
/// A pool is never destroyed through this interface, hence no virtual destructor.
class ThreadPoolBase {
 public:
  ThreadPoolBase() = default;
  ThreadPoolBase(const ThreadPoolBase&) = default;
  ThreadPoolBase(ThreadPoolBase&&) = default;
  ThreadPoolBase& operator=(const ThreadPoolBase&) = default;
  ThreadPoolBase& operator=(ThreadPoolBase&&) = default;

  /// Queues @p item, which the pool shares until a thread has processed and finished it.
  virtual void AppendWorkItem(RtrThreadWorkItemBase* item) = 0;

  /// @return how many threads process items
  virtual int GetThreadCount() const = 0;

  /// Takes no more items, processes what is queued and joins the threads.
  virtual void Stop() = 0;

 protected:
  ~ThreadPoolBase() = default;
};

}  // namespace velmora
