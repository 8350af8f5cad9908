#include "platform/progress.h"

#include <unistd.h>

#include <atomic>
#include <cstdio>

namespace qorl {

namespace {
std::atomic<bool> g_allowed{false};
}

bool Progress::StderrIsTerminal() { return ::isatty(STDERR_FILENO) == 1; }
void Progress::SetAllowed(bool allowed) { g_allowed.store(allowed, std::memory_order_relaxed); }
bool Progress::IsAllowed() { return g_allowed.load(std::memory_order_relaxed); }

void Progress::Start(std::string label, uint64_t total, bool enabled) {
  Finish();
  m_label = std::move(label);
  m_total = total;
  m_enabled = enabled;
  m_done = m_lastDone = 0;
  m_drawn = false;
  m_start = m_lastDraw = std::chrono::steady_clock::now();
}

void Progress::Draw(uint64_t done, bool final) {
  m_lastDone = done;
  m_done = done;
  auto now = std::chrono::steady_clock::now();
  if (!final && now - m_lastDraw < std::chrono::milliseconds(100)) return;
  m_lastDraw = now;
  double secs = std::chrono::duration<double>(now - m_start).count();
  double rate = secs > 0 ? static_cast<double>(done) / secs : 0;
  char rateText[32];
  if (rate >= 1e6) std::snprintf(rateText, sizeof rateText, "%.1fM/s", rate / 1e6);
  else if (rate >= 1e3) std::snprintf(rateText, sizeof rateText, "%.1fk/s", rate / 1e3);
  else std::snprintf(rateText, sizeof rateText, "%.0f/s", rate);
  if (m_total) {
    constexpr int kWidth = 30;
    double frac = done >= m_total ? 1.0 : static_cast<double>(done) / static_cast<double>(m_total);
    int filled = static_cast<int>(frac * kWidth);
    std::string bar(static_cast<size_t>(filled), '#');
    bar.append(static_cast<size_t>(kWidth - filled), '.');
    std::fprintf(stderr, "\r%s [%s] %3d%% %llu/%llu %s\033[K", m_label.c_str(), bar.c_str(), static_cast<int>(frac * 100),
                 static_cast<unsigned long long>(done), static_cast<unsigned long long>(m_total), rateText);
  } else {
    std::fprintf(stderr, "\r%s %llu %s\033[K", m_label.c_str(), static_cast<unsigned long long>(done), rateText);
  }
  std::fflush(stderr);
  m_drawn = true;
}

void Progress::Finish() {
  if (!m_enabled) return;
  Draw(m_total ? m_total : m_done, true);
  if (m_drawn) std::fputc('\n', stderr);
  m_enabled = false;
}

}  // namespace qorl
