// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Counters of the time of each stage of a step. They exist only in a library configured with
// -DZELVIK_STAGE_TIMERS=ON and print one line per stage to the standard error when the process
// ends. The clock goes on while another process runs: on a busy machine read the median of a stage,
// not its mean.
//
//   ZELVIK_STAGES_BEGIN();      starts the clock of the function
//   ...
//   ZELVIK_STAGE_DONE("name");  adds the time since the last of the two to a stage

#ifdef ZELVIK_STAGE_TIMERS

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <numeric>
#include <vector>

namespace zelvik {

using StageClock = std::chrono::steady_clock;

class StageCounter {
 public:
  explicit StageCounter(const char* name) : name_(name) {}
  ~StageCounter() {
    std::sort(samples_.begin(), samples_.end());
    const double mean = std::accumulate(samples_.begin(), samples_.end(), 0.0) /
                        static_cast<double>(samples_.size());
    std::fprintf(stderr,
                 "{\"stage\": \"%s\", \"calls\": %zu, \"median_us\": %.3f, \"mean_us\": %.3f}\n",
                 name_, samples_.size(), static_cast<double>(samples_[samples_.size() / 2]), mean);
  }
  StageCounter(const StageCounter&) = delete;
  StageCounter& operator=(const StageCounter&) = delete;

  /// Adds the time since `begin`, which becomes now.
  void add(StageClock::time_point& begin) {
    const StageClock::time_point now = StageClock::now();
    samples_.push_back(std::chrono::duration<float, std::micro>(now - begin).count());
    begin = now;
  }

 private:
  const char* name_;
  std::vector<float> samples_;  ///< of all calls (us)
};

}  // namespace zelvik

#define ZELVIK_STAGES_BEGIN() ::zelvik::StageClock::time_point stageBegin = StageClock::now()
#define ZELVIK_STAGE_DONE(name)                  \
  do {                                           \
    static ::zelvik::StageCounter counter(name); \
    counter.add(stageBegin);                     \
  } while (false)

#else

#define ZELVIK_STAGES_BEGIN() static_cast<void>(0)
#define ZELVIK_STAGE_DONE(name) static_cast<void>(0)

#endif
