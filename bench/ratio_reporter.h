// Google Benchmark main that prints, after the usual table, each measured case
// as a multiple of its baseline from the same run.
#pragma once

#include <benchmark/benchmark.h>

#include <cstdio>
#include <map>
#include <string>
#include <utility>
#include <vector>

class RatioReporter : public benchmark::ConsoleReporter {
public:
  void ReportRuns(const std::vector<Run>& runs) override {
    for (const Run& run : runs) {
      if (run.run_type == Run::RT_Iteration) Times[run.benchmark_name()] = run.GetAdjustedRealTime();
    }
    ConsoleReporter::ReportRuns(runs);
  }
  std::map<std::string, double> Times;
};

// pairs: (measured, baseline) benchmark names as Google Benchmark prints them.
inline int RunWithRatios(int argc, char** argv, const std::vector<std::pair<std::string, std::string>>& pairs) {
  benchmark::Initialize(&argc, argv);
  RatioReporter reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  std::printf("\nRatios (measured / baseline, same run):\n");
  for (const auto& [measured, baseline] : pairs) {
    auto m = reporter.Times.find(measured), b = reporter.Times.find(baseline);
    if (m == reporter.Times.end() || b == reporter.Times.end() || b->second <= 0) continue;
    std::printf("  %-40s / %-36s = %8.2f\n", measured.c_str(), baseline.c_str(), m->second / b->second);
  }
  benchmark::Shutdown();
  return 0;
}
