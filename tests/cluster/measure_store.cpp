// measure_store URL CREDENTIALS COUNT THREADS: how many results a store takes in a second, for
// scripts/cluster-test --measure.
#include <sys/resource.h>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <string>
#include <thread>
#include <vector>

#include "tools/cluster/result_store.h"

namespace {

double ProcessorSeconds() {
  struct rusage usage = {};
  getrusage(RUSAGE_SELF, &usage);
  return static_cast<double>(usage.ru_utime.tv_sec + usage.ru_stime.tv_sec) +
         static_cast<double>(usage.ru_utime.tv_usec + usage.ru_stime.tv_usec) * 1e-6;
}

void Measure(const std::string& url, const std::string& credentials, int count, int threadCount) {
  const auto store = velmora::cluster::OpenResultStore(url, credentials);
  const std::string line = R"({"codes":[],"id":")" + std::string(600, 'x') + R"("})";
  std::atomic<int> next{0};
  std::atomic<int> kept{0};
  const double processor = ProcessorSeconds();
  const auto start = std::chrono::steady_clock::now();
  std::vector<std::thread> threads;
  for (int i = 0; i < threadCount; ++i) {
    threads.emplace_back([&] {
      for (int job = next++; job < count; job = next++) {
        kept += store->Put("job-" + std::to_string(threadCount) + "-" + std::to_string(job), line);
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  const std::chrono::duration<double> time = std::chrono::steady_clock::now() - start;
  std::printf("%d results, %d threads: %.0f a second, %.3f ms of processor time each\n",
              kept.load(), threadCount, count / time.count(),
              (ProcessorSeconds() - processor) * 1000 / count);
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 5) return 2;
  try {
    Measure(argv[1], argv[2], std::atoi(argv[3]), std::atoi(argv[4]));
    return 0;
  } catch (const std::exception& error) {
    std::fprintf(stderr, "measure_store: %s\n", error.what());
    return 1;
  }
}
