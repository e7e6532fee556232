// What a log statement costs while the log is off, beside spdlog and a bare level check, and what a
// written line costs: at once, cached, and beside it by spdlog's buffered file with a line of the
// same form.

#include "velmora/log/log.h"

#include <benchmark/benchmark.h>
#include <spdlog/sinks/basic_file_sink.h>
#include <spdlog/sinks/null_sink.h>
#include <spdlog/spdlog.h>

#include <atomic>
#include <filesystem>
#include <memory>
#include <string>

namespace {

using velmora::NxLog;

std::atomic<int> bareLevel{0};

void DisabledBareCheck(benchmark::State& state) {
  int value = 0;
  for (auto _ : state) {
    ++value;
    if (bareLevel.load(std::memory_order_relaxed) >= 9) benchmark::DoNotOptimize(value);
    benchmark::ClobberMemory();
  }
}

void Disabled(benchmark::State& state) {
  int value = 0;
  for (auto _ : state) {
    ++value;
    VELMORA_LOG_TEXT(9, "value %d", value);
    benchmark::ClobberMemory();
  }
}

// The level is on, the mode is not.
void DisabledByMode(benchmark::State& state) {
  NxLog::GetInstance().SetLevel(9);
  Disabled(state);
  NxLog::GetInstance().SetLevel(0);
}

void DisabledSpdlog(benchmark::State& state) {
  spdlog::logger logger("off", std::make_shared<spdlog::sinks::null_sink_mt>());
  logger.set_level(spdlog::level::info);
  int value = 0;
  for (auto _ : state) {
    ++value;
    logger.trace("value {}", value);
    benchmark::ClobberMemory();
  }
}

constexpr int kLinesToAFlush = 512;

std::filesystem::path MakeDirectory() {
  const std::filesystem::path directory =
      std::filesystem::temp_directory_path() / "velmora log bench";
  std::filesystem::create_directory(directory);
  return directory;
}

void WriteLine(benchmark::State& state) {
  const std::filesystem::path directory = MakeDirectory();
  NxLog& log = NxLog::GetInstance();
  log.InitLogFromSetting(velmora::LM_Text, 9, (directory / "").string().c_str());
  log.SetOutputMode(static_cast<velmora::OutputMode>(state.range(0)));
  int value = 0;
  for (auto _ : state) {
    VELMORA_LOG_TEXT(9, "value %d", ++value);
    if (value % kLinesToAFlush == 0) log.OutputCacheLog();
  }
  log.OutputCacheLog();
  log.InitLogFromSetting(velmora::LM_None, 0, "");
  std::filesystem::remove_all(directory);
}

void WriteLineSpdlogBuffered(benchmark::State& state) {
  const std::filesystem::path directory = MakeDirectory();
  {
    const std::string path = (directory / "spdlog.log").string();
    spdlog::logger logger("on", std::make_shared<spdlog::sinks::basic_file_sink_mt>(path));
    logger.set_pattern("[TID:%6t][%Y/%m/%d %H:%M:%S]%v");
    int value = 0;
    for (auto _ : state) {
      logger.info("value {}", ++value);
      if (value % kLinesToAFlush == 0) logger.flush();
    }
  }
  std::filesystem::remove_all(directory);
}

BENCHMARK(DisabledBareCheck);
BENCHMARK(Disabled);
BENCHMARK(DisabledByMode);
BENCHMARK(DisabledSpdlog);
BENCHMARK(WriteLine)->ArgName("cached")->Arg(0)->Arg(1);
BENCHMARK(WriteLineSpdlogBuffered);

}  // namespace
