// A progress bar on stderr for long work: "label [#####.....] 45% 450000/1000000 12.3k/s".
// Silent unless enabled; the command line enables it only when stderr is a
// terminal and --quiet is not given.
#pragma once

#include <chrono>
#include <cstdint>
#include <string>

namespace qorl {

class Progress {
 public:
  Progress() = default;
  Progress(std::string label, uint64_t total, bool enabled) { Start(std::move(label), total, enabled); }
  ~Progress() { Finish(); }
  // total 0: unknown, the bar shows the count and the rate only.
  void Start(std::string label, uint64_t total, bool enabled);
  // Cheap to call often: draws at most ten times a second.
  void Update(uint64_t done) {
    if (m_enabled && (done - m_lastDone >= 256 || done == m_total)) Draw(done, false);
  }
  void Finish();
  bool IsEnabled() const { return m_enabled; }

  // Whether a bar may be shown at all: stderr is a terminal.
  static bool StderrIsTerminal();
  // Process-wide switch set by the command line; library code asks it.
  static void SetAllowed(bool allowed);
  static bool IsAllowed();

 private:
  void Draw(uint64_t done, bool final);
  std::string m_label;
  uint64_t m_total = 0;
  uint64_t m_lastDone = 0;
  uint64_t m_done = 0;
  bool m_enabled = false;
  bool m_drawn = false;
  std::chrono::steady_clock::time_point m_start, m_lastDraw;
};

}  // namespace qorl
